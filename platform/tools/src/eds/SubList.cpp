#include "eds/SubList.hpp"

#include <nkr/tools/ObjectValue.hpp>

#include "text/IniLines.hpp"

namespace nkr::tools {

SubList::SubList(const DescriptionText& text, const Section* section, std::uint8_t count,
                 Diagnostics& diagnostics) {
  if (section == nullptr) return;
  if (count == 0) {
    diagnostics.report(Problem::COMPACT_LIST_ALONE, section->place(), {}, "nothing of this section");
    return;
  }
  lines_.resize(std::size_t{count} + 1);
  for (std::size_t i = section->first; i < section->first + section->count; ++i) {
    const KeyLine& line = text.keys[i];
    if (equal_without_case(line.name, "NrOfEntries")) continue;
    const auto number = number_of(line.name);
    if (!number || *number < 1 || *number > count) {
      diagnostics.report(Problem::COMPACT_LIST_ENTRY, section->at(line), line.name, "nothing");
      continue;
    }
    const KeyLine*& known = lines_[static_cast<std::size_t>(*number)];
    if (known != nullptr) {
      report_double(*known, line, *section, diagnostics);
    } else {
      known = &line;
    }
  }
}

}  // namespace nkr::tools

#include "eds/ObjectLists.hpp"

#include <algorithm>
#include <nkr/tools/ObjectValue.hpp>

#include "text/IniLines.hpp"

namespace nkr::tools {

std::string index_text(std::uint16_t index) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string text = "0x";
  for (int shift = 12; shift >= 0; shift -= 4) text += kDigits[index >> shift & 0xF];
  return text;
}

ObjectLists::ObjectLists(const DescriptionText& text, Diagnostics& diagnostics) {
  std::vector<const Section*> read;
  for (const Section& section : text.sections) {
    if (section.kind != SectionKind::OBJECT_LIST) continue;
    const auto first = std::find_if(read.begin(), read.end(), [&section](const Section* known) {
      return equal_without_case(known->name, section.name);
    });
    if (first != read.end()) {
      report_double(text, **first, section, diagnostics);
      continue;
    }
    read.push_back(&section);
    read_list(text, section, diagnostics);
  }
}

void ObjectLists::read_list(const DescriptionText& text, const Section& section, Diagnostics& diagnostics) {
  std::int64_t entries = 0;
  const KeyLine* count = nullptr;
  for (std::size_t i = section.first; i < section.first + section.count; ++i) {
    const KeyLine& entry = text.keys[i];
    if (equal_without_case(entry.name, "SupportedObjects")) {
      if (count == nullptr) count = &entry;
    } else {
      ++entries;
      read_entry(entry, section, diagnostics);
    }
  }
  if (count == nullptr) {
    diagnostics.report(Problem::LIST_COUNT, section.place(), {}, "the entries that are there");
  } else if (number_of(count->value) != entries) {
    diagnostics.report(Problem::LIST_COUNT, section.at(*count), count->value, "the entries that are there");
  }
}

void ObjectLists::read_entry(const KeyLine& entry, const Section& section, Diagnostics& diagnostics) {
  const auto number = number_of(entry.name);
  const auto index = number_of(entry.value);
  if (!number || *number < 1 || !index || *index < 1 || *index > 0xFFFF) {
    diagnostics.report(Problem::LIST_ENTRY, section.at(entry), entry.value, "nothing");
    return;
  }
  const auto listed = static_cast<std::uint16_t>(*index);
  if (listed_[listed]) {
    diagnostics.report(Problem::LISTED_TWICE, section.at(entry), entry.value, "one of the two");
    return;
  }
  listed_[listed] = true;
  entries_.push_back({listed, section.at(entry)});
}

void ObjectLists::check_described(const std::bitset<0x10000>& described, Diagnostics& diagnostics) const {
  for (const Entry& entry : entries_) {
    if (described[entry.index]) continue;
    diagnostics.report(Problem::LISTED_NOT_DESCRIBED, entry.place, index_text(entry.index), "nothing");
  }
}

}  // namespace nkr::tools

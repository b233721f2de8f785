// The three object lists (CiA 306, 4.6.2).
#include <nkr/tools/ObjectValue.hpp>

#include "eds/ObjectLists.hpp"
#include "lint/NumberedKeys.hpp"
#include "lint/Rules.hpp"
#include "text/IniLines.hpp"

namespace nkr::tools {

namespace {

constexpr std::string_view kMandatory = "MandatoryObjects";
constexpr std::string_view kOptional = "OptionalObjects";
constexpr std::string_view kManufacturer = "ManufacturerObjects";
constexpr std::array kLists = {kMandatory, kOptional, kManufacturer};

/** True when an index may stand in a list. 0x1018 became mandatory with the fourth edition of CiA 301. */
bool may_stand_in(std::string_view list, std::int64_t index) {
  const bool mandatory = index == 0x1000 || index == 0x1001;
  const bool manufacturer = index >= 0x2000 && index <= 0x5FFF;
  if (list == kMandatory) return mandatory || index == 0x1018;
  if (list == kManufacturer) return manufacturer;
  return index >= 0x1000 && !mandatory && !manufacturer;
}

void check_absent(const DescriptionView& view, const Findings& findings) {
  for (const std::string_view name : kLists) {
    if (view.section(name) == nullptr) findings.add({0, name}, name, "an empty one");
  }
}

void check_numbering(const DescriptionView& view, const Findings& findings) {
  for (const std::string_view name : kLists) {
    const Section* list = view.section(name);
    if (list != nullptr && !numbered_keys(view, *list, "").in_sequence) {
      findings.add(list->place(), {}, "the entries in the order of the file");
    }
  }
}

void check_membership(const DescriptionView& view, const Findings& findings) {
  for (const std::string_view name : kLists) {
    const Section* list = view.section(name);
    if (list == nullptr) continue;
    for (const auto* line = view.begin(*list); line != view.end(*list); ++line) {
      const auto index = all_digits(line->name) ? number_of(line->value) : std::nullopt;
      if (!index || *index < 1 || *index > 0xFFFF || may_stand_in(name, *index)) continue;
      findings.add(list->at(*line), index_text(static_cast<std::uint16_t>(*index)), "the object");
    }
  }
}

constexpr std::array kRules = {
    Rule{Problem::LIST_ABSENT, check_absent},
    Rule{Problem::LIST_NUMBERING, check_numbering},
    Rule{Problem::WRONG_LIST, check_membership},
};

}  // namespace

RuleTable list_rules() {
  return table_of(kRules);
}

}  // namespace nkr::tools

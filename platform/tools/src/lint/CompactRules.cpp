// Arrays and records in short: CompactSubObj and its lists (CiA 306, 4.6.3.2).
#include <nkr/tools/ObjectValue.hpp>
#include <string>

#include "eds/ValueText.hpp"
#include "lint/NumberedKeys.hpp"
#include "lint/Rules.hpp"
#include "text/IniLines.hpp"

namespace nkr::tools {

namespace {

constexpr std::string_view kEntries = "NrOfEntries";
constexpr std::int64_t kMostSubs = 254;

bool is_compact(const DescriptionView& view, const IndexSections& sections) {
  return sections.object != nullptr && view.number(sections.object, "CompactSubObj").value_or(0) > 0;
}

/** Calls back with each list of an index: names, values, denotations. */
template <typename Visit>
void for_each_list(const DescriptionView& view, Visit visit) {
  for (const auto& [index, sections] : view.indexes()) {
    for (const Section* list : {sections.names, sections.values, sections.denotations}) {
      if (list != nullptr) visit(sections, *list);
    }
  }
}

void check_sub_number(const DescriptionView& view, const Findings& findings) {
  for (const auto& [index, sections] : view.indexes()) {
    if (!is_compact(view, sections)) continue;
    const KeyLine* line = view.key(sections.object, "SubNumber");
    if (line != nullptr && !line->value.empty() && number_of(line->value) != 0) {
      findings.add(sections.object->at(*line), line->value, "CompactSubObj");
    }
  }
}

void check_counts(const DescriptionView& view, const Findings& findings) {
  for_each_list(view, [&](const IndexSections& /*sections*/, const Section& list) {
    std::int64_t entries = 0;
    for (const auto* line = view.begin(list); line != view.end(list); ++line) {
      if (!equal_without_case(line->name, kEntries)) ++entries;
    }
    const auto stated = view.number(&list, kEntries);
    if (stated == entries) return;
    findings.add(view.place(&list, kEntries), stated ? std::to_string(*stated) : "no number",
                 "the " + std::to_string(entries) + " that are there");
  });
}

void check_lists_alone(const DescriptionView& view, const Findings& findings) {
  for_each_list(view, [&](const IndexSections& sections, const Section& list) {
    // The reader tells of names and values of an object that is there.
    const bool told = sections.object != nullptr && &list != sections.denotations;
    if (!told && !is_compact(view, sections)) findings.add(list.place(), {}, "nothing of this section");
  });
}

/** Keys that are no decimal sub-index; the reader tells of numbers that the object does not have. */
void check_keys(const DescriptionView& view, const Findings& findings) {
  for_each_list(view, [&](const IndexSections& sections, const Section& list) {
    for (const auto* line = view.begin(list); line != view.end(list); ++line) {
      const auto number = number_of(line->name);
      const bool denotation = &list == sections.denotations;
      const bool outside = denotation && (!number || *number < 1 || *number > kMostSubs);
      const bool other_form = number.has_value() && !all_digits(line->name);
      if (!equal_without_case(line->name, kEntries) && (outside || other_form)) {
        findings.add(list.at(*line), line->name);
      }
    }
  });
}

/** What is wrong with a value of an integer object; empty when nothing is. */
std::string fault_of(const std::string& text, const ObjectEntry::Description& object) {
  if (text.empty() || integer_bits(object.data_type) == 0 || is_node_relative(text)) return {};
  const auto value = integer_of(text, object.data_type);
  if (!value) return text + " in an " + integer_name(object.data_type);
  const Limits limits = limits_of(object);
  if (limits.low && *value < *limits.low)
    return text + " is below " + explained(*object.low_limit, object.data_type);
  if (limits.high && *value > *limits.high) {
    return text + " is above " + explained(*object.high_limit, object.data_type);
  }
  return {};
}

void check_values(const DescriptionView& view, const Findings& findings) {
  for (const auto& [index, sections] : view.indexes()) {
    if (sections.values == nullptr) continue;
    for (const auto* line = view.begin(*sections.values); line != view.end(*sections.values); ++line) {
      const auto subindex = number_of(line->name);
      if (!subindex || *subindex < 1 || *subindex > kMostSubs) continue;
      const auto* object = view.object(ObjectID(index, static_cast<std::uint8_t>(*subindex)));
      const std::string fault =
          object == nullptr ? std::string() : fault_of(std::string(line->value), *object);
      if (!fault.empty()) findings.add(sections.values->at(*line), fault, "the value");
    }
  }
}

constexpr std::array kRules = {
    Rule{Problem::COMPACT_SUB_NUMBER, check_sub_number},  Rule{Problem::COMPACT_LIST_COUNT, check_counts},
    Rule{Problem::COMPACT_LIST_ALONE, check_lists_alone}, Rule{Problem::COMPACT_LIST_ENTRY, check_keys},
    Rule{Problem::COMPACT_VALUE, check_values},
};

}  // namespace

RuleTable compact_rules() {
  return table_of(kRules);
}

}  // namespace nkr::tools

// Objects, arrays and records (CiA 306, 4.6.3; CiA 301, 7.4).
#include <algorithm>
#include <nkr/tools/ObjectValue.hpp>
#include <string>

#include "eds/ObjectLists.hpp"
#include "eds/ValueText.hpp"
#include "lint/Rules.hpp"
#include "text/IniLines.hpp"

namespace nkr::tools {

namespace {

using Description = ObjectEntry::Description;

constexpr std::uint16_t kDomainType = 0x0F;
constexpr std::uint8_t kDomain = 2;
constexpr std::uint8_t kDefstruct = 6;
constexpr std::uint8_t kArray = 8;
constexpr std::uint8_t kRecord = 9;
constexpr std::uint8_t kStructure = 0xFF;  // the sub-index that tells the structure of its object (CiA 301)

/** The object code of a section, 7 (VAR) when it states none. */
std::int64_t object_type_of(const DescriptionView& view, const Section& section) {
  return view.number(&section, "ObjectType").value_or(7);
}

bool is_compact(const DescriptionView& view, const Section& section) {
  return view.number(&section, "CompactSubObj").value_or(0) > 0;
}

bool has_value(const DescriptionView& view, const Section& section, std::string_view name) {
  const KeyLine* line = view.key(&section, name);
  return line != nullptr && !line->value.empty();
}

template <typename Visit>
void for_each_object(const DescriptionView& view, Visit visit) {
  for (const auto& object : view.objects()) visit(object->description());
}

/** Calls back with the sections of each array and record that lists its sub-entries. */
template <typename Visit>
void for_each_composite(const DescriptionView& view, Visit visit) {
  for (const auto& [index, sections] : view.indexes()) {
    if (sections.object == nullptr || is_compact(view, *sections.object)) continue;
    const std::int64_t type = object_type_of(view, *sections.object);
    const bool structure = type == kDefstruct && !sections.subs.empty();
    if (type == kArray || type == kRecord || structure) visit(index, sections);
  }
}

void check_spelling(const DescriptionView& view, const Findings& findings) {
  constexpr std::size_t kIndexDigits = 4;
  for (const Section& section : view.text().sections) {
    if (section.kind != SectionKind::SUB) continue;
    const std::string_view rest = section.name.substr(kIndexDigits);
    const bool leading_zero = rest.size() > 4 && rest[3] == '0';
    if (rest.substr(0, 3) != "sub" || leading_zero) findings.add(section.place(), section.name);
  }
}

/** The keys of a section, of those named, that say something; separated by commas. */
std::string keys_with_values(const DescriptionView& view, const Section& section,
                             std::initializer_list<std::string_view> names) {
  std::string found;
  for (const std::string_view name : names) {
    const bool says_nothing = view.number(&section, name) == 0 &&
                              (name == "PDOMapping" || name == "SubNumber" || name == "CompactSubObj");
    if (!has_value(view, section, name) || says_nothing) continue;
    found += found.empty() ? "" : ", ";
    found += name;
  }
  return found;
}

std::string unused_keys(const DescriptionView& view, const Section& section) {
  const std::int64_t type = object_type_of(view, section);
  if (type == kDomain) {
    return keys_with_values(view, section,
                            {"LowLimit", "HighLimit", "PDOMapping", "SubNumber", "CompactSubObj"});
  }
  const bool composite = type == kArray || type == kRecord || type == kDefstruct;
  if (!composite) return keys_with_values(view, section, {"SubNumber"});
  if (is_compact(view, section)) return {};
  return keys_with_values(view, section,
                          {"DataType", "AccessType", "DefaultValue", "LowLimit", "HighLimit", "PDOMapping"});
}

void check_unused_keys(const DescriptionView& view, const Findings& findings) {
  for (const Section& section : view.text().sections) {
    if (section.kind != SectionKind::OBJECT && section.kind != SectionKind::SUB) continue;
    const std::string keys = unused_keys(view, section);
    if (!keys.empty()) findings.add(section.place(), keys, "the object without them");
  }
}

void check_domains(const DescriptionView& view, const Findings& findings) {
  for_each_object(view, [&](const Description& object) {
    if (object.compact || object.data_type == DataType::UNKNOWN) return;
    const bool type = static_cast<std::uint16_t>(object.data_type) == kDomainType;
    if (type == (object.object_type == kDomain)) return;
    findings.add(view.place(object, "DataType"),
                 type ? "DataType alone says DOMAIN" : "ObjectType alone says DOMAIN", "a DOMAIN");
  });
}

bool is_known_type(DataType type) {
  const auto code = static_cast<std::uint16_t>(type);
  const bool basic = code >= 0x01 && code <= 0x1B && code != 0x0E && code != 0x17;
  const bool structure = code >= 0x20 && code <= 0x25;
  return basic || structure || (code >= 0x40 && code <= 0x025F);
}

void check_data_types(const DescriptionView& view, const Findings& findings) {
  constexpr std::uint16_t kHighest = 0x025F;  // above it the reader says so
  for_each_object(view, [&](const Description& object) {
    const auto code = static_cast<std::uint16_t>(object.data_type);
    if (object.compact && object.id.subindex() != 1) return;  // all have the type of their array
    if (object.data_type == DataType::UNKNOWN || code > kHighest || is_known_type(object.data_type)) return;
    findings.add(view.place(object, "DataType"), index_text(code), "the number as it stands");
  });
}

void check_array_types(const DescriptionView& view, const Findings& findings) {
  for_each_composite(view, [&](std::uint16_t index, const IndexSections& sections) {
    if (object_type_of(view, *sections.object) != kArray) return;
    DataType first = DataType::UNKNOWN;
    for (const auto& [subindex, section] : sections.subs) {
      const Description* object = view.object(ObjectID(index, subindex));
      const bool entry = subindex != 0 && subindex != kStructure && object != nullptr;
      if (!entry || object->data_type == DataType::UNKNOWN) continue;
      if (first == DataType::UNKNOWN) first = object->data_type;
      if (object->data_type == first) continue;
      findings.add(view.place(section, "DataType"), index_text(static_cast<std::uint16_t>(object->data_type)),
                   "the type of each");
      return;
    }
  });
}

void check_sub0_type(const DescriptionView& view, const Findings& findings) {
  for_each_composite(view, [&](std::uint16_t index, const IndexSections& sections) {
    const Description* object = view.object(ObjectID(index, 0));
    if (sections.subs.count(0) == 0 || object == nullptr) return;
    const bool other = object->data_type != DataType::UNSIGNED8 && object->data_type != DataType::UNKNOWN;
    if (other)
      findings.add(view.place(*object, "DataType"),
                   index_text(static_cast<std::uint16_t>(object->data_type)));
  });
}

/** Objects whose sub-index 0 counts what is used: error field, mappings of PDOs and of SRDOs. */
bool counts_what_is_used(std::uint16_t index) {
  const bool pdo = (index >= 0x1600 && index <= 0x17FF) || (index >= 0x1A00 && index <= 0x1BFF);
  return index == 0x1003 || pdo || (index >= 0x1381 && index <= 0x13C0);
}

std::uint8_t highest_subindex(const IndexSections& sections) {
  std::uint8_t highest = 0;
  for (const auto& [subindex, section] : sections.subs) {
    if (subindex != kStructure) highest = subindex;
  }
  return highest;
}

void check_sub0_value(const DescriptionView& view, const Findings& findings) {
  for_each_composite(view, [&](std::uint16_t index, const IndexSections& sections) {
    const Description* object = view.object(ObjectID(index, 0));
    if (sections.subs.count(0) == 0 || object == nullptr || !object->default_value) return;
    const auto value = number_of(*object->default_value);
    const std::int64_t highest = highest_subindex(sections);
    if (!value || *value == highest || counts_what_is_used(index)) return;
    // A number that can be written says how many entries are in use.
    if (*value < highest && is_writable(object->access)) return;
    findings.add(view.place(*object, "DefaultValue"),
                 std::to_string(*value) + ", the highest is " + std::to_string(highest),
                 "the sections that are there");
  });
}

void check_quotes(const DescriptionView& view, const Findings& findings) {
  for_each_object(view, [&](const Description& object) {
    const bool text =
        object.data_type == DataType::VISIBLE_STRING || object.data_type == DataType::UNICODE_STRING;
    const std::string* value = DescriptionView::value_of(object);
    if (!text || object.compact || value == nullptr || value->size() < 2) return;
    if (value->front() == '"' && value->back() == '"') {
      findings.add(view.place(object, DescriptionView::value_key_of(object)), *value,
                   "the text with its quotes");
    }
  });
}

/** A value text of an object with the name of its key. */
struct ValueText {
  std::string_view key;
  const std::optional<std::string>& text;
};

/** Calls back with each text of an object that is a sum with $NODEID. */
template <typename Visit>
void for_each_sum(const DescriptionView& view, Visit visit) {
  for_each_object(view, [&visit](const Description& object) {
    if (object.compact) return;
    for (const ValueText& value :
         {ValueText{"DefaultValue", object.default_value},
          ValueText{"ParameterValue", object.parameter_value}, ValueText{"LowLimit", object.low_limit},
          ValueText{"HighLimit", object.high_limit}}) {
      if (value.text && is_node_relative(*value.text)) visit(object, value.key, *value.text);
    }
  });
}

void check_sum_forms(const DescriptionView& view, const Findings& findings) {
  for_each_sum(view, [&](const Description& object, std::string_view key, const std::string& text) {
    if (std::count(text.begin(), text.end(), '+') > 1) findings.add(view.place(object, key), text, "the sum");
  });
}

void check_sum_ranges(const DescriptionView& view, const Findings& findings) {
  for_each_sum(view, [&](const Description& object, std::string_view key, const std::string& text) {
    if (integer_bits(object.data_type) == 0) return;
    for (const std::uint8_t node : {std::uint8_t{1}, std::uint8_t{127}}) {
      const auto value = integer_of(text, object.data_type, node);
      const Limits limits = limits_of(object, node);
      const bool outside =
          value && ((limits.low && *value < *limits.low) || (limits.high && *value > *limits.high));
      if (value && !outside) continue;
      findings.add(view.place(object, key), text + " with node id " + std::to_string(node));
      return;
    }
  });
}

void check_flags(const DescriptionView& view, const Findings& findings) {
  constexpr std::int64_t kDefined = 0x3;  // not written on a download, not read on a scan
  for (const Section& section : view.text().sections) {
    if (section.kind != SectionKind::OBJECT && section.kind != SectionKind::SUB) continue;
    const KeyLine* line = view.key(&section, "ObjFlags");
    if (line == nullptr || line->value.empty()) continue;
    const auto flags = number_of(line->value);
    if (!flags || *flags < 0 || (*flags & ~kDefined) != 0) findings.add(section.at(*line), line->value);
  }
}

constexpr std::array kRules = {
    Rule{Problem::SECTION_SPELLING, check_spelling}, Rule{Problem::KEY_NOT_USED, check_unused_keys},
    Rule{Problem::DOMAIN_TYPE, check_domains},       Rule{Problem::UNKNOWN_DATA_TYPE, check_data_types},
    Rule{Problem::ARRAY_TYPES, check_array_types},   Rule{Problem::SUB0_TYPE, check_sub0_type},
    Rule{Problem::SUB0_VALUE, check_sub0_value},     Rule{Problem::QUOTED_TEXT, check_quotes},
    Rule{Problem::NODE_ID_FORM, check_sum_forms},    Rule{Problem::NODE_ID_RANGE, check_sum_ranges},
    Rule{Problem::OBJ_FLAGS, check_flags},
};

}  // namespace

RuleTable object_rules() {
  return table_of(kRules);
}

}  // namespace nkr::tools

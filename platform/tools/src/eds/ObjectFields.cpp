#include "eds/ObjectFields.hpp"

#include <nkr/tools/ObjectValue.hpp>

#include "eds/ValueChecks.hpp"
#include "eds/ValueText.hpp"
#include "text/IniLines.hpp"
#include "text/TextEncoding.hpp"

namespace nkr::tools {

namespace {

constexpr std::size_t kMostOfName = 241;           // CiA 306
constexpr std::int64_t kHighestDataType = 0x025F;  // CiA 301: static, complex and device-profile types
constexpr std::uint8_t kDomain = 2;
constexpr std::uint8_t kVariable = 7;
constexpr std::int64_t kMostSubs = 254;  // sub-index 255 tells the structure of the object (CiA 301)
constexpr std::int64_t kHighestSubindex = 255;

/** A field's number; what follows it as a comment is reported. */
std::optional<std::int64_t> number_at(const ObjectFields& fields, Key key, Diagnostics& diagnostics) {
  const std::string_view text = fields.find(key)->value;
  const auto number = number_of(text);
  if (number && has_comment(text)) {
    diagnostics.report(Problem::INLINE_COMMENT, fields.place(key), text, "the number before it");
  }
  return number;
}

DataType data_type_of(const ObjectFields& fields, std::uint8_t object_type, Diagnostics& diagnostics) {
  const KeyLine* line = fields.find(Key::DATA_TYPE);
  if (line == nullptr || line->value.empty()) {
    if (object_type != kDomain) {
      diagnostics.report(Problem::NO_DATA_TYPE, fields.place(Key::DATA_TYPE), {}, "no type");
    }
    return DataType::UNKNOWN;
  }
  const auto number = number_at(fields, Key::DATA_TYPE, diagnostics);
  if (!number || *number < 1 || *number > 0xFFFF) {
    diagnostics.report(Problem::DATA_TYPE, fields.place(Key::DATA_TYPE), line->value, "no type");
    return DataType::UNKNOWN;
  }
  if (*number > kHighestDataType) {
    diagnostics.report(Problem::DATA_TYPE, fields.place(Key::DATA_TYPE), line->value,
                       "the number as it stands");
  }
  return static_cast<DataType>(*number);
}

AccessType access_named(std::string_view text) {
  struct Name {
    std::string_view text;
    AccessType access;
  };
  constexpr std::array kNames = {Name{"ro", AccessType::RO},   Name{"wo", AccessType::WO},
                                 Name{"rw", AccessType::RW},   Name{"rwr", AccessType::RWR},
                                 Name{"rww", AccessType::RWW}, Name{"const", AccessType::CONST}};
  for (const Name& name : kNames) {
    if (equal_without_case(name.text, text)) return name.access;
  }
  return AccessType::UNKNOWN;
}

AccessType access_of(const ObjectFields& fields, std::uint8_t object_type, Diagnostics& diagnostics) {
  const KeyLine* line = fields.find(Key::ACCESS_TYPE);
  const Place place = fields.place(Key::ACCESS_TYPE);
  if (line == nullptr || line->value.empty()) {
    if (object_type != kDomain) diagnostics.report(Problem::NO_ACCESS_TYPE, place, {}, "not writable");
    return AccessType::UNKNOWN;
  }
  const std::string_view text = without_comment(line->value);
  const AccessType access = access_named(text);
  if (access == AccessType::UNKNOWN) {
    diagnostics.report(Problem::ACCESS_TYPE, place, line->value, "not writable");
    return access;
  }
  if (text.size() != line->value.size()) {
    diagnostics.report(Problem::INLINE_COMMENT, place, line->value, text);
  }
  for (const char c : text) {
    if (c >= 'A' && c <= 'Z') {
      diagnostics.report(Problem::ACCESS_CASE, place, text, "the same in small letters");
      break;
    }
  }
  return access;
}

bool pdo_mapping_of(const ObjectFields& fields, Diagnostics& diagnostics) {
  const KeyLine* line = fields.find(Key::PDO_MAPPING);
  if (line == nullptr) return false;
  const auto number = number_at(fields, Key::PDO_MAPPING, diagnostics);
  if (!number || *number < 0 || *number > 1) {
    diagnostics.report(Problem::PDO_MAPPING, fields.place(Key::PDO_MAPPING), line->value, "0");
  }
  return number == 1;
}

std::optional<std::string> text_at(const ObjectFields& fields, Key key) {
  const KeyLine* line = fields.find(key);
  if (line == nullptr) return std::nullopt;
  return to_utf8(line->value);
}

}  // namespace

ObjectFields::ObjectFields(const DescriptionText& text, const Section& section, Diagnostics& diagnostics)
    : section_(&section) {
  for (std::size_t i = section.first; i < section.first + section.count; ++i) {
    const KeyLine& line = text.keys[i];
    const KeyLine*& known = lines_[static_cast<std::size_t>(line.key)];
    if (line.key == Key::UNKNOWN) {
      diagnostics.report(Problem::UNKNOWN_KEY, section.at(line));
    } else if (known != nullptr) {
      report_double(*known, line, section, diagnostics);
    } else {
      known = &line;
    }
  }
}

Place ObjectFields::place(Key key) const {
  const KeyLine* line = find(key);
  return line == nullptr ? Place{section_->line, section_->name, key_name(key)} : section_->at(*line);
}

std::string cut_name(std::string name) {
  name.resize(cut_utf8(name, kMostOfName).size());
  return name;
}

std::string name_of(const ObjectFields& fields, Diagnostics& diagnostics) {
  const KeyLine* line = fields.find(Key::PARAMETER_NAME);
  if (line == nullptr || line->value.empty()) {
    diagnostics.report(Problem::NO_NAME, fields.place(Key::PARAMETER_NAME), {}, "an object without a name");
    return {};
  }
  std::string name = to_utf8(line->value);
  if (name.size() > kMostOfName) {
    diagnostics.report(Problem::NAME_TOO_LONG, fields.place(Key::PARAMETER_NAME), name,
                       "its first 241 bytes");
    name = cut_name(std::move(name));
  }
  return name;
}

std::uint8_t object_type_of(const ObjectFields& fields, Diagnostics& diagnostics) {
  const KeyLine* line = fields.find(Key::OBJECT_TYPE);
  if (line == nullptr) return kVariable;
  const auto number = number_at(fields, Key::OBJECT_TYPE, diagnostics);
  const bool known = number && (*number == 0 || *number == kDomain || (*number >= 5 && *number <= 9));
  if (known) return static_cast<std::uint8_t>(*number);
  diagnostics.report(Problem::OBJECT_TYPE, fields.place(Key::OBJECT_TYPE), line->value, "a variable");
  return kVariable;
}

std::uint8_t compact_count_of(const ObjectFields& fields, Diagnostics& diagnostics) {
  const KeyLine* line = fields.find(Key::COMPACT_SUB_OBJ);
  if (line == nullptr) return 0;
  const auto number = number_at(fields, Key::COMPACT_SUB_OBJ, diagnostics);
  const std::int64_t stated = number && *number >= 0 ? *number : 0;
  const std::int64_t taken = stated > kHighestSubindex ? kMostSubs : stated;
  if (number != taken || taken > kMostSubs) {
    diagnostics.report(Problem::COMPACT_COUNT, fields.place(Key::COMPACT_SUB_OBJ), line->value,
                       std::to_string(taken));
  }
  return static_cast<std::uint8_t>(taken);
}

void read_variable(const ObjectFields& fields, ObjectEntry::Description& object, Diagnostics& diagnostics) {
  object.data_type = data_type_of(fields, object.object_type, diagnostics);
  object.access = access_of(fields, object.object_type, diagnostics);
  object.pdo_mapping = pdo_mapping_of(fields, diagnostics);
  object.default_value = text_at(fields, Key::DEFAULT_VALUE);
  object.parameter_value = text_at(fields, Key::PARAMETER_VALUE);
  object.low_limit = text_at(fields, Key::LOW_LIMIT);
  object.high_limit = text_at(fields, Key::HIGH_LIMIT);
  check_values(fields, object, diagnostics);
}

}  // namespace nkr::tools

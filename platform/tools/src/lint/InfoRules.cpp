// What stands outside the objects: [FileInfo], [DeviceInfo], [DummyUsage], [Comments] (CiA 306, 4.5).
#include <algorithm>
#include <nkr/tools/ObjectValue.hpp>
#include <string>

#include "eds/ValueText.hpp"
#include "lint/NumberedKeys.hpp"
#include "lint/Rules.hpp"
#include "text/IniLines.hpp"

namespace nkr::tools {

namespace {

constexpr std::array<std::string_view, 8> kRates = {"10", "20", "50", "125", "250", "500", "800", "1000"};

bool is_one_of(std::string_view name, std::initializer_list<std::string_view> names) {
  return std::any_of(names.begin(), names.end(),
                     [name](std::string_view known) { return equal_without_case(known, name); });
}

bool is_flag(std::string_view text) {
  const auto number = number_of(text);
  return number && (*number == 0 || *number == 1);
}

/** True for a number of two digits within limits. */
bool is_between(std::string_view digits, int low, int high) {
  if (digits.size() != 2 || !all_digits(digits)) return false;
  const int number = (digits[0] - '0') * 10 + (digits[1] - '0');
  return number >= low && number <= high;
}

bool is_date(std::string_view text) {
  return text.size() == 10 && text[2] == '-' && text[5] == '-' && is_between(text.substr(0, 2), 1, 12) &&
         is_between(text.substr(3, 2), 1, 31) && all_digits(text.substr(6));
}

bool is_time(std::string_view text) {
  return text.size() == 7 && text[2] == ':' && is_between(text.substr(0, 2), 0, 12) &&
         is_between(text.substr(3, 2), 0, 59) && is_one_of(text.substr(5), {"AM", "PM"});
}

/** A text that is no number, and why when it looks like one. */
std::string with_reason(std::string_view text) {
  const bool octal = text.size() > 1 && text.front() == '0' && all_digits(text);
  return std::string(text) + (octal ? " (a leading 0 means octal)" : "");
}

void check_file_version(const DescriptionView& view, const Findings& findings) {
  const Section* file = view.section("FileInfo");
  if (file == nullptr) return;
  for (const std::string_view name : {"FileVersion", "FileRevision"}) {
    const auto number = view.number(file, name);
    if (number && *number >= 0 && *number <= 0xFF) continue;
    const KeyLine* line = view.key(file, name);
    if (line == nullptr) findings.add(view.place(file, name), "the key is missing");
    if (line != nullptr) findings.add(file->at(*line), with_reason(line->value));
  }
}

void check_eds_version(const DescriptionView& view, const Findings& findings) {
  const Section* file = view.section("FileInfo");
  if (file == nullptr) return;
  const KeyLine* line = view.key(file, "EDSVersion");
  const std::string_view text = line == nullptr ? std::string_view() : line->value;
  const bool well =
      text.size() == 3 && all_digits(text.substr(0, 1)) && text[1] == '.' && all_digits(text.substr(2));
  if (!well) findings.add(view.place(file, "EDSVersion"), line == nullptr ? "the key is missing" : text);
}

void check_dates(const DescriptionView& view, const Findings& findings) {
  const Section* file = view.section("FileInfo");
  for (const std::string_view name : {"CreationDate", "ModificationDate"}) {
    const KeyLine* line = view.key(file, name);
    if (line != nullptr && !line->value.empty() && !is_date(line->value)) {
      findings.add(file->at(*line), line->value);
    }
  }
}

void check_times(const DescriptionView& view, const Findings& findings) {
  const Section* file = view.section("FileInfo");
  for (const std::string_view name : {"CreationTime", "ModificationTime"}) {
    const KeyLine* line = view.key(file, name);
    if (line != nullptr && !line->value.empty() && !is_time(line->value)) {
      findings.add(file->at(*line), line->value);
    }
  }
}

void check_text_lengths(const DescriptionView& view, const Findings& findings) {
  struct Text {
    std::string_view section;
    std::string_view key;
    std::size_t most;
  };
  constexpr std::array kTexts = {
      Text{"FileInfo", "Description", 243},        Text{"FileInfo", "CreatedBy", 245},
      Text{"FileInfo", "ModifiedBy", 244},         Text{"DeviceInfo", "VendorName", 244},
      Text{"DeviceInfo", "ProductName", 243},      Text{"DeviceInfo", "OrderCode", 245},
      Text{"DeviceComissioning", "NodeName", 246}, Text{"DeviceComissioning", "NetworkName", 243}};
  for (const Text& text : kTexts) {
    const bool commissioning = text.section == "DeviceComissioning";
    const Section* section = commissioning ? view.commissioning() : view.section(text.section);
    const KeyLine* line = view.key(section, text.key);
    if (line != nullptr && line->value.size() > text.most) {
      findings.add(section->at(*line), "more than " + std::to_string(text.most) + " characters");
    }
  }
  constexpr std::size_t kMostOfComment = 249;
  const Section* comments = view.section("Comments");
  if (comments == nullptr) return;
  for (const auto* line = view.begin(*comments); line != view.end(*comments); ++line) {
    if (line->value.size() > kMostOfComment) findings.add(comments->at(*line), "more than 249 characters");
  }
}

/** A number of [DeviceInfo] beside the entry of object 0x1018 that it repeats. */
struct IdentityPair {
  std::string_view key;
  std::uint8_t subindex;
};
constexpr std::array kIdentity = {IdentityPair{"VendorNumber", 1}, IdentityPair{"ProductNumber", 2},
                                  IdentityPair{"RevisionNumber", 3}};

std::int64_t identity_number(const std::string& text) {
  return integer_of(text, DataType::UNSIGNED32).value_or(0);
}

/** Calls back with each pair whose two numbers differ; absent and unreadable ones count as 0. */
template <typename Visit>
void for_each_difference(const DescriptionView& view, Visit visit) {
  const Section* device = view.section("DeviceInfo");
  if (device == nullptr) return;
  for (const IdentityPair& pair : kIdentity) {
    const ObjectEntry::Description* object = view.object(ObjectID(0x1018, pair.subindex));
    const KeyLine* line = view.key(device, pair.key);
    const auto stated = line == nullptr ? 0 : identity_number(std::string(line->value));
    const auto held = object == nullptr ? 0 : identity_number(object->default_value.value_or(""));
    if (stated != held) visit(view.place(device, pair.key), stated, held);
  }
}

std::string both(std::int64_t stated, std::int64_t held) {
  return hexadecimal(stated) + " here, " + hexadecimal(held) + " in object 0x1018";
}

void check_identity(const DescriptionView& view, const Findings& findings) {
  for_each_difference(view, [&findings](Place place, std::int64_t stated, std::int64_t held) {
    if (stated != 0 && held != 0) findings.add(place, both(stated, held));
  });
}

void check_open_identity(const DescriptionView& view, const Findings& findings) {
  for_each_difference(view, [&findings](Place place, std::int64_t stated, std::int64_t held) {
    if (stated == 0 || held == 0) findings.add(place, both(stated, held));
  });
}

void check_baud_rates(const DescriptionView& view, const Findings& findings) {
  constexpr std::string_view kStart = "BaudRate_";
  const Section* device = view.section("DeviceInfo");
  if (device == nullptr) return;
  bool any = false;
  for (const auto* line = view.begin(*device); line != view.end(*device); ++line) {
    if (line->name.size() < kStart.size() ||
        !equal_without_case(line->name.substr(0, kStart.size()), kStart)) {
      continue;
    }
    const std::string_view rate = line->name.substr(kStart.size());
    const bool flag = line->value.empty() || is_flag(line->value);
    if (std::find(kRates.begin(), kRates.end(), rate) == kRates.end()) {
      findings.add(device->at(*line), "no bit rate of CiA 301");
    } else if (!flag) {
      findings.add(device->at(*line), line->value);
    }
    any = any || number_of(line->value) == 1;
  }
  if (!any) findings.add(device->place(), "none is supported");
}

constexpr std::array<std::string_view, 4> kFlags = {"SimpleBootUpMaster", "SimpleBootUpSlave",
                                                    "GroupMessaging", "LSS_Supported"};

void check_device_flags(const DescriptionView& view, const Findings& findings) {
  const Section* device = view.section("DeviceInfo");
  for (const std::string_view name : kFlags) {
    const KeyLine* line = view.key(device, name);
    if (line == nullptr || line->value.empty()) continue;
    if (!is_flag(line->value)) findings.add(device->at(*line), line->value);
  }
}

void check_absent_flags(const DescriptionView& view, const Findings& findings) {
  const Section* device = view.section("DeviceInfo");
  if (device == nullptr) return;
  for (const std::string_view name : kFlags) {
    if (view.key(device, name) == nullptr) findings.add(view.place(device, name), {}, "0");
  }
}

void check_granularity(const DescriptionView& view, const Findings& findings) {
  const Section* device = view.section("DeviceInfo");
  if (device == nullptr) return;
  const auto number = view.number(device, "Granularity");
  if (number && *number >= 0 && *number <= 64) return;
  const KeyLine* line = view.key(device, "Granularity");
  findings.add(view.place(device, "Granularity"), line == nullptr ? "the key is missing" : line->value);
}

void check_old_keys(const DescriptionView& view, const Findings& findings) {
  const Section* device = view.section("DeviceInfo");
  if (device == nullptr) return;
  for (const auto* line = view.begin(*device); line != view.end(*device); ++line) {
    const bool old = is_one_of(line->name, {"ProductVersion", "ProductRevision", "ExtendedBootUpMaster",
                                            "ExtendedBootUpSlave"}) ||
                     equal_without_case(line->name.substr(0, 4), "LMT_");
    if (old) findings.add(device->at(*line));
  }
}

void check_dynamic_channels(const DescriptionView& view, const Findings& findings) {
  const Section* device = view.section("DeviceInfo");
  const bool supported = view.number(device, "DynamicChannelsSupported").value_or(0) != 0;
  const bool described = view.section("DynamicChannels") != nullptr;
  if (supported == described) return;
  findings.add(view.place(device, "DynamicChannelsSupported"),
               supported ? "the section is missing" : "the section stands without the number");
}

/** "Dummy" and the four digits of a basic data type, 0001 to 001B. */
bool is_dummy(std::string_view name) {
  constexpr std::string_view kStart = "Dummy";
  if (name.size() != kStart.size() + 4 || !equal_without_case(name.substr(0, kStart.size()), kStart))
    return false;
  const auto type = number_of("0x" + std::string(name.substr(kStart.size())));
  return type && *type >= 0x01 && *type <= 0x1B;
}

void check_dummies(const DescriptionView& view, const Findings& findings) {
  const Section* dummies = view.section("DummyUsage");
  if (dummies == nullptr) {
    findings.add({0, "DummyUsage"}, "the section is missing", "no dummies");
    return;
  }
  for (const auto* line = view.begin(*dummies); line != view.end(*dummies); ++line) {
    const bool named = is_dummy(line->name);
    if (!named || !is_flag(line->value)) findings.add(dummies->at(*line), line->value);
  }
}

void check_comments(const DescriptionView& view, const Findings& findings) {
  for (const Section& section : view.text().sections) {
    const bool module = section.name.size() > 9 && equal_without_case(section.name.substr(0, 1), "M") &&
                        equal_without_case(section.name.substr(section.name.size() - 8), "Comments");
    if (section.kind != SectionKind::INFO || (!module && !equal_without_case(section.name, "Comments")))
      continue;
    if (!is_counted(view, section, "Lines", "Line")) findings.add(view.place(&section, "Lines"));
  }
}

void check_object_links(const DescriptionView& view, const Findings& findings) {
  for (const auto& [index, sections] : view.indexes()) {
    if (sections.links == nullptr || is_counted(view, *sections.links, "ObjectLinks", "")) continue;
    findings.add(view.place(sections.links, "ObjectLinks"));
  }
}

constexpr std::array kRules = {
    Rule{Problem::FILE_VERSION, check_file_version},
    Rule{Problem::EDS_VERSION, check_eds_version},
    Rule{Problem::DATE, check_dates},
    Rule{Problem::TIME, check_times},
    Rule{Problem::TEXT_TOO_LONG, check_text_lengths},
    Rule{Problem::IDENTITY, check_identity},
    Rule{Problem::IDENTITY_OPEN, check_open_identity},
    Rule{Problem::BAUD_RATE, check_baud_rates},
    Rule{Problem::DEVICE_FLAG, check_device_flags},
    Rule{Problem::DEVICE_FLAG_ABSENT, check_absent_flags},
    Rule{Problem::GRANULARITY, check_granularity},
    Rule{Problem::OLD_KEY, check_old_keys},
    Rule{Problem::DYNAMIC_CHANNELS, check_dynamic_channels},
    Rule{Problem::DUMMY_USAGE, check_dummies},
    Rule{Problem::COMMENT_LINES, check_comments},
    Rule{Problem::OBJECT_LINKS, check_object_links},
};

}  // namespace

RuleTable info_rules() {
  return table_of(kRules);
}

}  // namespace nkr::tools

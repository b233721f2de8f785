#include "eds/SectionName.hpp"

#include <algorithm>
#include <array>
#include <charconv>

#include "text/IniLines.hpp"

namespace nkr::tools {

namespace {

constexpr std::size_t kIndexDigits = 4;

struct Suffix {
  std::string_view text;
  SectionKind kind;
};

constexpr std::array kSuffixes = {
    Suffix{"Name", SectionKind::NAMES},
    Suffix{"Value", SectionKind::VALUES},
    Suffix{"Denotation", SectionKind::DENOTATIONS},
    Suffix{"ObjectLinks", SectionKind::LINKS},
};

constexpr std::array<std::string_view, 3> kLists = {"MandatoryObjects", "OptionalObjects",
                                                    "ManufacturerObjects"};

constexpr std::array<std::string_view, 11> kInfo = {"FileInfo",
                                                    "DeviceInfo",
                                                    "DummyUsage",
                                                    "Comments",
                                                    "StandardDataTypes",
                                                    "SupportedModules",
                                                    "ConnectedModules",
                                                    "DeviceComissioning",
                                                    "DeviceCommissioning",
                                                    "DynamicChannels",
                                                    "Tools"};

bool is_hexadecimal(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

std::size_t leading_digits(std::string_view text) {
  return static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), is_hexadecimal) - text.begin());
}

/** The digits as a number; nothing when there are none, others, or it is above the limit. */
std::optional<std::uint32_t> hexadecimal(std::string_view text, std::uint32_t limit) {
  std::uint32_t value = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value, 16);
  if (text.empty() || error != std::errc() || stop != end || value > limit) return std::nullopt;
  return value;
}

bool starts_with_sub(std::string_view text) {
  return text.size() >= 3 && equal_without_case(text.substr(0, 3), "sub");
}

void classify_sub(Section& section, std::string_view digits, Diagnostics& diagnostics) {
  const auto subindex = hexadecimal(digits, 0xFF);
  if (subindex) {
    section.kind = SectionKind::SUB;
    section.subindex = static_cast<std::uint8_t>(*subindex);
  } else {
    diagnostics.report(Problem::SUBINDEX_RANGE, section.place(), section.name, "nothing of this section");
  }
}

bool classify_index(Section& section, Diagnostics& diagnostics) {
  section.index = static_cast<std::uint16_t>(*hexadecimal(section.name.substr(0, kIndexDigits), 0xFFFF));
  if (section.index != 0) return true;
  diagnostics.report(Problem::INDEX_RANGE, section.place(), section.name, "nothing of this section");
  return false;
}

/** A name that begins with four digits and goes on; false when it is no name of an object's section. */
bool classify_object(Section& section, Diagnostics& diagnostics) {
  const std::string_view rest = section.name.substr(kIndexDigits);
  if (rest.empty()) {
    if (classify_index(section, diagnostics)) section.kind = SectionKind::OBJECT;
    return true;
  }
  if (starts_with_sub(rest)) {
    if (classify_index(section, diagnostics)) classify_sub(section, rest.substr(3), diagnostics);
    return true;
  }
  for (const Suffix& suffix : kSuffixes) {
    if (!equal_without_case(rest, suffix.text)) continue;
    if (classify_index(section, diagnostics)) section.kind = suffix.kind;
    return true;
  }
  return false;
}

}  // namespace

bool is_known_section(std::string_view name) {
  const auto same = [name](std::string_view known) { return equal_without_case(name, known); };
  if (std::any_of(kInfo.begin(), kInfo.end(), same)) return true;
  // Modules: M1ModuleInfo, M1FixedObjects, M1SubExtends, M1SubExt2000 ...
  return name.size() > 2 && (name[0] == 'M' || name[0] == 'm') && name[1] >= '0' && name[1] <= '9';
}

void classify(Section& section, Diagnostics& diagnostics) {
  const std::string_view name = section.name;
  const std::size_t digits = leading_digits(name);
  // "1003Denotation" begins with six hexadecimal digits.
  if (digits >= kIndexDigits && classify_object(section, diagnostics)) return;
  const bool all_digits = digits == name.size() || starts_with_sub(name.substr(digits));
  if (digits > 0 && all_digits) {
    diagnostics.report(Problem::INDEX_RANGE, section.place(), name, "nothing of this section");
    return;
  }
  const bool named = !name.empty() && (name[0] < '0' || name[0] > '9');
  if (!named || name.find_first_of("[]") != std::string_view::npos) {
    diagnostics.report(Problem::SECTION_NAME, section.place(), name, "nothing of this section");
    return;
  }
  const auto same = [name](std::string_view known) { return equal_without_case(name, known); };
  const bool list = std::any_of(kLists.begin(), kLists.end(), same);
  section.kind = list ? SectionKind::OBJECT_LIST : SectionKind::INFO;
  if (!list && !is_known_section(name)) diagnostics.report(Problem::UNKNOWN_SECTION, section.place(), name);
}

}  // namespace nkr::tools

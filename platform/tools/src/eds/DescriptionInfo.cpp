#include "eds/DescriptionInfo.hpp"

#include <algorithm>
#include <array>
#include <nkr/tools/ObjectValue.hpp>

#include "text/IniLines.hpp"
#include "text/TextEncoding.hpp"

namespace nkr::tools {

namespace {

constexpr std::size_t kMostOfName = 255;
// CiA 306 has one m; most people write two.
constexpr std::string_view kCommissioning = "DeviceComissioning";
constexpr std::string_view kCommissioningWell = "DeviceCommissioning";

constexpr std::array<std::string_view, 12> kNumbers = {
    "VendorNumber",   "ProductNumber",      "RevisionNumber",    "Granularity",   "NrOfRXPDO",
    "NrOfTXPDO",      "SimpleBootUpMaster", "SimpleBootUpSlave", "LSS_Supported", "DynamicChannelsSupported",
    "GroupMessaging", "CompactPDO"};

bool is_number_key(std::string_view name) {
  return std::any_of(kNumbers.begin(), kNumbers.end(),
                     [name](std::string_view known) { return equal_without_case(known, name); });
}

bool is_info_number(std::string_view text) {
  const auto number = number_of(text);
  return number && *number >= 0 && *number <= 0xFFFFFFFF;
}

}  // namespace

bool DescriptionInfo::WithoutCase::operator()(std::string_view a, std::string_view b) const {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
  return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(),
                                      [lower](char x, char y) { return lower(x) < lower(y); });
}

DescriptionInfo::DescriptionInfo(const DescriptionText& text, Diagnostics& diagnostics) {
  bool lists = false;
  for (const Section& section : text.sections) {
    lists = lists || section.kind == SectionKind::OBJECT_LIST;
    if (section.kind == SectionKind::INFO) add(text, section, diagnostics);
  }
  of_canopen_ = of_canopen_ || lists;
  check_sections(diagnostics);
}

void DescriptionInfo::add(const DescriptionText& text, const Section& section, Diagnostics& diagnostics) {
  if (section.name.size() > kMostOfName) return;
  of_canopen_ = of_canopen_ || equal_without_case(section.name, "FileInfo") ||
                equal_without_case(section.name, "DeviceInfo");
  const auto [at, added] = sections_.try_emplace(to_utf8(section.name));
  if (!added) {
    const bool same = is_same(text, section, at->second);
    diagnostics.report(same ? Problem::DOUBLE_SECTION : Problem::DIFFERENT_SECTION, section.place(),
                       section.name, "the first one");
    return;
  }
  if (equal_without_case(section.name, kCommissioningWell)) {
    diagnostics.report(Problem::COMMISSIONING_SPELLING, section.place(), section.name, "the same section");
  }
  const bool device = equal_without_case(section.name, "DeviceInfo");
  for (std::size_t i = section.first; i < section.first + section.count; ++i) {
    const KeyLine& line = text.keys[i];
    if (line.name.size() > kMostOfName) continue;
    const auto [known, added_key] = at->second.try_emplace(to_utf8(line.name), to_utf8(line.value));
    if (!added_key) {
      const bool same = known->second == to_utf8(line.value);
      diagnostics.report(same ? Problem::DOUBLE_KEY : Problem::DIFFERENT_KEY, section.at(line), line.value,
                         "the first one");
    } else if (device && is_number_key(line.name) && !is_info_number(line.value)) {
      diagnostics.report(line.value.empty() ? Problem::EMPTY_INFO : Problem::INFO_NUMBER, section.at(line),
                         line.value, "no value");
    }
  }
}

/** True when a section says again what the keys say. */
bool DescriptionInfo::is_same(const DescriptionText& text, const Section& section, const Keys& keys) {
  for (std::size_t i = section.first; i < section.first + section.count; ++i) {
    const auto known = keys.find(to_utf8(text.keys[i].name));
    if (known == keys.end() || known->second != to_utf8(text.keys[i].value)) return false;
  }
  return section.count == keys.size();
}

void DescriptionInfo::check_sections(Diagnostics& diagnostics) const {
  for (const std::string_view name : {"FileInfo", "DeviceInfo"}) {
    if (sections_.find(name) == sections_.end()) {
      diagnostics.report(Problem::MISSING_SECTION, {}, name, "no values");
    }
  }
}

std::optional<std::string> DescriptionInfo::find(std::string_view section, std::string_view key) const {
  const auto keys = sections_.find(section);
  if (keys == sections_.end()) return std::nullopt;
  const auto value = keys->second.find(key);
  if (value == keys->second.end()) return std::nullopt;
  return value->second;
}

std::optional<std::uint8_t> DescriptionInfo::node_id() const {
  for (const std::string_view section : {kCommissioning, kCommissioningWell}) {
    const auto text = find(section, "NodeID");
    const auto number = text ? number_of(*text) : std::nullopt;
    if (number && *number >= 1 && *number <= 127) return static_cast<std::uint8_t>(*number);
  }
  return std::nullopt;
}

}  // namespace nkr::tools

#include "ConfigurationReader.hpp"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <tav/host/nearest.hpp>
#include <tav/host/readable.hpp>
#include <tav/host/words.hpp>
#include <utility>

namespace tav::host {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kDefault = "default";
constexpr std::string_view kVehicle = "vehicle";
constexpr std::string_view kUnit = "unit ";
/** What HardwareHelper reads of a hardware section, besides the members of a Config. */
constexpr std::string_view kVersions = "compatibleHWVersions";
constexpr double kWidest = 1e6;

/** The name in "unit NAME"; empty for another section. */
std::string unit_name(std::string_view section) {
  if (section.substr(0, kUnit.size()) != kUnit) return {};
  const std::size_t name = section.find_first_not_of(" \t", kUnit.size());
  return name == section.npos ? "" : std::string(section.substr(name));
}

std::string form_of(const ConfigurationKey& key) {
  return std::string("expected ") + key.expected;
}

std::vector<std::string> key_names() {
  std::vector<std::string> names;
  for (const ConfigurationKey& key : configuration_keys()) names.emplace_back(key.name);
  names.emplace_back(kVersions);
  return names;
}

}  // namespace

ConfigurationReader::ConfigurationReader(const nkr::tools::INIText& text, std::string path)
    : text_(text), path_(std::move(path)) {
  for (const Entry& entry : text_.entries) entries_.try_emplace({entry.section, entry.key}, &entry);
}

std::vector<UnitConfiguration> ConfigurationReader::read_units() {
  note_unclear_lines();
  std::vector<std::string> sections;
  for (const auto& section : text_.sections) {
    const bool is_unit = !unit_name(section.name).empty();
    if (is_unit && std::find(sections.begin(), sections.end(), section.name) == sections.end()) {
      sections.push_back(section.name);
    }
  }
  const bool default_is_unit = entries_.count({std::string(kDefault), "nodeId"}) != 0;
  if (sections.empty() || default_is_unit) sections.insert(sections.begin(), std::string(kDefault));
  std::vector<UnitConfiguration> units;
  for (const std::string& section : sections) {
    UnitConfiguration unit;
    unit.name = unit_name(section);
    unit.values.path = path_;
    read_unit(section, unit);
    units.push_back(std::move(unit));
  }
  note_repeated_node_ids(units);
  return units;
}

void ConfigurationReader::read_unit(const std::string& section, UnitConfiguration& unit) {
  if (!unit.name.empty()) unit.values.context_id = 1;
  for (const ConfigurationKey& key : configuration_keys()) read_key(key, section, unit);
}

void ConfigurationReader::read_key(const ConfigurationKey& key, const std::string& section,
                                   UnitConfiguration& unit) {
  const Entry* const entry = find_for(key, section, unit);
  const bool is_default = unit.name.empty();
  if (entry == nullptr) {
    const bool is_needed = is_default ? key.is_needed_in_default : key.is_needed_in_unit;
    const bool has_hardware = has_section(unit.values.hw_configuration_entry);
    const std::string& home = is_default && key.is_hardware ? unit.values.hw_configuration_entry : section;
    if (is_needed && (!key.is_hardware || !is_default || has_hardware)) {
      mistake_at(line_of(home), home, std::string(key.name), "is missing", form_of(key));
    }
    return;
  }
  if (!assign(key, entry->value, unit)) return mistake(*entry, form_of(key));
  const bool is_path = key.name == "CANOpenEDSFile";
  if (is_path) find_description(*entry, unit);
  if (key.name == "HWConfigurationEntry") see_hardware_section(*entry);
  if (is_in_range(key, unit)) return;
  // Programs that load such a file with Config::load() live with it.
  is_default ? warn(*entry, "= " + entry->value, form_of(key)) : mistake(*entry, form_of(key));
}

const ConfigurationReader::Entry* ConfigurationReader::find_for(const ConfigurationKey& key,
                                                                const std::string& section,
                                                                const UnitConfiguration& unit) {
  const std::string fallback = key.is_hardware ? unit.values.hw_configuration_entry : std::string(kDefault);
  if (unit.name.empty()) return find(fallback, key.name);
  const Entry* const own = find(section, key.name);
  return own != nullptr ? own : find(fallback, key.name);
}

const ConfigurationReader::Entry* ConfigurationReader::find(const std::string& section,
                                                            std::string_view key) {
  const auto found = entries_.find({section, std::string(key)});
  if (found == entries_.end()) return nullptr;
  used_[found->second] = true;
  return found->second;
}

void ConfigurationReader::see_hardware_section(const Entry& entry) {
  if (!has_section(entry.value)) return mistake(entry, "there is no section [" + entry.value + ']');
  hardware_sections_.push_back(entry.value);
}

/** Where the program runs, else beside the configuration. */
void ConfigurationReader::find_description(const Entry& entry, UnitConfiguration& unit) {
  const std::string& named = entry.value;
  const std::string why = why_unreadable(named);
  if (why.empty()) return;
  if (named.empty())
    return mistake(entry, "expected the path of the drive's description, such as share/tav/tav.eds");
  if (fs::path(named).is_absolute()) return mistake(entry, why);
  const std::string beside = (fs::path(path_).parent_path() / named).string();
  if (beside != named && why_unreadable(beside).empty()) {
    unit.values.canopen_eds_file_path = beside;
    return;
  }
  std::error_code error;
  const std::string here = (fs::current_path(error) / named).string();
  std::string places = here;
  if (beside != named) places += ", " + beside;
  mistake(entry, "there is no such file; looked for: " + places);
}

std::optional<VehicleConfiguration> ConfigurationReader::read_vehicle(
    const std::vector<UnitConfiguration>& units) {
  std::optional<VehicleConfiguration> result;
  if (has_section(kVehicle)) {
    VehicleConfiguration vehicle;
    constexpr const char* kExpected =
        "expected millimetres, a number above 0 with a decimal point, such as 400.0";
    const Entry* const width = find(std::string(kVehicle), "trackWidth");
    const auto number = width != nullptr ? nkr::tools::ini_real(width->value) : std::nullopt;
    if (width == nullptr) {
      mistake_at(line_of(kVehicle), std::string(kVehicle), "trackWidth", "is missing", kExpected);
    } else if (!number || *number <= 0 || *number > kWidest) {
      mistake(*width, kExpected);
    }
    vehicle.track_width = number.value_or(0.0);
    vehicle.left = read_wheel("left", units);
    vehicle.right = read_wheel("right", units);
    result = std::move(vehicle);
  }
  note_unused();
  return result;
}

std::string ConfigurationReader::read_wheel(const char* key, const std::vector<UnitConfiguration>& units) {
  std::vector<std::string> names;
  for (const UnitConfiguration& unit : units) {
    if (!unit.name.empty()) names.push_back(unit.name);
  }
  const std::string expected = "expected the name of a unit of this file" +
                               (names.empty() ? ": there is no [unit NAME]" : ": " + joined(names));
  const Entry* const entry = find(std::string(kVehicle), key);
  if (entry == nullptr) {
    mistake_at(line_of(kVehicle), std::string(kVehicle), key, "is missing", expected);
    return {};
  }
  if (std::find(names.begin(), names.end(), entry->value) == names.end()) mistake(*entry, expected);
  return entry->value;
}

void ConfigurationReader::note_unclear_lines() {
  for (const auto& line : text_.unclear) {
    mistake_at(line.line, {}, {}, '"' + line.text + '"',
               "expected [section], key = value, or a comment after ; or #");
  }
}

void ConfigurationReader::note_repeated_node_ids(const std::vector<UnitConfiguration>& units) {
  std::map<int, std::string> seen;
  for (const UnitConfiguration& unit : units) {
    const auto [first, is_new] = seen.try_emplace(unit.values.node_id, unit.name);
    if (is_new || unit.values.node_id == 0) continue;
    const std::string section = std::string(kUnit) + unit.name;
    const auto own = entries_.find({section, "nodeId"});
    const std::string other = first->second.empty() ? "[default]" : "[unit " + first->second + ']';
    mistake_at(own != entries_.end() ? own->second->line : line_of(section), section, "nodeId",
               "= " + std::to_string(unit.values.node_id),
               "expected another node id than " + other + ": two nodes of a bus cannot share one");
  }
}

/** Runs last: by then it is known which keys were asked for. */
void ConfigurationReader::note_unused() {
  const std::vector<std::string> names = key_names();
  for (const Entry& entry : text_.entries) {
    const Entry* const first = entries_.at({entry.section, entry.key});
    if (first != &entry) {
      warn(entry, "= " + entry.value, "line " + std::to_string(first->line) + " says it first, and holds");
      continue;
    }
    if (used_.count(&entry) != 0) continue;
    const bool is_known = std::find(names.begin(), names.end(), entry.key) != names.end();
    // Hardware sections that no unit names may be another program's, or for checkHWCompatibility().
    const bool is_elsewhere = entry.section != kDefault && unit_name(entry.section).empty() &&
                              entry.section != kVehicle && !entry.section.empty();
    if (is_known && (is_elsewhere || !unit_name(entry.section).empty())) continue;
    const bool is_hardware = std::find(hardware_sections_.begin(), hardware_sections_.end(), entry.section) !=
                             hardware_sections_.end();
    if (is_elsewhere && !is_hardware) {
      warn(entry, "is in a section that nothing uses",
           did_you_mean(nearest_names(
               entry.section, {std::string(kDefault), std::string(kVehicle), std::string(kUnit) + "NAME"})));
      continue;
    }
    warn(entry, "is a key that nothing uses", unknown_key_help(entry));
  }
}

std::string ConfigurationReader::unknown_key_help(const Entry& entry) const {
  std::vector<std::string> names = key_names();
  if (entry.section == kVehicle) names = {"trackWidth", "left", "right"};
  if (entry.section.empty()) return "it stands before the first [section]";
  const bool is_misplaced = std::find(names.begin(), names.end(), entry.key) != names.end();
  if (is_misplaced) return "it belongs into the section that HWConfigurationEntry names";
  return did_you_mean(nearest_names(entry.key, names));
}

bool ConfigurationReader::has_section(std::string_view name) const {
  return line_of(name) != 0;
}

std::size_t ConfigurationReader::line_of(std::string_view section) const {
  for (const auto& one : text_.sections) {
    if (one.name == section) return one.line;
  }
  return 0;
}

void ConfigurationReader::mistake(const Entry& entry, std::string expected) {
  mistake_at(entry.line, entry.section, entry.key, "= " + entry.value, std::move(expected));
}

void ConfigurationReader::mistake_at(std::size_t line, const std::string& section, const std::string& key,
                                     std::string found, std::string expected) {
  add({true, line, section, key, std::move(found), std::move(expected)});
}

void ConfigurationReader::warn(const Entry& entry, std::string found, std::string expected) {
  add({false, entry.line, entry.section, entry.key, std::move(found), std::move(expected)});
}

/** What several units have from one line is said once. */
void ConfigurationReader::add(ConfigurationRemark remark) {
  const auto is_same = [&remark](const ConfigurationRemark& other) {
    return other.line == remark.line && other.section == remark.section && other.key == remark.key &&
           other.found == remark.found;
  };
  if (std::none_of(remarks_.begin(), remarks_.end(), is_same)) remarks_.push_back(std::move(remark));
}

std::vector<ConfigurationRemark> ConfigurationReader::remarks() const {
  std::vector<ConfigurationRemark> sorted = remarks_;
  std::stable_sort(sorted.begin(), sorted.end(),
                   [](const auto& a, const auto& b) { return a.line < b.line; });
  return sorted;
}

}  // namespace tav::host

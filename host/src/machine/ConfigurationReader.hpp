#ifndef TAV_HOST_SRC_MACHINE_CONFIGURATIONREADER_HPP
#define TAV_HOST_SRC_MACHINE_CONFIGURATIONREADER_HPP

#include <map>
#include <nkr/tools/INIText.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <tav/host/HostConfiguration.hpp>
#include <vector>

#include "ConfigurationKeys.hpp"

namespace tav::host {

/** Makes units and a vehicle of an INI text, with a remark for everything that is not as it should be. */
class ConfigurationReader {
 public:
  /** @param path  of the file, beside which descriptions are looked for */
  ConfigurationReader(const nkr::tools::INIText& text, std::string path);

  [[nodiscard]] std::vector<UnitConfiguration> read_units();
  /** Of those units. */
  [[nodiscard]] std::optional<VehicleConfiguration> read_vehicle(const std::vector<UnitConfiguration>& units);
  /** In the order of the lines. */
  [[nodiscard]] std::vector<ConfigurationRemark> remarks() const;

 private:
  using Entry = nkr::tools::INIText::Entry;

  void note_unclear_lines();
  void note_unused();
  void note_repeated_node_ids(const std::vector<UnitConfiguration>& units);
  void read_unit(const std::string& section, UnitConfiguration& unit);
  void read_key(const ConfigurationKey& key, const std::string& section, UnitConfiguration& unit);
  void find_description(const Entry& entry, UnitConfiguration& unit);
  void see_hardware_section(const Entry& entry);
  [[nodiscard]] const Entry* find(const std::string& section, std::string_view key);
  /** Where the unit of that section has the key from. */
  [[nodiscard]] const Entry* find_for(const ConfigurationKey& key, const std::string& section,
                                      const UnitConfiguration& unit);
  [[nodiscard]] bool has_section(std::string_view name) const;
  [[nodiscard]] std::string read_wheel(const char* key, const std::vector<UnitConfiguration>& units);
  void mistake(const Entry& entry, std::string expected);
  void mistake_at(std::size_t line, const std::string& section, const std::string& key, std::string found,
                  std::string expected);
  void warn(const Entry& entry, std::string found, std::string expected);
  void add(ConfigurationRemark remark);
  [[nodiscard]] std::size_t line_of(std::string_view section) const;
  [[nodiscard]] std::string unknown_key_help(const Entry& entry) const;

  const nkr::tools::INIText& text_;
  std::string path_;
  /** The first entry of each key: section, key. */
  std::map<std::pair<std::string, std::string>, const Entry*> entries_;
  std::map<const Entry*, bool> used_;
  std::vector<std::string> hardware_sections_;
  std::vector<ConfigurationRemark> remarks_;
};

}  // namespace tav::host

#endif

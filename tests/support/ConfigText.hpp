#ifndef TESTS_SUPPORT_CONFIGTEXT_HPP
#define TESTS_SUPPORT_CONFIGTEXT_HPP

#include <map>
#include <string>

namespace tavtest {

using ConfigValues = std::map<std::string, std::string>;

/** A configuration file with every key that the library reads; `values` replaces or adds, an empty text
 * removes. */
inline std::string config_text(const ConfigValues& values = {}) {
  ConfigValues settings{{"contextId", "7"},
                        {"nodeId", "5"},
                        {"HWConfigurationEntry", "hw"},
                        {"CANOpenEDSFile", "share/tav/tav.eds"},
                        {"targetVelocityTimeoutMs", "250"},
                        {"maxMaintenanceSpeedValue", "300"}};
  ConfigValues hardware{{"nbStepRevolutionElec", "6"}, {"nbPolePair", "4"},
                        {"reduction", "10.5"},         {"diameter", "200.25"},
                        {"device", "/dev/null"},       {"compatibleHWVersions", "1.0.0.0"}};
  for (const auto& [key, value] : values) {
    (hardware.count(key) != 0 ? hardware : settings)[key] = value;
  }
  const auto section = [](const std::string& name, const ConfigValues& keys) {
    std::string text = "[" + name + "]\n";
    for (const auto& [key, value] : keys) {
      if (!value.empty()) text += key + " = " + value + "\n";
    }
    return text;
  };
  return section("default", settings) + section("hw", hardware);
}

}  // namespace tavtest

#endif

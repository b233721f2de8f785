#include "ConfigurationKeys.hpp"

#include <nkr/tools/INIText.hpp>

namespace tav::host {

using Values = nkr::tavcore::ConfigValues;

const std::vector<ConfigurationKey>& configuration_keys() {
  constexpr double kAny = -2147483648.0;
  constexpr double kMost = 2147483647.0;
  constexpr double kMostReal = 1e9;
  constexpr double kLeastReal = 1e-9;
  constexpr bool kHardware = true;
  constexpr bool kNeeded = true;
  static const std::vector<ConfigurationKey> keys = {
      {"contextId", &Values::context_id, !kHardware, !kNeeded, kNeeded, kAny, kMost,
       "a whole number, such as 1"},
      {"nodeId", &Values::node_id, !kHardware, kNeeded, kNeeded, 1, 127, "a node id, 1 to 127, such as 10"},
      {"HWConfigurationEntry", &Values::hw_configuration_entry, !kHardware, !kNeeded, kNeeded, 0, 0,
       "the name of the section that describes the hardware, such as tav_unit"},
      {"CANOpenEDSFile", &Values::canopen_eds_file_path, !kHardware, kNeeded, kNeeded, 0, 0,
       "the path of the drive's description, such as share/tav/tav.eds"},
      {"targetVelocityTimeoutMs", &Values::target_velocity_timeout_ms, !kHardware, !kNeeded, kNeeded, kAny,
       kMost, "a whole number of milliseconds, such as 100"},
      {"maxMaintenanceSpeedValue", &Values::max_maintenance_speed_value, !kHardware, kNeeded, kNeeded, 1,
       kMost, "a velocity in the drive's unit, a whole number from 1 up, such as 300"},
      {"nbStepRevolutionElec", &Values::nb_step_revolution_elec, kHardware, kNeeded, kNeeded, 1, kMost,
       "a whole number from 1 up, such as 360"},
      {"nbPolePair", &Values::nb_pole_pair, kHardware, kNeeded, kNeeded, 1, kMost,
       "a whole number from 1 up, such as 7"},
      {"reduction", &Values::reduction, kHardware, kNeeded, kNeeded, kLeastReal, kMostReal,
       "a number above 0 with a decimal point, such as 10.0"},
      {"diameter", &Values::diameter, kHardware, kNeeded, kNeeded, kLeastReal, kMostReal,
       "millimetres, a number above 0 with a decimal point, such as 200.0"},
      {"device", &Values::usb_port, kHardware, !kNeeded, kNeeded, 0, 0,
       "the path of the serial device, such as /dev/ttyUSB0"},
      {"sense", &UnitConfiguration::is_inverted, kHardware, !kNeeded, !kNeeded, 0, 0, "normal or inverted"},
  };
  return keys;
}

namespace {

/** Takes a text for the member that it is to become. */
class Assignment {
 public:
  Assignment(std::string_view text, UnitConfiguration& unit) : text_(text), unit_(unit) {}

  bool operator()(int Values::*member) const {
    const auto number = nkr::tools::ini_integer(text_);
    if (number) unit_.values.*member = *number;
    return number.has_value();
  }
  bool operator()(double Values::*member) const {
    const auto number = nkr::tools::ini_real(text_);
    if (number) unit_.values.*member = *number;
    return number.has_value();
  }
  bool operator()(std::string Values::*member) const {
    unit_.values.*member = text_;
    return true;
  }
  bool operator()(bool UnitConfiguration::*member) const {
    const bool is_set = text_ == "inverted";
    if (!is_set && text_ != "normal") return false;
    unit_.*member = is_set;
    return true;
  }

 private:
  std::string_view text_;
  UnitConfiguration& unit_;
};

}  // namespace

bool assign(const ConfigurationKey& key, std::string_view text, UnitConfiguration& unit) {
  return std::visit(Assignment(text, unit), key.target);
}

bool is_in_range(const ConfigurationKey& key, const UnitConfiguration& unit) {
  double value = 0.0;
  if (const auto* const whole = std::get_if<int Values::*>(&key.target)) {
    value = unit.values.**whole;
  } else if (const auto* const real = std::get_if<double Values::*>(&key.target)) {
    value = unit.values.**real;
  } else {
    return true;
  }
  return value >= key.low && value <= key.high;
}

}  // namespace tav::host

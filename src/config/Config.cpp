#include <fstream>
#include <mutex>
#include <nkr/tools/HardwareHelper.hpp>
#include <nkr/tools/INIParser.hpp>
#include <tavcore/Config.hpp>

#include "../logging/LogRecord.hpp"

namespace nkr::tavcore {
namespace {

/** The process has one reader of INI files: held from parsing a file to the last setting taken from it. */
std::mutex reader_in_use;

}  // namespace

Config Config::from_values(const ConfigValues& values) {
  Config config;
  config.path_ = values.path;
  config.context_id_ = values.context_id;
  config.node_id_ = values.node_id;
  config.hw_configuration_entry_ = values.hw_configuration_entry;
  config.nb_step_revolution_elec_ = values.nb_step_revolution_elec;
  config.nb_pole_pair_ = values.nb_pole_pair;
  config.reduction_ = values.reduction;
  config.diameter_ = values.diameter;
  config.usb_port_ = values.usb_port;
  config.canopen_eds_file_path_ = values.canopen_eds_file_path;
  config.target_velocity_timeout_ms_ = values.target_velocity_timeout_ms;
  config.max_maintenance_speed_value_ = values.max_maintenance_speed_value;
  return config;
}

nkr_error_t Config::load(const std::string& path) {
  const nkr_error_t settings = load_settings(path);
  if (settings != NKR_OK) return settings;
  const nkr_error_t hardware = load_hardware(path);
  if (hardware != NKR_OK) return hardware;
  path_ = path;
  return NKR_OK;
}

nkr_error_t Config::load_settings(const std::string& path) {
  std::unique_lock<std::mutex> reading(reader_in_use, std::defer_lock);
  const auto fail = [&](auto make_text, std::uint32_t line = __builtin_LINE()) {
    if (reading.owns_lock()) reading.unlock();  // a log is the program's own: it may load, too
    log_record_with(
        {static_cast<std::uint32_t>(context_id_), NKR_LOG_FAILURE, Here::now("load", line), "Config"},
        make_text);
    return NKR_NOT_AVAILABLE;
  };

  std::ifstream stream(path);
  if (!stream.is_open()) return fail([&] { return "Can't open config file : " + path; });
  tools::INIParserClass& ini = tools::INIParser::instance();
  reading.lock();
  if (!ini.parse(stream, true)) return fail([&] { return "Error during parsing of config file : " + path; });

  const std::string section = "default";
  const auto invalid = [&](const char* key, std::uint32_t line = __builtin_LINE()) {
    return fail([&] { return std::string("Invalid type for ") + key; }, line);
  };
  if (!ini.getInteger("contextId", context_id_, section)) return invalid("contextId");
  if (!ini.getInteger("nodeId", node_id_, section)) return invalid("nodeId");
  if (!ini.getString("HWConfigurationEntry", hw_configuration_entry_, section)) {
    return invalid("HWConfigurationEntry");
  }
  if (!ini.getString("CANOpenEDSFile", canopen_eds_file_path_, section)) return invalid("CANOpenEDSFile");
  if (!ini.getInteger("targetVelocityTimeoutMs", target_velocity_timeout_ms_, section)) {
    return invalid("targetVelocityTimeoutMs");
  }
  if (!ini.getInteger("maxMaintenanceSpeedValue", max_maintenance_speed_value_, section)) {
    return invalid("maxMaintenanceSpeedValue");
  }
  return NKR_OK;
}

nkr_error_t Config::load_hardware(const std::string& path) {
  tools::HardwareHelper hardware(static_cast<unsigned int>(context_id_));
  nkr_error_t result = hardware.init(path);
  const auto member = [&](const char* name, auto& value) {
    if (result == NKR_OK) result = hardware.getHWConfigurationMember(name, value);
  };
  member("nbStepRevolutionElec", nb_step_revolution_elec_);
  member("nbPolePair", nb_pole_pair_);
  member("reduction", reduction_);
  member("diameter", diameter_);
  member("device", usb_port_);
  return result;
}

}  // namespace nkr::tavcore

#ifndef TAVCORE_CONFIG_HPP
#define TAVCORE_CONFIG_HPP

#include <nkr/error.h>
#include <nkr/export.h>

#include <string>
#include <tavcore/ConfigValues.hpp>

namespace nkr::tavcore {

/** The settings of the library, loaded from one INI file; read-only after load(). */
class NKR_EXPORT Config {
 public:
  Config() = default;

  /** A configuration with these settings, as if a file that holds them had been loaded. Checks nothing. */
  [[nodiscard]] static Config from_values(const ConfigValues& values);

  /**
   * Reads section "default" of the file and the hardware members of the section that "HWConfigurationEntry"
   * names. Stops at the first key that is absent or of another type; what was read before keeps its new
   * value. Any number of threads may load at once, each into a configuration of its own.
   * @return NKR_NOT_AVAILABLE for a file that cannot be read or a key that fails; never throws for bad
   * content
   */
  NKR_NODISCARD nkr_error_t load(const std::string& path);

  /** The file of the last load that succeeded; empty before. */
  [[nodiscard]] std::string getPath() const { return path_; }
  /** Context of every log message of the library. */
  [[nodiscard]] int getContextId() const { return context_id_; }
  /** CANopen node id of the drive. */
  [[nodiscard]] int getNodeId() const { return node_id_; }
  /** Name of the section that describes the hardware. */
  [[nodiscard]] std::string getHWConfigurationEntry() const { return hw_configuration_entry_; }
  /** Electrical steps of one electrical revolution of the motor. */
  [[nodiscard]] int getNbStepRevolutionElec() const { return nb_step_revolution_elec_; }
  /** Pole pairs of the motor. */
  [[nodiscard]] int getNbPolePair() const { return nb_pole_pair_; }
  /** Motor revolutions for one wheel revolution. */
  [[nodiscard]] double getReduction() const { return reduction_; }
  /** Wheel diameter; its unit is the unit of the odometry. */
  [[nodiscard]] double getDiameter() const { return diameter_; }
  /** Device node of the serial device. */
  [[nodiscard]] std::string getUsbPort() const { return usb_port_; }
  /** Path of the device description (EDS). */
  [[nodiscard]] std::string getCANOpenEDSFilePath() const { return canopen_eds_file_path_; }
  /** Read and kept; the library itself acts on no such time-out. Milliseconds. */
  [[nodiscard]] int getTargetVelocityTimeoutMs() const { return target_velocity_timeout_ms_; }
  /** The velocity that stands for 100 percent, in the drive's velocity unit; must not be 0. */
  [[nodiscard]] int getMaxMaintenanceSpeedValue() const { return max_maintenance_speed_value_; }

 private:
  NKR_NODISCARD nkr_error_t load_settings(const std::string& path);
  NKR_NODISCARD nkr_error_t load_hardware(const std::string& path);

  std::string path_;
  int context_id_ = 0;
  int node_id_ = 0;
  std::string hw_configuration_entry_;
  int nb_step_revolution_elec_ = 0;
  int nb_pole_pair_ = 0;
  double reduction_ = 0.0;
  double diameter_ = 0.0;
  std::string usb_port_;
  std::string canopen_eds_file_path_;
  int target_velocity_timeout_ms_ = 100;
  int max_maintenance_speed_value_ = 0;
};

}  // namespace nkr::tavcore

#endif

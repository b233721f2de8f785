#ifndef TAVCORE_CONFIGVALUES_HPP
#define TAVCORE_CONFIGVALUES_HPP

#include <string>

namespace nkr::tavcore {

/** The settings of the library as plain values, for a program that has them from elsewhere than an INI file:
 * Config::from_values() makes a Config of them. Each is what the accessor of Config with that name answers.
 */
struct ConfigValues {
  /** The file where HardwareHelper looks for hardware versions; empty: there is none. */
  std::string path;
  int context_id = 0;
  int node_id = 0;
  std::string hw_configuration_entry;
  int nb_step_revolution_elec = 0;
  int nb_pole_pair = 0;
  double reduction = 0.0;  ///< motor revolutions for one wheel revolution
  double diameter = 0.0;   ///< of the wheel; its unit is the unit of the odometry
  std::string usb_port;
  std::string canopen_eds_file_path;
  int target_velocity_timeout_ms = 100;
  int max_maintenance_speed_value = 0;  ///< must not be 0
};

}  // namespace nkr::tavcore

#endif

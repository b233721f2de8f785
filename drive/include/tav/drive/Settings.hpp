#ifndef TAV_DRIVE_SETTINGS_HPP
#define TAV_DRIVE_SETTINGS_HPP

#include <chrono>
#include <cstdint>
#include <nkr/can/Bus.hpp>
#include <string>

namespace tav::drive {

/** The drive's clock: what its caller says it is. Real time for people, stepped time for tests. */
using Time = nkr::can::Clock::time_point;
using Duration = nkr::can::Clock::duration;

/** Mechanics of the modelled unit; the members of the hardware section of tav.ini, and what a motor does. */
struct Mechanics {
  double steps_per_electrical_revolution = 4096;  ///< position counts of one electrical revolution
  double pole_pairs = 8;                          ///< electrical revolutions of one motor revolution
  double coast_deceleration = 500;                ///< loss of speed without torque, in 1/min per second
  double limit_deceleration = 20000;  ///< stop on the current or voltage limit, in 1/min per second
};

/** What a virtual drive is made with. */
struct Settings {
  std::uint8_t node_id = 0;  ///< 1 to 127; 0: the description's own
  Mechanics mechanics;
  std::string store_path;  ///< file of the non-volatile memory; empty: kept as long as the drive lives
};

}  // namespace tav::drive

#endif

#ifndef TAV_DRIVE_SETTINGS_HPP
#define TAV_DRIVE_SETTINGS_HPP

#include <chrono>
#include <cstdint>
#include <functional>
#include <nkr/can/Bus.hpp>
#include <optional>
#include <string>
#include <tav/drive/MotorParameters.hpp>
#include <tav/drive/Timing.hpp>

namespace tav::drive {

/** The drive's clock: what its caller says it is. Real time for people, stepped time for tests. */
using Time = nkr::can::Clock::time_point;
using Duration = nkr::can::Clock::duration;

/** Mechanics of the modelled unit; the members of the hardware section of tav.ini, and what a motor does. */
struct Mechanics {
  double steps_per_electrical_revolution = 4096;  ///< position counts of one electrical revolution
  double pole_pairs = 8;                          ///< electrical revolutions of one motor revolution
  double coast_deceleration = 500;                ///< loss of speed without torque, in 1/min per second
  double limit_deceleration = 20000;         ///< stop on the current or voltage limit, in 1/min per second
  double short_circuit_deceleration = 2000;  ///< by short-circuited phases, without supply too
  double brake_deceleration = 3300;          ///< by the applied brake of SBC
};

/** What the drive's sensors measure. */
struct Environment {
  std::int32_t battery_mv = 48000;
  std::int32_t phase_current_ma = 0;
  std::int32_t mosfet_1_celsius = 25;
  std::int32_t mosfet_2_celsius = 25;
  std::int32_t driver_celsius = 25;
};

/** What a virtual drive is made with. */
struct Settings {
  std::uint8_t node_id = 0;  ///< 1 to 127, as delivered: a stored one is preferred. 0: the description's own
  Mechanics mechanics;
  std::string store_path;  ///< file of the non-volatile memory; empty: kept as long as the drive lives
  std::function<void()> store_step;  ///< called before each step of writing it: to try out a power cut
  /** The motor, its load and its supply as physics has them; nothing: an ideal motor that is where it should.
   */
  std::optional<MotorParameters> motor;
  bool logs_scenario = false;  ///< take_events() tells what of a scenario happened, too
  Timing timing;               ///< how long it takes for what it does
};

}  // namespace tav::drive

#endif

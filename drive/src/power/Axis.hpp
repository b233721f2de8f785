#ifndef TAV_DRIVE_SRC_POWER_AXIS_HPP
#define TAV_DRIVE_SRC_POWER_AXIS_HPP

#include <cstdint>
#include <tav/drive/Settings.hpp>

namespace tav::drive {

/**
 * The turning motor: its speed runs towards a wanted speed on straight ramps, its position is the exact
 * integral of the speed. Speeds in 1/min, ramps in 1/min per second, positions in electrical steps.
 */
class Axis {
 public:
  /** Stands still at position 0. */
  explicit Axis(const Mechanics& mechanics);

  /** Lets it turn until then. */
  void advance(Time now);
  /** It has that speed now, and wants no other. */
  void begin_at(double velocity) { velocity_ = target_ = velocity; }
  /** The position is 0 here. */
  void forget_position() { position_ = 0; }
  /** Where its speed runs to from now on; a ramp that is not above 0 is no ramp: at once. */
  void run_to(double velocity, double acceleration, double deceleration);

  [[nodiscard]] double velocity() const { return velocity_; }
  [[nodiscard]] bool settled() const { return velocity_ == target_; }
  /** When it has the wanted speed; Time::max() when it has it already. */
  [[nodiscard]] Time settles_at() const;
  /** Position, in 32 bits as its counter has them. */
  [[nodiscard]] std::int32_t position() const;

 private:
  /** The ramp it is on: to a speed, in so many seconds. */
  struct Ramp {
    double end;
    double seconds;
  };
  [[nodiscard]] Ramp ramp_from(double velocity) const;

  double steps_per_second_;  // at 1/min
  Time now_{};
  double velocity_ = 0;
  double target_ = 0;
  double acceleration_ = 0;
  double deceleration_ = 0;
  double position_ = 0;
};

}  // namespace tav::drive

#endif

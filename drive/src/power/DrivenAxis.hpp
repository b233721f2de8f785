#ifndef TAV_DRIVE_SRC_POWER_DRIVENAXIS_HPP
#define TAV_DRIVE_SRC_POWER_DRIVENAXIS_HPP

#include <cstdint>
#include <tav/drive/MotorParameters.hpp>
#include <tav/drive/Settings.hpp>

#include "motor/Encoder.hpp"
#include "motor/Motor.hpp"
#include "motor/SpeedController.hpp"
#include "power/Axis.hpp"

namespace tav::drive {

/**
 * The motor that a drive has in truth: ramps, a speed controller that sees what the encoder measures, a
 * holding brake, and a motor with load, supply and heat. Speeds in 1/min, positions in electrical steps.
 *
 * It is computed on a grid of its own from power-on. What is told between two points of the grid acts at the
 * next one, in its order; what is asked is the last point's. So the results are the same however often
 * anybody asks.
 */
class DrivenAxis {
 public:
  enum class Mode : std::uint8_t {
    FREE,       ///< no torque
    SHORTED,    ///< the phases are short-circuited
    CONTROLLED  ///< the speed follows the ramp; the brake is opened first
  };

  DrivenAxis(const MotorParameters& parameters, const Mechanics& mechanics);

  /** The grid begins here. */
  void power_on(Time now);
  /** Computes all points until then. */
  void advance(Time now);

  /**
   * @param brakes  the holding brake is applied in the modes without torque
   * @param parks   in Mode::CONTROLLED: it is applied when the motor stands, for the torque will be taken
   * away
   */
  void command(Mode mode, bool brakes, bool parks);
  /** Where the ramp runs to; the speed follows once the brake is open. */
  void run_to(double velocity, double acceleration, double deceleration);
  void set_gains(const SpeedController::Gains& gains) { controller_.set_gains(gains); }

  [[nodiscard]] double demand() const;  ///< what the speed controller is to keep
  [[nodiscard]] double velocity() const { return encoder_.velocity(); }
  [[nodiscard]] std::int32_t position() const;
  /** The ramp has arrived, and the speed with it. */
  [[nodiscard]] bool settled() const;
  [[nodiscard]] bool standstill() const;
  /** It stands and, where it parks, its brake holds it. */
  [[nodiscard]] bool stopped() const;
  /** Nothing changes by itself. */
  [[nodiscard]] bool resting() const;
  [[nodiscard]] bool brake_applied() const { return motor_.brake().applied(); }
  /** What the drive's sensors measure of it. */
  [[nodiscard]] Environment sensed() const;

  [[nodiscard]] Motor& motor() { return motor_; }
  [[nodiscard]] const Motor& motor() const { return motor_; }
  [[nodiscard]] Encoder& encoder() { return encoder_; }

 private:
  struct Target {
    double velocity = 0;
    double acceleration = 0;
    double deceleration = 0;
  };

  void control();
  void follow();
  [[nodiscard]] Motor::Stage stage() const;

  Motor motor_;
  Encoder encoder_;
  SpeedController controller_;
  Axis ramp_;
  Time power_on_{};
  std::int64_t steps_ = 0;
  Mode mode_ = Mode::FREE;
  bool parks_ = false;
  bool follows_ = false;  ///< the brake is open
  Target target_;
  double last_wanted_ = 0;  ///< speed, in the last control cycle
  double late_wanted_ = 0;  ///< the same through the filter that the measured one has
  double wanted_current_ = 0;
};

}  // namespace tav::drive

#endif

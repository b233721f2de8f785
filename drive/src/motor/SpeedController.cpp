#include "motor/SpeedController.hpp"

#include <cmath>

#include "motor/Grid.hpp"

namespace tav::drive {

SpeedController::SpeedController(const MotorParameters& parameters, double inertia)
    : ampere_seconds_(inertia / parameters.torque_constant),
      limit_(parameters.current_limit),
      nominal_proportional_(2 * parameters.damping * parameters.bandwidth * inertia /
                            parameters.torque_constant),
      nominal_integral_(parameters.bandwidth * parameters.bandwidth * inertia / parameters.torque_constant) {
  set_gains({});
}

void SpeedController::set_gains(const Gains& gains) {
  constexpr double kProportional = 1000;
  constexpr double kIntegral = 100;
  constexpr double kDifferential = 1000;
  constexpr double kDifferentialTime = 0.01;  // of the proportional part, with a gain of 1000
  proportional_ = nominal_proportional_ * gains.proportional / kProportional;
  integral_ = nominal_integral_ * gains.integral / kIntegral;
  differential_ = nominal_proportional_ * kDifferentialTime * gains.differential / kDifferential;
}

void SpeedController::reset() {
  sum_ = wanted_current_ = 0;
}

double SpeedController::run(double wanted, double measured, double acceleration) {
  const double error = wanted - measured;
  sum_ += integral_ * error * kControlSeconds;
  wanted_current_ = proportional_ * error + sum_;
  // A step of the wanted speed is no ramp: nothing could give that acceleration.
  const double ahead = ampere_seconds_ * acceleration;
  if (std::abs(ahead) <= limit_) wanted_current_ += ahead;
  if (differential_ != 0) wanted_current_ -= differential_ * (measured - last_measured_) / kControlSeconds;
  last_measured_ = measured;
  return wanted_current_;
}

void SpeedController::flowed(double current) {
  if (current == wanted_current_ || proportional_ <= 0) return;
  const double back = integral_ / proportional_ * kControlSeconds;
  sum_ += (current - wanted_current_) * (back < 1 ? back : 1.0);
}

}  // namespace tav::drive

#include "motor/Drivetrain.hpp"

#include <cmath>

#include "motor/Grid.hpp"

namespace tav::drive {

Drivetrain::Drivetrain(const MotorParameters& parameters) {
  load(parameters);
}

void Drivetrain::load(const MotorParameters& parameters) {
  constexpr double kGravity = 9.81;
  const double radius = parameters.wheel_diameter / 2;
  const double ratio = parameters.gear_ratio;
  const double angle = std::atan(parameters.slope / 100);
  const double weight = parameters.mass * kGravity * radius / ratio;
  inertia_ = parameters.rotor_inertia +
             (parameters.wheel_inertia + parameters.mass * radius * radius) / (ratio * ratio);
  slope_torque_ = weight * std::sin(angle);
  friction_ = parameters.friction_torque + parameters.rolling_resistance * weight * std::cos(angle);
  static_ratio_ = parameters.static_friction_ratio;
  metres_per_turn_ = kTwoPi * radius / ratio;
  const double viscous = parameters.viscous_friction;
  decay_ = std::exp(-viscous * kMotorStepSeconds / inertia_);
  gain_ = viscous > 0 ? (1 - decay_) / viscous : kMotorStepSeconds / inertia_;
}

bool Drivetrain::stuck(double motor_torque, double brake_torque) const {
  return speed_ == 0 && std::abs(motor_torque - slope_torque_) <= static_ratio_ * friction_ + brake_torque;
}

void Drivetrain::step(double motor_torque, double brake_torque) {
  if (stuck(motor_torque, brake_torque)) return;
  const double before = speed_;
  const double free = before * decay_ + (motor_torque - slope_torque_) * gain_;
  const double pull = (friction_ + brake_torque) * gain_;
  // While it turns friction opposes the motion, through standstill too; from standstill it opposes the
  // torque.
  const double pulled = before != 0 ? free - std::copysign(pull, before) : free - std::copysign(pull, free);
  const bool crosses = before != 0 && pulled * before <= 0;
  const double moving = crosses ? before / (before - pulled) : 1.0;  // the part of the step until it stands
  speed_ = crosses ? 0.0 : pulled;
  turns_ += (before + speed_) / 2 * moving * kMotorStepSeconds / kTwoPi;
}

}  // namespace tav::drive

#include "power/DrivenAxis.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "motor/Grid.hpp"

namespace tav::drive {
namespace {

/** Slower than this, in 1/min, a motor stands; so near to the ramp it follows it. */
constexpr double kStands = 5;
constexpr double kFollows = 10;

double counts_of_turn(const Mechanics& mechanics) {
  return mechanics.steps_per_electrical_revolution * mechanics.pole_pairs;
}

std::int32_t thousandths(double value) {
  const double limit = std::numeric_limits<std::int32_t>::max();
  return static_cast<std::int32_t>(std::lround(std::clamp(value * 1000, -limit, limit)));
}

}  // namespace

DrivenAxis::DrivenAxis(const MotorParameters& parameters, const Mechanics& mechanics)
    : motor_(parameters),
      encoder_(counts_of_turn(mechanics), parameters.velocity_filter),
      controller_(parameters, motor_.drivetrain().inertia()),
      ramp_(mechanics) {
  motor_.set_pole_pairs(mechanics.pole_pairs);
}

void DrivenAxis::power_on(Time now) {
  power_on_ = now;
  steps_ = 0;
}

Motor::Stage DrivenAxis::stage() const {
  if (mode_ == Mode::CONTROLLED) return Motor::Stage::CURRENT;
  return mode_ == Mode::SHORTED ? Motor::Stage::SHORTED : Motor::Stage::OFF;
}

bool DrivenAxis::resting() const {
  return motor_.rests(stage()) && encoder_.settled();
}

void DrivenAxis::advance(Time now) {
  const std::int64_t due = (now - power_on_) / kMotorStep;
  while (steps_ < due) {
    if (resting()) {
      motor_.rest(due - steps_);
      steps_ = due;
      return;
    }
    const bool controls = steps_ % kStepsOfControl == 0;
    if (controls) control();
    motor_.step(stage(), wanted_current_);
    if (controls && mode_ == Mode::CONTROLLED) controller_.flowed(motor_.current());
    ++steps_;
  }
}

void DrivenAxis::control() {
  encoder_.sample(motor_.drivetrain().turns());
  if (mode_ != Mode::CONTROLLED) return;
  if (!follows_ && motor_.brake().released()) {
    follows_ = true;
    follow();
  }
  ramp_.advance(power_on_ + steps_ * kMotorStep);
  // The measured speed is late by its filter: it is compared with a wanted one that is as late.
  const double acceleration = (ramp_.velocity() - last_wanted_) * kPerMinute / kControlSeconds;
  last_wanted_ = ramp_.velocity();
  late_wanted_ += encoder_.follows() * (last_wanted_ - late_wanted_);
  wanted_current_ =
      controller_.run(late_wanted_ * kPerMinute, encoder_.velocity() * kPerMinute, acceleration);
  if (parks_ && standstill()) motor_.brake().command(true);
}

void DrivenAxis::command(Mode mode, bool brakes, bool parks) {
  const Mode before = mode_;
  mode_ = mode;
  parks_ = mode == Mode::CONTROLLED && parks;
  if (mode != Mode::CONTROLLED) {
    wanted_current_ = 0;
    follows_ = false;
    motor_.brake().command(brakes);
    return;
  }
  if (!parks_) motor_.brake().command(false);
  follows_ = follows_ && (parks_ || motor_.brake().released());
  if (before == Mode::CONTROLLED) return;
  controller_.reset();
  ramp_.advance(power_on_ + steps_ * kMotorStep);
  last_wanted_ = late_wanted_ = std::abs(velocity()) < kStands ? 0.0 : velocity();
  ramp_.begin_at(last_wanted_);
}

void DrivenAxis::run_to(double velocity, double acceleration, double deceleration) {
  target_ = {velocity, acceleration, deceleration};
  follow();
}

void DrivenAxis::follow() {
  if (follows_) ramp_.run_to(target_.velocity, target_.acceleration, target_.deceleration);
}

double DrivenAxis::demand() const {
  return mode_ == Mode::CONTROLLED ? ramp_.velocity() : 0.0;
}

bool DrivenAxis::settled() const {
  return follows_ && ramp_.settled() && std::abs(velocity() - ramp_.velocity()) <= kFollows;
}

bool DrivenAxis::standstill() const {
  return std::abs(velocity()) < kStands && std::abs(demand()) < kStands;
}

bool DrivenAxis::stopped() const {
  return standstill() && (!parks_ || motor_.brake().applied());
}

/** In 32 bits, as its counter has them. */
std::int32_t DrivenAxis::position() const {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(encoder_.counts()));
}

Environment DrivenAxis::sensed() const {
  Environment sensed;
  sensed.battery_mv = thousandths(motor_.supply().voltage());
  sensed.phase_current_ma = thousandths(motor_.current());
  sensed.mosfet_1_celsius = static_cast<std::int32_t>(std::lround(motor_.stage_temperature()));
  sensed.mosfet_2_celsius = sensed.mosfet_1_celsius;
  sensed.driver_celsius = static_cast<std::int32_t>(std::lround(motor_.board_temperature()));
  return sensed;
}

}  // namespace tav::drive

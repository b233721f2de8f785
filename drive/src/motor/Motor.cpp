#include "motor/Motor.hpp"

#include <algorithm>
#include <cmath>

#include "motor/Grid.hpp"

namespace tav::drive {

Motor::Motor(const MotorParameters& parameters)
    : parameters_(parameters),
      drivetrain_(parameters),
      supply_(parameters),
      brake_(parameters),
      overload_(parameters),
      winding_(parameters.winding_to_housing, parameters.winding_time_constant, parameters.housing_to_ambient,
               parameters.housing_time_constant),
      stage_(parameters.stage_to_sink, parameters.stage_time_constant, parameters.sink_to_ambient,
             parameters.sink_time_constant),
      resistance_(parameters.resistance),
      limit_(parameters.current_limit),
      steps_to_heat_(kStepsOfHeat) {
  warm();
}

void Motor::load(const MotorParameters& parameters) {
  parameters_.mass = parameters.mass;
  parameters_.slope = parameters.slope;
  parameters_.friction_torque = parameters.friction_torque;
  parameters_.rolling_resistance = parameters.rolling_resistance;
  parameters_.ambient = parameters.ambient;
  drivetrain_.load(parameters_);
  warm();
}

double Motor::winding_temperature() const {
  return parameters_.ambient + winding_.rise();
}

double Motor::stage_temperature() const {
  return parameters_.ambient + stage_.rise();
}

double Motor::board_temperature() const {
  return parameters_.ambient + stage_.outer_rise();
}

/** With a phase lost the others make torque twice in an electrical revolution. */
double Motor::torque_constant() const {
  if (!phase_lost_) return parameters_.torque_constant;
  const double wave = std::sin(kTwoPi * pole_pairs_ * drivetrain_.turns());
  return parameters_.torque_constant * wave * wave;
}

double Motor::current_that_flows(Stage stage, double wanted) const {
  const double voltage = supply_.voltage();
  const double induced = parameters_.torque_constant * drivetrain_.speed();
  // The stage shorts the phases in pulses where the current would be above its limit.
  if (stage == Stage::SHORTED) return std::clamp(-induced / resistance_, -limit_, limit_);
  if (stage == Stage::OFF) {
    // The diodes of the stage conduct when the motor induces more than the DC link has.
    if (std::abs(induced) <= voltage) return 0;
    return (std::copysign(voltage, induced) - induced) / resistance_;
  }
  const double available = parameters_.modulation * voltage;
  const double highest = (available - induced) / resistance_;
  const double lowest = (-available - induced) / resistance_;
  return std::clamp(std::clamp(wanted, -limit_, limit_), lowest, highest);
}

bool Motor::rests(Stage stage) const {
  return stage != Stage::CURRENT && current_ == 0 && !brake_.moving() && supply_.settled() &&
         current_that_flows(stage, 0) == 0 && drivetrain_.stuck(0, brake_.torque());
}

bool Motor::cold() const {
  return winding_.cold() && stage_.cold() && overload_.rested() && sum_of_squares_ == 0;
}

void Motor::rest(std::int64_t steps) {
  while (steps > 0 && !cold()) {
    const auto some = static_cast<int>(std::min<std::int64_t>(steps, steps_to_heat_));
    steps -= some;
    steps_to_heat_ -= some;
    if (steps_to_heat_ == 0) heat();
  }
  steps_to_heat_ -= static_cast<int>(steps % kStepsOfHeat);
  if (steps_to_heat_ <= 0) steps_to_heat_ += kStepsOfHeat;
}

void Motor::step(Stage stage, double wanted) {
  brake_.step();
  current_ = current_that_flows(stage, wanted);
  const double before = drivetrain_.speed();
  const double constant = torque_constant();
  drivetrain_.step(constant * current_, brake_.torque());
  const double speed = (before + drivetrain_.speed()) / 2;
  const double stage_loss = 2 * parameters_.stage_resistance * current_ * current_ +
                            parameters_.switching_loss * std::abs(current_) * supply_.voltage();
  supply_.step((resistance_ * current_ + constant * speed) * current_ + stage_loss);
  account(stage_loss, speed);
  sum_of_squares_ += current_ * current_;
  sum_of_stage_loss_ += stage_loss;
  if (--steps_to_heat_ == 0) heat();
}

void Motor::account(double stage_loss, double speed) {
  constexpr double h = kMotorStepSeconds;
  const double amount = std::abs(speed);
  energy_.battery += supply_.battery_power() * h;
  energy_.battery_loss += supply_.battery_loss() * h;
  energy_.winding_loss += resistance_ * current_ * current_ * h;
  energy_.stage_loss += stage_loss * h;
  energy_.friction_loss +=
      (drivetrain_.friction_torque() + parameters_.viscous_friction * amount) * amount * h;
  energy_.brake_loss += brake_.torque() * amount * h;
  energy_.chopper += supply_.chopper_power() * h;
  energy_.other_load += supply_.other_power() * h;
}

void Motor::heat() {
  const double square = sum_of_squares_ / kStepsOfHeat;
  winding_.step(resistance_ * square);
  stage_.step(sum_of_stage_loss_ / kStepsOfHeat);
  overload_.step(square);
  sum_of_squares_ = sum_of_stage_loss_ = 0;
  steps_to_heat_ = kStepsOfHeat;
  warm();
}

/** What follows from the temperature. */
void Motor::warm() {
  constexpr double kResistanceGivenAt = 20;
  const double warmer = winding_temperature() - kResistanceGivenAt;
  resistance_ = parameters_.resistance * (1 + parameters_.resistance_rise * warmer);
  const bool hot = winding_temperature() >= parameters_.winding_limit;
  limit_ = hot ? parameters_.nominal_current : overload_.amperes();
}

}  // namespace tav::drive

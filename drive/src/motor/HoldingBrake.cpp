#include "motor/HoldingBrake.hpp"

#include <cmath>

#include "motor/Grid.hpp"

namespace tav::drive {
namespace {

int steps_of(double seconds) {
  return static_cast<int>(std::lround(seconds / kMotorStepSeconds));
}

}  // namespace

HoldingBrake::HoldingBrake(const MotorParameters& parameters)
    : torque_(parameters.brake_torque),
      release_steps_(steps_of(parameters.brake_release_time)),
      apply_steps_(steps_of(parameters.brake_apply_time)) {}

void HoldingBrake::command(bool applied) {
  if (applied == commanded_) return;
  commanded_ = applied;
  steps_left_ = commanded_ == closed_ ? 0 : applied ? apply_steps_ : release_steps_;
  if (steps_left_ == 0) closed_ = commanded_;
}

void HoldingBrake::step() {
  if (steps_left_ == 0) return;
  if (--steps_left_ == 0) closed_ = commanded_;
}

double HoldingBrake::torque() const {
  if (fault_ == Fault::STUCK_OPEN) return 0;
  const bool holds = closed_ || fault_ == Fault::STUCK_CLOSED;
  return holds ? torque_ * (1 - worn_) : 0.0;
}

}  // namespace tav::drive

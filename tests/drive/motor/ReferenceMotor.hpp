#ifndef TAV_TESTS_DRIVE_MOTOR_REFERENCEMOTOR_HPP
#define TAV_TESTS_DRIVE_MOTOR_REFERENCEMOTOR_HPP

#include <functional>

#include "motor/Grid.hpp"
#include "motor/Motor.hpp"

namespace tav::drive::test {

/**
 * The set of parameters whose closed forms the tests hold the motor against: 48 V, 250 W, 60 kg on a wheel of
 * 200 mm behind a gear of 10, no loss in the power stage, a winding as cold as its data sheet's.
 */
inline MotorParameters reference_motor() {
  MotorParameters parameters;
  parameters.resistance_rise = 0;
  parameters.current_limit = 25;
  parameters.modulation = 1;
  parameters.stage_resistance = 0;
  parameters.switching_loss = 0;
  parameters.overload_time_constant = 123;
  return parameters;
}

/** The same without its brake closed. */
inline Motor turning(const MotorParameters& parameters, double speed = 0) {
  MotorParameters free = parameters;
  free.brake_release_time = 0;
  Motor motor(free);
  motor.brake().command(false);
  motor.drivetrain().set_speed(speed);
  return motor;
}

/** Steps a motor until a condition holds. @return how long that took, in s; below 0: it never did */
inline double time_until(Motor& motor, Motor::Stage stage, double current,
                         const std::function<bool(const Motor&)>& condition, double longest = 60) {
  for (int step = 0; step * kMotorStepSeconds < longest; ++step) {
    if (condition(motor)) return step * kMotorStepSeconds;
    motor.step(stage, current);
  }
  return -1;
}

/** Steps a motor for so many seconds. */
inline void run_for(Motor& motor, double seconds, Motor::Stage stage, double current) {
  for (int step = 0; step * kMotorStepSeconds < seconds; ++step) motor.step(stage, current);
}

}  // namespace tav::drive::test

#endif

#ifndef TAV_DRIVE_SRC_MOTOR_GRID_HPP
#define TAV_DRIVE_SRC_MOTOR_GRID_HPP

#include <chrono>

namespace tav::drive {

// The grid on which the motor's physics is computed, from power-on: no step is ever shorter or longer, so
// that results do not depend on when anybody looks.
constexpr std::chrono::microseconds kMotorStep(500);
constexpr double kMotorStepSeconds = 0.0005;
/** The speed controller acts at every second step. */
constexpr int kStepsOfControl = 2;
constexpr double kControlSeconds = kMotorStepSeconds * kStepsOfControl;
/** Temperatures follow at every two hundredth. */
constexpr int kStepsOfHeat = 200;
constexpr double kHeatSeconds = kMotorStepSeconds * kStepsOfHeat;

constexpr double kTwoPi = 6.283185307179586476925;
/** 1/min in rad/s. */
constexpr double kPerMinute = kTwoPi / 60.0;

}  // namespace tav::drive

#endif

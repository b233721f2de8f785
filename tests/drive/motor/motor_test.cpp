// The motor with its machine against closed forms of mechanics, electricity and heat.
#include "motor/Motor.hpp"

#include <gtest/gtest.h>

#include <cmath>

#include "drive/motor/ReferenceMotor.hpp"

namespace tav::drive::test {
namespace {

using Stage = Motor::Stage;

constexpr double kMetrePerSecond = 100;  // of the machine, in rad/s of the motor

double per_minute(const Motor& motor) {
  return motor.drivetrain().speed() / kPerMinute;
}

MotorParameters on_slope(double percent) {
  MotorParameters parameters = reference_motor();
  parameters.slope = percent;
  return parameters;
}

/** The current that keeps a speed. */
double current_at(double slope, double speed) {
  Motor motor = turning(on_slope(slope), speed);
  double low = -25;
  double high = 25;
  for (int i = 0; i < 60; ++i) {
    const double current = (low + high) / 2;
    Motor trial = motor;
    trial.step(Stage::CURRENT, current);
    (trial.drivetrain().speed() > speed ? high : low) = current;
  }
  return low;
}

TEST(Motor, TurnsNoFasterThanItsSupplyLets) {
  Motor motor = turning(reference_motor());
  run_for(motor, 20, Stage::CURRENT, 25);
  EXPECT_NEAR(per_minute(motor), 3677.8, 4);
}

TEST(Motor, TurnsMoreSlowlyAtItsFastestUphill) {
  Motor motor = turning(on_slope(10));
  run_for(motor, 20, Stage::CURRENT, 25);
  EXPECT_NEAR(per_minute(motor), 3525, 4);
}

TEST(Motor, AcceleratesByItsCurrentAgainstInertiaAndFriction) {
  Motor motor = turning(reference_motor());
  const double seconds = time_until(motor, Stage::CURRENT, 15,
                                    [](const Motor& m) { return m.drivetrain().speed() >= kMetrePerSecond; });
  EXPECT_NEAR(seconds, 0.3604, 0.0036);
  EXPECT_NEAR(motor.drivetrain().metres(), 0.1805, 0.0018);
}

TEST(Motor, CoastsToAStandstillByFriction) {
  Motor motor = turning(reference_motor(), kMetrePerSecond);
  const auto stands = [](const Motor& m) { return m.drivetrain().speed() == 0; };
  EXPECT_NEAR(time_until(motor, Stage::OFF, 0, stands), 4.541, 0.0227);
  EXPECT_NEAR(motor.drivetrain().metres(), 2.229, 0.0111);
}

TEST(Motor, NeedsACurrentOnASlopeThatItGivesBackDownhill) {
  EXPECT_NEAR(current_at(5, kMetrePerSecond), 3.554, 0.036);
  EXPECT_NEAR(current_at(10, kMetrePerSecond), 5.923, 0.059);
  EXPECT_NEAR(current_at(15, kMetrePerSecond), 8.256, 0.083);
  EXPECT_NEAR(current_at(-5, kMetrePerSecond), -1.226, 0.012);
  EXPECT_NEAR(current_at(-10, kMetrePerSecond), -3.600, 0.036);
  EXPECT_NEAR(current_at(-15, kMetrePerSecond), -5.942, 0.059);
}

TEST(Motor, ItsBrakeHoldsItOnASlopeForAnHourWithoutACount) {
  Motor motor(on_slope(15));
  run_for(motor, 3600, Stage::OFF, 0);
  EXPECT_EQ(motor.drivetrain().turns(), 0.0);
}

TEST(Motor, RollsAwayOnASlopeWithoutTorqueAndBrake) {
  Motor motor = turning(on_slope(10));
  run_for(motor, 0.1, Stage::OFF, 0);
  EXPECT_NEAR(motor.drivetrain().metres() * 1000, -3.7, 0.1);
  EXPECT_NEAR(motor.drivetrain().speed() / kMetrePerSecond, -0.074, 0.001);
}

TEST(Motor, StandsOnASlopeThatFrictionHolds) {
  Motor motor = turning(on_slope(1));  // 0.059 Nm against 0.128 Nm
  run_for(motor, 10, Stage::OFF, 0);
  EXPECT_EQ(motor.drivetrain().turns(), 0.0);
}

TEST(Motor, ItsBrakeStopsItFromAMetrePerSecond) {
  MotorParameters parameters = reference_motor();
  parameters.brake_apply_time = 0;
  const auto stands = [](const Motor& m) { return m.drivetrain().speed() == 0; };
  Motor motor = turning(parameters, kMetrePerSecond);
  motor.brake().command(true);
  EXPECT_NEAR(time_until(motor, Stage::OFF, 0, stands), 0.2894, 0.003);
  EXPECT_NEAR(motor.drivetrain().metres(), 0.1447, 0.0015);
}

TEST(Motor, ItsBrakeTakesItsTimeToClose) {
  const auto stands = [](const Motor& m) { return m.drivetrain().speed() == 0; };
  Motor motor = turning(reference_motor(), kMetrePerSecond);
  motor.brake().command(true);
  EXPECT_NEAR(time_until(motor, Stage::OFF, 0, stands), 0.3817, 0.004);
  EXPECT_NEAR(motor.drivetrain().metres(), 0.236, 0.0024);
}

TEST(Motor, ItsWindingWarmsByTwoTimeConstants) {
  MotorParameters parameters = reference_motor();
  parameters.mass = 1000;  // hardly moves
  parameters.slope = 80;
  parameters.static_friction_ratio = 3;
  parameters.friction_torque = 100;
  Motor motor = turning(parameters);
  run_for(motor, 123, Stage::CURRENT, 6.8);
  EXPECT_NEAR(motor.winding_temperature() - parameters.ambient, 22.14, 0.1);
  run_for(motor, 600 - 123, Stage::CURRENT, 6.8);
  EXPECT_NEAR(motor.winding_temperature() - parameters.ambient, 40.47, 0.1);
}

TEST(Motor, AWarmWindingHasMoreResistance) {
  MotorParameters parameters = reference_motor();
  parameters.friction_torque = 100;
  parameters.resistance_rise = 0.0039;
  parameters.ambient = 20;
  parameters.winding_time_constant = 12;  // where it ends does not depend on them
  parameters.housing_time_constant = 100;
  Motor motor = turning(parameters);
  run_for(motor, 800, Stage::CURRENT, 6.8);
  // P0 S / (1 - 0.0039 P0 S), with P0 = 0.365 Ohm (6.8 A)2 and S = 3.15 K/W
  EXPECT_NEAR(motor.winding_temperature() - 20, 67.1, 0.3);
}

TEST(Motor, IsLimitedToItsNominalCurrentWhenItHadMoreForLong) {
  MotorParameters parameters = reference_motor();
  parameters.friction_torque = 100;
  Motor motor = turning(parameters);
  const double seconds =
      time_until(motor, Stage::CURRENT, 25, [](const Motor& m) { return m.overload().overloaded(); });
  EXPECT_NEAR(seconds, 9.45, 0.1);
  motor.step(Stage::CURRENT, 25);
  EXPECT_DOUBLE_EQ(motor.current(), 6.8);
}

TEST(Motor, GivesItsEnergyToTheCapacitorWhenTheBatteryIsOpen) {
  Motor motor = turning(reference_motor(), kMetrePerSecond);
  motor.supply().connect(false);
  // 2 m/s2 less speed each second: the braking torque less friction and slope, by the torque constant
  const double current = -(6.16e-3 * 200 - 0.1283 - 1.5e-4 * 100) / 0.123;
  const double seconds = time_until(
      motor, Stage::CURRENT, current, [](const Motor& m) { return m.supply().voltage() >= 60; }, 1);
  EXPECT_NEAR(seconds, 0.018, 0.002);
}

TEST(Motor, GivesItsEnergyBackToTheBattery) {
  Motor motor = turning(reference_motor(), kMetrePerSecond);
  run_for(motor, 0.018, Stage::CURRENT, -8.86);
  EXPECT_NEAR(motor.supply().voltage(), 48.08, 0.02);
}

TEST(Motor, ABrakeChopperKeepsTheVoltageDown) {
  MotorParameters parameters = reference_motor();
  parameters.chopper_voltage = 54;
  Motor motor = turning(parameters, kMetrePerSecond);
  motor.supply().connect(false);
  double highest = 0;
  for (int step = 0; step < 800; ++step) {
    motor.step(Stage::CURRENT, -8.86);
    highest = std::max(highest, motor.supply().voltage());
  }
  EXPECT_LT(highest, 55);
  EXPECT_GT(motor.energy().chopper, 5);
}

TEST(Supply, CollapsesUnderMoreThanItCanGive) {
  MotorParameters parameters = reference_motor();
  parameters.battery_resistance = 1;
  Supply within(parameters);
  for (int step = 0; step < 2000; ++step) within.step(500);
  EXPECT_NEAR(within.voltage(), 24 + std::sqrt(24 * 24 - 500), 0.01);
  Supply beyond(parameters);  // 48 V behind 1 Ohm give 576 W at most
  for (int step = 0; step < 2000; ++step) beyond.step(600);
  EXPECT_TRUE(std::isfinite(beyond.voltage()));
  EXPECT_LT(beyond.voltage(), 20);
}

TEST(Motor, ShortedPhasesBrakeIt) {
  Motor motor = turning(reference_motor(), 50);
  motor.step(Stage::SHORTED, 0);
  EXPECT_NEAR(motor.current(), -50 * 0.123 / 0.365, 0.01);
}

TEST(Motor, WithAPhaseLostItMakesHalfItsTorqueInTheMean) {
  const auto speed_after = [](bool lost) {
    MotorParameters parameters = reference_motor();
    parameters.friction_torque = parameters.viscous_friction = parameters.rolling_resistance = 0;
    Motor motor = turning(parameters, 10);
    motor.lose_phase(lost);
    run_for(motor, 0.3, Stage::CURRENT, 10);
    return motor.drivetrain().speed() - 10;
  };
  EXPECT_NEAR(speed_after(true) / speed_after(false), 0.5, 0.02);
}

TEST(Motor, WhatTheBatteryGivesIsStoredOrBecameHeat) {
  MotorParameters parameters = on_slope(5);
  parameters.stage_resistance = 0.005;
  parameters.switching_loss = 0.007;
  Motor motor = turning(parameters);
  const Drivetrain& train = motor.drivetrain();
  const double link_before = 0.5 * 2.2e-3 * motor.supply().voltage() * motor.supply().voltage();
  double throughput = 0;
  for (int cycle = 0; cycle < 10; ++cycle) {
    run_for(motor, 1.0, Stage::CURRENT, 12);
    run_for(motor, 4.0, Stage::CURRENT, 3.5);
    run_for(motor, 1.0, Stage::CURRENT, -8);
    throughput = motor.energy().battery;
  }
  const EnergyBalance& energy = motor.energy();
  const double kinetic = 0.5 * train.inertia() * train.speed() * train.speed();
  const double potential = train.slope_torque() * train.turns() * kTwoPi;
  const double link = 0.5 * 2.2e-3 * motor.supply().voltage() * motor.supply().voltage() - link_before;
  const double used = kinetic + potential + link + energy.battery_loss + energy.winding_loss +
                      energy.stage_loss + energy.friction_loss + energy.brake_loss;
  EXPECT_NEAR(used, energy.battery, 0.005 * std::abs(throughput));
}

TEST(Motor, ADayOfStandstillIsTheSameStepByStepAndAtOnce) {
  Motor stepped(on_slope(10));
  Motor skipped(on_slope(10));
  for (Motor* motor : {&stepped, &skipped}) run_for(*motor, 5, Stage::CURRENT, 10);  // warm, under its brake
  for (Motor* motor : {&stepped, &skipped}) run_for(*motor, 0.5, Stage::OFF, 0);
  run_for(stepped, 600, Stage::OFF, 0);
  ASSERT_TRUE(skipped.rests(Stage::OFF));
  skipped.rest(700000);
  skipped.rest(500000);
  EXPECT_EQ(stepped.winding_temperature(), skipped.winding_temperature());
  EXPECT_EQ(stepped.stage_temperature(), skipped.stage_temperature());
  skipped.rest(std::int64_t{86400} * 2000);
  EXPECT_LT(skipped.winding_temperature(), 25.01);
}

}  // namespace
}  // namespace tav::drive::test

// How the speed is measured, and how it is kept.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "drive/motor/ReferenceMotor.hpp"
#include "motor/Encoder.hpp"
#include "motor/SpeedController.hpp"

namespace tav::drive::test {
namespace {

constexpr double kCounts = 2520;  // 360 steps, 7 pole pairs

TEST(Encoder, OneTurnOfTheWheelIsExactlySoManyCountsBothWays) {
  Encoder encoder(kCounts, 0.01);
  encoder.sample(10.0);
  EXPECT_EQ(encoder.counts(), 25200);
  encoder.sample(0.0);
  EXPECT_EQ(encoder.counts(), 0);
  encoder.sample(-10.0);
  EXPECT_EQ(encoder.counts(), -25200);
}

TEST(Encoder, ItsSpeedIsQuietThroughTheFilter) {
  double worst = 0;
  for (double speed = 3; speed < 3600; speed += 4) {
    Encoder encoder(kCounts, 0.01);
    double turns = 0;
    for (int cycle = 0; cycle < 600; ++cycle) {
      encoder.sample(turns += speed / 60000);
      if (cycle > 200 && speed > 30) worst = std::max(worst, std::abs(encoder.velocity() - speed));
    }
  }
  EXPECT_LE(worst, 2.5);
  EXPECT_GT(worst, 1);
}

TEST(Encoder, ASpeedOfLessThanACountInATenthOfASecondIsNone) {
  Encoder encoder(kCounts, 0.01);
  for (int cycle = 0; cycle < 50; ++cycle) encoder.sample(cycle / kCounts);
  EXPECT_NEAR(encoder.velocity(), 23.8, 0.5);
  for (int cycle = 0; cycle < 99; ++cycle) encoder.sample(49 / kCounts);
  EXPECT_GT(encoder.velocity(), 0);
  encoder.sample(49 / kCounts);
  EXPECT_EQ(encoder.velocity(), 0);
  EXPECT_TRUE(encoder.settled());
}

TEST(Encoder, AStuckOneCountsNoMoreAndAnInvertedOneBackwards) {
  Encoder encoder(kCounts, 0);
  encoder.sample(1);
  encoder.fail(Encoder::Fault::STUCK);
  encoder.sample(2);
  EXPECT_EQ(encoder.counts(), 2520);
  EXPECT_EQ(encoder.velocity(), 0);
  encoder.fail(Encoder::Fault::NONE);
  encoder.sample(2);
  EXPECT_EQ(encoder.counts(), 5040);
  encoder.fail(Encoder::Fault::INVERTED);
  encoder.sample(2);
  EXPECT_EQ(encoder.counts(), 5040);
  encoder.sample(3);
  EXPECT_EQ(encoder.counts(), 2520);
  encoder.fail(Encoder::Fault::NONE);
  encoder.sample(3);
  EXPECT_EQ(encoder.counts(), 2520);
  encoder.jump(-20);
  encoder.sample(3);
  EXPECT_EQ(encoder.counts(), 2500);
}

/** A motor whose speed is kept, as its drive keeps it once a millisecond, by its true speed. */
class KeptSpeed {
 public:
  explicit KeptSpeed(const MotorParameters& parameters, double speed)
      : motor(turning(parameters, speed)), controller(parameters, motor.drivetrain().inertia()) {}

  void run(double wanted, int milliseconds) {
    for (int i = 0; i < milliseconds; ++i) {
      const double current = controller.run(wanted, motor.drivetrain().speed());
      motor.step(Motor::Stage::CURRENT, current);
      controller.flowed(motor.current());
      motor.step(Motor::Stage::CURRENT, current);
    }
  }

  Motor motor;
  SpeedController controller;
};

struct StepResponse {
  double overshoot = 0;  ///< of the step
  int at = 0;            ///< ms
};

StepResponse response(KeptSpeed& kept, double from, double to, int milliseconds) {
  StepResponse response;
  for (int i = 1; i <= milliseconds; ++i) {
    kept.run(to, 1);
    const double over = (kept.motor.drivetrain().speed() - to) / (to - from);
    if (over > response.overshoot) response = {over, i};
  }
  return response;
}

MotorParameters controlled() {
  MotorParameters parameters = reference_motor();
  parameters.bandwidth = 50;
  return parameters;
}

TEST(SpeedController, AStepOvershootsAsTwoEqualPolesWithAZeroDo) {
  KeptSpeed kept(controlled(), 100);
  kept.run(100, 2000);
  const StepResponse step = response(kept, 100, 102, 200);
  EXPECT_NEAR(step.overshoot, 0.142, 0.01);
  EXPECT_NEAR(step.at, 39, 2);
}

TEST(SpeedController, DoubledGainsAreSeen) {
  KeptSpeed kept(controlled(), 100);
  kept.controller.set_gains({2000, 400, 0});  // the same poles, twice as fast
  kept.run(100, 2000);
  const StepResponse step = response(kept, 100, 101, 200);
  EXPECT_NEAR(step.at, 20, 2);
}

TEST(SpeedController, DoesNotWindUpWhileTheCurrentIsLimited) {
  KeptSpeed kept(controlled(), 0);
  kept.run(0, 100);
  const StepResponse step = response(kept, 0, 300, 3000);  // a second at the limit of 25 A
  EXPECT_LT(step.overshoot, 0.05);
  const StepResponse small = [&] {
    KeptSpeed weak(controlled(), 100);
    weak.run(100, 1000);
    weak.motor.supply().set_source(13);  // less than it needs for more speed
    weak.run(110, 1000);
    weak.motor.supply().set_source(48);
    return response(weak, 100, 110, 400);
  }();
  EXPECT_LT(small.overshoot, 0.2);
}

TEST(SpeedController, OnARampTheAngleLagsByItsSlopeOverTheSquareOfTheBandwidth) {
  KeptSpeed kept(controlled(), 100);
  kept.run(100, 1000);
  double wanted = 100;
  double lag = 0;
  for (int i = 0; i < 1000; ++i) {
    wanted += 0.1;  // 100 rad/s2
    lag += (wanted - kept.motor.drivetrain().speed()) * kControlSeconds;
    kept.run(wanted, 1);
  }
  EXPECT_NEAR(lag, 0.04, 0.002);
}

}  // namespace
}  // namespace tav::drive::test

// Two wheels: from a motion of the vehicle to velocities of drives, and from their counters to a pose.
#include <gtest/gtest.h>

#include <cmath>
#include <nkr/time/VirtualTime.hpp>
#include <tav/host/DifferentialDrive.hpp>
#include <tav/host/HostConfiguration.hpp>
#include <tav/host/text.hpp>

#include "host/DriveBeside.hpp"
#include "host/group/GroupOnBus.hpp"

namespace tests::host {
namespace {

using tav::host::calibrated_straight;
using tav::host::calibrated_turn;
using tav::host::Cause;
using tav::host::DifferentialDrive;
using tav::host::Odometry;
using tav::host::Pose;
using tav::host::VehicleGeometry;

constexpr double kPi = 3.14159265358979323846;
constexpr double kNear = 1e-6;

/** Wheels of 1 m circumference, 1000 counts a revolution, 1 m apart. */
VehicleGeometry simple() {
  VehicleGeometry geometry;
  for (tav::host::Wheel* const wheel : {&geometry.left, &geometry.right}) {
    wheel->radius = 1 / (2 * kPi);
    wheel->counts_per_revolution = 1000;
  }
  geometry.right.unit = 1;
  geometry.track_width = 1;
  return geometry;
}

TEST(Odometry, GoesStraightWhenBothWheelsRollAlike) {
  Odometry odometry(simple());
  odometry.update(77, -5);
  odometry.update(77 + 2500, -5 + 2500);
  EXPECT_NEAR(odometry.pose().x, 2.5, kNear);
  EXPECT_NEAR(odometry.pose().y, 0, kNear);
  EXPECT_NEAR(odometry.pose().heading, 0, kNear);
}

// A quarter of a circle with the radius 2 m around (0, 2): the wheels roll 1.5 and 2.5 times pi/2.
TEST(Odometry, IsExactForAnArcHoweverLongTheStep) {
  Odometry odometry(simple());
  odometry.update(0, 0);
  odometry.update(static_cast<std::int32_t>(std::lround(1500 * kPi / 2)),
                  static_cast<std::int32_t>(std::lround(2500 * kPi / 2)));
  EXPECT_NEAR(odometry.pose().heading, kPi / 2, 1e-3);
  EXPECT_NEAR(odometry.pose().x, 2, 2e-3);
  EXPECT_NEAR(odometry.pose().y, 2, 2e-3);
}

TEST(Odometry, FollowsCountersThatWrap) {
  Odometry odometry(simple());
  odometry.update(INT32_MAX - 100, INT32_MIN + 100);
  odometry.update(INT32_MIN + 899, INT32_MIN + 1100);  // 1000 forward each
  EXPECT_NEAR(odometry.left_way(), 1, kNear);
  odometry.update(INT32_MAX - 100, INT32_MIN + 100);
  EXPECT_NEAR(odometry.pose().x, 0, kNear);
}

TEST(Odometry, TakesAWheelThatIsMountedTheOtherWayRound) {
  VehicleGeometry geometry = simple();
  geometry.right.is_inverted = true;
  Odometry odometry(geometry);
  odometry.update(0, 0);
  odometry.update(1000, -1000);
  EXPECT_NEAR(odometry.pose().x, 1, kNear);
  const auto speeds = DifferentialDrive::wheel_speeds(geometry, 1, 0);
  EXPECT_NEAR(speeds.left, 60, kNear);
  EXPECT_NEAR(speeds.right, -60, kNear);
}

TEST(Odometry, BeginsAnewWhereACounterDid) {
  Odometry odometry(simple());
  odometry.update(0, 0);
  odometry.update(1000, 1000);
  odometry.lose_track();
  odometry.update(0, 0);
  EXPECT_NEAR(odometry.pose().x, 1, kNear);
  odometry.update(500, 500);
  EXPECT_NEAR(odometry.pose().x, 1.5, kNear);
}

TEST(AMotionOfTheVehicle, TurnsCounterClockwiseByTheRightWheel) {
  const auto speeds = DifferentialDrive::wheel_speeds(simple(), 0, 2);
  EXPECT_NEAR(speeds.left, -60, kNear) << "1 m/s at the wheel";
  EXPECT_NEAR(speeds.right, 60, kNear);
}

TEST(Calibration, FindsTheWheelThatIsSmallerThanToldOnAStraight) {
  VehicleGeometry truth = simple();
  truth.right.radius *= 0.97;
  Odometry real(truth);
  Odometry told(simple());
  for (int counts = 0; counts <= 3000; counts += 100) {
    real.update(counts, counts);
    told.update(counts, counts);
  }
  const VehicleGeometry better =
      calibrated_straight(simple(), told.left_way(), told.right_way(), real.pose());
  EXPECT_NEAR(better.left.calibration, 1, 1e-6);
  EXPECT_NEAR(better.right.calibration, 0.97, 1e-6);
}

TEST(Calibration, FindsTheTrackWidthOnATurn) {
  VehicleGeometry truth = simple();
  truth.track_width = 1.05;
  Odometry real(truth);
  Odometry told(simple());
  for (int counts = 0; counts <= 3000; counts += 100) {
    real.update(-counts, counts);
    told.update(-counts, counts);
  }
  const VehicleGeometry better = calibrated_turn(simple(), told.pose().heading, real.pose().heading);
  EXPECT_NEAR(better.track(), 1.05, 1e-6);
}

TEST(Calibration, ChangesNothingByAVehicleThatStood) {
  const VehicleGeometry same = calibrated_straight(simple(), 0, 0, Pose{});
  EXPECT_EQ(same.left.calibration, 1);
  EXPECT_EQ(calibrated_turn(simple(), 0, 0).track_calibration, 1);
}

TEST(AWheel, IsAsTheConfigurationSays) {
  tav::host::UnitConfiguration unit;
  unit.values.diameter = 200;
  unit.values.reduction = 10;
  unit.values.nb_step_revolution_elec = 360;
  unit.values.nb_pole_pair = 7;
  unit.is_inverted = true;
  const tav::host::Wheel wheel = tav::host::Wheel::of(unit, 1);
  EXPECT_EQ(wheel.unit, 1U);
  EXPECT_NEAR(wheel.way_per_revolution(), -2 * kPi * 0.1 / 10, kNear);
  EXPECT_EQ(wheel.counts_per_revolution, 2520);
}

TEST(AVehicle, MovesByItsTwoWheelsAndTellsWhereItIs) {
  const nkr::time::VirtualTime time;
  const tav::host::GroupSettings settings = patient_settings();
  DrivesOnBus drives;
  const auto units = open_units(drives.bus(), 2);
  tav::host::Group group(pointers(units), settings);
  ASSERT_TRUE(group.prepare().ok());
  ASSERT_TRUE(group.start().ok());
  ASSERT_TRUE(group.enable().ok());
  VehicleGeometry geometry = simple();
  for (tav::host::Wheel* const wheel : {&geometry.left, &geometry.right})
    wheel->counts_per_revolution = 4096 * 8;
  DifferentialDrive vehicle(group, geometry);
  ASSERT_TRUE(vehicle.set(100, 50).ok());  // 4500 and 7500 1/min, of 3000 that the drives follow
  ASSERT_TRUE(becomes([&] { return group.snapshot().units.at(1).order != 0; }));
  EXPECT_EQ(group.snapshot().units.at(0).order, 1800);
  EXPECT_EQ(group.snapshot().units.at(1).order, 3000);
  ASSERT_TRUE(vehicle.set(2, 0).ok());
  ASSERT_TRUE(becomes([&] {
    vehicle.update();
    return vehicle.velocity() == 2;
  }));
  EXPECT_EQ(vehicle.turning_rate(), 0);
  const double before = vehicle.update().x;
  EXPECT_TRUE(becomes([&] { return vehicle.update().x != before; }));
}

TEST(AVehicle, DoesNotMoveOnAGroupThatGoesOnWithoutAWheel) {
  tav::host::GroupSettings settings = patient_settings();
  settings.on_loss = tav::host::OnLoss::GO_ON;
  GroupOnBus bench(2, settings);
  DifferentialDrive vehicle(bench.group(), simple());
  EXPECT_EQ(vehicle.set(1, 0).cause(), Cause::REFUSED);
}

}  // namespace
}  // namespace tests::host

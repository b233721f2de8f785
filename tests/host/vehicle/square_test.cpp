// A vehicle follows a square, in stepped time: where its odometry says that it is, and where it is.
#include <gtest/gtest.h>

#include <cmath>
#include <tav/host/DifferentialDrive.hpp>

#include "host/group/SteppedGroup.hpp"

namespace tests::host {
namespace {

using tav::host::DifferentialDrive;
using tav::host::Odometry;
using tav::host::Pose;
using tav::host::VehicleGeometry;

constexpr double kPi = 3.14159265358979323846;

VehicleGeometry believed() {
  VehicleGeometry geometry;
  for (tav::host::Wheel* const wheel : {&geometry.left, &geometry.right}) {
    wheel->radius = 0.1;
    wheel->reduction = 10;
    wheel->counts_per_revolution = 4096 * 8;  // of the virtual drive's mechanics
  }
  geometry.right.unit = 1;
  geometry.right.is_inverted = true;  // mounted the other way round
  geometry.track_width = 0.4;
  return geometry;
}

/** A vehicle on two virtual drives. Where it really is, is integrated from the speeds of their models, by the
 * millisecond, with wheels that may differ from those that it believes to have. */
class Vehicle {
 public:
  explicit Vehicle(const VehicleGeometry& truth) : truth_(truth) {
    group_.enable();
    group_.cycle().on_cycle([this](const GroupSnapshot& now) {
      odometry_.update(now.units[0].last->position, now.units[1].last->position);
    });
    group_.run_cycles(1);
  }

  void believe(const VehicleGeometry& geometry) {
    geometry_ = geometry;
    odometry_ = Odometry(geometry);
    pose_ = Pose{};
    group_.run_cycles(1);
  }
  /** Moves so until the condition holds, then stands still. */
  template <class Condition>
  void move(double velocity, double turning_rate, Condition is_done) {
    for (int i = 0; i < 100'000 && !is_done(); ++i) step(velocity, turning_rate);
    ASSERT_TRUE(is_done());
    for (int i = 0; i < 500; ++i) step(0, 0);
  }
  void square(double side) {
    for (int i = 0; i < 4; ++i) {
      const double way = odometry_.right_way() + side;
      move(0.5, 0, [&] { return odometry_.right_way() >= way; });
      const double heading = odometry_.pose().heading + kPi / 2;
      move(0, 0.5, [&] { return odometry_.pose().heading >= heading; });
    }
  }
  [[nodiscard]] const Odometry& odometry() const { return odometry_; }
  [[nodiscard]] const Pose& pose() const { return pose_; }
  [[nodiscard]] const VehicleGeometry& geometry() const { return geometry_; }
  [[nodiscard]] double apart() const {
    return std::hypot(pose_.x - odometry_.pose().x, pose_.y - odometry_.pose().y);
  }

 private:
  void step(double velocity, double turning_rate) {
    const auto speeds = DifferentialDrive::wheel_speeds(geometry_, velocity, turning_rate);
    ASSERT_EQ(group_.cycle().set(
                  {static_cast<int>(std::lround(speeds.left)), static_cast<int>(std::lround(speeds.right))},
                  group_.now()),
              NKR_OK);
    group_.run(milliseconds(1));
    const double left = counts(0) / truth_.left.counts_per_revolution * truth_.left.way_per_revolution();
    const double right = counts(1) / truth_.right.counts_per_revolution * truth_.right.way_per_revolution();
    pose_.heading += (right - left) / truth_.track();
    pose_.x += (left + right) / 2 * std::cos(pose_.heading);
    pose_.y += (left + right) / 2 * std::sin(pose_.heading);
  }
  /** Of the model's position, in a millisecond. */
  double counts(std::size_t index) {
    const std::int64_t now = *group_.drive(index).value("position_value");
    const std::int64_t moved = now - positions_.at(index);
    positions_.at(index) = now;
    return static_cast<double>(moved);
  }

  SteppedGroup group_;
  VehicleGeometry truth_;
  VehicleGeometry geometry_ = believed();
  Odometry odometry_{geometry_};
  Pose pose_;
  std::array<std::int64_t, 2> positions_{};
};

TEST(AVehicleOnASquare, IsWhereItsOdometrySaysWithinOnePercent) {
  Vehicle vehicle(believed());
  vehicle.square(1.0);
  EXPECT_LT(vehicle.apart(), 0.01 * 4.0);
  EXPECT_NEAR(vehicle.pose().heading, vehicle.odometry().pose().heading, 0.01 * 2 * kPi);
  EXPECT_GT(vehicle.odometry().right_way(), 4.0) << "it went round";
}

TEST(AVehicleWithASmallerWheelThanTold, IsFoundByCalibrationAndThenWhereItsOdometrySays) {
  VehicleGeometry truth = believed();
  truth.right.radius *= 0.96;
  Vehicle vehicle(truth);
  vehicle.square(1.0);
  EXPECT_GT(vehicle.apart(), 0.01 * 4.0) << "the error is planted";

  vehicle.believe(vehicle.geometry());
  vehicle.move(0.5, 0, [&] { return vehicle.odometry().right_way() >= 2; });
  const VehicleGeometry better = calibrated_straight(vehicle.geometry(), vehicle.odometry().left_way(),
                                                     vehicle.odometry().right_way(), vehicle.pose());
  EXPECT_NEAR(better.right.calibration, 0.96, 0.002);
  EXPECT_NEAR(better.left.calibration, 1.0, 0.002);

  vehicle.believe(better);
  vehicle.square(1.0);
  EXPECT_LT(vehicle.apart(), 0.01 * 4.0);
}

}  // namespace
}  // namespace tests::host

#include <algorithm>
#include <cmath>
#include <tav/host/DifferentialDrive.hpp>
#include <tav/host/HostConfiguration.hpp>
#include <utility>
#include <vector>

namespace tav::host {

namespace {

constexpr double kTurn = 2 * 3.14159265358979323846;
constexpr double kSecondsPerMinute = 60;
constexpr double kMillimetres = 1000;
/** Below it the vehicle goes straight: a circle of that turn has no radius to reckon with. */
constexpr double kStraight = 1e-9;
/** A shorter way tells nothing of the wheels, a smaller turn nothing of the track. */
constexpr double kLeastWay = 1e-3;

/** The difference of two counters of 32 bits that wrap. */
double counted(std::int32_t now, std::int32_t before) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(now) - static_cast<std::uint32_t>(before));
}

double way(const Wheel& wheel, double counts) {
  return counts / wheel.counts_per_revolution * wheel.way_per_revolution();
}

/** Revolutions a minute of the drive for metres a second of the wheel. */
double speed(const Wheel& wheel, double velocity) {
  return velocity / wheel.way_per_revolution() * kSecondsPerMinute;
}

}  // namespace

Wheel Wheel::of(const UnitConfiguration& unit, std::size_t place) {
  Wheel wheel;
  wheel.unit = place;
  wheel.radius = unit.values.diameter / 2 / kMillimetres;
  wheel.reduction = unit.values.reduction;
  wheel.counts_per_revolution =
      static_cast<double>(unit.values.nb_step_revolution_elec) * unit.values.nb_pole_pair;
  wheel.is_inverted = unit.is_inverted;
  return wheel;
}

double Wheel::way_per_revolution() const {
  return kTurn * radius * calibration / reduction * (is_inverted ? -1 : 1);
}

/** The vehicle goes on a circle between two updates: the chord is exact, not only its length. */
void Odometry::update(std::int32_t left, std::int32_t right) {
  const double left_way = has_positions_ ? way(geometry_.left, counted(left, left_)) : 0;
  const double right_way = has_positions_ ? way(geometry_.right, counted(right, right_)) : 0;
  left_ = left;
  right_ = right;
  has_positions_ = true;
  left_way_ += left_way;
  right_way_ += right_way;
  const double arc = (left_way + right_way) / 2;
  const double turn = (right_way - left_way) / geometry_.track();
  const double chord = std::abs(turn) < kStraight ? arc : arc * std::sin(turn / 2) / (turn / 2);
  pose_.x += chord * std::cos(pose_.heading + turn / 2);
  pose_.y += chord * std::sin(pose_.heading + turn / 2);
  pose_.heading += turn;
}

/** A vehicle that goes on a circle by `truth.heading` over a chord has rolled arcs of that circle. */
VehicleGeometry calibrated_straight(const VehicleGeometry& geometry, double left_way, double right_way,
                                    const Pose& truth) {
  if (std::abs(left_way) < kLeastWay || std::abs(right_way) < kLeastWay) return geometry;
  const double chord = std::hypot(truth.x, truth.y);
  const double half = truth.heading / 2;
  const double arc = std::abs(half) < kStraight ? chord : chord * half / std::sin(half);
  VehicleGeometry better = geometry;
  better.left.calibration *= (arc - half * geometry.track()) / std::abs(left_way);
  better.right.calibration *= (arc + half * geometry.track()) / std::abs(right_way);
  return better;
}

/** The told turn grows when the track gets narrower. */
VehicleGeometry calibrated_turn(const VehicleGeometry& geometry, double told, double truth) {
  if (std::abs(told) < kLeastWay || std::abs(truth) < kLeastWay) return geometry;
  VehicleGeometry better = geometry;
  better.track_calibration *= told / truth;
  return better;
}

DifferentialDrive::DifferentialDrive(Group& group, const VehicleGeometry& geometry)
    : group_(group), geometry_(geometry), odometry_(geometry) {}

DifferentialDrive::WheelSpeeds DifferentialDrive::wheel_speeds(const VehicleGeometry& geometry,
                                                               double velocity, double turning_rate) {
  const double difference = turning_rate * geometry.track() / 2;
  return {speed(geometry.left, velocity - difference), speed(geometry.right, velocity + difference)};
}

Result DifferentialDrive::set(double velocity, double turning_rate) {
  if (group_.settings().on_loss != OnLoss::STOP_ALL) {
    Explanation refused;
    refused.cause = Cause::REFUSED;
    refused.code = NKR_INVALID_STATE;
    refused.action = "the group of a vehicle must stop when it loses a wheel";
    refused.detail = "one wheel alone turns the vehicle: OnLoss::STOP_ALL";
    return Result(std::move(refused));
  }
  const WheelSpeeds speeds = wheel_speeds(geometry_, velocity, turning_rate);
  double most = 1;
  for (const auto& [unit, wanted] :
       {std::pair{geometry_.left.unit, speeds.left}, {geometry_.right.unit, speeds.right}}) {
    const int allowed = group_.preparation().units.at(unit).most_velocity;
    if (allowed > 0) most = std::max(most, std::abs(wanted) / allowed);
  }
  std::vector<int> velocities(group_.size(), 0);
  velocities.at(geometry_.left.unit) = static_cast<int>(std::lround(speeds.left / most));
  velocities.at(geometry_.right.unit) = static_cast<int>(std::lround(speeds.right / most));
  return group_.set(velocities);
}

const Pose& DifferentialDrive::update() {
  group_.snapshot(snapshot_);
  return update(snapshot_);
}

/** Values of two instants, or of a drive that restarted, are not taken together. */
const Pose& DifferentialDrive::update(const GroupSnapshot& snapshot) {
  const std::size_t last = std::max(geometry_.left.unit, geometry_.right.unit);
  if (snapshot.units.size() <= last || snapshot.cycle == last_cycle_) return odometry_.pose();
  const Feedback& left = snapshot.units[geometry_.left.unit];
  const Feedback& right = snapshot.units[geometry_.right.unit];
  const unsigned restarts = unsigned{left.restarts} + right.restarts;
  if (std::exchange(restarts_, restarts) != restarts) odometry_.lose_track();
  if (!left.last || !right.last) return odometry_.pose();
  if (left.last->cycle != right.last->cycle) return odometry_.pose();
  last_cycle_ = snapshot.cycle;
  odometry_.update(left.last->position, right.last->position);
  const double left_velocity = left.last->velocity * geometry_.left.way_per_revolution() / kSecondsPerMinute;
  const double right_velocity =
      right.last->velocity * geometry_.right.way_per_revolution() / kSecondsPerMinute;
  velocity_ = (left_velocity + right_velocity) / 2;
  turning_rate_ = (right_velocity - left_velocity) / geometry_.track();
  return odometry_.pose();
}

}  // namespace tav::host

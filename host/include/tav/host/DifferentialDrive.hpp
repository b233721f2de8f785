#ifndef TAV_HOST_DIFFERENTIALDRIVE_HPP
#define TAV_HOST_DIFFERENTIALDRIVE_HPP

#include <nkr/export.h>

#include <cstddef>
#include <cstdint>
#include <tav/host/Group.hpp>
#include <tav/host/GroupSnapshot.hpp>
#include <tav/host/Result.hpp>

namespace tav::host {

struct UnitConfiguration;
struct VehicleConfiguration;

/** One driven wheel of a vehicle. Lengths in metres. */
struct NKR_EXPORT Wheel {
  std::size_t unit = 0;                 ///< its place in the group
  double radius = 0.1;                  ///< of the wheel
  double reduction = 1;                 ///< motor revolutions for one of the wheel
  double counts_per_revolution = 4096;  ///< of the drive's position, for one motor revolution
  bool is_inverted = false;             ///< positive velocity of the drive turns the wheel backward
  double calibration = 1;               ///< what the radius is multiplied by: true way over told way

  /** As the configuration of the unit says it. */
  [[nodiscard]] static Wheel of(const UnitConfiguration& unit, std::size_t place);
  /** Metres that the wheel rolls in one motor revolution, forward positive. */
  [[nodiscard]] double way_per_revolution() const;
};

/** Two wheels on one axle. */
struct NKR_EXPORT VehicleGeometry {
  Wheel left;
  Wheel right;
  double track_width = 0.5;      ///< between the wheels' contacts
  double track_calibration = 1;  ///< what the track width is multiplied by

  [[nodiscard]] double track() const { return track_width * track_calibration; }
};

/** Where the middle of the axle is: x forward, y to the left, heading counter-clockwise from x in radians.
 * The heading is not folded: it counts whole turns. */
struct Pose {
  double x = 0;
  double y = 0;
  double heading = 0;
};

/**
 * Where a vehicle is, from the positions that its two drives count: exact for arcs, however many counts lie
 * between two updates, as long as each drive's counter moved less than half its 32 bits.
 */
class NKR_EXPORT Odometry {
 public:
  explicit Odometry(const VehicleGeometry& geometry) : geometry_(geometry) {}

  /** Takes the positions of both drives, of one instant. The first ones are the beginning. */
  void update(std::int32_t left, std::int32_t right);
  /** The counters are new, or were not followed: the next positions are a beginning; the pose stays. */
  void lose_track() { has_positions_ = false; }
  void reset(const Pose& pose = {}) { pose_ = pose; }

  [[nodiscard]] const Pose& pose() const { return pose_; }
  /** Metres that each wheel rolled since the beginning. */
  [[nodiscard]] double left_way() const { return left_way_; }
  [[nodiscard]] double right_way() const { return right_way_; }

 private:
  VehicleGeometry geometry_;
  Pose pose_;
  bool has_positions_ = false;
  std::int32_t left_ = 0;
  std::int32_t right_ = 0;
  double left_way_ = 0;
  double right_way_ = 0;
};

/**
 * What corrects the wheels of a vehicle that was driven straight ahead along a known way.
 * @param told  the pose that its odometry told at the end, from the beginning at the origin
 * @param truth  the pose that it really had
 * @return with calibrations multiplied to those that it drove with; unchanged when the way is too short
 */
[[nodiscard]] NKR_EXPORT VehicleGeometry calibrated_straight(const VehicleGeometry& geometry, double left_way,
                                                             double right_way, const Pose& truth);
/** The same for the track width, of a vehicle that was turned on the spot by a known angle: the truth over
 * what was told. */
[[nodiscard]] NKR_EXPORT VehicleGeometry calibrated_turn(const VehicleGeometry& geometry, double told,
                                                         double truth);

/**
 * A vehicle with two driven wheels on one axle, on a group of two units or more: velocity and turning rate
 * in, odometry out. It sets all units of the group; those that are no wheel to 0.
 *
 * One thread.
 */
class NKR_EXPORT DifferentialDrive {
 public:
  /** The group must outlive it. */
  DifferentialDrive(Group& group, const VehicleGeometry& geometry);

  /**
   * Forward velocity in m/s and turning rate in rad/s, counter-clockwise positive. When a wheel would have to
   * turn faster than its drive may, both are lowered alike, so that the curve stays the same.
   * @return as Group::set(); Cause::REFUSED for a group that goes on when it loses a unit: one wheel alone
   * turns the vehicle
   */
  Result set(double velocity, double turning_rate);

  /** Takes the newest snapshot of the group into the odometry. To be called often enough that no drive's
   * counter moves by half its range meanwhile. */
  const Pose& update();
  /** The same with a snapshot, as on_cycle() has them. */
  const Pose& update(const GroupSnapshot& snapshot);

  [[nodiscard]] Odometry& odometry() { return odometry_; }
  [[nodiscard]] const VehicleGeometry& geometry() const { return geometry_; }
  /** As the wheels turn by the newest update(): m/s and rad/s. */
  [[nodiscard]] double velocity() const { return velocity_; }
  [[nodiscard]] double turning_rate() const { return turning_rate_; }

  /** Velocities of the two drives, in 1/min, for a motion of the vehicle; not lowered. */
  struct WheelSpeeds {
    double left = 0;
    double right = 0;
  };
  [[nodiscard]] static WheelSpeeds wheel_speeds(const VehicleGeometry& geometry, double velocity,
                                                double turning_rate);

 private:
  Group& group_;
  VehicleGeometry geometry_;
  Odometry odometry_;
  GroupSnapshot snapshot_;
  std::uint64_t last_cycle_ = 0;
  unsigned restarts_ = 0;
  double velocity_ = 0;
  double turning_rate_ = 0;
};

}  // namespace tav::host

#endif

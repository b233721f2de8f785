#ifndef TAV_DRIVE_SRC_MOTOR_DRIVETRAIN_HPP
#define TAV_DRIVE_SRC_MOTOR_DRIVETRAIN_HPP

#include <tav/drive/MotorParameters.hpp>

namespace tav::drive {

/**
 * Rotor, gear, wheel and machine as one inertia at the motor's shaft, with what acts on it: slope, which
 * pulls whatever the motion, and friction, which opposes the motion and holds a motor that stands.
 *
 * A step is computed without friction, then pulled towards standstill: so a machine under its brake stands,
 * and does not creep.
 */
class Drivetrain {
 public:
  explicit Drivetrain(const MotorParameters& parameters);

  /** The load is another one: mass, slope, friction. The motion goes on. */
  void load(const MotorParameters& parameters);

  /** Lets these torques act, in Nm, for one step of the grid. */
  void step(double motor_torque, double brake_torque);

  [[nodiscard]] double speed() const { return speed_; }  ///< in rad/s
  [[nodiscard]] double turns() const { return turns_; }  ///< revolutions of the motor since power-on
  /** A step with these torques would change nothing. */
  [[nodiscard]] bool stuck(double motor_torque, double brake_torque) const;

  [[nodiscard]] double inertia() const { return inertia_; }  ///< in kg m2
  [[nodiscard]] double slope_torque() const { return slope_torque_; }
  [[nodiscard]] double friction_torque() const { return friction_; }  ///< of motor, gear and wheel
  [[nodiscard]] double metres() const { return turns_ * metres_per_turn_; }
  void set_speed(double speed) { speed_ = speed; }

 private:
  double inertia_ = 1;
  double slope_torque_ = 0;
  double friction_ = 0;
  double static_ratio_ = 1;
  double decay_ = 1;  ///< of the speed in a step, by viscous friction
  double gain_ = 0;   ///< rad/s that 1 Nm adds in a step
  double metres_per_turn_ = 0;
  double speed_ = 0;
  double turns_ = 0;
};

}  // namespace tav::drive

#endif

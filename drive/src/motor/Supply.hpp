#ifndef TAV_DRIVE_SRC_MOTOR_SUPPLY_HPP
#define TAV_DRIVE_SRC_MOTOR_SUPPLY_HPP

#include <tav/drive/MotorParameters.hpp>

namespace tav::drive {

/**
 * The battery behind its resistance and the DC link that it feeds: the voltage falls under load and rises
 * when the motor gives energy back; a battery that is disconnected, or a power supply that takes nothing
 * back, leaves that energy in the capacitor.
 */
class Supply {
 public:
  explicit Supply(const MotorParameters& parameters);

  /** Draws this power from the DC link for one step of the grid, in W; below 0 it is given back. */
  void step(double power);

  void set_source(double volts);  ///< the battery without load
  void connect(bool connected);
  [[nodiscard]] bool connected() const { return connected_; }
  void set_resistance(double ohm);

  [[nodiscard]] double voltage() const { return voltage_; }  ///< of the DC link, in V
  [[nodiscard]] double source() const { return source_; }
  /** Another step without power would change nothing. */
  [[nodiscard]] bool settled() const { return settled_; }
  // What flowed in the last step, in W.
  [[nodiscard]] double battery_power() const { return battery_power_; }
  [[nodiscard]] double battery_loss() const { return battery_loss_; }
  [[nodiscard]] double chopper_power() const { return chopper_power_; }
  [[nodiscard]] double other_power() const { return other_power_; }

 private:
  void step_alone(double power);
  [[nodiscard]] double chopper();

  double source_;
  double resistance_ = 0;
  double capacitance_;
  double decay_ = 0;  ///< of a difference between the link and its steady voltage, in a step
  bool takes_back_;
  double chopper_voltage_;
  double chopper_resistance_;
  double other_load_;
  bool connected_ = true;
  bool chopping_ = false;
  bool settled_ = false;
  double voltage_;
  double battery_power_ = 0;
  double battery_loss_ = 0;
  double chopper_power_ = 0;
  double other_power_ = 0;
};

}  // namespace tav::drive

#endif

#ifndef TAV_DRIVE_SRC_MOTOR_MOTOR_HPP
#define TAV_DRIVE_SRC_MOTOR_MOTOR_HPP

#include <cstdint>
#include <tav/drive/MotorParameters.hpp>

#include "motor/Drivetrain.hpp"
#include "motor/HeatPath.hpp"
#include "motor/HoldingBrake.hpp"
#include "motor/OverloadLimit.hpp"
#include "motor/Supply.hpp"

namespace tav::drive {

/** What went where since power-on, in J. What comes in is what is stored and what became heat. */
struct EnergyBalance {
  double battery = 0;       ///< out of the battery, before its own resistance
  double battery_loss = 0;  ///< in that resistance
  double winding_loss = 0;
  double stage_loss = 0;
  double friction_loss = 0;  ///< with the viscous one
  double brake_loss = 0;
  double chopper = 0;
  double other_load = 0;
};

/** The motor with its power stage, on its machine: what a current does, one step of the grid at a time. */
class Motor {
 public:
  /** What the power stage does with the motor's phases. */
  enum class Stage { OFF, SHORTED, CURRENT };

  explicit Motor(const MotorParameters& parameters);

  /**
   * One step.
   * @param wanted  the current that is to flow in Stage::CURRENT, in A; limits of the drive and of the
   * voltage say what flows
   */
  void step(Stage stage, double wanted);

  /** So many steps in which nothing flows and nothing moves: time passes for what is warm alone. */
  void rest(std::int64_t steps);
  /** Such a step is what step() would do. */
  [[nodiscard]] bool rests(Stage stage) const;

  // Its parts, which tests and scenarios look into.
  [[nodiscard]] Drivetrain& drivetrain() { return drivetrain_; }
  [[nodiscard]] const Drivetrain& drivetrain() const { return drivetrain_; }
  [[nodiscard]] Supply& supply() { return supply_; }
  [[nodiscard]] const Supply& supply() const { return supply_; }
  [[nodiscard]] HoldingBrake& brake() { return brake_; }
  [[nodiscard]] const HoldingBrake& brake() const { return brake_; }
  [[nodiscard]] const OverloadLimit& overload() const { return overload_; }
  [[nodiscard]] const MotorParameters& parameters() const { return parameters_; }

  [[nodiscard]] double current() const { return current_; }  ///< that flowed last, in A
  [[nodiscard]] double winding_temperature() const;          ///< in C
  [[nodiscard]] double stage_temperature() const;            ///< in C
  [[nodiscard]] double board_temperature() const;            ///< of what sits beside the stage
  /** Time changes nothing. */
  [[nodiscard]] bool cold() const;
  [[nodiscard]] const EnergyBalance& energy() const { return energy_; }

  /** Mass, slope, friction and ambient are those of the parameters from now on; the rest stays. */
  void load(const MotorParameters& parameters);
  /** One of its phases carries no current: its torque pulses between none and full. */
  void lose_phase(bool lost) { phase_lost_ = lost; }
  void set_pole_pairs(double pole_pairs) { pole_pairs_ = pole_pairs; }

 private:
  [[nodiscard]] double current_that_flows(Stage stage, double wanted) const;
  [[nodiscard]] double torque_constant() const;
  void account(double stage_loss, double speed);
  void heat();
  void warm();

  MotorParameters parameters_;
  Drivetrain drivetrain_;
  Supply supply_;
  HoldingBrake brake_;
  OverloadLimit overload_;
  HeatPath winding_;
  HeatPath stage_;
  double resistance_;  ///< of the winding as warm as it is, with the heat grid
  double limit_;       ///< of the current, likewise
  double current_ = 0;
  bool phase_lost_ = false;
  double pole_pairs_ = 7;
  int steps_to_heat_;
  // Since the last heat step.
  double sum_of_squares_ = 0;
  double sum_of_stage_loss_ = 0;
  EnergyBalance energy_;
};

}  // namespace tav::drive

#endif

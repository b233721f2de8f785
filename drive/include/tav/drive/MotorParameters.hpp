#ifndef TAV_DRIVE_MOTORPARAMETERS_HPP
#define TAV_DRIVE_MOTORPARAMETERS_HPP

#include <nkr/export.h>

#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace tav::drive {

/**
 * A motor with its machine, its supply and its heat, as physics has them. The motor is the direct-current
 * equivalent of a synchronous machine: voltage and resistance between two phases, torque constant times
 * current. Seen from the motor's shaft, unless a member says otherwise. What a file calls each, its unit and
 * its limits: docs/virtual-drive.md.
 */
struct MotorParameters {
  // Motor and gear.
  double resistance = 0.365;              ///< at 20 C, in Ohm
  double resistance_rise = 0.0039;        ///< of that, per kelvin
  double torque_constant = 0.123;         ///< in Nm/A, and in Vs/rad
  double rotor_inertia = 1.6e-4;          ///< with the gear, in kg m2
  double friction_torque = 0.04;          ///< of motor and gear, in Nm
  double viscous_friction = 1.5e-4;       ///< in Nm s/rad
  double static_friction_ratio = 1.3;     ///< what holds a standing motor, to the friction of a turning one
  double nominal_current = 6.8;           ///< that it bears for ever, in A
  double current_limit = 24.0;            ///< of the power stage, in A
  double overload_time_constant = 123.0;  ///< of the limit by the square of the current, in s
  double gear_ratio = 10.0;               ///< revolutions of the motor for one of the wheel
  double wheel_diameter = 0.2;            ///< in m
  double wheel_inertia = 0.0;             ///< at the wheel, in kg m2
  // The machine.
  double mass = 60.0;                 ///< that this wheel drives, in kg
  double rolling_resistance = 0.015;  ///< of the weight
  double slope = 0.0;                 ///< of the ground, in percent; above 0 uphill for positive speeds
  // Supply.
  double battery_voltage = 48.0;     ///< without load, in V
  double battery_resistance = 0.05;  ///< in Ohm
  double link_capacitance = 2.2e-3;  ///< of the DC link, in F
  double modulation = 0.95;          ///< the part of the DC link's voltage that the motor gets at most
  double takes_back = 1.0;           ///< 0: a power supply that takes no energy back
  double chopper_voltage = 0.0;      ///< from which the brake chopper works, in V; 0: there is none
  double chopper_resistance = 4.7;   ///< in Ohm
  double other_load = 0.0;           ///< what else draws from the DC link, in W
  // Heat.
  double ambient = 25.0;                  ///< in C
  double winding_to_housing = 1.85;       ///< thermal resistance, in K/W
  double winding_time_constant = 123.0;   ///< in s
  double housing_to_ambient = 1.3;        ///< thermal resistance, in K/W
  double housing_time_constant = 1060.0;  ///< in s
  double winding_limit = 125.0;           ///< from which the nominal current is the limit, in C
  double stage_resistance = 0.005;        ///< of one switch, in Ohm (assumed, as is all of the power stage)
  double switching_loss = 0.007;          ///< in W for an A and a V
  double stage_to_sink = 1.2;             ///< thermal resistance, in K/W
  double stage_time_constant = 8.0;       ///< in s
  double sink_to_ambient = 0.8;           ///< thermal resistance, in K/W
  double sink_time_constant = 300.0;      ///< in s
  // Holding brake.
  double brake_torque = 2.0;        ///< in Nm
  double brake_release_time = 0.1;  ///< from the command until it is open, in s
  double brake_apply_time = 0.1;    ///< from the command until it holds, in s
  // Measurement and control of the speed.
  double velocity_filter = 0.01;  ///< time constant, in s
  double bandwidth = 20.0;        ///< of the speed controller with the gains of delivery, in rad/s
  double damping = 1.0;           ///< likewise
};

/** Names of what read_motor_parameters() and motor_preset() know: "agv-200mm" is the first. */
[[nodiscard]] NKR_EXPORT std::vector<std::string> motor_presets();
/** Takes the values of a preset. @return false, and nothing happens, when none has that name */
[[nodiscard]] NKR_EXPORT bool motor_preset(std::string_view name, MotorParameters& parameters);

/**
 * Reads a file of parameters: "name = value" a line, "#" begins a comment; "preset = NAME" first takes the
 * values of a preset, without it those that are there stay.
 * @return false, and each mistake with its line in `problem`, one a line; `parameters` are then as before
 */
[[nodiscard]] NKR_EXPORT bool read_motor_parameters(std::istream& text, MotorParameters& parameters,
                                                    std::string& problem);
[[nodiscard]] NKR_EXPORT bool read_motor_parameters_file(const std::string& path, MotorParameters& parameters,
                                                         std::string& problem);

/** One parameter, as a file has it. */
struct MotorParameter {
  const char* name;
  const char* unit;  ///< empty for a ratio
  double low;        ///< least value
  double high;       ///< greatest value
  double MotorParameters::*value;
};
/** All of them, in the order of MotorParameters. */
[[nodiscard]] NKR_EXPORT const std::vector<MotorParameter>& motor_parameter_list();

}  // namespace tav::drive

#endif

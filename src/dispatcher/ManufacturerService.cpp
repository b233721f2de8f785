#include <tavcore/CANOpenDispatcher.hpp>

#include "../objects/DriveObjects.hpp"
#include "../objects/Steps.hpp"
#include "DeviceStrings.hpp"

namespace nkr::tavcore {
namespace {

template <class Field, class Parameters>
void vrx_fields(Field field, Parameters& parameters) {
  field(Object<bool>{"cia402_use_internal_brake"}, parameters.use_internal_brake);
  field(Object<std::uint32_t>{"motctrl_speed_pid_p"}, parameters.speed_pid_proportional_gain);
  field(Object<std::uint32_t>{"motctrl_speed_pid_i"}, parameters.speed_pid_integral_gain);
  field(Object<std::uint32_t>{"motctrl_speed_pid_d"}, parameters.speed_pid_derivative_gain);
}

}  // namespace

nkr_error_t CANOpenDispatcher::getDeviceParameters(DeviceParameters& parameters) const {
  Steps steps = Steps::guarded(*dictionary_);
  device_strings(steps.reads(), parameters);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getVRXParameters(VRXParameters& parameters) const {
  Steps steps = Steps::guarded(*dictionary_);
  vrx_fields(steps.reads(), parameters);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::setVRXParameters(const VRXParameters& parameters) {
  Steps steps = Steps::guarded(*dictionary_);
  vrx_fields(steps.writes(), parameters);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getCalibrationValidity(bool& valid) const {
  Steps steps = Steps::guarded(*dictionary_);
  steps.read(kCalibrationValid, valid);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getSystemErrorState(SystemErrorStatus& batteryUnderVoltage,
                                                   SystemErrorStatus& batteryOverVoltage,
                                                   SystemErrorStatus& phaseOverCurrent,
                                                   SystemErrorStatus& mosfetOverTemperature,
                                                   SystemErrorStatus& driverOverTemperature) const {
  Steps steps = Steps::guarded(*dictionary_);
  std::uint8_t battery_under_voltage = 0;
  std::uint8_t battery_over_voltage = 0;
  std::uint8_t phase_over_current = 0;
  std::uint8_t mosfet_over_temperature = 0;
  std::uint8_t driver_over_temperature = 0;
  steps.read(Object<std::uint8_t>{"nkr_system_error_states_status battery_uv"}, battery_under_voltage);
  steps.read(Object<std::uint8_t>{"nkr_system_error_states_status battery_ov"}, battery_over_voltage);
  steps.read(Object<std::uint8_t>{"nkr_system_error_states_status phase_oc"}, phase_over_current);
  steps.read(Object<std::uint8_t>{"nkr_system_error_states_status mos_ot"}, mosfet_over_temperature);
  steps.read(Object<std::uint8_t>{"nkr_system_error_states_status drv_ot"}, driver_over_temperature);
  if (steps.completed()) {
    batteryUnderVoltage = static_cast<SystemErrorStatus>(battery_under_voltage);
    batteryOverVoltage = static_cast<SystemErrorStatus>(battery_over_voltage);
    phaseOverCurrent = static_cast<SystemErrorStatus>(phase_over_current);
    mosfetOverTemperature = static_cast<SystemErrorStatus>(mosfet_over_temperature);
    driverOverTemperature = static_cast<SystemErrorStatus>(driver_over_temperature);
  }
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getSystemErrorProtectState(SystemErrorProtectState& previous,
                                                          SystemErrorProtectState& present) const {
  Steps steps = Steps::guarded(*dictionary_);
  std::uint32_t previous_state = 0;
  std::uint32_t present_state = 0;
  steps.read(Object<std::uint32_t>{"nkr_system_error_previous_protect_state"}, previous_state);
  steps.read(Object<std::uint32_t>{"nkr_system_error_protect_state"}, present_state);
  if (steps.completed()) {
    previous = static_cast<SystemErrorProtectState>(previous_state);
    present = static_cast<SystemErrorProtectState>(present_state);
  }
  return steps.result();
}

}  // namespace nkr::tavcore

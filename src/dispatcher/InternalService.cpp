#include <tavcore/CANOpenDispatcher.hpp>

#include "../objects/DriveObjects.hpp"
#include "../objects/Steps.hpp"
#include "DeviceStrings.hpp"
#include "ParameterBlocks.hpp"

namespace nkr::tavcore {
namespace {

constexpr ParameterBlock kInternalBlocks[] = {
    {5,
     {"Store Parameters Save Motor Calibration And Internal Parameters"},
     {"Restore Default Parameters Restore Motor Calibration And Internal Parameters"}},
    {6, {"Store Parameters Save Test Results"}, {"Restore Default Parameters Restore Test Results"}},
};

template <class Field, class Config>
void system_error_fields(Field field, Config& config) {
  field(Object<std::uint32_t>{"nkr_system_error_public_config time_ms_zero_torque_protect"},
        config.zero_torque_protection_time_ms);
  field(Object<std::uint32_t>{"nkr_system_error_public_config time_ms_brake_cc_protect"},
        config.brake_short_circuit_protection_time_ms);
  field(Object<std::int32_t>{"nkr_system_error_public_config battery_uv_warning"},
        config.battery_under_voltage_warning);
  field(Object<std::int32_t>{"nkr_system_error_public_config battery_uv_error"},
        config.battery_under_voltage_error);
  field(Object<std::int32_t>{"nkr_system_error_public_config battery_ov_warning"},
        config.battery_over_voltage_warning);
  field(Object<std::int32_t>{"nkr_system_error_public_config battery_ov_error"},
        config.battery_over_voltage_error);
  field(Object<std::int32_t>{"nkr_system_error_public_config phase_oc_warning"},
        config.phase_over_current_warning);
  field(Object<std::int32_t>{"nkr_system_error_public_config phase_oc_error"},
        config.phase_over_current_error);
  field(Object<std::uint32_t>{"nkr_system_error_public_config battery_uv_warning_timeout_ms"},
        config.under_voltage_warning_time_out_ms);
  field(Object<std::uint32_t>{"nkr_system_error_public_config battery_ov_warning_timeout_ms"},
        config.over_voltage_warning_time_out_ms);
  field(Object<std::uint32_t>{"nkr_system_error_public_config phase_oc_warning_timeout_ms"},
        config.over_current_warning_time_out_ms);
  field(Object<float>{"nkr_system_error_public_config phase_over_board_factor"},
        config.phase_over_board_factor);
  field(Object<std::int32_t>{"nkr_system_error_public_config temp_hysteresis_rise_mos1"},
        config.temperature_hysteresis_rise_mosfet_1);
  field(Object<std::int32_t>{"nkr_system_error_public_config temp_hysteresis_rise_mos2"},
        config.temperature_hysteresis_rise_mosfet_2);
  field(Object<std::int32_t>{"nkr_system_error_public_config temp_hysteresis_fall_mos1"},
        config.temperature_hysteresis_fall_mosfet_1);
  field(Object<std::int32_t>{"nkr_system_error_public_config temp_hysteresis_fall_mos2"},
        config.temperature_hysteresis_fall_mosfet_2);
}

}  // namespace

nkr_error_t CANOpenDispatcher::_storeParameters(const _BlocId& block) {
  Steps steps = Steps::guarded(*dictionary_);
  if (!steps.completed()) return steps.result();
  const ParameterBlock* const found = find_block(kInternalBlocks, block);
  if (found == nullptr) return refuse_block(static_cast<std::int32_t>(block), Here::now());
  steps.write(found->store, kStoreSignature);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::_restoreDefaultParameters(const _BlocId& block) {
  Steps steps = Steps::guarded(*dictionary_);
  if (!steps.completed()) return steps.result();
  const ParameterBlock* const found = find_block(kInternalBlocks, block);
  if (found == nullptr) return refuse_block(static_cast<std::int32_t>(block), Here::now());
  steps.write(found->restore, kRestoreSignature);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::_setDeviceParameters(const _DeviceParameters& parameters) {
  Steps steps = Steps::guarded(*dictionary_);
  device_strings(steps.writes(), parameters);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::_getSelfTestStatus(_SelfTestStatus& status) const {
  Steps steps = Steps::guarded(*dictionary_);
  steps.read(Object<std::uint8_t>{"self_test self_test_status_auto_init"}, status.auto_init);
  steps.read(Object<std::uint8_t>{"self_test self_test_status_motor_driver"}, status.motor_driver);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::_simulateSelfTestError(const _SelfTestStatus& status) const {
  Steps steps = Steps::guarded(*dictionary_);
  steps.write(Object<std::uint8_t>{"self_test self_test_simulate_auto_init_error"}, status.auto_init);
  steps.write(Object<std::uint8_t>{"self_test self_test_simulate_motor_driver_error"}, status.motor_driver);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::_getCalibrationParameters(_CalibrationParameters& parameters) const {
  Steps steps = Steps::guarded(*dictionary_);
  steps.read(kCalibrationValid, parameters.is_valid);
  steps.read(Object<std::int32_t>{"nkr_hall_public_config cos_norm_coef.adc_offset_mv"},
             parameters.cosine_adc_offset_millivolts);
  steps.read(Object<float>{"nkr_hall_public_config cos_norm_coef.gain"}, parameters.cosine_gain);
  steps.read(Object<std::int32_t>{"nkr_hall_public_config cos_norm_coef.angle_offset_mdeg"},
             parameters.cosine_angle_offset_millidegrees);
  steps.read(Object<std::int32_t>{"nkr_hall_public_config sin_norm_coef.adc_offset_mv"},
             parameters.sine_adc_offset_millivolts);
  steps.read(Object<float>{"nkr_hall_public_config sin_norm_coef.gain"}, parameters.sine_gain);
  steps.read(Object<std::int32_t>{"nkr_hall_public_config sin_norm_coef.angle_offset_mdeg"},
             parameters.sine_angle_offset_millidegrees);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::_getSystemErrorConfig(_SystemErrorConfig& config) const {
  Steps steps = Steps::guarded(*dictionary_);
  system_error_fields(steps.reads(), config);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::_setSystemErrorConfig(const _SystemErrorConfig& config) {
  Steps steps = Steps::guarded(*dictionary_);
  system_error_fields(steps.writes(), config);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::_getLevel1Error(unsigned int& error) const {
  Steps steps = Steps::guarded(*dictionary_);
  steps.read(Object<std::uint32_t>{"error_type_lvl_1"}, error);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::_setNodeId(const unsigned char& id) {
  Steps steps = Steps::guarded(*dictionary_);
  if (!steps.completed()) return steps.result();
  dictionary_->address_node(id);
  configured_node_id_ = id;
  return NKR_OK;
}

}  // namespace nkr::tavcore

#include "operations.hpp"

namespace tavtest {

using nkr::tavcore::IInternalService;
using nkr::tavcore::IManufacturerService;

namespace {

constexpr std::int32_t kSave = 0x65766173;
constexpr std::int32_t kLoad = 0x64616F6C;

template <class Call>
Operation internal_block(std::string name, std::string variant, std::string object, std::int32_t signature,
                         Call call) {
  return setter(std::move(name), call, {write(std::move(object), signature)}).as(std::move(variant));
}

Values values_of(const IInternalService::_CalibrationParameters& p) {
  return {p.is_valid,
          p.cosine_adc_offset_millivolts,
          p.cosine_gain,
          p.cosine_angle_offset_millidegrees,
          p.sine_adc_offset_millivolts,
          p.sine_gain,
          p.sine_angle_offset_millidegrees};
}

Values values_of(const IInternalService::_SystemErrorConfig& c) {
  return {c.zero_torque_protection_time_ms,       c.brake_short_circuit_protection_time_ms,
          c.battery_under_voltage_warning,        c.battery_under_voltage_error,
          c.battery_over_voltage_warning,         c.battery_over_voltage_error,
          c.phase_over_current_warning,           c.phase_over_current_error,
          c.under_voltage_warning_time_out_ms,    c.over_voltage_warning_time_out_ms,
          c.over_current_warning_time_out_ms,     c.phase_over_board_factor,
          c.temperature_hysteresis_rise_mosfet_1, c.temperature_hysteresis_rise_mosfet_2,
          c.temperature_hysteresis_fall_mosfet_1, c.temperature_hysteresis_fall_mosfet_2};
}

/** The sixteen objects of the system error configuration, read or written. */
std::vector<Step> system_error_steps(Step (*access)(std::string, Value)) {
  const std::string prefix = "nkr_system_error_public_config ";
  return {access(prefix + "time_ms_zero_torque_protect", 101U),
          access(prefix + "time_ms_brake_cc_protect", 102U),
          access(prefix + "battery_uv_warning", -103),
          access(prefix + "battery_uv_error", -104),
          access(prefix + "battery_ov_warning", 105),
          access(prefix + "battery_ov_error", 106),
          access(prefix + "phase_oc_warning", 107),
          access(prefix + "phase_oc_error", 108),
          access(prefix + "battery_uv_warning_timeout_ms", 109U),
          access(prefix + "battery_ov_warning_timeout_ms", 110U),
          access(prefix + "phase_oc_warning_timeout_ms", 111U),
          access(prefix + "phase_over_board_factor", 1.5F),
          access(prefix + "temp_hysteresis_rise_mos1", 113),
          access(prefix + "temp_hysteresis_rise_mos2", -114),
          access(prefix + "temp_hysteresis_fall_mos1", 115),
          access(prefix + "temp_hysteresis_fall_mos2", -116)};
}

constexpr IInternalService::_SystemErrorConfig kSystemErrorConfig{101, 102, -103, -104, 105, 106,  107, 108,
                                                                  109, 110, 111,  1.5F, 113, -114, 115, -116};

std::vector<Step> device_steps(Step (*access)(std::string, Value)) {
  return {access("Manufacturer device name", std::string("TAV")),
          access("Manufacturer hardware version", std::string("1.2")),
          access("Manufacturer software version", std::string("3.4.5"))};
}

std::vector<Step> vrx_steps(Step (*access)(std::string, Value)) {
  return {access("cia402_use_internal_brake", true), access("motctrl_speed_pid_p", 11U),
          access("motctrl_speed_pid_i", 12U), access("motctrl_speed_pid_d", 13U)};
}

Operation self_test_status() {
  return plain_getter(
      "_getSelfTestStatus", IInternalService::_SelfTestStatus{u8(0xA1), u8(0xA2)},
      [](const auto& dispatcher, auto& status) { return dispatcher._getSelfTestStatus(status); },
      [](const auto& status) {
        return Values{status.auto_init, status.motor_driver};
      },
      {read("self_test self_test_status_auto_init", u8(1)),
       read("self_test self_test_status_motor_driver", u8(2))});
}

Operation calibration_parameters() {
  const std::string prefix = "nkr_hall_public_config ";
  return plain_getter(
      "_getCalibrationParameters", IInternalService::_CalibrationParameters{false, 0, 0, 0, 0, 0, 0},
      [](const auto& dispatcher, auto& p) { return dispatcher._getCalibrationParameters(p); },
      [](const auto& p) { return values_of(p); },
      {read(prefix + "is_valid", true), read(prefix + "cos_norm_coef.adc_offset_mv", -1651),
       read(prefix + "cos_norm_coef.gain", 0.75F), read(prefix + "cos_norm_coef.angle_offset_mdeg", 1200),
       read(prefix + "sin_norm_coef.adc_offset_mv", 1652), read(prefix + "sin_norm_coef.gain", 1.25F),
       read(prefix + "sin_norm_coef.angle_offset_mdeg", -900)});
}

}  // namespace

std::vector<Operation> internal_operations() {
  using Block = IInternalService::_BlocId;
  return {
      internal_block("_storeParameters", "internal",
                     "Store Parameters Save Motor Calibration And Internal Parameters", kSave,
                     [](auto& dispatcher) { return dispatcher._storeParameters(Block{5}); }),
      internal_block("_storeParameters", "test_results", "Store Parameters Save Test Results", kSave,
                     [](auto& dispatcher) { return dispatcher._storeParameters(Block{6}); }),
      internal_block("_restoreDefaultParameters", "internal",
                     "Restore Default Parameters Restore Motor Calibration And Internal Parameters", kLoad,
                     [](auto& dispatcher) { return dispatcher._restoreDefaultParameters(Block{5}); }),
      internal_block("_restoreDefaultParameters", "test_results",
                     "Restore Default Parameters Restore Test Results", kLoad,
                     [](auto& dispatcher) { return dispatcher._restoreDefaultParameters(Block{6}); }),
      setter(
          "_setDeviceParameters",
          [](auto& dispatcher) {
            return dispatcher._setDeviceParameters({"TAV", "1.2", "3.4.5"});
          },
          device_steps(write)),
      self_test_status(),
      setter("_simulateSelfTestError",
             [](auto& dispatcher) {
               return dispatcher._simulateSelfTestError({u8(3), u8(4)});
             },
             {write("self_test self_test_simulate_auto_init_error", u8(3)),
              write("self_test self_test_simulate_motor_driver_error", u8(4))}),
      calibration_parameters(),
      plain_getter(
          "_getSystemErrorConfig",
          IInternalService::_SystemErrorConfig{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16},
          [](const auto& dispatcher, auto& config) { return dispatcher._getSystemErrorConfig(config); },
          [](const auto& config) { return values_of(config); }, system_error_steps(read)),
      setter(
          "_setSystemErrorConfig",
          [](auto& dispatcher) { return dispatcher._setSystemErrorConfig(kSystemErrorConfig); },
          system_error_steps(write)),
      plain_getter(
          "_getLevel1Error", 0xAAAAAAAAU,
          [](const auto& dispatcher, unsigned int& error) { return dispatcher._getLevel1Error(error); },
          [](unsigned int error) { return Values{error}; }, {read("error_type_lvl_1", 0x80000001U)}),
      setter("_setNodeId", [](auto& dispatcher) { return dispatcher._setNodeId(u8(9)); }, {}),
  };
}

namespace {

Operation system_error_state() {
  using Status = IManufacturerService::SystemErrorStatus;
  const std::string prefix = "nkr_system_error_states_status ";
  Step last = read(prefix + "drv_ot", u8(255));
  const std::uint32_t states[] = {1, 2, 3, 4, 255};  // all five appear with the last
  for (std::size_t i = 0; i < std::size(states); ++i) last = std::move(last).converted(i, states[i]);
  return getter(
      "getSystemErrorState",
      std::array<Status, 5>{Status{91}, Status{92}, Status{93}, Status{94}, Status{95}},
      [](const auto& dispatcher, auto& s) {
        return dispatcher.getSystemErrorState(s[0], s[1], s[2], s[3], s[4]);
      },
      [](const auto& s) {
        Values values;
        for (const Status status : s) values.emplace_back(static_cast<std::uint32_t>(status));
        return values;
      },
      {read(prefix + "battery_uv", u8(1)), read(prefix + "battery_ov", u8(2)),
       read(prefix + "phase_oc", u8(3)), read(prefix + "mos_ot", u8(4)), last});
}

Operation system_error_protect_state() {
  using State = IManufacturerService::SystemErrorProtectState;
  return getter(
      "getSystemErrorProtectState", std::pair{State{91}, State{92}},
      [](const auto& dispatcher, auto& s) {
        return dispatcher.getSystemErrorProtectState(s.first, s.second);
      },
      [](const auto& s) {
        return Values{static_cast<std::uint32_t>(s.first), static_cast<std::uint32_t>(s.second)};
      },
      {read("nkr_system_error_previous_protect_state", 0x80000001U),
       read("nkr_system_error_protect_state", 2U).converted(0, 0x80000001U).converted(1, 2U)});
}

}  // namespace

std::vector<Operation> manufacturer_operations() {
  return {
      plain_getter(
          "getDeviceParameters", IManufacturerService::DeviceParameters{"a", "b", "c"},
          [](const auto& dispatcher, auto& p) { return dispatcher.getDeviceParameters(p); },
          [](const auto& p) {
            return Values{p.device_name, p.hardware_version, p.software_version};
          },
          device_steps(read)),
      plain_getter(
          "getVRXParameters", IManufacturerService::VRXParameters{false, 1, 2, 3},
          [](const auto& dispatcher, auto& p) { return dispatcher.getVRXParameters(p); },
          [](const auto& p) {
            return Values{p.use_internal_brake, p.speed_pid_proportional_gain, p.speed_pid_integral_gain,
                          p.speed_pid_derivative_gain};
          },
          vrx_steps(read)),
      setter(
          "setVRXParameters",
          [](auto& dispatcher) {
            return dispatcher.setVRXParameters({true, 11, 12, 13});
          },
          vrx_steps(write)),
      plain_getter(
          "getCalibrationValidity", false,
          [](const auto& dispatcher, bool& valid) { return dispatcher.getCalibrationValidity(valid); },
          [](bool valid) { return Values{valid}; }, {read("nkr_hall_public_config is_valid", true)}),
      system_error_state(),
      system_error_protect_state(),
  };
}

}  // namespace tavtest

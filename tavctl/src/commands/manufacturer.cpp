#include <string>

#include "cli/Format.hpp"
#include "commands/AllCommands.hpp"
#include "commands/RecordCommand.hpp"

namespace tavctl {

namespace {

using Dispatcher = nkr::tavcore::CANOpenDispatcher;

constexpr auto kTuningFields = [](auto visit, auto& record) {
  visit("use_internal_brake", record.use_internal_brake);
  visit("speed_pid_proportional_gain", record.speed_pid_proportional_gain);
  visit("speed_pid_integral_gain", record.speed_pid_integral_gain);
  visit("speed_pid_derivative_gain", record.speed_pid_derivative_gain);
};

constexpr auto kProtectionFields = [](auto visit, auto& record) {
  visit("zero_torque_protection_time_ms", record.zero_torque_protection_time_ms);
  visit("brake_short_circuit_protection_time_ms", record.brake_short_circuit_protection_time_ms);
  visit("battery_under_voltage_warning", record.battery_under_voltage_warning);
  visit("battery_under_voltage_error", record.battery_under_voltage_error);
  visit("battery_over_voltage_warning", record.battery_over_voltage_warning);
  visit("battery_over_voltage_error", record.battery_over_voltage_error);
  visit("phase_over_current_warning", record.phase_over_current_warning);
  visit("phase_over_current_error", record.phase_over_current_error);
  visit("under_voltage_warning_time_out_ms", record.under_voltage_warning_time_out_ms);
  visit("over_voltage_warning_time_out_ms", record.over_voltage_warning_time_out_ms);
  visit("over_current_warning_time_out_ms", record.over_current_warning_time_out_ms);
  visit("phase_over_board_factor", record.phase_over_board_factor);
  visit("temperature_hysteresis_rise_mosfet_1", record.temperature_hysteresis_rise_mosfet_1);
  visit("temperature_hysteresis_rise_mosfet_2", record.temperature_hysteresis_rise_mosfet_2);
  visit("temperature_hysteresis_fall_mosfet_1", record.temperature_hysteresis_fall_mosfet_1);
  visit("temperature_hysteresis_fall_mosfet_2", record.temperature_hysteresis_fall_mosfet_2);
};

constexpr auto kCalibrationFields = [](auto visit, auto& record) {
  visit("is_valid", record.is_valid);
  visit("cosine_adc_offset_millivolts", record.cosine_adc_offset_millivolts);
  visit("cosine_gain", record.cosine_gain);
  visit("cosine_angle_offset_millidegrees", record.cosine_angle_offset_millidegrees);
  visit("sine_adc_offset_millivolts", record.sine_adc_offset_millivolts);
  visit("sine_gain", record.sine_gain);
  visit("sine_angle_offset_millidegrees", record.sine_angle_offset_millidegrees);
};

constexpr auto kSelfTestFields = [](auto visit, auto& record) {
  visit("auto_init", record.auto_init);
  visit("motor_driver", record.motor_driver);
};

ExitCode show_error_states(Context& context) {
  Session session(context);
  using Status = Dispatcher::SystemErrorStatus;
  Status states[5] = {};
  session.check(
      session.dispatcher()->getSystemErrorState(states[0], states[1], states[2], states[3], states[4]),
      "read the system error states");
  constexpr const char* kQuantities[] = {"battery_under_voltage", "battery_over_voltage",
                                         "phase_over_current", "mosfet_over_temperature",
                                         "driver_over_temperature"};
  for (std::size_t i = 0; i < std::size(kQuantities); ++i) {
    const auto state = static_cast<std::uint32_t>(states[i]);
    session.output().fact(label_of(kQuantities[i]), std::to_string(state), kQuantities[i], state);
  }
  using Protection = Dispatcher::SystemErrorProtectState;
  Protection previous{};
  Protection present{};
  session.check(session.dispatcher()->getSystemErrorProtectState(previous, present),
                "read the protection state");
  const auto fact = [&](const char* key, Protection state) {
    const auto number = static_cast<std::uint32_t>(state);
    session.output().fact(label_of(key), std::to_string(number), key, number);
  };
  fact("previous_protect_state", previous);
  fact("protect_state", present);
  unsigned int level_1 = 0;
  session.check(session.dispatcher()->_getLevel1Error(level_1), "read the level-1 error word");
  session.output().fact("Level 1 error", hex(level_1, 8), "level_1_error", level_1);
  return ExitCode::OK;
}

void add_tuning(Command& program) {
  Command& manufacturer = program.add("manufacturer", "Brake use and speed controller of the drive");
  add_record_commands<Dispatcher::VRXParameters>(
      manufacturer, "the manufacturer parameters", kTuningFields,
      [](Session& session, auto& record) { return session.dispatcher()->getVRXParameters(record); },
      [](Session& session, auto& record) { return session.dispatcher()->setVRXParameters(record); });
}

void add_system_errors(Command& program) {
  Command& errors = program.add("system-errors", "Supervised quantities of the drive: states and thresholds");
  add_record_commands<Dispatcher::_SystemErrorConfig>(
      errors, "the thresholds", kProtectionFields,
      [](Session& session, auto& record) { return session.dispatcher()->_getSystemErrorConfig(record); },
      [](Session& session, auto& record) { return session.dispatcher()->_setSystemErrorConfig(record); });
  Command& states = errors.add("states", "Present states, protection states and the level-1 error word");
  states.on(show_error_states);
}

}  // namespace

void add_manufacturer(Command& program) {
  add_tuning(program);
  add_system_errors(program);

  Command& self_test = program.add("selftest", "Results of the drive's self test");
  self_test.on([](Context& context) {
    return show_drive_record<Dispatcher::_SelfTestStatus>(
        context, "the self-test results", kSelfTestFields,
        [](Session& session, auto& record) { return session.dispatcher()->_getSelfTestStatus(record); });
  });

  Command& calibration = program.add("calibration", "Calibration of the Hall sensor");
  calibration.on([](Context& context) {
    return show_drive_record<Dispatcher::_CalibrationParameters>(
        context, "the calibration", kCalibrationFields, [](Session& session, auto& record) {
          return session.dispatcher()->_getCalibrationParameters(record);
        });
  });
}

}  // namespace tavctl

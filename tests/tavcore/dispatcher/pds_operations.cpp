#include "operations.hpp"

namespace tavtest {

using nkr::tavcore::CANOpenDispatcher;
using nkr::tavcore::IPDSService;

namespace {

constexpr std::uint32_t kVendor = 2599;

template <class Call>
Operation command(std::string name, std::uint16_t controlword, Call call) {
  return setter(std::move(name), call,
                {read("Identity Object Vendor Id", kVendor), write("controlword", controlword)});
}

template <class Code>
Operation option_code_getter(std::string name, std::string object,
                             nkr_error_t (CANOpenDispatcher::*operation)(Code&) const) {
  return getter(
      std::move(name), Code{77},
      [operation](const auto& dispatcher, Code& code) { return (dispatcher.*operation)(code); },
      [](Code code) { return Values{Value{static_cast<std::int32_t>(code)}}; },
      {read(std::move(object), i16(-2)).converted(0, -2)});
}

template <class Code>
Operation option_code_setter(std::string name, std::string object,
                             nkr_error_t (CANOpenDispatcher::*operation)(const Code&) const) {
  return setter(std::move(name),
                [operation](const auto& dispatcher) { return (dispatcher.*operation)(Code{-3}); },
                {write(std::move(object), i16(-3))});
}

std::vector<Operation> option_code_operations() {
  using D = CANOpenDispatcher;
  const std::string abort = "abort_connection_option_code";
  const std::string quick_stop = "quick_stop_option_code";
  const std::string shutdown = "shutdown_option_code";
  const std::string disable = "disable_operation_option_code";
  const std::string halt = "halt_option_code";
  const std::string fault = "fault_reaction_option_code";
  return {
      option_code_getter("getAbortConnectionOptionCode", abort, &D::getAbortConnectionOptionCode),
      option_code_setter("setAbortConnectionOptionCode", abort, &D::setAbortConnectionOptionCode),
      option_code_getter("getQuickStopOptionCode", quick_stop, &D::getQuickStopOptionCode),
      option_code_setter("setQuickStopOptionCode", quick_stop, &D::setQuickStopOptionCode),
      option_code_getter("getShutdownOptionCode", shutdown, &D::getShutdownOptionCode),
      option_code_setter("setShutdownOptionCode", shutdown, &D::setShutdownOptionCode),
      option_code_getter("getDisableOperationOptionCode", disable, &D::getDisableOperationOptionCode),
      option_code_setter("setDisableOperationOptionCode", disable, &D::setDisableOperationOptionCode),
      option_code_getter("getHaltOptionCode", halt, &D::getHaltOptionCode),
      option_code_setter("setHaltOptionCode", halt, &D::setHaltOptionCode),
      option_code_getter("getFaultReactionOptionCode", fault, &D::getFaultReactionOptionCode),
      option_code_setter("setFaultReactionOptionCode", fault, &D::setFaultReactionOptionCode),
  };
}

Operation pds_state() {
  return getter(
             "getPDSState", IPDSService::PDSState::FAULT,
             [](const auto& dispatcher, auto& state) { return dispatcher.getPDSState(state); },
             [](auto state) { return Values{Value{static_cast<std::int32_t>(state)}}; },
             {read("statusword", u16(0x0237))})
      .finishing([](Outcome& outcome) {  // goes on when the repeat succeeded
        if (outcome.result != NKR_OK) return;
        outcome.outputs[0] = 4;
        outcome.records.push_back(dispatcher_record(5, "getPDSState", " got 4"));
      });
}

Operation invalid_pds_state() {
  Operation operation = pds_state();
  operation.variant = "of_no_state";
  operation.steps = {read("statusword", u16(0x0048))};
  operation.finish = [](Outcome& outcome) {
    if (outcome.result != NKR_OK) return;
    outcome.result = NKR_INVALID_STATE;
    outcome.records.push_back(dispatcher_record(2, "getPDSState", " Invalid cia402 statusword 72"));
    outcome.records.push_back(dispatcher_record(5, "getPDSState", " got 7"));
  };
  return operation;
}

Operation peripheral_status() {
  const std::string prefix = "status_peripheral status_peripheral_";
  return plain_getter(
      "getPeripheralStatus", IPDSService::PeripheralStatus{false, true, false, true, false, true},
      [](const auto& dispatcher, auto& status) { return dispatcher.getPeripheralStatus(status); },
      [](const auto& s) {
        return Values{s.brake_applied,  s.low_power_applied,     s.high_power_applied,
                      s.driver_enabled, s.configuration_allowed, s.communication_enabled};
      },
      {read(prefix + "brake_applied", true), read(prefix + "low_power_applied", false),
       read(prefix + "high_power_applied", true), read(prefix + "driver_enabled", false),
       read(prefix + "configuration_allowed", true), read(prefix + "communication_enabled", false)});
}

Operation operation_modes() {
  using Mode = IPDSService::OperationMode;
  return getter(
      "getOperationModes", std::pair{Mode{77}, Mode{78}},
      [](const auto& dispatcher, auto& modes) {
        return dispatcher.getOperationModes(modes.first, modes.second);
      },
      [](const auto& modes) {
        return Values{static_cast<std::int32_t>(modes.first), static_cast<std::int32_t>(modes.second)};
      },
      {read("modes_of_operation", i8(-5)).converted(0, -5),
       read("modes_of_operation_display", i8(2)).converted(1, 2)});
}

std::vector<Step> unit_steps(Step (*access)(std::string, Value)) {
  return {access("Time unit", 0x00030000U), access("Position unit", 0xFD010000U),
          access("Velocity unit", 0x00010300U), access("Acceleration unit", 0x00015700U)};
}

constexpr IPDSService::UnitParameters kUnits{0x00030000, 0xFD010000, 0x00010300, 0x00015700};

}  // namespace

std::vector<Operation> pds_operations() {
  using Mode = IPDSService::OperationMode;
  std::vector<Operation> operations{
      peripheral_status(),
      pds_state(),
      invalid_pds_state(),
      command("disableVoltage", 0x0000, [](const auto& dispatcher) { return dispatcher.disableVoltage(); }),
      command("shutdown", 0x0006, [](const auto& dispatcher) { return dispatcher.shutdown(); }),
      command("quickStop", 0x0002, [](const auto& dispatcher) { return dispatcher.quickStop(); }),
      command("switchOn", 0x0007, [](const auto& dispatcher) { return dispatcher.switchOn(); }),
      command("enableOperation", 0x000F, [](const auto& dispatcher) { return dispatcher.enableOperation(); }),
      command("disableOperation", 0x0007,
              [](const auto& dispatcher) { return dispatcher.disableOperation(); }),
      command("faultReset", 0x0080, [](const auto& dispatcher) { return dispatcher.faultReset(true); })
          .as("set"),
      command("faultReset", 0x0000, [](const auto& dispatcher) { return dispatcher.faultReset(false); })
          .as("cleared"),
      plain_getter(
          "getCIA402StatusWord", u16(0xAAAA),
          [](const auto& dispatcher, std::uint16_t& word) { return dispatcher.getCIA402StatusWord(word); },
          [](std::uint16_t word) { return Values{word}; }, {read("statusword", u16(0x1237))}),
      command("sendCIA402ControlWord", 0x0086,
              [](const auto& dispatcher) {
                const nkr_cia402_control_word_t word{false, true, true, false, true, false};
                return dispatcher.sendCIA402ControlWord(&word);
              }),
      operation_modes(),
      getter(
          "isDriveModeSupported", false,
          [](const auto& dispatcher, bool& yes) {
            return dispatcher.isDriveModeSupported(Mode::VELOCITY, yes);
          },
          [](bool yes) { return Values{yes}; }, {read("supported_drive_modes", 0x2U).converted(0, true)}),
      plain_getter(
          "getUnitParameters", IPDSService::UnitParameters{1, 2, 3, 4},
          [](const auto& dispatcher, auto& units) { return dispatcher.getUnitParameters(units); },
          [](const auto& u) {
            return Values{u.time_unit, u.position_unit, u.velocity_unit, u.acceleration_unit};
          },
          unit_steps(read)),
      setter(
          "setUnitParameters", [](auto& dispatcher) { return dispatcher.setUnitParameters(kUnits); },
          unit_steps(write)),
      getter(
          "getPolarityParameters", IPDSService::PolarityParameters{true, false},
          [](const auto& dispatcher, auto& polarity) { return dispatcher.getPolarityParameters(polarity); },
          [](const auto& p) {
            return Values{p.velocity_polarity, p.position_polarity};
          },
          {read("polarity", u8(0x80)).converted(0, false).converted(1, true)}),
      setter("setPolarityParameters",
             [](auto& dispatcher) {
               return dispatcher.setPolarityParameters({true, false});
             },
             {write("polarity", u8(0x40))}),
  };
  for (Operation& operation : option_code_operations()) operations.push_back(std::move(operation));
  return operations;
}

}  // namespace tavtest

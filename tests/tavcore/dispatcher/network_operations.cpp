#include "operations.hpp"

namespace tavtest {

using nkr::tavcore::IEMCYService;
using nkr::tavcore::INMTService;

namespace {

Operation nmt_command(std::string variant, INMTService::NMTCommand command, std::vector<LogEntry> further) {
  const std::string number = std::to_string(static_cast<std::uint32_t>(command));
  return setter("setNMTState", [command](auto& dispatcher) { return dispatcher.setNMTState(command); },
                {nmt_write(static_cast<std::uint32_t>(command))})
      .as(std::move(variant))
      .finishing([number, further](Outcome& outcome) {
        if (outcome.result != NKR_OK) {
          outcome.records.push_back(
              dispatcher_record(2, "setNMTState", "setNmtState set " + number + " failed !"));
          return;
        }
        outcome.records.push_back(dispatcher_record(5, "setNMTState", "setNmtState set " + number));
        outcome.records.insert(outcome.records.end(), further.begin(), further.end());
      });
}

}  // namespace

std::vector<Operation> nmt_operations() {
  using Command = INMTService::NMTCommand;
  const LogEntry node_id = dispatcher_record(3, "setNMTState", "node id changed to 5");
  return {
      getter(
          "getNMTState", INMTService::NMTState::STOPPED,
          [](const auto& dispatcher, auto& state) { return dispatcher.getNMTState(state); },
          [](auto state) { return Values{Value{static_cast<std::uint32_t>(state)}}; },
          {nmt_read(127).into(0)})
          .finishing([](Outcome& outcome) {
            outcome.records.push_back(outcome.result == NKR_OK
                                          ? dispatcher_record(5, "getNMTState", "getNmtState get 127")
                                          : dispatcher_record(2, "getNMTState", "getNmtState failed !"));
          }),
      nmt_command("start", Command::START_REMOTE_NODE, {}),
      nmt_command("stop", Command::STOP_REMOTE_NODE, {}),
      nmt_command("pre_operational", Command::ENTER_PRE_OPERATIONAL, {}),
      nmt_command("reset_node", Command::RESET_NODE, {node_id}),
      nmt_command("reset_communication", Command::RESET_COMMUNICATION, {node_id}),
      nmt_command("unknown", Command{77}, {}),
  };
}

std::vector<Operation> emcy_operations() {
  using Behavior = IEMCYService::ErrorBehavior;
  using Type = IEMCYService::ErrorType;
  const auto zero_when_failed = [](Value zero) {
    return [zero](Outcome& outcome) {
      if (outcome.result != NKR_OK) outcome.outputs[0] = zero;
    };
  };
  return {
      getter(
          "getErrorBehavior", Behavior::NO_CHANGE,
          [](const auto& dispatcher, auto& behavior) {
            return dispatcher.getErrorBehavior(Type::OTHER_1, behavior);
          },
          [](auto behavior) { return Values{Value{static_cast<std::uint32_t>(behavior)}}; },
          {read_at(0x10290200, u8(2)).once().converted(0, 2U)})
          .unguarded()
          .finishing(zero_when_failed(0U)),
      setter("setErrorBehavior",
             [](auto& dispatcher) { return dispatcher.setErrorBehavior(Type::OTHER_2, Behavior::STOPPED); },
             {write_at(0x10290300, u8(2)).once()})
          .unguarded(),
      setter("clearErrorList", [](auto& dispatcher) { return dispatcher.clearErrorList(); },
             {write_at(0x10030000, u8(0)).once()})
          .unguarded(),
      getter(
          "getErrorCount", -1,
          [](const auto& dispatcher, int& count) { return dispatcher.getErrorCount(count); },
          [](int count) { return Values{count}; }, {read_at(0x10030000, u8(200)).once().converted(0, 200)})
          .unguarded()
          .finishing(zero_when_failed(0)),
      plain_getter(
          "getErrorRegister", u8(0xAA),
          [](const auto& dispatcher, std::uint8_t& reg) { return dispatcher.getErrorRegister(reg); },
          [](std::uint8_t reg) { return Values{reg}; }, {read_at(0x10010000, u8(0x81)).once()})
          .unguarded(),
      getter(
          "getError", 0xAAAAAAAAU,
          [](const auto& dispatcher, unsigned int& code) { return dispatcher.getError(3, code); },
          [](unsigned int code) { return Values{code}; },
          {read_at(0x10030300, 0x12345678U).once().converted(0, 0x5678U)})
          .unguarded()
          .finishing(zero_when_failed(0U)),
  };
}

}  // namespace tavtest

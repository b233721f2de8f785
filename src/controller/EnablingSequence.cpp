// The walk from any usual state to OPERATION_ENABLED: one transition at a time, never back, never again.

#include <chrono>
#include <nkr/time/clock.hpp>
#include <tavcore/Controller.hpp>
#include <thread>

#include "../logging/LogRecord.hpp"

namespace nkr::tavcore {
namespace {

using PDSState = IPDSService::PDSState;

/** The records of the sequence carry the operation's name, whatever helper writes them. */
class Journal {
 public:
  explicit Journal(std::uint32_t context) : context_(context) {}

  void notice(const char* text, std::uint32_t line = __builtin_LINE()) const {
    record(NKR_LOG_NOTICE, text, line);
  }
  void failure(const char* text, std::uint32_t line = __builtin_LINE()) const {
    record(NKR_LOG_FAILURE, text, line);
  }

 private:
  void record(std::uint32_t level, const char* text, std::uint32_t line) const {
    log_record({context_, level, Here::now("enterInOperationEnabledState", line), "Controller"}, text);
  }

  std::uint32_t context_;
};

void wait_for_the_drive() {
  constexpr std::chrono::milliseconds kAllowance{100};
  time::sleep_for(kAllowance);
}

/** The steps of one walk. Each answers NKR_OK to go on, or the failure that ends the walk. */
class EnablingSequence {
 public:
  EnablingSequence(Controller& controller, const ICANOpenDispatcher& dispatcher, std::uint32_t context)
      : controller_(controller), dispatcher_(dispatcher), journal_(context) {}

  nkr_error_t start_node() {
    return command([this] { return controller_.setNMTState(INMTService::NMTCommand::START_REMOTE_NODE); },
                   "setNMTState to OPER failed !");
  }

  /** Reads the state and, when it is `state`, gives the command that leaves it. */
  template <class Command>
  nkr_error_t leave(PDSState state, const char* check, const char* detected, Command leave_state) {
    journal_.notice(check);
    PDSState present{};
    const nkr_error_t result = read(present);
    if (result != NKR_OK || present != state) return result;
    journal_.notice(detected);
    return leave_state();
  }

  /** Makes an attempt and allows the drive its time; a failure is recorded with the text. */
  template <class Attempt>
  nkr_error_t command(Attempt attempt, const char* failed) {
    const nkr_error_t result = attempt();
    if (result != NKR_OK) {
      journal_.failure(failed);
      return result;
    }
    wait_for_the_drive();
    return NKR_OK;
  }

  /** The drive resets on a rising edge of the bit; the bit is taken back for the next one. */
  nkr_error_t reset_fault() {
    constexpr char kFailed[] = "faultReset failed !";
    const nkr_error_t result = command([this] { return controller_.faultReset(true); }, kFailed);
    if (result != NKR_OK) return result;
    return command([this] { return controller_.faultReset(false); }, kFailed);
  }

  nkr_error_t confirm() {
    journal_.notice("Check OPERATION_ENABLED");
    PDSState present{};
    const nkr_error_t result = read(present);
    if (result != NKR_OK) return result;
    if (present != PDSState::OPERATION_ENABLED) {
      journal_.failure("Not in OPERATION_ENABLED");
      return NKR_INVALID_STATE;
    }
    journal_.notice("OPERATION_ENABLED detected");
    return NKR_OK;
  }

  [[nodiscard]] const ICANOpenDispatcher& drive() const { return dispatcher_; }

 private:
  nkr_error_t read(PDSState& state) {
    const nkr_error_t result = dispatcher_.getPDSState(state);
    if (result != NKR_OK) journal_.failure("getPDSState failed !");
    return result;
  }

  Controller& controller_;
  const ICANOpenDispatcher& dispatcher_;
  Journal journal_;
};

nkr_error_t walk(EnablingSequence& sequence) {
  const ICANOpenDispatcher& drive = sequence.drive();
  nkr_error_t result = sequence.start_node();
  if (result != NKR_OK) return result;

  result = sequence.leave(
      PDSState::NOT_READY_TO_SWITCH_ON, "Check NOT_READY_TO_SWITCH_ON", "NOT_READY_TO_SWITCH_ON detected",
      [&] { return sequence.command([&] { return drive.disableVoltage(); }, "disableVoltage failed !"); });
  if (result != NKR_OK) return result;

  result = sequence.leave(PDSState::FAULT, "Check FAULT", "FAULT detected",
                          [&] { return sequence.reset_fault(); });
  if (result != NKR_OK) return result;

  result =
      sequence.leave(PDSState::SWITCH_ON_DISABLED, "Check SWITCH_ON_DISABLED", "SWITCH_ON_DISABLED detected",
                     [&] { return sequence.command([&] { return drive.shutdown(); }, "shutdown failed !"); });
  if (result != NKR_OK) return result;

  result =
      sequence.leave(PDSState::READY_TO_SWITCH_ON, "Check READY_TO_SWITCH_ON", "READY_TO_SWITCH_ON detected",
                     [&] { return sequence.command([&] { return drive.switchOn(); }, "switchOn failed !"); });
  if (result != NKR_OK) return result;

  result = sequence.leave(PDSState::SWITCHED_ON, "Check SWITCHED_ON", "SWITCHED_ON detected", [&] {
    return sequence.command([&] { return drive.enableOperation(); }, "enableOperation failed !");
  });
  if (result != NKR_OK) return result;

  return sequence.confirm();
}

}  // namespace

nkr_error_t Controller::enterInOperationEnabledState() {
  const ICANOpenDispatcher* const dispatcher = ready_dispatcher();
  if (dispatcher == nullptr) return NKR_NOT_AVAILABLE;
  EnablingSequence sequence(*this, *dispatcher, context());
  return walk(sequence);
}

}  // namespace nkr::tavcore

#include "session/DriveState.hpp"

#include <nkr/canopen/Emergency.hpp>
#include <thread>

#include "model/DriveWords.hpp"
#include "model/Format.hpp"
#include "session/ObjectAccess.hpp"

namespace tavctl {

using nkr::tavcore::CANOpenDispatcher;
using NMTState = nkr::tavcore::INMTService::NMTState;
using State = nkr::tavcore::IPDSService::PDSState;

namespace {

constexpr const char* kErrorCode = "0x603F";

/** The transition that leads on from a state towards OPERATION_ENABLED (CiA 402-2, 8.1). */
std::string next_transition(State state) {
  switch (state) {
    case State::NOT_READY_TO_SWITCH_ON:
      return "transition 1 (the drive's own start-up) did not come";
    case State::SWITCH_ON_DISABLED:
      return "transition 2 (shutdown: to READY_TO_SWITCH_ON) did not come";
    case State::READY_TO_SWITCH_ON:
      return "transition 3 (switch on: to SWITCHED_ON) did not come";
    case State::SWITCHED_ON:
      return "transition 4 (enable operation) did not come";
    case State::OPERATION_ENABLED:
      return "operation is enabled";
    case State::QUICK_STOP_ACTIVE:
      return "a quick stop is active: tavctl disable, then enable again";
    case State::FAULT_REACTION_ACTIVE:
      return "transition 14 (end of the fault reaction) did not come";
    case State::FAULT:
      return "transition 15 (fault reset) did not come: the cause of the fault is still there";
  }
  return "unknown state";
}

}  // namespace

NMTState heard_nmt_state(Session& session, std::chrono::milliseconds patience) {
  const auto deadline = std::chrono::steady_clock::now() + patience;
  NMTState state = NMTState::UNKNOWN;
  while (true) {
    session.check(session.dispatcher()->getNMTState(state), "ask for the NMT state");
    if (state != NMTState::UNKNOWN || std::chrono::steady_clock::now() >= deadline) return state;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

Snapshot read_snapshot(Session& session) {
  CANOpenDispatcher& drive = *session.dispatcher();
  Snapshot now{};
  short target = 0;
  short demand = 0;
  unsigned char error_register = 0;
  session.check(drive.getNMTState(now.nmt), "ask for the NMT state");
  session.check(drive.getCIA402StatusWord(now.status_word), "read the status word");
  session.check(drive.getTargetVelocity(target), "read the target velocity");
  session.check(drive.getVelocityDemand(demand), "read the velocity demand");
  session.check(drive.getVelocityActualValue(now.velocity), "read the velocity");
  session.check(drive.getPositionValue(now.position), "read the position");
  session.check(drive.getErrorRegister(error_register), "read the error register");
  session.check(drive.getErrorCount(now.errors), "read the number of errors");
  now.state = state_of(now.status_word);
  now.target_velocity = target;
  now.velocity_demand = demand;
  now.error_register = error_register;
  return now;
}

void see_not_enabled(Session& session, const std::string& what) {
  State state{};
  session.check(session.dispatcher()->getPDSState(state), "read the state");
  if (state != State::OPERATION_ENABLED) return;
  throw Failure(ExitCode::WRONG_STATE,
                "will not " + what + " while the drive is enabled (" + session.where() + ")",
                "tavctl disable");
}

std::string last_error_text(Session& session) {
  const Value value = read_object(session, parse_reference(kErrorCode));
  const auto code = static_cast<std::uint16_t>(value.json.whole().value_or(0));
  return code == 0 ? "none" : hex(code, 4) + ' ' + nkr::canopen::emergency_text(code);
}

bool sto_demanded(Session& session) {
  bool command = true;
  session.check(
      session.dispatcher()->getSafetyFunctionCommand(CANOpenDispatcher::SafetyFunctionId::STO, command),
      "read the STO command");
  return !command;
}

namespace {

/** Whether STO takes the torque, and why: its command is one of several reasons. */
std::string sto_text(Session& session) {
  if (sto_demanded(session)) return "STO is demanded: no torque until it is released";
  bool acts = false;
  session.check(session.dispatcher()->getSafetyFunctionStatus(CANOpenDispatcher::SafetyFunctionId::STO, acts),
                "read the STO status");
  if (!acts) return "STO is not demanded";
  return "STO acts without its command: the drive's STO input, a safety signature that differs (tavctl "
         "safety "
         "verify), or a safety function that was violated and not acknowledged";
}

}  // namespace

std::string explain_stall(Session& session) {
  std::uint16_t word = 0;
  session.check(session.dispatcher()->getCIA402StatusWord(word), "read the status word");
  const std::optional<State> state = state_of(word);
  std::string text = "state: " + status_word_text(word);
  if (state) text += "; " + next_transition(*state);
  text += "\nstatus word: " + hex(word, 4) + " (" + joined(status_bits(word)) + ')';
  text += "\nlast error: " + last_error_text(session);
  return text + '\n' + sto_text(session);
}

}  // namespace tavctl

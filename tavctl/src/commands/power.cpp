// Commands that walk the power drive state machine.
#include <chrono>
#include <memory>
#include <string>
#include <tav/host/words.hpp>
#include <tavcore/Controller.hpp>

#include "commands/AllCommands.hpp"
#include "commands/FaultResetOption.hpp"
#include "commands/session/Drive.hpp"
#include "commands/session/Session.hpp"
#include "text/explained.hpp"

namespace tavctl {

namespace {

using nkr::tavcore::CANOpenDispatcher;
using State = CANOpenDispatcher::PDSState;

constexpr std::chrono::milliseconds kSettle{100};
constexpr std::chrono::milliseconds kLongestChange{5000};

State read_state(Session& session) {
  State state{};
  session.check(session.dispatcher()->getPDSState(state), "read the state");
  return state;
}

void print_state(Session& session) {
  const std::string name = state_name(read_state(session));
  session.output().fact("State", name, "state", name);
}

/** Waits until `reached` holds for the drive's state; the state it ended in. */
template <class Reached>
State wait_for_state(Session& session, const Interrupt& interrupt, Reached reached) {
  const auto deadline = std::chrono::steady_clock::now() + kLongestChange;
  State state = read_state(session);
  while (!reached(state) && std::chrono::steady_clock::now() < deadline) {
    if (!interrupt.wait_for(std::chrono::milliseconds(20))) break;
    state = read_state(session);
  }
  return state;
}

ExitCode enable(Context& context, bool reset_fault) {
  const SignalInterrupt interrupt;
  Session session(context, &interrupt);
  Unit& unit = session.unit();
  see(unit.enable({reset_fault}));
  see(unit.set_velocity(0));
  see(unit.leave());
  print_state(session);
  session.output().note(
      "the drive stays enabled at velocity 0, and from now on watches no host; tavctl disable");
  return ExitCode::OK;
}

ExitCode disable(Context& context) {
  const SignalInterrupt interrupt;
  Session session(context, &interrupt);
  if (read_state(session) == State::OPERATION_ENABLED) see(session.unit().stop());
  session.check(session.dispatcher()->disableVoltage(), "disable the drive");
  const State state = wait_for_state(
      session, interrupt, [](State s) { return s == State::SWITCH_ON_DISABLED || s == State::FAULT; });
  print_state(session);
  if (state != State::SWITCH_ON_DISABLED) stalled(session, "the drive was not disabled");
  return ExitCode::OK;
}

/** The order goes out before anything else: no controller, no protection, no question first. */
ExitCode quick_stop(Context& context) {
  const SignalInterrupt interrupt;
  Session session(context, &interrupt);
  session.check(session.dispatcher()->quickStop(), "command a quick stop");
  int velocity = 0;
  const State state = wait_for_state(session, interrupt, [&](State s) {
    session.check(session.dispatcher()->getVelocityActualValue(velocity), "read the velocity");
    return velocity == 0 && s != State::OPERATION_ENABLED;
  });
  session.check(session.dispatcher()->setTargetVelocity(0), "set target velocity 0");
  print_state(session);
  session.output().fact("Velocity", std::to_string(velocity), "velocity", velocity);
  if (velocity != 0 || state == State::OPERATION_ENABLED) stalled(session, "the drive did not stop");
  return ExitCode::OK;
}

ExitCode fault_reset(Context& context) {
  const SignalInterrupt interrupt;
  Session session(context, &interrupt);
  // The drive resets on the rising edge of bit 7 alone, and a bit left at 1 would be no edge the next time.
  for (const bool level : {false, true, false}) {
    session.check(session.unit().controller().faultReset(level), "reset the fault");
    if (!interrupt.wait_for(kSettle)) return ExitCode::INTERRUPTED;
  }
  const State state = wait_for_state(
      session, interrupt, [](State s) { return s != State::FAULT && s != State::FAULT_REACTION_ACTIVE; });
  print_state(session);
  if (state == State::FAULT || state == State::FAULT_REACTION_ACTIVE) {
    stalled(session, "the fault was not reset");
  }
  return ExitCode::OK;
}

}  // namespace

void add_power(Command& program) {
  auto reset_fault = std::make_shared<bool>(false);
  Command& enabling =
      program.add("enable", "Take the drive to OPERATION_ENABLED at velocity 0 and leave it there");
  add_fault_reset_option(enabling, *reset_fault);
  enabling.on([reset_fault](Context& context) { return enable(context, *reset_fault); });
  program.add("disable", "Stop the drive and take its power stage off").on(disable);
  program.add("fault-reset", "Clear a fault whose cause has gone: bit 7 false, true, false").on(fault_reset);
  program.add("quick-stop", "Stop as the quick stop option code says").on(quick_stop);
}

}  // namespace tavctl

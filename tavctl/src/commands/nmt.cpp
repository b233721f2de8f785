#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <tav/host/words.hpp>
#include <thread>

#include "commands/AllCommands.hpp"
#include "commands/session/CarefulReset.hpp"

namespace tavctl {

namespace {

using nkr::tavcore::INMTService;
using NMTCommand = INMTService::NMTCommand;
using State = INMTService::NMTState;

constexpr std::chrono::milliseconds kLongestChange{3000};

const std::map<std::string, NMTCommand>& commands_by_name() {
  static const std::map<std::string, NMTCommand> commands = {
      {"start", NMTCommand::START_REMOTE_NODE},
      {"stop", NMTCommand::STOP_REMOTE_NODE},
      {"pre-operational", NMTCommand::ENTER_PRE_OPERATIONAL},
      {"reset", NMTCommand::RESET_NODE},
      {"reset-communication", NMTCommand::RESET_COMMUNICATION}};
  return commands;
}

/** The state that the command leads to. */
State expected(NMTCommand command) {
  if (command == NMTCommand::START_REMOTE_NODE) return State::OPERATIONAL;
  if (command == NMTCommand::STOP_REMOTE_NODE) return State::STOPPED;
  return State::PRE_OPERATIONAL;
}

/** A reset ends with the drive's boot-up, and with what it forgot. */
ExitCode reset(Context& context, NMTCommand command, const ResetOptions& options) {
  Session session(context);
  CarefulReset(session, options).reset(session.node(), command);
  const std::string state = nmt_name(session.unit().wait_for_nmt_state(kLongestChange));
  session.output().fact("NMT state", state, "nmt_state", state);
  return ExitCode::OK;
}

ExitCode nmt(Context& context, const std::string& name, const ResetOptions& options) {
  const NMTCommand command = commands_by_name().at(name);
  if (command == NMTCommand::RESET_NODE || command == NMTCommand::RESET_COMMUNICATION) {
    return reset(context, command, options);
  }
  Session session(context);
  session.check(session.dispatcher()->setNMTState(command), "send the NMT command");
  const auto deadline = std::chrono::steady_clock::now() + kLongestChange;
  State state = State::UNKNOWN;
  do {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    session.check(session.dispatcher()->getNMTState(state), "ask for the NMT state");
  } while (state != expected(command) && std::chrono::steady_clock::now() < deadline);
  session.output().fact("NMT state", nmt_name(state), "nmt_state", nmt_name(state));
  if (state == expected(command)) return ExitCode::OK;
  throw Failure(state == State::UNKNOWN ? ExitCode::NO_ANSWER : ExitCode::WRONG_STATE,
                "the drive did not become " + nmt_name(expected(command)) + " (" + session.where() + ")",
                state == State::UNKNOWN ? "it sends no heartbeat: is 0x1017 0, or the drive off?" : "");
}

}  // namespace

void add_nmt(Command& program) {
  auto name = std::make_shared<std::string>();
  Command& command = program.add("nmt", "Send an NMT command and wait for the state that follows");
  std::vector<std::string> names;
  for (const auto& [text, value] : commands_by_name()) names.push_back(text);
  command.option("COMMAND", *name, "start, stop, pre-operational, reset or reset-communication")
      .required()
      .one_of(names);
  auto options = std::make_shared<ResetOptions>();
  add_reset_options(command, *options);
  command.footer("--store-all, --discard and --write-back are for the resets.");
  command.on([name, options](Context& context) { return nmt(context, *name, *options); });
}

}  // namespace tavctl

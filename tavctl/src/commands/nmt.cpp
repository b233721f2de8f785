#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <thread>

#include "commands/AllCommands.hpp"
#include "model/DriveWords.hpp"
#include "session/DriveState.hpp"

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

/** The state that the command leads to; a reset ends with the boot-up in pre-operational. */
State expected(NMTCommand command) {
  if (command == NMTCommand::START_REMOTE_NODE) return State::OPERATIONAL;
  if (command == NMTCommand::STOP_REMOTE_NODE) return State::STOPPED;
  return State::PRE_OPERATIONAL;
}

ExitCode nmt(Context& context, const std::string& name) {
  Session session(context);
  const NMTCommand command = commands_by_name().at(name);
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
  command.on([name](Context& context) { return nmt(context, *name); });
}

}  // namespace tavctl

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
using Command = INMTService::NMTCommand;
using State = INMTService::NMTState;

constexpr std::chrono::milliseconds kLongestChange{3000};

const std::map<std::string, Command>& commands_by_name() {
  static const std::map<std::string, Command> commands = {
      {"start", Command::START_REMOTE_NODE},
      {"stop", Command::STOP_REMOTE_NODE},
      {"pre-operational", Command::ENTER_PRE_OPERATIONAL},
      {"reset", Command::RESET_NODE},
      {"reset-communication", Command::RESET_COMMUNICATION}};
  return commands;
}

/** The state that the command leads to; a reset ends with the boot-up in pre-operational. */
State expected(Command command) {
  if (command == Command::START_REMOTE_NODE) return State::OPERATIONAL;
  if (command == Command::STOP_REMOTE_NODE) return State::STOPPED;
  return State::PRE_OPERATIONAL;
}

ExitCode nmt(Context& context, const std::string& name) {
  Session session(context);
  const Command command = commands_by_name().at(name);
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

void add_nmt(Commands& commands) {
  auto name = std::make_shared<std::string>();
  CLI::App& command = commands.add("nmt", "Send an NMT command and wait for the state that follows");
  std::vector<std::string> names;
  for (const auto& [text, value] : commands_by_name()) names.push_back(text);
  command.add_option("COMMAND", *name, "start, stop, pre-operational, reset or reset-communication")
      ->required()
      ->check(CLI::IsMember(names));
  commands.on(command, [name](Context& context) { return nmt(context, *name); });
}

}  // namespace tavctl

#include <chrono>
#include <map>
#include <memory>
#include <nkr/can/Bus.hpp>
#include <optional>
#include <string>
#include <tav/host/words.hpp>
#include <vector>

#include "commands/AllCommands.hpp"
#include "commands/session/CarefulReset.hpp"
#include "text/Values.hpp"

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

struct NmtOptions {
  std::string name;
  std::optional<double> seconds;
  ResetOptions reset;
};

/** The state that the command leads to. */
State expected(NMTCommand command) {
  if (command == NMTCommand::START_REMOTE_NODE) return State::OPERATIONAL;
  if (command == NMTCommand::STOP_REMOTE_NODE) return State::STOPPED;
  return State::PRE_OPERATIONAL;
}

/** The drive's heartbeats from now on. */
std::unique_ptr<nkr::can::Port> heartbeats(Session& session) {
  constexpr std::uint32_t kErrorControl = 0x700;  // CiA 301, 7.2.8.3.2
  constexpr std::uint32_t kWhole = 0x7FF;
  nkr_error_t result = NKR_OK;
  std::unique_ptr<nkr::can::Port> port =
      session.bus().open({{kErrorControl + session.node(), kWhole}}, result);
  session.check(result, "listen for the drive's heartbeat");
  return port;
}

/**
 * The state that the heartbeats tell, as soon as it is the wanted one. Without a time of the user's, a
 * heartbeat is waited for as long as any is worth its name; one that still tells another state after the time
 * of a change ends it.
 */
State followed(nkr::can::Port& port, State wanted, std::optional<double> seconds) {
  using nkr::can::Clock;
  constexpr std::chrono::seconds kSlowestHeartbeat{10};
  const auto start = Clock::now();
  const auto patience =
      seconds ? std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(*seconds))
              : Clock::duration(kSlowestHeartbeat);
  State state = State::UNKNOWN;
  nkr::can::Frame frame;
  while (state != wanted) {
    const bool is_known = !seconds && state != State::UNKNOWN;
    if (port.receive(frame, start + (is_known ? Clock::duration(kLongestChange) : patience)) != NKR_OK) break;
    if (frame.remote || frame.size != 1) continue;
    constexpr std::uint8_t kState = 0x7F;
    const auto told = static_cast<State>(frame.data[0] & kState);
    state = told == State::UNKNOWN ? State::PRE_OPERATIONAL : told;  // a boot-up leads there
  }
  return state;
}

/** A reset ends with the drive's boot-up, and with what it forgot. */
ExitCode reset(Context& context, NMTCommand command, const NmtOptions& options) {
  Session session(context);
  const std::unique_ptr<nkr::can::Port> port = heartbeats(session);
  CarefulReset(session, options.reset).reset(session.node(), command);
  const State state = followed(*port, State::PRE_OPERATIONAL, options.seconds);
  session.output().fact("NMT state", nmt_name(state), "nmt_state", json_of(state));
  return ExitCode::OK;
}

ExitCode nmt(Context& context, const NmtOptions& options) {
  const NMTCommand command = commands_by_name().at(options.name);
  if (command == NMTCommand::RESET_NODE || command == NMTCommand::RESET_COMMUNICATION) {
    return reset(context, command, options);
  }
  Session session(context);
  const std::unique_ptr<nkr::can::Port> port = heartbeats(session);
  session.check(session.dispatcher()->setNMTState(command), "send the NMT command");
  const State state = followed(*port, expected(command), options.seconds);
  session.output().fact("NMT state", nmt_name(state), "nmt_state", json_of(state));
  if (state == expected(command)) return ExitCode::OK;
  throw Failure(state == State::UNKNOWN ? ExitCode::NO_ANSWER : ExitCode::WRONG_STATE,
                "the drive did not become " + nmt_name(expected(command)) + " (" + session.where() + ")",
                state == State::UNKNOWN
                    ? "it sent no heartbeat: is 0x1017 0 or longer than --timeout, or the drive off?"
                    : "");
}

}  // namespace

void add_nmt(Command& program) {
  auto options = std::make_shared<NmtOptions>();
  Command& command = program.add("nmt", "Send an NMT command and wait for the state that follows");
  std::vector<std::string> names;
  for (const auto& [text, value] : commands_by_name()) names.push_back(text);
  command.option("COMMAND", options->name, "start, stop, pre-operational, reset or reset-communication")
      .required()
      .one_of(names);
  command
      .option("--timeout", options->seconds,
              "Seconds to wait for a heartbeat that tells the state; without it as long as the drive's "
              "takes, 10 at most")
      .range(0.01, 3600.0);
  add_reset_options(command, options->reset);
  command.footer("--store-all, --discard and --write-back are for the resets.");
  command.on([options](Context& context) { return nmt(context, *options); });
}

}  // namespace tavctl

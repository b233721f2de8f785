#include "cli/Run.hpp"

#include <nkr/log_setup.h>

#include <exception>
#include <optional>
#include <variant>

#include "cli/CommandLine.hpp"
#include "cli/Failure.hpp"

namespace tavctl {

namespace {

constexpr const char* kFooter =
    R"(Objects are named as the description names them (tavctl list), or by address: 0x6041, 0x1018:1.

Examples:
  tavctl --bus virtual info                      a drive inside this program: nothing to wire
  tavctl --bus can0 doctor                       what stands between this host and a turning motor?
  tavctl --bus can0 scan                         who is on the bus?
  tavctl --bus can0 read "Identity Object Vendor Id"
  tavctl --bus can0 --trace read statusword      every frame with its meaning
  tavctl --bus can0 velocity 300 --for 2 --plot  turn, and stop again
  tavctl list velocity                           objects whose name holds "velocity"
"tavctl COMMAND --help" teaches each command.

Exit codes: 0 done; 1 done, and something wrong was found; 2 command line; 3 configuration, description or
unknown object; 4 bus; 5 no answer from the drive; 6 refused; 7 drive in the wrong state; 130 interrupted.)";

void add_options(Command& program, Options& options) {
  program
      .option("-b,--bus", options.bus,
              "Bus: an interface (can0), unix:PATH (between processes), or virtual (a drive inside tavctl)")
      .from_environment("TAVCTL_BUS");
  program.option("--scenario", options.scenario,
                 "With --bus virtual: faults and disturbances of that drive (see docs/virtual-drive.md)");
  program
      .option("-c,--config", options.config, "Configuration file [share/tav/tav.ini, or the installed one]")
      .from_environment("TAVCTL_CONFIG");
  program
      .option("-u,--unit", options.unit,
              "Which drive of a configuration of several: NAME of its section [unit NAME]")
      .from_environment("TAVCTL_UNIT");
  program.option("-n,--node", options.node, "Node id of the drive instead of the configuration's")
      .range(1, 127);
  program
      .option(
          "--host-node", options.host_node,
          "Node id of this host's heartbeat, which the drive watches [the first silent one from 127 down]")
      .range(1, 127);
  program.flag("-t,--trace", options.trace, "Show every frame on the bus with its meaning (standard error)");
  program
      .option("--log", options.log,
              "Show the library's log up to this level: 2 failures, 3 warnings, 4 notices, 5 every access")
      .range(2, 5);
  program
      .option("--sdo-timeout", options.timeout_ms,
              "Milliseconds that the drive may take to answer one request [1000]")
      .range(1, 600'000);
  program.option("--black-box", options.black_box,
                 "When the command fails, write the last frames to this file, as a candump log");
  program.flag("-j,--json", options.json, "Answer as JSON");
}

/** The library's log on standard error while it lives, when a level was asked for. */
class LogOnStandardError {
 public:
  explicit LogOnStandardError(std::optional<unsigned> level) {
    if (!level) return;
    nkr_log_add_stderr(*level, &sink_);
    nkr_log_set_enabled(1);
  }
  /** What a slow terminal or pipe has not taken yet is waited for. */
  ~LogOnStandardError() {
    constexpr std::uint32_t kLongestMs = 5000;
    if (sink_ == 0) return;
    static_cast<void>(nkr_log_flush(kLongestMs));
    nkr_log_remove_sink(sink_);
  }
  LogOnStandardError(const LogOnStandardError&) = delete;
  LogOnStandardError& operator=(const LogOnStandardError&) = delete;

 private:
  nkr_log_sink_t sink_ = 0;
};

ExitCode act(const Action& action, Context& context) {
  try {
    return action(context);
  } catch (const Failure& failure) {
    context.output.failure(failure);
    return failure.exit_code();
  } catch (const std::exception& exception) {
    context.output.failure(Failure(ExitCode::FINDINGS, std::string("unexpected: ") + exception.what()));
    return ExitCode::FINDINGS;
  }
}

}  // namespace

int run(const std::function<void(Command&)>& add_commands, const std::vector<std::string>& arguments,
        std::ostream& out, std::ostream& err) {
  Command program("tavctl", "Looks at, configures and drives a TAV unit on a CANopen bus.");
  program.footer(kFooter);
  Options options;
  add_options(program, options);
  add_commands(program);
  const Request request = CommandLine::parse(program, TAV_VERSION, arguments, out, err);
  if (const ExitCode* const end = std::get_if<ExitCode>(&request)) return static_cast<int>(*end);

  const LogOnStandardError log(options.log);
  Output output(out, err, options.json);
  BlackBox black_box(options.black_box);
  Context context{options, output, black_box};
  const ExitCode result = act(std::get<Action>(request), context);
  const ExitCode code = context.interrupted ? ExitCode::INTERRUPTED : result;
  output.finish();
  out.flush();
  if (!out) {
    output.note("tavctl: what was to be said could not be written: is the disk full?");
    return static_cast<int>(code == ExitCode::OK ? ExitCode::FINDINGS : code);
  }
  if (code != ExitCode::OK && code != ExitCode::INTERRUPTED) black_box.write(output);
  return static_cast<int>(code);
}

}  // namespace tavctl

// What brings a CAN interface up: shown, or run.
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "commands/AllCommands.hpp"
#include "commands/session/BusInfo.hpp"

namespace tavctl {

namespace {

struct SetupOptions {
  std::string interface;
  int bit_rate = 0;
  int restart_ms = 100;
  int queue = 1000;
  bool apply = false;
};

std::vector<std::string> commands_of(const SetupOptions& options) {
  const std::string link = "ip link set " + options.interface;
  return {link + " down", link + " txqueuelen " + std::to_string(options.queue),
          link + " up type can bitrate " + std::to_string(options.bit_rate) + " restart-ms " +
              std::to_string(options.restart_ms)};
}

/** Runs a command that holds nothing but our words and an interface's name. Failure(CONNECTION) with what it
 * says. */
void run(const std::string& command) {
  FILE* const pipe = ::popen((command + " 2>&1").c_str(), "r");
  if (pipe == nullptr) throw Failure(ExitCode::CONNECTION, "cannot run " + command);
  std::string said;
  std::array<char, 512> part{};
  while (std::fgets(part.data(), static_cast<int>(part.size()), pipe) != nullptr) said += part.data();
  const int status = ::pclose(pipe);
  if (status != -1 && WIFEXITED(status) && WEXITSTATUS(status) == 0) return;
  const bool lacks_rights = said.find("not permitted") != said.npos;
  if (!said.empty() && said.back() == '\n') said.pop_back();
  throw Failure(ExitCode::CONNECTION, "cannot set the interface up: " + command,
                (said.empty() ? "" : said + '\n') +
                    (lacks_rights ? "it needs the rights of the administrator: sudo tavctl setup ... --apply"
                                  : "ip -br link lists the interfaces there are"));
}

/** What the interface says of itself afterwards. */
void see_up(Output& output, const SetupOptions& options) {
  const BusInfo info = bus_info_of(options.interface);
  output.put("state", info.state ? Json(*info.state) : Json());
  if (info.bit_rate && *info.bit_rate != static_cast<unsigned>(options.bit_rate)) {
    throw Failure(ExitCode::REFUSED, options.interface + " runs at " + std::to_string(*info.bit_rate) +
                                         " bit/s, not at " + std::to_string(options.bit_rate));
  }
  if (!info.bit_rate) {
    throw Failure(ExitCode::CONNECTION, options.interface + " does not tell a bit rate",
                  "is it a CAN interface? ip -details link show " + options.interface);
  }
  output.line(options.interface + " is up at " + std::to_string(*info.bit_rate) + " bit/s" +
              (info.state ? ", " + *info.state : ""));
}

ExitCode setup(Context& context, const SetupOptions& options) {
  if (!is_interface_name(options.interface) || options.interface == "virtual") {
    throw Failure(ExitCode::USAGE, "\"" + options.interface + "\" is no name of an interface",
                  "such as can0");
  }
  const std::vector<std::string> commands = commands_of(options);
  Output& output = context.output;
  output.put("interface", options.interface);
  output.put("bit_rate", options.bit_rate);
  output.put("commands", commands);
  output.put("applied", options.apply);
  for (const std::string& command : commands) {
    output.line(command);
    if (options.apply) run(command);
  }
  if (options.apply) {
    see_up(output, options);
  } else {
    output.note("not run: --apply runs them; docs/first-drive.md makes them last over a restart");
  }
  return ExitCode::OK;
}

}  // namespace

void add_setup(Command& program) {
  auto options = std::make_shared<SetupOptions>();
  Command& command =
      program.add("setup", "Show what brings a CAN interface up; with --apply run it and look at the result");
  command.option("INTERFACE", options->interface, "Such as can0").required();
  command.option("--bit-rate", options->bit_rate, "Bit/s of the bus").required().range(10'000, 1'000'000);
  command.option("--restart-ms", options->restart_ms, "After bus-off, back on the bus so much later [100]")
      .range(0, 100'000);
  command.option("--queue", options->queue, "Frames that may wait to be sent [1000]").range(1, 100'000);
  command.flag("--apply", options->apply, "Run the commands (needs the administrator's rights)");
  command.footer("  tavctl setup can0 --bit-rate 500000\n  sudo tavctl setup can0 --bit-rate 500000 --apply");
  command.on([options](Context& context) { return setup(context, *options); });
}

}  // namespace tavctl

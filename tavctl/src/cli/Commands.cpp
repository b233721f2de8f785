#include "cli/Commands.hpp"

#include <utility>

namespace tavctl {

namespace {

constexpr const char* kCommonFooter =
    "\"tavctl --help\" tells the options of every command (--bus, --node, --config, --json, --trace,\n"
    "--black-box) and the exit codes.";

}  // namespace

CLI::App& Commands::add(const std::string& name, const std::string& description) {
  return add_below(app_, name, description);
}

CLI::App& Commands::add_below(CLI::App& parent, const std::string& name, const std::string& description) {
  CLI::App& command = *parent.add_subcommand(name, description);
  command.footer(kCommonFooter);
  command.fallthrough();  // --bus and its like may stand behind the command too
  return command;
}

void Commands::on(CLI::App& command, Action action) {
  command.callback([this, action = std::move(action)] { chosen_ = action; });
}

}  // namespace tavctl

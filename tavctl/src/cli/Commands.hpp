#ifndef TAVCTL_CLI_COMMANDS_HPP
#define TAVCTL_CLI_COMMANDS_HPP

#include <CLI/CLI.hpp>
#include <functional>
#include <string>

#include "cli/BlackBox.hpp"
#include "cli/ExitCode.hpp"
#include "cli/Options.hpp"
#include "cli/Output.hpp"

namespace tavctl {

/** What a command is given to work with. */
struct Context {
  const Options& options;
  Output& output;
  BlackBox& black_box;
};

using Action = std::function<ExitCode(Context&)>;

/**
 * The commands of the program. Each file in commands/ adds its own: a sub-command of the parser with its
 * options, and the action to take when it was chosen.
 */
class Commands {
 public:
  explicit Commands(CLI::App& app) : app_(app) {}

  /** A new command. Its options are added to what is returned. */
  CLI::App& add(const std::string& name, const std::string& description);
  /** A command below another one: "eds lint". */
  static CLI::App& add_below(CLI::App& parent, const std::string& name, const std::string& description);
  /** What `command` does. The action runs after the whole command line was understood. */
  void on(CLI::App& command, Action action);
  /** The action of the command that was chosen; empty when none was. */
  [[nodiscard]] const Action& chosen() const { return chosen_; }

 private:
  CLI::App& app_;
  Action chosen_;
};

}  // namespace tavctl

#endif

#ifndef TAVCTL_CLI_COMMAND_HPP
#define TAVCTL_CLI_COMMAND_HPP

#include <functional>
#include <list>
#include <string>
#include <utility>

#include "cli/Context.hpp"
#include "cli/ExitCode.hpp"
#include "cli/Option.hpp"

namespace tavctl {

using Action = std::function<ExitCode(Context&)>;

/** A command of the program, with its options and the commands below it ("eds lint"). */
class Command {
 public:
  Command(std::string name, std::string description)
      : name_(std::move(name)), description_(std::move(description)) {}
  Command(const Command&) = delete;
  Command& operator=(const Command&) = delete;

  /** A new command below this one. */
  Command& add(const std::string& name, const std::string& description) {
    return commands_.emplace_back(name, description);
  }
  /** An option ("--count", "-c,--config") or argument ("FILE"), whose value goes to `target`. */
  template <class Value>
  Option& option(const std::string& names, Value& target, const std::string& description) {
    return options_.emplace_back(names, Option::Target(&target), description);
  }
  /** An option without a value: given or not. */
  Option& flag(const std::string& names, bool& target, const std::string& description) {
    return option(names, target, description);
  }
  /** What --help says below the options. */
  void footer(std::string text) { footer_ = std::move(text); }
  /** One option at least must be given. */
  void needs_option() { needs_option_ = true; }
  /** What the command does. The action runs after the whole command line was understood. */
  void on(Action action) { action_ = std::move(action); }

 private:
  friend class CommandLine;

  std::string name_;
  std::string description_;
  std::string footer_;
  bool needs_option_ = false;
  Action action_;
  std::list<Option> options_;
  std::list<Command> commands_;
};

}  // namespace tavctl

#endif

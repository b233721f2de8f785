#ifndef TAVCTL_CLI_COMMANDLINE_HPP
#define TAVCTL_CLI_COMMANDLINE_HPP

#include <iosfwd>
#include <string>
#include <variant>
#include <vector>

#include "cli/Command.hpp"

namespace tavctl {

/** What the command line asks for: the action of a command, or to end with this code at once. */
using Request = std::variant<Action, ExitCode>;

/** The one place that knows the library which parses command lines. */
class CommandLine {
 public:
  /**
   * Understands the arguments (without the program's name): sets what the options of the chosen command and
   * of the program stand for. --help, --version and mistakes are answered on `out` and `err`.
   */
  [[nodiscard]] static Request parse(const Command& program, const std::string& version,
                                     const std::vector<std::string>& arguments, std::ostream& out,
                                     std::ostream& err);

 private:
  class Parser;
};

}  // namespace tavctl

#endif

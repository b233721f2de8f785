#ifndef TAVCTL_CLI_RUN_HPP
#define TAVCTL_CLI_RUN_HPP

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

namespace tavctl {

class Command;

/**
 * The whole program: understands the arguments (without the program's name), runs the one of the commands
 * that they name, answers the exit code. `add_commands` adds the commands there are to the program.
 */
int run(const std::function<void(Command&)>& add_commands, const std::vector<std::string>& arguments,
        std::ostream& out, std::ostream& err);

}  // namespace tavctl

#endif

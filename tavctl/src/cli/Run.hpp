#ifndef TAVCTL_CLI_RUN_HPP
#define TAVCTL_CLI_RUN_HPP

#include <iosfwd>
#include <string>
#include <vector>

namespace tavctl {

/** The whole program: understands the arguments (without the program's name), runs the command, answers the
 * exit code. */
int run(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err);

}  // namespace tavctl

#endif

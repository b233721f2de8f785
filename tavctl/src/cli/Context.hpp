#ifndef TAVCTL_CLI_CONTEXT_HPP
#define TAVCTL_CLI_CONTEXT_HPP

#include "cli/BlackBox.hpp"
#include "cli/Options.hpp"
#include "cli/Output.hpp"

namespace tavctl {

/** What a command is given to work with. */
struct Context {
  const Options& options;
  Output& output;
  BlackBox& black_box;
  bool interrupted = false;  ///< the user ended what the command was at
};

}  // namespace tavctl

#endif

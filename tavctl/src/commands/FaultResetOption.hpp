#ifndef TAVCTL_COMMANDS_FAULTRESETOPTION_HPP
#define TAVCTL_COMMANDS_FAULTRESETOPTION_HPP

#include "cli/Command.hpp"

namespace tavctl {

/** The option of every command that enables the drive. */
inline void add_fault_reset_option(Command& command, bool& reset_fault) {
  command.flag("--fault-reset", reset_fault,
               "Reset a drive that is in FAULT first; without it such a drive is refused (7)");
}

}  // namespace tavctl

#endif

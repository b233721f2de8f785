#ifndef TAVCTL_COMMANDS_SAFETY_SAFETYCOMMANDS_HPP
#define TAVCTL_COMMANDS_SAFETY_SAFETYCOMMANDS_HPP

#include "cli/Command.hpp"

namespace tavctl {

// The commands below "tavctl safety"; each file of this folder adds its own.
void add_safety_inspection(Command& safety);
void add_safety_parameters(Command& safety);
void add_safety_words(Command& safety);
void add_safety_srdo(Command& safety);
void add_safety_report(Command& safety);

}  // namespace tavctl

#endif

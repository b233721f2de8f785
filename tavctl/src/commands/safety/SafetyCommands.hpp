#ifndef TAVCTL_COMMANDS_SAFETY_SAFETYCOMMANDS_HPP
#define TAVCTL_COMMANDS_SAFETY_SAFETYCOMMANDS_HPP

#include "cli/Commands.hpp"

namespace tavctl {

// The commands below "tavctl safety"; each file of this folder adds its own.
void add_safety_inspection(Commands& commands, CLI::App& safety);
void add_safety_parameters(Commands& commands, CLI::App& safety);
void add_safety_words(Commands& commands, CLI::App& safety);
void add_safety_srdo(Commands& commands, CLI::App& safety);
void add_safety_report(Commands& commands, CLI::App& safety);

}  // namespace tavctl

#endif

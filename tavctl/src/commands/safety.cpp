#include "commands/AllCommands.hpp"
#include "commands/safety/SafetyCommands.hpp"

namespace tavctl {

void add_safety(Commands& commands) {
  CLI::App& safety = commands.add(
      "safety",
      "Safety functions: configure and observe them. This host does not perform them: the drive does");
  safety.require_subcommand(1);
  add_safety_inspection(commands, safety);
  add_safety_parameters(commands, safety);
  add_safety_words(commands, safety);
  add_safety_srdo(commands, safety);
  add_safety_report(commands, safety);
}

}  // namespace tavctl

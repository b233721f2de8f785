#include "commands/AllCommands.hpp"
#include "commands/safety/SafetyCommands.hpp"

namespace tavctl {

void add_safety(Command& program) {
  Command& safety = program.add(
      "safety",
      "Safety functions: configure and observe them. This host does not perform them: the drive does");
  add_safety_inspection(safety);
  add_safety_parameters(safety);
  add_safety_words(safety);
  add_safety_srdo(safety);
  add_safety_report(safety);
}

}  // namespace tavctl

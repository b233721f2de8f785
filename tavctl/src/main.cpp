#include <iostream>
#include <string>
#include <vector>

#include "cli/Run.hpp"
#include "commands/AllCommands.hpp"

int main(int argc, char** argv) {
  return tavctl::run(tavctl::add_all, std::vector<std::string>(argv + 1, argv + argc), std::cout, std::cerr);
}

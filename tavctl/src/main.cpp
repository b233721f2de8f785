#include <iostream>
#include <string>
#include <vector>

#include "cli/Run.hpp"

int main(int argc, char** argv) {
  return tavctl::run(std::vector<std::string>(argv + 1, argv + argc), std::cout, std::cerr);
}

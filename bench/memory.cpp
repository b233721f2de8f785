// Memory of a minimal program: configuration, the drive's description, a client on a bus inside the process,
// the dispatcher and the controller. Run in the source folder.
#include <fstream>
#include <iostream>
#include <memory>
#include <nkr/can/Bus.hpp>
#include <nkr/can/InProcessBus.hpp>
#include <nkr/canopen/Client.hpp>
#include <string>
#include <tavcore/CANOpenDispatcher.hpp>
#include <tavcore/Controller.hpp>

namespace {

/** A line of /proc/self/status, in KiB: VmRSS now, VmHWM at its highest. */
long kibibytes(const std::string& name) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.compare(0, name.size() + 1, name + ":") == 0) return std::stol(line.substr(name.size() + 1));
  }
  return 0;
}

}  // namespace

int main() {
  using namespace nkr;
  const long before = kibibytes("VmRSS");
  const auto config = std::make_shared<tavcore::Config>();
  if (config->load("share/tav/tav.ini") != NKR_OK) {
    std::cerr << "run this in the source folder\n";
    return 1;
  }
  const auto client = std::make_shared<canopen::Client>(std::make_shared<can::InProcessBus>());
  const auto dispatcher = std::make_shared<tavcore::CANOpenDispatcher>(config, client);
  tavcore::Controller controller;
  if (dispatcher->init() != NKR_OK || controller.init(config, dispatcher) != NKR_OK) return 1;
  std::cout << "before the library starts " << before << " KiB, ready " << kibibytes("VmRSS")
            << " KiB, at most " << kibibytes("VmHWM") << " KiB\n";
}

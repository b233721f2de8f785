#include "commands/session/OpenBus.hpp"

#include <nkr/can/open_bus.hpp>

#include "cli/Failure.hpp"

namespace tavctl {

std::shared_ptr<nkr::can::Bus> open_bus(const std::string& name) {
  if (name.empty()) {
    throw Failure(ExitCode::USAGE, "no bus given",
                  "--bus can0 (an interface), --bus unix:PATH, or --bus virtual (a drive inside tavctl); "
                  "TAVCTL_BUS sets it once for all");
  }
  nkr_error_t result = NKR_OK;
  std::string explanation;
  std::shared_ptr<nkr::can::Bus> bus = nkr::can::open_bus(name, result, explanation);
  if (!bus) throw Failure(ExitCode::CONNECTION, "cannot open the bus " + name, explanation, result);
  return bus;
}

}  // namespace tavctl

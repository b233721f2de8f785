// Turns a motor for two seconds.
#include <chrono>
#include <exception>
#include <iostream>
#include <nkr/can/open_bus.hpp>
#include <tav/host/Unit.hpp>
#include <tav/host/text.hpp>

#include "VirtualNode.hpp"

int main() try {
  // README: begin
  const auto bus = nkr::can::make_bus("virtual");          // or "can0", with a drive on the wire
  const VirtualNode drive(*bus, "share/tav/tav.eds", 10);  // the other end: a drive made of software

  tav::host::UnitSettings settings;
  settings.configuration = "share/tav/tav.ini";
  settings.parts.bus = bus;
  tav::host::Result result;
  const auto unit = tav::host::Unit::open(settings, result);
  if (result.ok()) result = unit->enable();
  if (result.ok()) result = unit->set_velocity(300);
  if (result.ok()) {
    result = unit->follow(std::chrono::seconds(2), [](const tav::host::Look& look) {
      std::cout << "velocity " << look.velocity << '\n';
    });
  }
  std::cout << text(result) << '\n';  // what failed, and why; the end of the unit stops the drive
  // README: end
  return result.ok() ? 0 : 1;
} catch (const std::exception& exception) {
  std::cerr << exception.what() << '\n';
  return 1;
}

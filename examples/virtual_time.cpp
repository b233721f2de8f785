// A test of one's own program: a quarter of an hour of its work with a drive, in the moment that computing
// it takes.
#include <chrono>
#include <exception>
#include <iostream>
#include <nkr/can/open_bus.hpp>
#include <nkr/time/VirtualTime.hpp>
#include <nkr/time/clock.hpp>
#include <tav/host/Unit.hpp>
#include <tav/host/text.hpp>

#include "VirtualNode.hpp"

namespace {

// virtual-drive.md: begin
/** The program: so many shifts of four minutes at 300 1/min, with breaks. It waits by nkr::time alone. */
tav::host::Result work(tav::host::Unit& unit, int shifts) {
  for (int shift = 0; shift < shifts; ++shift) {
    tav::host::Result result = unit.enable();
    if (result.ok()) result = unit.set_velocity(300);
    if (!result.ok()) return result;
    nkr::time::sleep_for(std::chrono::minutes(4));
    result = unit.stop();
    if (!result.ok()) return result;
    nkr::time::sleep_for(std::chrono::minutes(1));
  }
  return {};
}

/** Its test: from here on time passes as fast as the processor allows, and for all that is made here. */
tav::host::Result test_of_work(std::chrono::nanoseconds& lasted) {
  const nkr::time::VirtualTime time;  // before all that is to live in it
  const auto bus = nkr::can::make_bus("virtual");
  const VirtualNode drive(*bus, "share/tav/tav.eds", 10);
  tav::host::UnitSettings settings;
  settings.configuration = "share/tav/tav.ini";
  settings.parts.bus = bus;
  tav::host::Result result;
  const auto unit = tav::host::Unit::open(settings, result);
  if (result.ok()) result = work(*unit, 3);
  lasted = time.elapsed();
  return result;
}
// virtual-drive.md: end

}  // namespace

int main() try {
  std::chrono::nanoseconds lasted{};
  const tav::host::Result result = test_of_work(lasted);
  std::cout << text(result) << '\n';
  std::cout << std::chrono::duration_cast<std::chrono::minutes>(lasted).count() << " minutes of work\n";
  return result.ok() ? 0 : 1;
} catch (const std::exception& exception) {
  std::cerr << exception.what() << '\n';
  return 1;
}

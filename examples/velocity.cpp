// Turns a drive for two seconds or until Ctrl-C, and stops it: velocity [BUS]. Without a bus it is a virtual
// drive.
#include <chrono>
#include <exception>
#include <iostream>
#include <memory>
#include <nkr/can/open_bus.hpp>
#include <string>
#include <tav/host/Interrupt.hpp>
#include <tav/host/Unit.hpp>
#include <tav/host/text.hpp>

#include "VirtualNode.hpp"

namespace {

using tav::host::Result;

Result turn(tav::host::Unit& unit) {
  Result result = unit.enable();
  if (result.ok()) result = unit.set_velocity(300);
  if (result.ok()) result = unit.follow(std::chrono::seconds(2));
  // Ctrl-C is no reason to leave the drive turning; whatever else ended the turning is told.
  const Result stopped = unit.disable();
  return result.ok() || result.code() == NKR_INTERRUPTED ? stopped : result;
}

}  // namespace

int main(int argc, char** argv) try {
  const tav::host::SignalInterrupt interrupt;
  const std::string name = argc > 1 ? argv[1] : "virtual";
  tav::host::UnitSettings settings;
  settings.configuration = "share/tav/tav.ini";
  settings.parts.bus = nkr::can::make_bus(name);
  settings.interrupt = &interrupt;
  settings.on_warning = [](const tav::host::Explanation& warning) {
    std::cerr << "WARNING: " << headline(warning) << '\n';
  };
  std::unique_ptr<VirtualNode> drive;
  if (name == "virtual") drive = std::make_unique<VirtualNode>(*settings.parts.bus, "share/tav/tav.eds", 10);
  Result result;
  const auto unit = tav::host::Unit::open(settings, result);
  if (result.ok()) result = turn(*unit);
  std::cout << text(result) << '\n';
  return result.ok() ? 0 : 1;
} catch (const std::exception& exception) {
  std::cerr << exception.what() << '\n';
  return 1;
}

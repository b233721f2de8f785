#include "Console.hpp"

#include <unistd.h>

#include <array>
#include <iostream>

namespace tav::drive {
namespace {

constexpr const char* kHelp =
    R"(fault 0x2310 [passing]      a fault, until clear; passing: a fault reset is enough
clear [0x2310]              the cause of the fault is gone, or of all
sto on|off                  the input of safe torque off
input battery-voltage 40000 a sensor (mV): also phase-current (mA), mosfet-1, mosfet-2, driver (Celsius)
emcy 0x8130                 an emergency message without a fault
set OBJECT VALUE            an object takes a value: 0x6041, 0x1018:1 or "its name"; what the
                            drive computes has it until the node starts anew
reset                       the node starts anew
silence 500ms               nothing is sent
bus off|gone [500ms], bus back
reply lost|late 50ms|twice|abort 0x08000022|wrong-toggle|wrong-index|wrong-size, reset amid
                            of the next SDO access
lose, late 20ms, duplicate, corrupt   of frames: frame each sdo-reply lose with 20%
load, slope, voltage, friction, ambient VALUE [over 1s]; battery, encoder, phase, brake, flash, power
expect velocity < 10 within 300ms; never state FAULT; check brake = 1
Before each: at 2s, every 100ms, state FAULT, when velocity > 10, or access 3 read|write|any OBJECT|* (each instead of 3: every one).
)";

}  // namespace

void Console::read() {
  std::array<char, 4096> piece{};
  const ssize_t size = ::read(descriptor_, piece.data(), piece.size());
  if (size <= 0) {
    descriptor_ = -1;
    if (!typed_.empty()) execute(typed_);
    return;
  }
  typed_.append(piece.data(), static_cast<std::size_t>(size));
  std::size_t begin = 0;
  for (std::size_t end = typed_.find('\n'); end != std::string::npos; end = typed_.find('\n', begin)) {
    execute(typed_.substr(begin, end - begin));
    begin = end + 1;
  }
  typed_.erase(0, begin);
}

void Console::execute(const std::string& line) {
  if (line == "help") {
    std::cout << kHelp << std::flush;
    return;
  }
  Scenario scenario;
  std::string problem;
  const bool done = read_scenario_line(line, scenario, problem) && drive_.play(scenario, problem);
  if (done && scenario.events.empty()) return;
  std::cout << (done ? "ok" : problem) << std::endl;
}

}  // namespace tav::drive

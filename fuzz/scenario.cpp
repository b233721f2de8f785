// A scenario of any text is read or refused, and a drive that plays what was read stays alive.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <nkr/can/Frame.hpp>
#include <sstream>
#include <string>
#include <tav/drive/VirtualDrive.hpp>

namespace {

using nkr::can::Frame;
using tav::drive::Time;
using tav::drive::VirtualDrive;

constexpr std::size_t kMostPlayed = 40;  // a drive for each event would take too long

std::unique_ptr<VirtualDrive> make_drive(bool with_motor) {
  tav::drive::Settings settings;
  settings.node_id = 1;
  if (with_motor) settings.motor.emplace();
  std::string problem;
  auto drive = VirtualDrive::from_file(TAV_DESCRIPTION, settings, problem);
  if (!drive) std::abort();
  return drive;
}

void use(VirtualDrive& drive) {
  Time now{};
  drive.power_on(now);
  for (int i = 0; i < 20; ++i) {
    drive.receive(Frame(0x601, {0x40, 0x18, 0x10, 1, 0, 0, 0, 0}), now);
    drive.receive(Frame(0x601, {0x2B, 0x42, 0x60, 0, 100, 0, 0, 0}), now);
    drive.receive(Frame(0x601, {0x21, 0x08, 0x10, 0, 8, 0, 0, 0}), now);
    drive.receive(Frame(0x601, {0x00, 'a', 'b', 'c', 'd', 'e', 'f', 'g'}), now);
    drive.advance(now += std::chrono::milliseconds(50));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::istringstream text(std::string(reinterpret_cast<const char*>(data), size));
  tav::drive::Scenario scenario;
  std::string problem;
  if (!tav::drive::read_scenario(text, scenario, problem)) {
    if (problem.rfind("line ", 0) != 0 || !scenario.events.empty()) std::abort();
    return 0;
  }
  if (scenario.events.empty() || scenario.events.size() > kMostPlayed) return 0;
  const auto drive = make_drive(size % 2 != 0);
  if (drive->play(scenario, problem)) use(*drive);
  (void)drive->finish_scenario();
  return 0;
}

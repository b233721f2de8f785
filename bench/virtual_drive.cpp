// How fast virtual drives run in stepped time, with a motor that has load, supply and heat.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <tav/drive/Fleet.hpp>

namespace {

using nkr::can::Frame;
using std::chrono::milliseconds;
using tav::drive::Time;
using tav::drive::VirtualDrive;

std::unique_ptr<VirtualDrive> make_drive(std::uint8_t node, bool real) {
  tav::drive::Settings settings;
  settings.node_id = node;
  settings.mechanics.steps_per_electrical_revolution = 360;
  settings.mechanics.pole_pairs = 7;
  if (real) settings.motor.emplace();
  std::string problem;
  auto drive = VirtualDrive::from_file("share/tav/tav.eds", settings, problem);
  if (!drive) throw std::runtime_error(problem);
  return drive;
}

void write(VirtualDrive& drive, Time now, std::uint16_t index, std::uint8_t subindex, std::uint8_t command,
           std::uint32_t value) {
  const auto byte = [](std::uint32_t number, unsigned place) {
    return static_cast<std::uint8_t>(number >> (8 * place));
  };
  drive.receive(
      Frame(0x600U + drive.node_id(), {command, byte(index, 0), byte(index, 1), subindex, byte(value, 0),
                                       byte(value, 1), byte(value, 2), byte(value, 3)}),
      now);
}

/** A second of a turning drive, SYNC and its PDOs every millisecond. An hour is 3600 of them. */
void second_with_sync(benchmark::State& state) {
  const auto drive = make_drive(1, state.range(0) != 0);
  std::uint64_t frames = 0;
  drive->connect([&frames](const Frame&) { ++frames; });
  Time now{};
  drive->power_on(now);
  for (const std::uint32_t word : {0x06U, 0x07U, 0x7FU}) write(*drive, now, 0x6040, 0, 0x2B, word);
  write(*drive, now, 0x6042, 0, 0x2B, 300);
  drive->receive(Frame(0x000, {1, 1}), now);
  for (auto _ : state) {
    for (int i = 0; i < 1000; ++i) drive->receive(Frame(0x080, {}), now += milliseconds(1));
  }
  state.counters["frames"] =
      benchmark::Counter(static_cast<double>(frames), benchmark::Counter::kAvgIterations);
}
BENCHMARK(second_with_sync)->ArgName("real_motor")->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

/** A second of a drive that turns and is asked nothing. */
void second_turning(benchmark::State& state) {
  const auto drive = make_drive(1, true);
  Time now{};
  drive->power_on(now);
  for (const std::uint32_t word : {0x06U, 0x07U, 0x7FU}) write(*drive, now, 0x6040, 0, 0x2B, word);
  write(*drive, now, 0x6042, 0, 0x2B, 300);
  for (auto _ : state) drive->advance(now += milliseconds(1000));
}
BENCHMARK(second_turning)->Unit(benchmark::kMicrosecond);

/** A second of 127 drives that stand on one bus, each with its heartbeat. */
void second_of_127_idle_drives(benchmark::State& state) {
  tav::drive::Fleet fleet;
  for (std::uint8_t node = 1; node <= 127; ++node) fleet.add(make_drive(node, true));
  Time now{};
  (void)fleet.power_on(now);
  (void)fleet.advance(now += milliseconds(2000));
  for (auto _ : state) benchmark::DoNotOptimize(fleet.advance(now += milliseconds(1000)));
}
BENCHMARK(second_of_127_idle_drives)->Unit(benchmark::kMicrosecond);

}  // namespace

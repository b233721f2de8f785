// How much faster than its own time a whole program runs in virtual time, by the processor time of all its
// threads.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <nkr/can/InProcessBus.hpp>
#include <nkr/canopen/Client.hpp>
#include <nkr/time/VirtualTime.hpp>
#include <nkr/time/clock.hpp>
#include <stdexcept>
#include <string>
#include <tav/drive/Runner.hpp>
#include <tav/drive/VirtualDrive.hpp>
#include <tav/host/Unit.hpp>
#include <tav/host/text.hpp>

namespace {

using tav::host::Result;
using tav::host::Unit;

void check(const Result& result) {
  if (!result.ok()) throw std::runtime_error(text(result));
}

/** A drive whose motor has load, supply and heat, and the unit that turns it. */
class Axis {
 public:
  Axis(const std::shared_ptr<nkr::can::InProcessBus>& bus, std::uint8_t node) : node_(node) {
    tav::drive::Settings drive_settings;
    drive_settings.node_id = node;
    drive_settings.motor.emplace();
    std::string problem;
    drive_ = tav::drive::VirtualDrive::from_file("share/tav/tav.eds", drive_settings, problem);
    if (!drive_) throw std::runtime_error(problem);
    runner_ = std::make_unique<tav::drive::Runner>(*drive_);
    if (runner_->start(*bus) != NKR_OK) throw std::runtime_error("no port for the drive");
    tav::host::UnitSettings settings;
    settings.configuration = "share/tav/tav.ini";
    settings.parts.bus = bus;
    settings.node_id = node;
    Result result;
    unit_ = Unit::open(settings, result);
    check(result);
  }
  void turn() {
    check(unit_->enable());
    check(unit_->set_velocity(300));
  }
  void read() {
    std::int32_t position = 0;
    if (unit_->shared_client()->getValue(node_, 0x60640020, position) != NKR_OK)
      throw std::runtime_error("no answer");
  }

 private:
  const std::uint8_t node_;
  std::unique_ptr<tav::drive::VirtualDrive> drive_;
  std::unique_ptr<tav::drive::Runner> runner_;
  std::unique_ptr<Unit> unit_;
};

/** A second of two turning drives, their heartbeats and PDOs, and 200 objects read by SDO. */
void second_of_two_units(benchmark::State& state) {
  const nkr::time::VirtualTime time;
  const auto bus = std::make_shared<nkr::can::InProcessBus>();
  Axis left(bus, 10);
  Axis right(bus, 11);
  left.turn();
  right.turn();
  const std::uint64_t before = time.switches();
  for (auto _ : state) {
    for (int i = 0; i < 100; ++i) {
      nkr::time::sleep_for(std::chrono::milliseconds(10));
      left.read();
      right.read();
    }
  }
  state.counters["times_real_time"] =
      benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
  state.counters["switches"] =
      benchmark::Counter(static_cast<double>(time.switches() - before), benchmark::Counter::kAvgIterations);
}
BENCHMARK(second_of_two_units)->MeasureProcessCPUTime()->Unit(benchmark::kMillisecond);

}  // namespace

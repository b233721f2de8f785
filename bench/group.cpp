// What the cycle of several drives costs, against the bare frames of the same cycle on the same bus in the
// same run; how long a set-point takes to the bus; allocations of a cycle (none).
#include <benchmark/benchmark.h>

#include <atomic>
#include <memory>
#include <nkr/can/InProcessBus.hpp>
#include <tav/host/GroupCycle.hpp>
#include <thread>
#include <vector>

#include "allocations.hpp"

namespace {

using nkr::can::Clock;
using nkr::can::Deadline;
using nkr::can::Frame;
using nkr::can::InProcessBus;
using nkr::can::Port;
using tav::host::CycleSettings;
using tav::host::GroupCycle;

constexpr std::uint8_t kFirstNode = 1;

/** A drive that is as fast as one can be: it does what the control word says, and answers every SYNC. */
class InstantDrive {
 public:
  InstantDrive(InProcessBus& bus, std::uint8_t node) : answer_{0x180U + node, {0x40, 2, 0, 0, 0, 0, 0, 0}} {
    nkr_error_t result = NKR_OK;
    port_ = bus.open_handler(
        {{0x080}, {0x200U + node}}, [this](const Frame& frame) { take(frame); }, result);
  }

 private:
  void take(const Frame& frame) {
    if (frame.id == 0x080) {
      static_cast<void>(port_->send(answer_, Deadline::passed()));
      return;
    }
    const unsigned word = frame.data[0];
    answer_.data[0] = (word & 0x0FU) == 0x0F   ? 0x37
                      : (word & 0x07U) == 0x07 ? 0x33
                      : (word & 0x06U) == 0x06 ? 0x31
                                               : 0x50;
    answer_.data[2] = frame.data[2];
    answer_.data[3] = frame.data[3];
  }

  Frame answer_;
  std::unique_ptr<Port> port_;
};

struct Rig {
  explicit Rig(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      drives.push_back(std::make_unique<InstantDrive>(bus, static_cast<std::uint8_t>(kFirstNode + i)));
    }
    nkr_error_t result = NKR_OK;
    port = bus.open({{0x180, 0x780}}, result);
  }
  InProcessBus bus;
  std::vector<std::unique_ptr<InstantDrive>> drives;
  std::unique_ptr<Port> port;
};

void count_cycles(benchmark::State& state, std::uint64_t before) {
  state.counters["cycles/s"] =
      benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
  state.counters["allocations/cycle"] =
      static_cast<double>(allocations() - before) / static_cast<double>(state.iterations());
}

void bare_cycle(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  Rig rig(count);
  const Frame sync{0x080, {}};
  Frame order{0x200, {0x7F, 0, 0, 0}};
  const std::uint64_t before = allocations();
  for (auto iteration : state) {
    static_cast<void>(iteration);
    static_cast<void>(rig.port->send(sync, Deadline::passed()));
    Frame answer;
    for (std::size_t i = 0; i < count; ++i)
      benchmark::DoNotOptimize(rig.port->receive(answer, Deadline::passed()));
    for (std::size_t i = 0; i < count; ++i) {
      order.id = static_cast<std::uint32_t>(0x200 + kFirstNode + i);
      static_cast<void>(rig.port->send(order, Deadline::passed()));
    }
  }
  count_cycles(state, before);
}
BENCHMARK(bare_cycle)->Arg(2)->Arg(8)->Arg(32);

/** The cycle of those drives; time is what the bench says it is. */
class Stepped {
 public:
  explicit Stepped(std::size_t count)
      : rig(count), cycle(settings(count), [this](const Frame& frame) {
          return rig.port->send(frame, Deadline::passed());
        }) {
    cycle.begin(now);
    cycle.ask(GroupCycle::Request::ENABLE);
    for (int i = 0; i < 20; ++i) run();
  }
  void run() {
    GroupCycle::Time due = cycle.step(now);
    Frame frame;
    while (rig.port->receive(frame, Deadline::passed()) == NKR_OK) cycle.receive(frame, now);
    while (due <= now) due = cycle.step(now);
    due = cycle.step(now);
    due = cycle.step(now);
    now = due;
  }

  Rig rig;
  GroupCycle::Time now = Clock::now();
  GroupCycle cycle;

 private:
  static CycleSettings settings(std::size_t count) {
    CycleSettings settings;
    settings.bit_rate = 0;
    settings.host_node = 127;
    for (std::size_t i = 0; i < count; ++i) {
      settings.members.push_back({static_cast<std::uint8_t>(kFirstNode + i), 1000, 3000});
    }
    return settings;
  }
};

void group_cycle(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  Stepped group(count);
  if (group.cycle.snapshot().state != tav::host::GroupState::ENABLED) state.SkipWithError("not enabled");
  const std::vector<int> velocities(count, 100);
  const std::uint64_t before = allocations();
  for (auto iteration : state) {
    static_cast<void>(iteration);
    static_cast<void>(group.cycle.set(velocities.data(), count, group.now));
    group.run();
  }
  count_cycles(state, before);
  const auto statistics = group.cycle.statistics();
  if (statistics.incomplete > 1) state.SkipWithError("cycles were not complete");
}
BENCHMARK(group_cycle)->Arg(2)->Arg(8)->Arg(32);

void set_alone(benchmark::State& state) {
  Stepped group(2);
  const std::vector<int> velocities{100, -100};
  for (auto iteration : state) {
    static_cast<void>(iteration);
    benchmark::DoNotOptimize(group.cycle.set(velocities.data(), 2, group.now));
  }
}
BENCHMARK(set_alone);

/** From set() on one thread to the order on the bus, with a cycle of 10 ms on another. It is set just behind
 * the orders of a cycle: a whole period, if the cycle lost nothing. */
void set_to_order(benchmark::State& state) {
  Stepped group(2);
  std::atomic<int> seen{0};
  nkr_error_t result = NKR_OK;
  const auto witness = group.rig.bus.open_handler(
      {{0x201}}, [&seen](const Frame& frame) { seen = frame.data[2] | frame.data[3] << 8; }, result);
  std::atomic<bool> ends{false};
  std::thread runner([&] {
    GroupCycle& cycle = group.cycle;
    while (!ends) {
      const auto due = cycle.step(Clock::now());
      Frame frame;
      if (due <= Clock::now()) continue;
      if (group.rig.port->receive(frame, due) == NKR_OK) cycle.receive(frame, Clock::now());
    }
  });
  int velocity = 0;
  for (auto iteration : state) {
    static_cast<void>(iteration);
    velocity = velocity % 1000 + 1;
    const int both[] = {velocity, velocity};
    while (group.cycle.set(both, 2, Clock::now()) != NKR_OK && !ends) std::this_thread::yield();
    while (seen != velocity) std::this_thread::yield();
  }
  ends = true;
  runner.join();
}
BENCHMARK(set_to_order)->Unit(benchmark::kMicrosecond)->UseRealTime()->Iterations(200);

}  // namespace

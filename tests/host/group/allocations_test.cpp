// A cycle asks for no memory.
#include "../../../bench/allocations.hpp"

#include <gtest/gtest.h>

#include <tav/host/GroupCycle.hpp>

namespace tests::host {
namespace {

using nkr::can::Frame;
using tav::host::GroupCycle;
using tav::host::GroupSnapshot;
using tav::host::GroupState;

/** Process data of a unit in OPERATION_ENABLED, or SWITCHED_ON. */
Frame answer(std::uint8_t node, bool operates) {
  return {0x180U + node, {static_cast<std::uint8_t>(operates ? 0x37 : 0x33), 2, 0, 0, 0, 0, 0, 0}};
}

TEST(TheCycleOfAGroup, AsksForNoMemory) {
  tav::host::CycleSettings settings;
  settings.members = {{11, 1000, 3000}, {12, 1000, 3000}};
  settings.host_node = 127;
  int orders = 0;
  GroupCycle cycle(settings, [&orders](const Frame& frame) {
    if ((frame.id & ~0x7FU) == 0x200) ++orders;
    return NKR_OK;
  });
  GroupCycle::Time now{std::chrono::hours(1)};
  GroupSnapshot snapshot;
  snapshot.units.resize(2);
  const auto run = [&](bool operates) {
    GroupCycle::Time due = cycle.step(now);
    for (const std::uint8_t node : {std::uint8_t{11}, std::uint8_t{12}})
      cycle.receive(answer(node, operates), now);
    for (int i = 0; i < 3; ++i) due = cycle.step(now);
    now = due;
  };
  cycle.begin(now);
  cycle.ask(GroupCycle::Request::ENABLE);
  for (int i = 0; i < 10; ++i) run(i > 4);
  cycle.snapshot(snapshot);
  ASSERT_EQ(snapshot.state, GroupState::ENABLED);
  const int velocities[] = {100, -100};
  orders = 0;
  const std::uint64_t before = allocations();
  constexpr int kCycles = 100'000;
  for (int i = 0; i < kCycles; ++i) {
    static_cast<void>(cycle.set(velocities, 2, now));
    run(true);
    cycle.snapshot(snapshot);
  }
  EXPECT_EQ(allocations() - before, 0U);
  EXPECT_EQ(orders, 2 * kCycles);
  EXPECT_EQ(snapshot.state, GroupState::ENABLED);
}

}  // namespace
}  // namespace tests::host

// When a group's cycle sends what, in stepped time.
#include <gtest/gtest.h>

#include <set>

#include "host/group/SteppedGroup.hpp"

namespace tests::host {
namespace {

constexpr std::uint32_t kSync = 0x080;
constexpr std::uint32_t kBeat = 0x77F;

TEST(SyncOfAGroup, LiesOnItsGridWhateverTheCallbackCosts) {
  SteppedGroup group;
  group.cycle().on_cycle([&](const GroupSnapshot&) { group.stall(milliseconds(1)); });
  group.begin();
  group.run_cycles(1000);
  const auto syncs = group.with_id(kSync);
  ASSERT_EQ(syncs.size(), 1000U);
  for (std::size_t k = 0; k < syncs.size(); ++k) {
    ASSERT_EQ(syncs[k].at, group.beginning() + group.settings().period * static_cast<int>(k));
    ASSERT_EQ(syncs[k].frame.size, 0);
  }
}

TEST(SyncOfAGroup, IsSentNeitherBeforeTheBeginningNorAfterTheEnd) {
  SteppedGroup group;
  group.run(milliseconds(100));
  EXPECT_TRUE(group.wire().empty());
  group.begin();
  group.run_cycles(3);
  group.cycle().end();
  group.forget();
  group.run(milliseconds(500));
  EXPECT_TRUE(group.with_id(kSync).empty());
  EXPECT_TRUE(group.with_id(kBeat).empty());
  EXPECT_EQ(group.snapshot().state, GroupState::OFF);
}

TEST(ACycleThatOversleeps, SendsItsSyncLateByUpToAQuarterOfThePeriod) {
  SteppedGroup group;
  group.begin();
  group.run_cycles(5);
  group.forget();
  group.run(microseconds(1));  // SYNC 5
  group.stall(microseconds(12'000));
  group.run_cycles(4);
  const auto syncs = group.with_id(kSync);
  ASSERT_GE(syncs.size(), 3U);
  EXPECT_EQ(syncs[1].at - syncs[0].at, microseconds(12'001));
  EXPECT_EQ(syncs[2].at - syncs[0].at, microseconds(20'000)) << "on the grid again";
  EXPECT_EQ(group.cycle().statistics().missed, 0U);
  EXPECT_EQ(group.cycle().statistics().late, 1U);
}

TEST(ACycleThatOversleeps, LeavesOutWhatItSleptThroughAndSendsNoBurst) {
  SteppedGroup group;
  group.begin();
  group.run_cycles(5);
  group.forget();
  group.run(microseconds(1));  // SYNC 5
  group.stall(microseconds(34'000));
  group.run_cycles(6);
  const auto syncs = group.with_id(kSync);
  ASSERT_GE(syncs.size(), 2U);
  EXPECT_EQ(syncs[1].at - syncs[0].at, microseconds(40'000));
  EXPECT_EQ(group.cycle().statistics().missed, 3U);
  EXPECT_EQ(group.snapshot().cycle, 11U) << "the grid counts on";
}

TEST(ACycleThatOversleeps, SendsNoOrderIntoTheNextSync) {
  SteppedGroup group;
  group.enable();
  group.forget();
  group.cycle().on_cycle([&](const GroupSnapshot& now) {
    if (now.cycle % 2 == 0) group.stall(microseconds(9'900));  // of a period of 10 ms
  });
  group.drive_at({100, -100}, milliseconds(200));
  for (const auto& passed : group.wire()) {
    if (passed.sender != 0 || (passed.frame.id & ~0x7FU) != 0x200) continue;
    const auto into = (passed.at - group.beginning()) % group.settings().period;
    EXPECT_LE(into, microseconds(9'000));
  }
  EXPECT_GT(group.cycle().statistics().skipped_orders, 5U);
}

TEST(OrdersOfAGroup, LieBetweenTwoSyncsOneForEachUnitAndOfOneSet) {
  SteppedGroup group(4);
  group.enable();
  group.forget();
  int number = 0;
  for (int i = 0; i < 200; ++i) {
    for (int j = 0; j < i % 4; ++j) {
      ++number;
      ASSERT_EQ(group.cycle().set({number, -number, 2 * number, -2 * number}, group.now()), NKR_OK);
      group.run(microseconds(1700));
    }
    group.run(microseconds(3300));
  }
  ASSERT_GT(group.orders().size(), 100U);
  for (const auto& between : group.orders()) {
    std::set<int> sets;
    for (const auto& [node, frames] : between) {
      ASSERT_EQ(frames.size(), 1U) << "node " << int{node};
      const int sign = node % 2 == 1 ? 1 : -1;
      sets.insert(sign * velocity_of(frames.front()) / (node >= 13 ? 2 : 1));
    }
    EXPECT_LE(sets.size(), 1U) << "set-points of two calls are mixed";
  }
}

TEST(OrdersOfAGroup, AreSentInEveryCycleChangedOrNot) {
  SteppedGroup group;
  group.enable();
  group.drive_at({200, 200}, milliseconds(50));
  group.forget();
  group.drive_at({200, 200}, milliseconds(100));
  EXPECT_EQ(group.with_id(0x20B).size(), 10U);
  EXPECT_EQ(group.with_id(0x20C).size(), 10U);
}

TEST(OrdersOfAGroup, CarryTheNewestSetThatWasCompleteBeforeThem) {
  SteppedGroup group;
  group.enable();
  group.run(microseconds(100));
  ASSERT_EQ(group.cycle().set({10, 10}, group.now()), NKR_OK);
  group.cycle().on_cycle([&](const GroupSnapshot& now) {  // between snapshot and orders
    const int velocity = 100 + static_cast<int>(now.cycle);
    ASSERT_EQ(group.cycle().set({velocity, velocity}, group.now()), NKR_OK);
  });
  group.forget();
  group.run_cycles(20);
  int last = 0;
  for (const auto& between : group.orders()) {
    if (between.empty()) continue;
    const int velocity = velocity_of(between.at(11).front());
    EXPECT_GT(velocity, last) << "an older set came later";
    last = velocity;
  }
  EXPECT_EQ(last, 100 + static_cast<int>(group.snapshot().cycle));
}

TEST(OrdersOfAGroup, AreNeverQueued) {
  SteppedGroup group;
  group.enable();
  for (int i = 1; i <= 10'000; ++i) ASSERT_EQ(group.cycle().set({i % 1000, 7}, group.now()), NKR_OK);
  ASSERT_EQ(group.cycle().set({42, 42}, group.now()), NKR_OK);
  group.forget();
  group.run(milliseconds(150));
  for (const auto& between : group.orders()) {
    if (between.empty()) continue;
    ASSERT_EQ(between.at(11).size(), 1U);
    EXPECT_EQ(velocity_of(between.at(11).front()), 42);
  }
}

TEST(OrdersOfAGroup, TakeEffectAtTheNextSyncInAllUnitsAtOnce) {
  SteppedGroup group;
  group.enable();
  group.drive_at({300, 300}, milliseconds(30));
  EXPECT_EQ(group.velocity(0), group.velocity(1));
  EXPECT_GT(group.velocity(0), 0);
}

TEST(TheHeartbeatOfAGroup, IsSentWithItsPeriodWhileCyclesComplete) {
  SteppedGroup group;
  group.begin();
  group.run(milliseconds(1000));
  EXPECT_NEAR(static_cast<double>(group.with_id(kBeat).size()), 20, 1);
}

TEST(TheHeartbeatOfAGroup, StaysAwayWhenTheCycleHangsSoThatTheDrivesStop) {
  SteppedGroup group;
  group.enable();
  group.drive_at({500, 500}, milliseconds(600));
  ASSERT_EQ(group.velocity(0), 500);
  group.stall(std::chrono::seconds(2));
  group.forget();
  group.run(milliseconds(1500));
  EXPECT_TRUE(group.with_id(kBeat).empty());
  EXPECT_TRUE(group.all_stand()) << "by what 0x6007 says";
}

TEST(TheHeartbeatOfAGroup, GoesOnWhenTheProgramHangsAndTheCycleDoesNot) {
  SteppedGroup group;
  group.enable();
  group.drive_at({500, 500}, milliseconds(600));
  group.forget();
  group.run(milliseconds(2000));
  EXPECT_NEAR(static_cast<double>(group.with_id(kBeat).size()), 40, 1);
  EXPECT_TRUE(group.all_stand());
  EXPECT_EQ(group.snapshot().reason.kind, StopReason::Kind::SETPOINT_TIMEOUT);
}

TEST(ACyclePacedByItsCaller, SendsTheOrdersBehindItsSyncAndTakesTheAnswersAtTheNextCall) {
  SteppedGroup group;
  group.begin();
  GroupCycle& cycle = group.cycle();
  cycle.ask(GroupCycle::Request::ENABLE);
  for (int i = 0; i < 20; ++i) {
    cycle.exchange(group.now());
    group.run_paced(milliseconds(10));
  }
  ASSERT_EQ(group.snapshot().state, GroupState::ENABLED);
  group.forget();
  for (int i = 0; i < 50; ++i) {
    ASSERT_EQ(cycle.set({100, 100}, group.now()), NKR_OK);
    cycle.exchange(group.now());
    group.run_paced(milliseconds(10));
  }
  EXPECT_EQ(group.velocity(0), 100);
  EXPECT_EQ(group.snapshot().answered, 2U);
  for (const auto& between : group.orders()) {
    for (const auto& [node, frames] : between) EXPECT_EQ(frames.size(), 1U) << "node " << int{node};
  }
  EXPECT_EQ(cycle.statistics().missed, 0U);
}

}  // namespace
}  // namespace tests::host

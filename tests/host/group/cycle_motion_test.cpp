// Enabling, set-points and stops of a group, in stepped time.
#include <gtest/gtest.h>

#include "host/group/SteppedGroup.hpp"

namespace tests::host {
namespace {

using Request = GroupCycle::Request;
using Kind = StopReason::Kind;

constexpr unsigned kOperationEnabled = 0x27;
constexpr unsigned kSwitchOnDisabled = 0x40;
constexpr unsigned kEnableOperation = 0x09;  // bits 0 and 3

TEST(AGroup, BeginsWithOrdersThatMoveNothing) {
  SteppedGroup group;
  group.begin();
  group.run_cycles(50);
  EXPECT_GT(group.with_id(0x20B).size(), 40U);
  for (const std::uint32_t id : {0x20BU, 0x20CU}) {
    for (const auto& order : group.with_id(id)) {
      EXPECT_NE(word_of(order.frame) & kEnableOperation, kEnableOperation);
      EXPECT_EQ(velocity_of(order.frame), 0);
    }
  }
  EXPECT_EQ(group.snapshot().state, GroupState::DISABLED);
}

TEST(EnablingAGroup, TakesTheLastStepInTheSameCycleForAll) {
  SteppedGroup group(4);
  group.script([](const nkr::can::Frame& frame, std::uint8_t) {
    SteppedGroup::Fate fate;
    fate.is_lost = false;
    static int lost = 0;
    if (frame.id == 0x20D && ++lost <= 6) fate.is_lost = true;  // one unit lags behind
    return fate;
  });
  group.enable();
  std::size_t interval = 0;
  std::map<std::uint8_t, std::size_t> first;
  for (const auto& between : group.orders()) {
    ++interval;
    for (const auto& [node, frames] : between) {
      if (word_of(frames.front()) == 0x7F) first.try_emplace(node, interval);
    }
  }
  ASSERT_EQ(first.size(), 4U);
  for (const auto& [node, at] : first) EXPECT_EQ(at, first.begin()->second) << "node " << int{node};
}

TEST(EnablingAGroup, EnablesNoneWhenOneCannotBe) {
  SteppedGroup group(3);
  group.play(1, "at 0 sto on");
  group.begin();
  group.run_cycles(3);
  group.cycle().ask(Request::ENABLE);
  group.run(milliseconds(200));
  EXPECT_EQ(group.snapshot().state, GroupState::ENABLING);
  ASSERT_TRUE(group.reaches(GroupState::DISABLED));
  EXPECT_EQ(group.snapshot().reason.kind, Kind::STALLED);
  EXPECT_EQ(group.snapshot().reason.node, 12);
  for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(group.status_bits(i), kSwitchOnDisabled);
  for (const std::uint32_t id : {0x20BU, 0x20CU, 0x20DU}) {
    for (const auto& order : group.with_id(id)) EXPECT_NE(word_of(order.frame), 0x7FU);
  }
}

TEST(EnablingAGroup, ResetsAFaultOnlyWhenItIsAsked) {
  SteppedGroup group;
  group.begin();
  group.run_cycles(3);
  group.drive(0).raise_fault(0x2310);
  group.run_cycles(2);
  group.forget();
  group.cycle().ask(Request::ENABLE);
  group.run_cycles(2);
  ASSERT_TRUE(group.reaches(GroupState::DISABLED));
  EXPECT_EQ(group.snapshot().reason.kind, Kind::FAULTED);
  EXPECT_EQ(group.snapshot().reason.node, 11);
  EXPECT_EQ(group.snapshot().reason.emergency, 0x2310);
  for (const auto& order : group.with_id(0x20B)) EXPECT_EQ(word_of(order.frame) & 0x80U, 0U);
  group.cycle().ask(Request::ENABLE_RESET_FAULTS);
  EXPECT_TRUE(group.reaches(GroupState::ENABLED));
}

TEST(AnEnabledGroup, StandsUntilItIsSet) {
  SteppedGroup group;
  group.begin();
  group.run_cycles(2);
  EXPECT_EQ(group.cycle().set({100, 100}, group.now()), NKR_INVALID_STATE);
  group.cycle().ask(Request::ENABLE);
  ASSERT_TRUE(group.reaches(GroupState::ENABLED));
  group.run(milliseconds(500));
  EXPECT_TRUE(group.all_stand());
  EXPECT_EQ(group.snapshot().state, GroupState::ENABLED) << "the watchdog begins with the first set";
}

TEST(ASetThatIsRefused, ChangesNothingAndDoesNotFeedTheWatchdog) {
  SteppedGroup group;
  group.enable();
  group.drive_at({100, 100}, milliseconds(150));
  const auto last = group.now();
  for (int i = 0; i < 100 && group.snapshot().state == GroupState::ENABLED; ++i) {
    EXPECT_EQ(group.cycle().set({3001, 0}, group.now()), NKR_SDO_INVALID_VALUE) << "above 0x6046";
    EXPECT_EQ(group.cycle().set({0, 40'000}, group.now()), NKR_SDO_INVALID_VALUE) << "no INTEGER16";
    EXPECT_EQ(group.cycle().set({1, 2, 3}, group.now()), NKR_SDO_INVALID_VALUE);
    group.run_cycles(1);
  }
  EXPECT_EQ(group.snapshot().reason.kind, Kind::SETPOINT_TIMEOUT);
  EXPECT_LT(group.now() - last, milliseconds(250));
}

TEST(AProgramThatSetsNoMore, StopsAllBetweenTheSameTwoSyncsInTime) {
  SteppedGroup group(4);
  group.enable();
  group.drive_at({500, -500, 500, -500}, milliseconds(600));
  const auto last_set = group.now() - group.settings().period;
  group.forget();
  group.run(milliseconds(400));
  bool is_stopped = false;
  std::size_t interval = 0;
  for (const auto& between : group.orders()) {
    ++interval;
    std::size_t zeros = 0;
    for (const auto& [node, frames] : between) zeros += velocity_of(frames.front()) == 0 ? 1U : 0U;
    if (is_stopped || zeros != 0) {
      EXPECT_EQ(zeros, between.size()) << "in interval " << interval;
    }
    if (zeros != 0) is_stopped = true;
  }
  EXPECT_TRUE(is_stopped);
  for (const auto& order : group.with_id(0x20B)) {
    if (velocity_of(order.frame) != 0) continue;
    EXPECT_LE(order.at - last_set, milliseconds(200) + 2 * group.settings().period);
    break;
  }
}

TEST(AGroupStoppedByTheWatchdog, StandsEnabledUntilItIsResumedAndSet) {
  SteppedGroup group;
  group.enable();
  group.drive_at({500, 500}, milliseconds(600));
  ASSERT_TRUE(group.reaches(GroupState::HELD));
  EXPECT_EQ(group.status_bits(0), kOperationEnabled);
  EXPECT_EQ(group.cycle().set({500, 500}, group.now()), NKR_INVALID_STATE);
  group.run(milliseconds(300));
  EXPECT_TRUE(group.all_stand());
  group.cycle().ask(Request::RESUME);
  group.run(milliseconds(300));
  EXPECT_EQ(group.snapshot().state, GroupState::ENABLED);
  EXPECT_TRUE(group.all_stand()) << "not without a fresh set";
  group.drive_at({200, 200}, milliseconds(400));
  EXPECT_EQ(group.velocity(0), 200);
}

TEST(StoppingAGroup, RampsThenStandsThenDisables) {
  SteppedGroup group;
  group.enable();
  group.drive_at({500, -300}, milliseconds(800));
  group.forget();
  group.cycle().ask(Request::STOP);
  group.run(milliseconds(250));
  EXPECT_GT(group.velocity(0), 200) << "on its ramp of 1000 a second";
  EXPECT_EQ(group.status_bits(0), kOperationEnabled);
  ASSERT_TRUE(group.reaches(GroupState::DISABLED));
  EXPECT_TRUE(group.all_stand());
  EXPECT_EQ(group.snapshot().reason.kind, Kind::ASKED);
  for (std::size_t i = 0; i < 2; ++i) EXPECT_EQ(group.status_bits(i) & kOperationEnabled & 0x04U, 0U);
  // Velocity 0 came first, and no order took the torque of one that turned.
  bool is_disabling = false;
  for (const auto& order : group.with_id(0x20B)) {
    EXPECT_EQ(velocity_of(order.frame), 0);
    is_disabling = is_disabling || word_of(order.frame) != 0x7F;
    if (is_disabling) {
      EXPECT_NE(word_of(order.frame), 0x7FU);
    }
  }
  EXPECT_TRUE(is_disabling);
}

TEST(StoppingAGroup, HoldsItWhenThatIsAsked) {
  SteppedGroup group;
  group.enable();
  group.drive_at({500, 500}, milliseconds(600));
  group.cycle().ask(Request::HOLD);
  ASSERT_TRUE(group.reaches(GroupState::HELD));
  EXPECT_EQ(group.status_bits(0), kOperationEnabled);
  group.cycle().ask(Request::STOP);
  ASSERT_TRUE(group.reaches(GroupState::DISABLED));
}

TEST(StoppingAGroup, MayBeAQuickStop) {
  SteppedGroup group;
  group.enable();
  group.drive_at({1000, 1000}, milliseconds(1200));
  group.cycle().ask(Request::QUICK_STOP);
  group.run(milliseconds(300));
  EXPECT_TRUE(group.all_stand()) << "5000 a second (0x604A)";
  EXPECT_TRUE(group.reaches(GroupState::DISABLED));
}

TEST(StoppingAGroup, EndsWithAQuickStopWhenARampDoesNotEnd) {
  CycleSettings settings;
  SteppedGroup group(2, settings);
  group.enable();
  group.drive_at({500, 500}, milliseconds(600));
  group.play(1, "at 0 set 0x6049:1 10");  // 50 s to standstill
  group.run_cycles(1);
  group.cycle().ask(Request::STOP);
  ASSERT_TRUE(group.reaches(GroupState::DISABLED));
  EXPECT_TRUE(group.all_stand());
}

TEST(AGroupThatWasStopped, IsEnabledAgainOnlyByRequest) {
  SteppedGroup group;
  group.enable();
  group.drive_at({100, 100}, milliseconds(200));
  group.cycle().ask(Request::STOP);
  ASSERT_TRUE(group.reaches(GroupState::DISABLED));
  group.cycle().ask(Request::RESUME);
  group.run(milliseconds(200));
  EXPECT_EQ(group.snapshot().state, GroupState::DISABLED);
  group.cycle().ask(Request::ENABLE);
  EXPECT_TRUE(group.reaches(GroupState::ENABLED));
  EXPECT_EQ(group.snapshot().reason.kind, Kind::NONE);
}

TEST(ASnapshot, HasNoValuesBeforeTheUnitsAnswered) {
  SteppedGroup group;
  EXPECT_FALSE(group.snapshot().units.at(0).last.has_value());
  group.script([](const nkr::can::Frame& frame, std::uint8_t) {
    SteppedGroup::Fate fate;
    fate.is_lost = frame.id == 0x18C;
    return fate;
  });
  group.begin();
  group.run_cycles(5);
  EXPECT_TRUE(group.snapshot().units.at(0).last.has_value());
  EXPECT_FALSE(group.snapshot().units.at(1).last.has_value()) << "absent, not 0";
  EXPECT_TRUE(group.with_id(0x20C).empty()) << "nobody knows what an order would do to it";
}

TEST(ASnapshot, IsOfOneCycle) {
  SteppedGroup group(8);
  group.enable();
  group.cycle().on_cycle([&](const GroupSnapshot& now) {
    for (const auto& unit : now.units) {
      ASSERT_TRUE(unit.is_fresh);
      EXPECT_EQ(unit.last->cycle, now.cycle);
      EXPECT_EQ(unit.last->position, now.units.front().last->position);
    }
    EXPECT_EQ(now.answered, 8U);
  });
  group.drive_at(std::vector<int>(8, 300), milliseconds(500));
}

TEST(TheAgeOfAValue, GrowsUntilTheNextOne) {
  SteppedGroup group;
  group.begin();
  group.run_cycles(3);
  const auto before = group.snapshot().units.at(0).age(group.now());
  EXPECT_LE(before, group.settings().period);
  group.stall(std::chrono::seconds(1));
  group.run(milliseconds(300));
  EXPECT_EQ(group.snapshot().units.at(0).age(group.now()), before + milliseconds(300));
}

}  // namespace
}  // namespace tests::host

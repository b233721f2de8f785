// What a group does when a unit, the bus or somebody else disturbs it, in stepped time.
#include <gtest/gtest.h>

#include <random>
#include <set>
#include <sstream>

#include "host/group/SteppedGroup.hpp"

namespace tests::host {
namespace {

using nkr::can::Frame;
using Fate = SteppedGroup::Fate;
using Kind = StopReason::Kind;
using Request = GroupCycle::Request;

constexpr std::uint32_t kOfNode12 = 0x18C;

/** Loses the process data of node 12 so often, from now on. */
void lose_answers(SteppedGroup& group, int count) {
  group.script([count](const Frame& frame, std::uint8_t sender) mutable {
    Fate fate;
    fate.is_lost = sender == 12 && frame.id == kOfNode12 && count-- > 0;
    return fate;
  });
}

void drives(SteppedGroup& group) {
  group.enable();
  std::vector<int> velocities(group.size(), 500);
  group.drive_at(velocities, milliseconds(600));
  group.forget();
}

/** Keeps setting, as a program does that has not looked yet. */
void keep_setting(SteppedGroup& group, SteppedGroup::Duration duration) {
  const std::vector<int> velocities(group.size(), 500);
  for (const auto end = group.now() + duration; group.now() < end; group.run_cycles(1)) {
    static_cast<void>(group.cycle().set(velocities, group.now()));
  }
}

void expect_no_motion(const SteppedGroup& group) {
  for (const auto& passed : group.wire()) {
    if (passed.sender == 0 && (passed.frame.id & ~0x7FU) == 0x200) {
      EXPECT_EQ(velocity_of(passed.frame), 0) << to_string(passed.frame);
    }
  }
}

TEST(OneMissingAnswer, MakesTheValuesStaleForOneCycleAndStopsNothing) {
  SteppedGroup group;
  drives(group);
  std::vector<bool> fresh;
  group.cycle().on_cycle([&](const GroupSnapshot& now) { fresh.push_back(now.units.at(1).is_fresh); });
  lose_answers(group, 1);
  keep_setting(group, milliseconds(200));
  EXPECT_EQ(std::count(fresh.begin(), fresh.end(), false), 1);
  EXPECT_EQ(group.snapshot().state, GroupState::ENABLED);
  EXPECT_EQ(group.cycle().statistics().units.at(1).missing, 1U);
  EXPECT_EQ(group.velocity(0), 500);
}

TEST(MissingAnswers, StopNothingBelowTheLimit) {
  SteppedGroup group;
  drives(group);
  lose_answers(group, 2);
  keep_setting(group, milliseconds(200));
  EXPECT_EQ(group.snapshot().state, GroupState::ENABLED);
}

TEST(MissingAnswers, StopAllAtTheLimitAndNameTheUnit) {
  SteppedGroup group;
  drives(group);
  lose_answers(group, 1000);
  keep_setting(group, milliseconds(100));
  EXPECT_EQ(group.snapshot().reason.kind, Kind::SILENT);
  EXPECT_EQ(group.snapshot().reason.node, 12);
  EXPECT_EQ(group.snapshot().reason.count, 3U);
  keep_setting(group, milliseconds(900));
  EXPECT_TRUE(group.all_stand()) << "the silent one may still hear";
  ASSERT_TRUE(group.reaches(GroupState::DISABLED));
  // Nothing that enables went to the one whose state nobody knows.
  int unknown = 0;
  for (const auto& order : group.with_id(0x20C)) {
    if (velocity_of(order.frame) != 0) continue;
    ++unknown;
    EXPECT_NE(word_of(order.frame) & 0x0FU, 0x0FU);
  }
  EXPECT_GT(unknown, 10);
}

TEST(ALateAnswer, IsCountedAndTakenForNoOtherCycle) {
  SteppedGroup group;
  drives(group);
  bool once = true;
  group.script([&once](const Frame& frame, std::uint8_t) {
    Fate fate;
    if (frame.id == kOfNode12 && std::exchange(once, false)) fate.delay = milliseconds(7);
    return fate;
  });
  std::vector<GroupSnapshot> seen;
  group.cycle().on_cycle([&](const GroupSnapshot& now) { seen.push_back(now); });
  keep_setting(group, milliseconds(50));
  ASSERT_GE(seen.size(), 3U);
  EXPECT_FALSE(seen.at(0).units.at(1).is_fresh);
  for (std::size_t i = 1; i < seen.size(); ++i) {
    EXPECT_TRUE(seen[i].units.at(1).is_fresh);
    EXPECT_EQ(seen[i].units.at(1).last->cycle, seen[i].cycle);
  }
  EXPECT_EQ(group.cycle().statistics().units.at(1).late, 1U);
}

TEST(AnAnswerOfAnotherLength, IsNotDecodedAndEndsAsSilence) {
  SteppedGroup group;
  drives(group);
  lose_answers(group, 1'000'000);
  for (int i = 0; i < 10; ++i) {
    group.run(microseconds(1000));
    group.somebody_sends("18C#270400000000");
    group.run(microseconds(9000));
  }
  EXPECT_EQ(group.snapshot().reason.kind, Kind::SILENT);
  EXPECT_EQ(group.cycle().statistics().units.at(1).wrong_length, 10U);
}

TEST(AFault, StopsTheOthersWithTheVeryNextOrders) {
  SteppedGroup group(4);
  drives(group);
  group.run(milliseconds(1));  // behind SYNC and answers of this cycle
  group.drive(1).raise_fault(0x2310);
  keep_setting(group, milliseconds(60));
  EXPECT_EQ(group.snapshot().reason.kind, Kind::FAULTED);
  EXPECT_EQ(group.snapshot().reason.node, 12);
  EXPECT_EQ(group.snapshot().reason.emergency, 0x2310);
  // Orders, the SYNC whose answer tells of the fault, orders with 0.
  const auto between = group.orders();
  ASSERT_GT(between.size(), 3U);
  for (std::size_t i = 2; i < between.size(); ++i) {
    for (const auto& [node, frames] : between[i]) {
      EXPECT_EQ(velocity_of(frames.front()), 0) << "node " << int{node} << ", interval " << i;
    }
  }
  ASSERT_TRUE(group.reaches(GroupState::DISABLED));
  EXPECT_TRUE(group.all_stand());
}

TEST(AFault, LetsTheOthersGoOnWhereThatIsTheirPolicy) {
  CycleSettings settings;
  settings.on_loss = tav::host::OnLoss::GO_ON;
  SteppedGroup group(3, settings);
  drives(group);
  group.drive(1).raise_fault(0x2310);
  keep_setting(group, milliseconds(500));
  EXPECT_EQ(group.snapshot().state, GroupState::ENABLED);
  EXPECT_TRUE(group.snapshot().units.at(1).is_lost);
  EXPECT_EQ(group.snapshot().reason.kind, Kind::FAULTED) << "it is told all the same";
  EXPECT_EQ(group.velocity(0), 500);
  EXPECT_EQ(group.velocity(1), 0);
}

TEST(AWarning, StopsNothing) {
  SteppedGroup group;
  drives(group);
  group.play(0, "at 0 emcy 0x3210");
  keep_setting(group, milliseconds(200));
  EXPECT_EQ(group.snapshot().state, GroupState::ENABLED);
  EXPECT_EQ(group.snapshot().units.at(0).emergency, 0x3210);
}

TEST(ACommunicationError, StopsAllWhenItComesAgainWithinASecond) {
  SteppedGroup group;
  drives(group);
  group.play(0, "at 0 emcy 0x8220");
  keep_setting(group, milliseconds(500));
  EXPECT_EQ(group.snapshot().state, GroupState::ENABLED);
  group.play(0, "at 0 emcy 0x8220");
  keep_setting(group, milliseconds(50));
  EXPECT_EQ(group.snapshot().reason.kind, Kind::EMERGENCY);
  EXPECT_EQ(group.snapshot().reason.emergency, 0x8220);
}

TEST(StoOnOneWheel, RampsTheOtherToStandstillAndSaysWhy) {
  SteppedGroup group;
  drives(group);
  group.play(0, "at 0 sto on");
  keep_setting(group, milliseconds(50));
  EXPECT_EQ(group.snapshot().reason.kind, Kind::LEFT_OPERATION);
  EXPECT_EQ(group.snapshot().reason.node, 11);
  keep_setting(group, milliseconds(550));
  EXPECT_EQ(group.velocity(1), 0);
  ASSERT_TRUE(group.reaches(GroupState::DISABLED));
}

TEST(ARestartOfOneUnit, StopsTheOthersAndEnablesNothing) {
  SteppedGroup group(3);
  drives(group);
  group.play(1, "at 0 reset");
  keep_setting(group, milliseconds(30));
  EXPECT_EQ(group.snapshot().reason.kind, Kind::RESTARTED);
  EXPECT_EQ(group.snapshot().reason.node, 12);
  group.forget();
  keep_setting(group, milliseconds(2000));
  expect_no_motion(group);
  EXPECT_TRUE(group.all_stand());
  group.cycle().ask(Request::ENABLE);
  group.run(milliseconds(100));
  EXPECT_EQ(group.snapshot().state, GroupState::DISABLED) << "its process data are as after power-on";
}

TEST(BusOff, LeavesNothingToBeDrivenWhenTheBusIsBack) {
  SteppedGroup group;
  drives(group);
  group.bus_answers(NKR_CAN_BUS_OFF);
  keep_setting(group, milliseconds(1000));
  EXPECT_EQ(group.snapshot().reason.kind, Kind::BUS_FAILED);
  EXPECT_EQ(group.snapshot().reason.result, NKR_CAN_BUS_OFF);
  EXPECT_TRUE(group.all_stand()) << "the drives missed the host";
  group.forget();
  group.bus_answers(NKR_OK);
  keep_setting(group, milliseconds(1000));
  EXPECT_GT(group.with_id(0x080).size(), 50U);
  expect_no_motion(group);
  EXPECT_TRUE(group.all_stand());
}

TEST(ABusThatTakesNoFrames, CountsAsFailedAtTheThirdSync) {
  SteppedGroup group;
  drives(group);
  group.bus_answers(NKR_CAN_TX_OVERFLOW);
  keep_setting(group, milliseconds(20));
  EXPECT_EQ(group.snapshot().state, GroupState::ENABLED);
  keep_setting(group, milliseconds(20));
  EXPECT_EQ(group.snapshot().reason.kind, Kind::BUS_FAILED);
}

struct Intruder {
  const char* frame;
  Kind kind;
};
class SomebodyElse : public testing::TestWithParam<Intruder> {};

TEST_P(SomebodyElse, WhoCommandsTheUnitsStopsTheGroupAndIsToldWithTheFrame) {
  SteppedGroup group;
  drives(group);
  group.somebody_sends(GetParam().frame);
  keep_setting(group, milliseconds(20));
  EXPECT_EQ(group.snapshot().reason.kind, GetParam().kind);
  EXPECT_EQ(to_string(group.snapshot().reason.frame), GetParam().frame);
  group.forget();
  keep_setting(group, milliseconds(800));
  expect_no_motion(group);
  EXPECT_TRUE(group.all_stand());
}

INSTANTIATE_TEST_SUITE_P(Frames, SomebodyElse,
                         testing::Values(Intruder{"080#", Kind::FOREIGN_SYNC},
                                         Intruder{"20C#7F00F401", Kind::FOREIGN_ORDER},
                                         Intruder{"000#020B", Kind::FOREIGN_NMT},
                                         Intruder{"000#8000", Kind::FOREIGN_NMT},
                                         Intruder{"77F#05", Kind::FOREIGN_HEARTBEAT}));

TEST(AUnitThatCannotBeToldToStop, MissesTheHostOnceTheOthersStand) {
  SteppedGroup group;
  drives(group);
  group.script([](const Frame& frame, std::uint8_t sender) {  // node 12 hears SYNC and heartbeat alone
    Fate fate;
    fate.is_lost = frame.id == kOfNode12 || (sender == 0 && (frame.id == 0x20C || frame.id == 0x000));
    return fate;
  });
  keep_setting(group, milliseconds(400));
  EXPECT_EQ(group.velocity(1), 500) << "it hears nothing";
  keep_setting(group, milliseconds(1500));
  EXPECT_EQ(group.velocity(0), 0);
  EXPECT_EQ(group.velocity(1), 0) << "by its own watch over the host";
}

TEST(SomebodyElse, WhoTalksToOtherNodesIsLetAlone) {
  SteppedGroup group;
  drives(group);
  for (const char* const frame : {"220#00112233", "000#0120", "702#05", "60B#4041600000000000"}) {
    group.somebody_sends(frame);
  }
  keep_setting(group, milliseconds(100));
  EXPECT_EQ(group.snapshot().state, GroupState::ENABLED);
}

TEST(AWireThatDelaysAndReorders, ChangesNothing) {
  SteppedGroup group(4);
  std::mt19937 random(7);
  group.script([&random](const Frame&, std::uint8_t sender) {
    Fate fate;
    fate.delay = microseconds(random() % (sender == 0 ? 200 : 1000));
    return fate;
  });
  drives(group);
  keep_setting(group, milliseconds(1000));
  EXPECT_EQ(group.snapshot().state, GroupState::ENABLED);
  EXPECT_EQ(group.cycle().statistics().incomplete, 0U);
  for (std::size_t i = 1; i < 4; ++i) EXPECT_EQ(group.velocity(i), group.velocity(0));
}

TEST(DoubledAnswers, CountOnce) {
  SteppedGroup group;
  group.script([](const Frame& frame, std::uint8_t) {
    Fate fate;
    fate.is_doubled = frame.id == kOfNode12;
    return fate;
  });
  drives(group);
  const auto statistics = group.cycle().statistics();
  EXPECT_EQ(statistics.units.at(1).answered, statistics.units.at(0).answered);
}

TEST(TheRecord, HoldsTheLastCyclesAndFramesBeforeAStop) {
  SteppedGroup group;
  drives(group);
  group.drive(1).raise_fault(0x2310);
  keep_setting(group, std::chrono::seconds(20));  // longer than the record
  std::ostringstream csv;
  group.cycle().write_record(csv);
  EXPECT_NE(csv.str().find("cycle,microseconds,state,answered,node11_fresh"), std::string::npos);
  EXPECT_NE(csv.str().find(",enabled,"), std::string::npos) << "the time before the stop is kept";
  EXPECT_NE(csv.str().find(",stopping,"), std::string::npos);
  std::ostringstream log;
  group.cycle().write_frames(log, "can0", std::chrono::system_clock::time_point{} + std::chrono::hours(5),
                             group.beginning());
  EXPECT_NE(log.str().find(" can0 08C#1023"), std::string::npos) << "the emergency";
  EXPECT_NE(log.str().find(" can0 080# T"), std::string::npos);
}

/** Anything may happen at any time: what moves the units is checked after every step. */
TEST(ARandomScript, NeverMovesAGroupThatWasStopped) {
  for (unsigned seed = 1; seed <= 8; ++seed) {
    SteppedGroup group(3);
    std::mt19937 random(seed);
    group.script([&random](const Frame&, std::uint8_t) {
      Fate fate;
      fate.is_lost = random() % 97 == 0;
      fate.delay = microseconds(random() % 700);
      return fate;
    });
    group.begin();
    group.run_cycles(2);
    for (int step = 0; step < 250; ++step) {
      switch (random() % 40) {
        case 0:
          group.cycle().ask(Request::ENABLE_RESET_FAULTS);
          break;
        case 1:
          group.cycle().ask(Request::STOP);
          break;
        case 2:
          group.cycle().ask(Request::RESUME);
          break;
        case 3:
          group.drive(random() % 3).raise_fault(0x2310);
          break;
        case 4:
          group.stall(microseconds(random() % 60'000));
          break;
        case 5:
          group.somebody_sends("20B#7F002003");
          break;
        default:
          break;
      }
      const GroupState before = group.snapshot().state;
      const int velocity = static_cast<int>(random() % 1000) + 1;
      const bool is_taken = group.cycle().set({velocity, velocity, velocity}, group.now()) == NKR_OK;
      if (before != GroupState::ENABLED) {
        EXPECT_FALSE(is_taken);
      }
      group.forget();
      group.run_cycles(1);
      for (const auto& between : group.orders()) {
        std::set<int> moved;
        for (const auto& [node, frames] : between) {
          ASSERT_EQ(frames.size(), 1U) << "seed " << seed;
          if (velocity_of(frames.front()) != 0) moved.insert(velocity_of(frames.front()));
        }
        ASSERT_LE(moved.size(), 1U) << "seed " << seed << ", step " << step;
        const bool may_move = before == GroupState::ENABLED;
        if (!may_move) {
          ASSERT_TRUE(moved.empty()) << "seed " << seed << ", step " << step;
        }
      }
    }
  }
}

}  // namespace
}  // namespace tests::host

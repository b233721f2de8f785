// A group on a bus: it starts, moves and stops, whatever way it ends.
#include <gtest/gtest.h>

#include <map>
#include <nkr/time/VirtualTime.hpp>
#include <nkr/time/clock.hpp>
#include <set>
#include <sstream>
#include <stdexcept>
#include <tav/host/text.hpp>
#include <thread>

#include "host/DriveBeside.hpp"
#include "host/group/GroupOnBus.hpp"

namespace tests::host {
namespace {

using tav::host::Cause;
using tav::host::GroupSnapshot;
using tav::host::GroupState;
using tav::host::Result;
using tav::host::StopReason;

int velocity_of(const nkr::can::Frame& order) {
  return static_cast<std::int16_t>(order.data[2] | static_cast<unsigned>(order.data[3]) << 8);
}

/** Between each two SYNCs, velocity by node. */
std::vector<std::map<std::uint32_t, std::vector<int>>> orders(const DrivesOnBus& drives) {
  std::vector<std::map<std::uint32_t, std::vector<int>>> all(1);
  for (const auto& passed : drives.wire()) {
    if (passed.frame.id == 0x080) all.emplace_back();
    if ((passed.frame.id & ~0x7FU) == 0x200) all.back()[passed.frame.id].push_back(velocity_of(passed.frame));
  }
  return all;
}

TEST(AGroupOnABus, MovesAllItsUnitsInTheSameCycle) {
  GroupOnBus bench(4);
  bench.enable();
  bench.drives().forget();
  bench.drive_at(300);
  ASSERT_TRUE(becomes([&] { return bench.drives().velocity(3) == 300; }));
  int starts = 0;
  int before = 0;
  for (const auto& between : orders(bench.drives())) {
    if (between.size() != 4) continue;
    std::set<int> different;
    for (const auto& [id, velocities] : between) {
      ASSERT_EQ(velocities.size(), 1U);
      different.insert(velocities.front());
    }
    ASSERT_EQ(different.size(), 1U);
    if (before == 0 && *different.begin() == 300) ++starts;
    before = *different.begin();
  }
  EXPECT_EQ(starts, 1);
  EXPECT_TRUE(becomes([&] { return bench.group().snapshot().units.at(2).last->velocity == 300; }));
  EXPECT_EQ(bench.group().snapshot().state, GroupState::ENABLED);
}

TEST(AGroupOnABus, StopsByItsRampsAndGivesTheWatchBackAtItsEnd) {
  GroupOnBus bench;
  bench.enable();
  bench.drive_at(300);
  ASSERT_TRUE(becomes([&] { return bench.drives().velocity(1) == 300; }));
  EXPECT_TRUE(bench.group().stop().ok());
  EXPECT_TRUE(bench.drives().all_stand());
  EXPECT_EQ(bench.group().reason().kind, StopReason::Kind::ASKED);
  bench.end();
  EXPECT_EQ(bench.drives().read(0, 0x10160120), 0U);
  bench.drives().forget();
  nkr::time::sleep_for(std::chrono::milliseconds(200));
  EXPECT_TRUE(bench.drives().with_id(0x080).empty());
  EXPECT_TRUE(bench.drives().with_id(0x77F).empty());
}

TEST(AGroupOnABus, StopsByItsDestructorWhenAnExceptionUnwinds) {
  const nkr::time::VirtualTime time;
  DrivesOnBus drives;
  try {
    const auto units = open_units(drives.bus(), 2);
    tav::host::Group group(pointers(units), patient_settings());
    ASSERT_TRUE(group.prepare().ok());
    ASSERT_TRUE(group.start().ok());
    ASSERT_TRUE(group.enable().ok());
    ASSERT_TRUE(group.set({200, 200}).ok());
    ASSERT_TRUE(becomes([&] { return drives.velocity(0) == 200; }));
    throw std::runtime_error("of the program");
  } catch (const std::runtime_error&) {
    EXPECT_TRUE(drives.all_stand());
    EXPECT_EQ(drives.value(0, "statusword") & 0x04, 0) << "no torque";
  }
  // Velocity 0 first, then no torque, then no watch, then no heartbeat.
  std::size_t enabled = 0;
  std::size_t disabled = 0;
  std::size_t given_back = 0;
  std::size_t last_beat = 0;
  const auto wire = drives.wire();
  for (std::size_t i = 0; i < wire.size(); ++i) {
    const auto& frame = wire[i].frame;
    if (frame.id == 0x20B && frame.data[0] == 0x7F) enabled = i;
    if (frame.id == 0x20B && frame.data[0] == 0x07 && enabled != 0 && disabled == 0) disabled = i;
    if (frame.id == 0x20B && disabled != 0) {
      EXPECT_EQ(velocity_of(frame), 0);
    }
    if (frame.id == 0x60B && to_string(frame) == "60B#2316100100000000") given_back = i;
    if (frame.id == 0x77F) last_beat = i;
  }
  EXPECT_LT(enabled, disabled) << "no order enables behind the one that disables";
  EXPECT_LT(disabled, given_back);
  EXPECT_LT(disabled, last_beat);
}

TEST(AGroupOnABus, StopsWhenItsProgramSetsNoMore) {
  tav::host::GroupSettings settings;  // as they are unless set
  GroupOnBus bench(4, settings);
  bench.enable();
  bench.drive_at(500);
  ASSERT_TRUE(becomes([&] { return bench.drives().velocity(3) == 500; }));
  bench.drives().forget();
  bench.set_no_more();
  const auto last_set = nkr::time::now();
  ASSERT_TRUE(becomes([&] { return bench.group().snapshot().state == GroupState::HELD; }));
  EXPECT_EQ(bench.group().reason().kind, StopReason::Kind::SETPOINT_TIMEOUT);
  for (const auto& order : bench.drives().with_id(0x20B)) {
    if (velocity_of(order.frame) != 0) continue;
    EXPECT_LE(order.at - last_set, settings.setpoint_timeout + 2 * settings.period);
    break;
  }
  for (const auto& between : orders(bench.drives())) {
    std::set<int> different;
    for (const auto& [id, velocities] : between) different.insert(velocities.begin(), velocities.end());
    EXPECT_LE(different.size(), 1U) << "all stop between the same two SYNCs";
  }
}

TEST(AGroupOnABus, KeepsItsGridForHalfAMinute) {
  tav::host::GroupSettings settings;
  GroupOnBus bench(2, settings);
  bench.enable();
  bench.drive_at(300);
  nkr::time::sleep_for(std::chrono::seconds(30));
  const auto statistics = bench.group().statistics();
  EXPECT_GE(statistics.cycles, 30U * 100);
  EXPECT_EQ(statistics.missed, 0U);
  EXPECT_EQ(statistics.incomplete, 0U);
  EXPECT_EQ(statistics.split, 0U);
  EXPECT_EQ(statistics.success(), 1.0);
}

TEST(AGroupOnABus, TakesAUnitThatRestartedBackWhenItIsAsked) {
  GroupOnBus bench;
  bench.enable();
  bench.drive_at(200);
  ASSERT_TRUE(becomes([&] { return bench.drives().velocity(0) == 200; }));
  bench.drives().send("000#810C");
  ASSERT_TRUE(becomes([&] { return bench.group().snapshot().state == GroupState::DISABLED; }));
  EXPECT_TRUE(bench.drives().all_stand());
  EXPECT_EQ(bench.group().reason().kind, StopReason::Kind::FOREIGN_NMT);
  ASSERT_TRUE(becomes([&] { return bench.group().snapshot().answered == 2; })) << "set up and started again";
  EXPECT_EQ(bench.drives().read(1, 0x1A000320), 0x60640020U);
  EXPECT_TRUE(bench.drives().all_stand()) << "nothing enables it";
  const Result again = bench.group().enable();
  EXPECT_TRUE(again.ok()) << text(again);
  EXPECT_TRUE(becomes([&] { return bench.drives().velocity(1) == 200; }));
}

TEST(AGroupOnABus, TellsWhoElseCommandedAUnit) {
  GroupOnBus bench;
  bench.enable();
  bench.drive_at(200);
  ASSERT_TRUE(becomes([&] { return bench.drives().velocity(0) == 200; }));
  bench.drives().send("20C#7F00F401");
  ASSERT_TRUE(becomes([&] { return bench.group().snapshot().state == GroupState::HELD; }));
  const Result refused = bench.group().set({200, 200});
  EXPECT_EQ(refused.cause(), Cause::GROUP_STOPPED);
  EXPECT_NE(text(refused).find("20C#7F00F401"), std::string::npos) << text(refused);
  EXPECT_TRUE(bench.group().resume().ok());
  EXPECT_TRUE(becomes([&] { return bench.drives().velocity(0) == 200; }));
}

TEST(AGroupOnABus, IsNotEnabledWhenAUnitIsNotAndSaysWhy) {
  GroupOnBus bench;
  bench.start();
  bench.drives().drive(1).raise_fault(0x2310);
  const Result refused = bench.group().enable();
  EXPECT_EQ(refused.cause(), Cause::IN_FAULT);
  EXPECT_EQ(refused.explanation().node, 12);
  EXPECT_NE(text(refused).find("0x2310"), std::string::npos) << text(refused);
  EXPECT_EQ(bench.drives().value(0, "statusword") & 0x04, 0) << "none stays enabled";
  tav::host::Group::Enabling enabling;
  enabling.reset_faults = true;
  EXPECT_TRUE(bench.group().enable(enabling).ok());
}

TEST(AGroupOnABus, LetsItsUnitsNotBeMovedOneByOne) {
  GroupOnBus bench;
  bench.enable();
  EXPECT_EQ(bench.unit(0).enable().cause(), Cause::REFUSED);
  EXPECT_EQ(bench.unit(0).set_velocity(100).cause(), Cause::NOT_ENABLED);
  bench.end();
  EXPECT_TRUE(bench.unit(0).enable().ok());
}

TEST(AGroupOnABus, LosesNoCycleBySdoTrafficOfOtherThreads) {
  GroupOnBus bench(2, patient_settings(), Lives::IN_THE_MACHINES_TIME);
  bench.enable();
  bench.drive_at(100);
  std::atomic<bool> reads{true};
  std::vector<std::thread> storm;
  for (int i = 0; i < 4; ++i) {
    storm.emplace_back([&, i] {
      auto& client = bench.unit(0).client();
      std::uint32_t value = 0;
      while (reads)
        static_cast<void>(client.getValue(static_cast<std::uint8_t>(11 + i % 2), 0x10180120, value));
    });
  }
  const std::uint64_t before = bench.group().statistics().cycles;
  ASSERT_TRUE(becomes([&] { return bench.group().statistics().cycles > before + 50; }));
  reads = false;
  for (std::thread& thread : storm) thread.join();
  const auto statistics = bench.group().statistics();
  EXPECT_LT(statistics.incomplete, statistics.cycles / 2) << "a busy machine may delay an answer";
  EXPECT_EQ(bench.group().snapshot().state, GroupState::ENABLED);
}

TEST(AGroupOnABus, TakesSetPointsOfSeveralThreadsAndSnapshotsOfOthers) {
  GroupOnBus bench(2, patient_settings(), Lives::IN_THE_MACHINES_TIME);
  bench.enable();
  std::atomic<bool> goes_on{true};
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&, i] {
      for (int velocity = i; goes_on; velocity = (velocity + 4) % 500) {
        static_cast<void>(bench.group().set({velocity, velocity}));
      }
    });
  }
  threads.emplace_back([&] {
    GroupSnapshot now;
    while (goes_on) {
      bench.group().snapshot(now);
      EXPECT_EQ(now.units.at(0).order, now.units.at(1).order) << "of one set";
    }
  });
  const std::uint64_t before = bench.group().statistics().cycles;
  ASSERT_TRUE(becomes([&] { return bench.group().statistics().cycles > before + 30; }));
  goes_on = false;
  for (std::thread& thread : threads) thread.join();
}

TEST(AGroupOnABus, MovesNothingWhenTheBusIsBack) {
  GroupOnBus bench;
  bench.enable();
  bench.drive_at(200);
  ASSERT_TRUE(becomes([&] { return bench.drives().velocity(0) == 200; }));
  ASSERT_TRUE(bench.drives().bus()->set_state(nkr::can::BusState::BUS_OFF));
  ASSERT_TRUE(becomes([&] { return bench.group().reason().kind == StopReason::Kind::BUS_FAILED; }));
  EXPECT_EQ(bench.group().reason().result, NKR_CAN_BUS_OFF);
  bench.drives().forget();
  ASSERT_TRUE(bench.drives().bus()->set_state(nkr::can::BusState::ERROR_ACTIVE));
  ASSERT_TRUE(becomes([&] { return bench.drives().with_id(0x20B).size() > 20; }));
  for (const auto& order : bench.drives().with_id(0x20B)) EXPECT_EQ(velocity_of(order.frame), 0);
  EXPECT_TRUE(becomes([&] { return bench.drives().all_stand(); }));
}

TEST(AGroupPacedByItsCaller, MovesItsUnits) {
  auto settings = patient_settings();
  settings.has_thread = false;
  GroupOnBus bench(2, settings);
  bench.enable();
  bench.drive_at(100);
  ASSERT_TRUE(becomes([&] {
    for (int i = 0; i < 5; ++i) {
      bench.group().exchange();
      nkr::time::sleep_for(settings.period);
    }
    return bench.drives().velocity(0) == 100 && bench.drives().velocity(1) == 100;
  }));
  EXPECT_TRUE(bench.group().stop().ok());
  EXPECT_TRUE(bench.drives().all_stand());
}

TEST(TheRecordOfAGroup, IsWrittenOnDemand) {
  GroupOnBus bench;
  bench.enable();
  std::ostringstream csv;
  std::ostringstream log;
  bench.group().write_record(csv);
  bench.group().write_frames(log);
  EXPECT_NE(csv.str().find("node12_velocity"), std::string::npos);
  EXPECT_NE(log.str().find("virtual 080#"), std::string::npos);
}

}  // namespace
}  // namespace tests::host

// What a group finds and arranges before it moves.
#include <gtest/gtest.h>

#include <nkr/time/clock.hpp>
#include <tav/host/text.hpp>
#include <thread>

#include "host/DriveBeside.hpp"
#include "host/group/GroupOnBus.hpp"

namespace tests::host {
namespace {

using tav::host::Cause;
using tav::host::Group;
using tav::host::Result;

TEST(PreparingAGroup, WritesProcessDataAndWatchAndReadsThemBack) {
  GroupOnBus bench;
  ASSERT_TRUE(bench.group().prepare().ok());
  const auto& found = bench.group().preparation();
  EXPECT_EQ(found.host_node, 127);
  EXPECT_EQ(found.units.at(0).deceleration, 1000);
  EXPECT_EQ(found.units.at(0).most_velocity, 3000);
  EXPECT_EQ(found.units.at(1).weakness, "");
  for (std::size_t i = 0; i < 2; ++i) {
    EXPECT_EQ(bench.drives().read(i, 0x14000120), 0x200U + 11 + i);
    EXPECT_EQ(bench.drives().read(i, 0x14000208), 1U);
    EXPECT_EQ(bench.drives().read(i, 0x16000220), 0x60420010U);
    EXPECT_EQ(bench.drives().read(i, 0x1A000320), 0x60640020U);
    EXPECT_EQ(bench.drives().read(i, 0x10160120), 127U << 16 | 10'000U);
  }
}

TEST(PreparingAGroup, RefusesWhatDoesNotFitTheBitRateWithTheNumbers) {
  auto settings = patient_settings();
  settings.period = std::chrono::milliseconds(1);
  settings.bit_rate = 500'000;
  GroupOnBus bench(2, settings);
  const Result refused = bench.group().prepare();
  EXPECT_EQ(refused.cause(), Cause::BUS_LOAD);
  const std::string said = text(refused);
  EXPECT_NE(said.find("103 %"), std::string::npos) << said;
  EXPECT_NE(said.find("800 kbit/s"), std::string::npos) << said;
  EXPECT_TRUE(bench.drives().with_id(0x000).empty()) << "nothing was sent";
}

TEST(PreparingAGroup, RefusesUnequalRampsAndNamesThem) {
  GroupOnBus bench(3);
  bench.drives().write(2, 0x60490120, 700);
  const Result refused = bench.group().prepare();
  EXPECT_EQ(refused.cause(), Cause::RAMPS_DIFFER);
  EXPECT_EQ(refused.explanation().node, 13);
  EXPECT_EQ(refused.explanation().detail,
            "deceleration per second (0x6049): node 11 has 1000, node 13 has 700");
}

TEST(PreparingAGroup, RefusesADriveThatIsEnabledAlready) {
  GroupOnBus bench;
  Result result;
  tav::host::UnitSettings settings;
  settings.configuration = "share/tav/tav.ini";
  settings.node_id = 12;
  settings.parts.bus = bench.drives().bus();
  const auto somebody = tav::host::Unit::open(settings, result);
  ASSERT_TRUE(somebody->enable().ok());
  const Result refused = bench.group().prepare();
  EXPECT_EQ(refused.cause(), Cause::REFUSED);
  EXPECT_NE(text(refused).find("enabled already (node 12"), std::string::npos) << text(refused);
}

TEST(PreparingAGroup, RefusesAUnitThatIsNotThere) {
  GroupOnBus bench;
  bench.drives().unplug(1);
  const Result refused = bench.group().prepare();
  EXPECT_TRUE(refused.cause() == Cause::NEVER_HEARD || refused.cause() == Cause::FELL_SILENT)
      << text(refused);
  EXPECT_EQ(refused.explanation().node, 12);
}

TEST(PreparingAGroup, RefusesAUnitThatIsInItTwice) {
  DrivesOnBus drives;
  const auto units = open_units(drives.bus(), 1);
  Group group({units[0].get(), units[0].get()}, patient_settings());
  EXPECT_EQ(group.prepare().cause(), Cause::REFUSED);
}

TEST(PreparingAGroup, RefusesToBeTheSecondHost) {
  auto settings = patient_settings();
  settings.listening = std::chrono::milliseconds(500);
  GroupOnBus first;
  first.enable();
  const auto units = open_units(first.drives().bus(), 2);
  Group second(pointers(units), settings);
  const Result refused = second.prepare();
  EXPECT_EQ(refused.cause(), Cause::OTHER_HOST);
  EXPECT_NE(refused.explanation().detail.find('#'), std::string::npos) << refused.explanation().detail;
}

TEST(PreparingAGroup, TakesAnIdThatNobodyUses) {
  auto settings = patient_settings();
  settings.listening = std::chrono::milliseconds(500);
  GroupOnBus bench(2, settings, Lives::IN_THE_MACHINES_TIME);
  std::atomic<bool> beats{true};
  std::thread somebody([&] {
    while (beats) {
      bench.drives().send("77F#05");
      nkr::time::sleep_for(std::chrono::milliseconds(20));
    }
  });
  const Result prepared = bench.group().prepare();
  settings.host_node_id = 127;
  const auto units = open_units(bench.drives().bus(), 2);
  Group same(pointers(units), settings);
  const Result refused = same.prepare();
  beats = false;
  somebody.join();
  EXPECT_TRUE(prepared.ok()) << text(prepared);
  EXPECT_EQ(bench.group().preparation().host_node, 126);
  EXPECT_EQ(refused.cause(), Cause::HOST_NODE_TAKEN);
}

}  // namespace
}  // namespace tests::host

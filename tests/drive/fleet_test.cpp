// Several drives on one bus in stepped time.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <tav/drive/Fleet.hpp>
#include <vector>

#include "drive/DriveBench.hpp"

namespace tav::drive::test {
namespace {

class FleetTest : public ::testing::Test {
 protected:
  FleetTest() {
    fleet.connect([this](const nkr::can::Frame& frame, Time when, std::size_t by) {
      sent.push_back(std::to_string((when - Time{}) / milliseconds(1)) + " " + std::to_string(by) + " " +
                     nkr::can::to_string(frame));
    });
  }
  void add(int count) {
    const std::string description = shipped_description();
    for (int node = 1; node <= count; ++node) {
      Settings settings = as_node(static_cast<std::uint8_t>(node));
      settings.motor.emplace();
      std::istringstream eds(description);
      std::string problem;
      fleet.add(VirtualDrive::create(eds, settings, problem));
    }
  }
  Fleet fleet;
  std::vector<std::string> sent;
};

TEST_F(FleetTest, EachDriveHearsTheOthersAndWhatComesFromOutside) {
  add(3);
  (void)fleet.power_on(Time{});
  EXPECT_EQ(sent, (Frames{"0 0 701#00", "0 1 702#00", "0 2 703#00"}));
  sent.clear();
  (void)fleet.receive(frame_of("602#2316100101000000"), Time{});  // drive 2 listens to drive 1, for 100 ms
  (void)fleet.receive(frame_of("602#23161001640001"
                               "00"),
                      Time{});
  (void)fleet.receive(frame_of("601#2B17100032000000"), Time{});
  sent.clear();
  (void)fleet.advance(Time{} + milliseconds(1000));
  (void)fleet.receive(frame_of("601#2B17100000000000"), Time{} + milliseconds(1000));
  sent.clear();
  (void)fleet.advance(Time{} + milliseconds(1200));
  bool missed = false;
  for (const std::string& frame : sent) missed = missed || frame.find("082#3081") != std::string::npos;
  EXPECT_TRUE(missed);
}

TEST_F(FleetTest, WhatIsDoneToADriveItselfIsSeenAtTheNextStep) {
  add(2);
  (void)fleet.power_on(Time{});
  sent.clear();
  fleet.drive(1).raise_fault(0x2310);
  (void)fleet.advance(Time{} + milliseconds(1));
  ASSERT_FALSE(sent.empty());
  EXPECT_EQ(sent[0], "0 1 082#1023030000000000");
}

TEST_F(FleetTest, ManyIdleDrivesWantToBeLookedAtForTheirHeartbeatsAlone) {
  add(20);
  Time due = fleet.power_on(Time{});
  due = fleet.advance(Time{} + milliseconds(1500));  // the supply has settled
  sent.clear();
  int looks = 0;
  while (due <= Time{} + milliseconds(11500)) {
    due = fleet.advance(due);
    ++looks;
  }
  EXPECT_LE(looks, static_cast<int>(sent.size()) + 20);
}

TEST(FleetOnABus, AtAMegabitItAnswersAsManyReadsASecondAsArithmeticGives) {
  Fleet fleet;
  fleet.use_bus({}, {}, {});
  std::istringstream eds(shipped_description());
  std::string problem;
  fleet.add(VirtualDrive::create(eds, as_node(1), problem));
  int reads = 0;
  fleet.connect([&](const nkr::can::Frame& frame, Time when, std::size_t) {
    if (frame.error || frame.id != 0x581) return;
    ++reads;
    (void)fleet.receive(frame_of("601#4041600000000000"), when);
  });
  (void)fleet.power_on(Time{});
  (void)fleet.receive(frame_of("601#2B17100000000000"), Time{});  // no heartbeat
  (void)fleet.advance(Time{} + milliseconds(100));
  reads = 0;
  (void)fleet.advance(Time{} + milliseconds(1100));
  EXPECT_GE(reads, 4000);
  EXPECT_LE(reads, 4240);
}

TEST(FleetOnABus, TwoDrivesThatSpeakAtOnceComeOneAfterTheOther) {
  Fleet fleet;
  fleet.use_bus({250000, 0, 1}, {}, {});
  std::vector<std::string> log;
  fleet.connect([&](const nkr::can::Frame& frame, Time when, std::size_t) {
    log.push_back(std::to_string((when - Time{}) / std::chrono::microseconds(1)) + " " +
                  nkr::can::to_string(frame));
  });
  const std::string description = shipped_description();
  for (const std::uint8_t node : {std::uint8_t{2}, std::uint8_t{1}}) {
    std::istringstream eds(description);
    std::string problem;
    fleet.add(VirtualDrive::create(eds, as_node(node), problem));
  }
  (void)fleet.power_on(Time{});
  (void)fleet.advance(Time{} + milliseconds(10));
  ASSERT_EQ(log.size(), 2U);
  EXPECT_EQ(log[0], "224 701#00");  // 59 bits less the intermission, 4 us each
  EXPECT_EQ(log[1].substr(3), " 702#00");
}

}  // namespace
}  // namespace tav::drive::test

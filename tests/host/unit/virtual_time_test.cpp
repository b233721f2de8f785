// A unit and its drive in virtual time: hours of a machine in moments, and every run like the other.
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <nkr/can/InProcessBus.hpp>
#include <nkr/can/trace.hpp>
#include <nkr/time/Thread.hpp>
#include <nkr/time/VirtualTime.hpp>
#include <nkr/time/clock.hpp>
#include <sstream>
#include <string>
#include <tav/drive/Runner.hpp>
#include <tav/drive/VirtualDrive.hpp>
#include <tav/host/Unit.hpp>
#include <tav/host/text.hpp>

#include "host/DriveBeside.hpp"

namespace tests::host {
namespace {

using namespace std::chrono_literals;

/** What stands on the bus while a unit is opened, turned so long and closed, each frame with its time. */
std::string frames_of_a_shift(std::chrono::seconds shift, std::chrono::nanoseconds& lasted) {
  const nkr::time::VirtualTime time;
  std::ostringstream frames;
  DriveBeside beside;
  nkr_error_t result = NKR_OK;
  const auto witness = beside.bus().open_handler(
      {},
      [&](const nkr::can::Frame& frame) {
        frames << time.elapsed().count() << ' ' << frame.id << ' ' << unsigned{frame.data[0]} << '\n';
      },
      result);
  {
    tav::host::Result opened;
    const auto unit = tav::host::Unit::open(beside.settings(), opened);
    EXPECT_TRUE(opened.ok()) << text(opened);
    EXPECT_TRUE(unit->enable().ok());
    EXPECT_TRUE(unit->set_velocity(300).ok());
    nkr::time::sleep_for(shift);
    EXPECT_TRUE(unit->stop().ok());
  }
  lasted = time.elapsed();
  return frames.str();
}

TEST(UnitInVirtualTime, AQuarterOfAnHourOnTheBusIsOneOfTheClock) {
  std::chrono::nanoseconds lasted{};
  const std::string frames = frames_of_a_shift(15min, lasted);
  EXPECT_GT(lasted, 15min);
  EXPECT_LT(lasted, 16min);
  EXPECT_GT(frames.size(), 900U * 10) << "heartbeats of host and drive";
}

TEST(UnitInVirtualTime, TwoRunsPutTheSameFramesOnTheBusAtTheSameTimes) {
  std::chrono::nanoseconds one{};
  std::chrono::nanoseconds other{};
  EXPECT_EQ(frames_of_a_shift(30s, one), frames_of_a_shift(30s, other));
  EXPECT_EQ(one, other);
}

/** Calls of one unit follow each other, in the time in which they wait. */
TEST(UnitInVirtualTime, ASecondThreadsCallWaitsForTheFirstOnes) {
  const nkr::time::VirtualTime time;
  DriveBeside beside;
  tav::host::Result opened;
  const auto unit = tav::host::Unit::open(beside.settings(), opened);
  ASSERT_TRUE(opened.ok()) << text(opened);
  ASSERT_TRUE(unit->enable().ok());
  const auto begin = time.elapsed();
  nkr::time::Thread other;
  ASSERT_TRUE(other.start([&] { EXPECT_TRUE(unit->follow(10s, [](const tav::host::Look&) {}).ok()); }));
  nkr::time::sleep_for(1s);
  EXPECT_TRUE(unit->stop().ok());
  EXPECT_GE(time.elapsed() - begin, 10s);
  other.end();
}

}  // namespace
}  // namespace tests::host

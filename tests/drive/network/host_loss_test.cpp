// What the drive does when its host falls silent: 0x1016, 0x1029, 0x6007.
#include <gtest/gtest.h>

#include "drive/DriveBench.hpp"

namespace tav::drive::test {
namespace {

class HostLossTest : public ::testing::Test {
 protected:
  /** Turns at 1000/min, watching the host, node 127, for 200 ms. */
  void run_watched(std::uint32_t abort_connection_option) {
    EXPECT_EQ(bench.write(0x6007, 0, abort_connection_option, 2), 0U);
    EXPECT_EQ(bench.write(0x1016, 1, 0x007F00C8, 4), 0U);
    for (const std::uint32_t word : {0x06U, 0x07U, 0x7FU}) bench.write(0x6040, 0, word, 2);
    bench.write(0x6042, 0, 1000, 2);
    bench.send("000#0101");
    bench.step(milliseconds(1000));
    beat();
  }
  void beat() { bench.send("77F#05"); }
  std::uint32_t state() { return bench.read(0x6041) & 0x6F; }
  Frames emergencies() {
    Frames emergencies;
    for (const std::string& frame : bench.take()) {
      if (frame.rfind("081#", 0) == 0) emergencies.push_back(frame);
    }
    return emergencies;
  }
  std::string heartbeat() {
    bench.take();
    bench.step(milliseconds(100));
    for (const std::string& frame : bench.take()) {
      if (frame[0] == '7') return frame;
    }
    return "";
  }

  DriveBench bench;
};

TEST_F(HostLossTest, IsNotMissedBeforeItsFirstHeartbeat) {
  bench.write(0x1016, 1, 0x007F00C8, 4);
  bench.step(milliseconds(5000));
  EXPECT_EQ(emergencies(), Frames{});
  EXPECT_EQ(bench.read(0x1001), 0U);
}

TEST_F(HostLossTest, AFaultStopsTheDrive) {
  run_watched(1);
  bench.step(milliseconds(199));
  EXPECT_EQ(state(), 0x27U);
  bench.take();
  bench.step(milliseconds(1));
  EXPECT_EQ(emergencies(), Frames{"081#308111"
                                  "7F00000000"});
  EXPECT_EQ(state() & 0x4F, 0x0FU) << "fault reaction active";
  bench.step(milliseconds(200));
  EXPECT_EQ(state() & 0x4F, 0x08U) << "fault";
  EXPECT_EQ(bench.read_signed(0x606C), 0);
}

TEST_F(HostLossTest, HeartbeatsInTimeKeepItRunning) {
  run_watched(1);
  for (int i = 0; i < 50; ++i) {
    bench.step(milliseconds(190));
    beat();
  }
  EXPECT_EQ(state(), 0x27U);
  EXPECT_EQ(emergencies(), Frames{});
}

TEST_F(HostLossTest, OptionZeroLetsItTurnOn) {
  run_watched(0);
  bench.step(milliseconds(5000));
  EXPECT_EQ(state(), 0x27U);
  EXPECT_EQ(bench.read_signed(0x606C), 1000);
  EXPECT_EQ(bench.read(0x1001), 0x11U) << "the error is reported all the same";
  beat();
  EXPECT_EQ(bench.read(0x1001), 0U) << "and gone when the host is back";
  EXPECT_EQ(emergencies(), (Frames{"081#3081117F00000000", "081#0000000000000000"}));
}

TEST_F(HostLossTest, OptionTwoDisablesTheVoltage) {
  run_watched(2);
  bench.step(milliseconds(200));
  EXPECT_EQ(state() & 0x4F, 0x40U);
}

TEST_F(HostLossTest, OptionThreeStopsQuickly) {
  run_watched(3);
  bench.step(milliseconds(200));
  EXPECT_EQ(state(), 0x07U);
  bench.step(milliseconds(200));
  EXPECT_EQ(state() & 0x4F, 0x40U);
  EXPECT_EQ(bench.read_signed(0x606C), 0);
}

TEST_F(HostLossTest, TheNodeGoesToTheStateThatItsErrorBehaviourNames) {
  run_watched(1);
  bench.step(milliseconds(200));
  EXPECT_EQ(heartbeat(), "701#7F");
  bench.send("000#8101");
  bench.write(0x1029, 1, 1, 1);
  run_watched(1);
  bench.step(milliseconds(200));
  EXPECT_EQ(heartbeat(), "701#05");
  bench.send("000#8101");
  bench.write(0x1029, 1, 2, 1);
  run_watched(1);
  bench.take();
  bench.step(milliseconds(200));
  EXPECT_EQ(heartbeat(), "701#04");
}

TEST_F(HostLossTest, TheFaultCanBeResetWhenTheHostIsBack) {
  run_watched(1);
  bench.step(milliseconds(1000));
  beat();
  EXPECT_EQ(state() & 0x4F, 0x08U) << "nothing starts again by itself";
  bench.write(0x6040, 0, 0x00, 2);
  bench.write(0x6040, 0, 0x80, 2);
  EXPECT_EQ(state() & 0x4F, 0x40U);
}

TEST_F(HostLossTest, AStoppedOrResetNodeHasLostItsHostToo) {
  run_watched(1);
  bench.send("000#0201");
  bench.step(milliseconds(150));
  beat();
  bench.step(milliseconds(150));
  bench.send("000#8001");
  EXPECT_EQ(state() & 0x4F, 0x08U);
  EXPECT_EQ(bench.read(0x603F), 0x8100U);
  bench.send("000#8101");
  run_watched(3);
  bench.send("000#8201");
  EXPECT_EQ(state(), 0x07U) << "a reset of the communication too";
  bench.send("000#8101");
  EXPECT_EQ(state() & 0x4F, 0x40U);
}

TEST_F(HostLossTest, ADriveWithoutTorqueHasNothingToStop) {
  bench.send("000#0201");
  bench.send("000#0101");
  EXPECT_EQ(state() & 0x4F, 0x40U);
  EXPECT_EQ(emergencies(), Frames{});
}

TEST_F(HostLossTest, ANodeIsWatchedByOneEntryOnly) {
  EXPECT_EQ(bench.write(0x1016, 1, 0x007F00C8, 4), 0U);
  EXPECT_EQ(bench.write(0x1016, 2, 0x007F0064, 4), 0x06040043U);
  EXPECT_EQ(bench.write(0x1016, 2, 0x007E0064, 4), 0U);
  EXPECT_EQ(bench.write(0x1016, 3, 0x00800064, 4), 0x06090030U) << "no such node";
  EXPECT_EQ(bench.write(0x1016, 1, 0x007F0064, 4), 0U);
}

TEST_F(HostLossTest, WritingTheEntryWaitsForTheFirstHeartbeatAgain) {
  run_watched(1);
  EXPECT_EQ(bench.write(0x1016, 1, 0x007F0064, 4), 0U);
  bench.step(milliseconds(5000));
  EXPECT_EQ(state(), 0x27U);
}

}  // namespace
}  // namespace tav::drive::test

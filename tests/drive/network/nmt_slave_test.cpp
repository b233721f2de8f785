// NMT, boot-up and heartbeat, frame by frame (CiA 301, 7.2.8).
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "drive/DriveBench.hpp"

namespace tav::drive::test {
namespace {

TEST(Network, SaysThatItBootedWhenItIsSwitchedOn) {
  std::string problem;
  auto drive = VirtualDrive::from_file("share/tav/tav.eds", as_node(3), problem);
  ASSERT_NE(drive, nullptr) << problem;
  Frames frames;
  drive->connect([&](const nkr::can::Frame& frame) { frames.push_back(nkr::can::to_string(frame)); });
  drive->receive(frame_of("603#4000100000000000"), Time{});
  EXPECT_TRUE(frames.empty()) << "no supply, no answer";
  drive->power_on(Time{});
  EXPECT_EQ(frames, Frames{"703#00"});
  drive->power_on(Time{});
  EXPECT_EQ(frames.size(), 1U);
}

TEST(Network, SendsItsStateEveryHundredMillisecondsAsShipped) {
  DriveBench bench;
  bench.step(milliseconds(99));
  EXPECT_TRUE(bench.take().empty());
  bench.step(milliseconds(1));
  EXPECT_EQ(bench.take(), Frames{"701#7F"});
  bench.send("000#0101");
  bench.take();
  bench.step(milliseconds(1000));
  EXPECT_EQ(bench.take(), Frames(10, "701#05"));
}

TEST(Network, HeartbeatFollowsItsObject) {
  DriveBench bench;
  EXPECT_EQ(bench.write(0x1017, 0, 30, 2), 0U);
  bench.step(milliseconds(100));
  EXPECT_EQ(bench.take(), Frames(3, "701#7F"));
  EXPECT_EQ(bench.write(0x1017, 0, 0, 2), 0U);
  bench.step(milliseconds(10000));
  EXPECT_TRUE(bench.take().empty());
}

TEST(Network, ObeysCommandsToItselfAndToAll) {
  DriveBench bench;
  bench.write(0x1017, 0, 10, 2);
  const auto state = [&] {
    bench.take();
    bench.step(milliseconds(10));
    return bench.take().at(0);
  };
  bench.send("000#0101");
  EXPECT_EQ(state(), "701#05");
  bench.send("000#0200");
  EXPECT_EQ(state(), "701#04");
  bench.send("000#8001");
  EXPECT_EQ(state(), "701#7F");
  bench.send("000#0102");
  EXPECT_EQ(state(), "701#7F") << "meant for node 2";
  bench.send("000#0701");
  EXPECT_EQ(state(), "701#7F") << "no such command";
  bench.send("000#01");
  bench.send("000#010100");
  EXPECT_EQ(state(), "701#7F") << "no NMT frame has another length than 2";
}

TEST(Network, AnswersNoSDOWhileStopped) {
  DriveBench bench;
  bench.send("000#0201");
  EXPECT_EQ(bench.answer("601#4000100000000000"), "");
  bench.send("000#0101");
  EXPECT_EQ(bench.answer("601#4000100000000000"), "581#4300100092010200");
}

TEST(Network, StoppingEndsAnSDOTransfer) {
  DriveBench bench;
  EXPECT_EQ(bench.answer("601#2108100009000000"), "581#6008100000000000");
  bench.send("000#0201");
  bench.send("000#8001");
  EXPECT_EQ(bench.answer("601#0068656C6C6F2C20").substr(12), "01000405");
}

TEST(Network, ResetNodeStartsAllAnewAndSaysSo) {
  DriveBench bench;
  bench.send("000#0101");
  bench.write(0x6046, 2, 1234, 4);
  bench.write(0x1017, 0, 500, 2);
  bench.take();
  bench.send("000#8101");
  EXPECT_EQ(bench.take(), Frames{"701#00"});
  EXPECT_EQ(bench.read(0x6046, 2), 3000U);
  EXPECT_EQ(bench.read(0x1017), 100U);
  bench.step(milliseconds(100));
  EXPECT_EQ(bench.take(), Frames{"701#7F"});
}

TEST(Network, ResetCommunicationLeavesTheApplicationAsItIs) {
  DriveBench bench;
  bench.send("000#0101");
  bench.write(0x6046, 2, 1234, 4);
  bench.write(0x1017, 0, 500, 2);
  bench.take();
  bench.send("000#8201");
  EXPECT_EQ(bench.take(), Frames{"701#00"});
  EXPECT_EQ(bench.read(0x6046, 2), 1234U);
  EXPECT_EQ(bench.read(0x1017), 100U);
}

}  // namespace
}  // namespace tav::drive::test

// Signatures of the safety functions: what they cover, and what follows when one differs.
#include <gtest/gtest.h>

#include "drive/safety/SafetyFixture.hpp"

namespace tav::drive::test {
namespace {

using SignatureSupervisionTest = SafetyFixture;

TEST_F(SignatureSupervisionTest, AsShippedAllSignaturesAgree) {
  EXPECT_EQ(bench.read(0x1001), 0U);
  enable();
}

TEST_F(SignatureSupervisionTest, AParameterWithoutItsSignatureTakesTheTorqueAway) {
  enable();
  bench.take();
  EXPECT_EQ(bench.write(0x6641, 0, 1, 1), 0U);
  EXPECT_EQ(bench.take(), Frames{"081#2063014566010000"}) << "0x6320, function 0x6645, instance 1";
  EXPECT_EQ(state() & 0x4F, 0x40U);
  command(0x06);
  EXPECT_EQ(state() & 0x4F, 0x40U) << "it cannot be left";
  EXPECT_EQ(bench.read(0x603F), 0x6320U);
  EXPECT_EQ(bench.read(0x1003, 1), 0x66456320U);
  bench.take();
  EXPECT_EQ(bench.write(0x6645, 1, 0x90C2, 2), 0U);
  EXPECT_EQ(bench.take(), Frames{"081#0000000000000000"});
  EXPECT_EQ(state() & 0x4F, 0x40U) << "nothing starts by itself";
  enable();
}

TEST_F(SignatureSupervisionTest, TheSTOSignatureCoversTheRestartBehaviourAndNotTheBrake) {
  EXPECT_EQ(bench.write(0x6642, 0, 0x66600100, 4), 0U);
  EXPECT_EQ(bench.read(0x1001), 0U);
}

TEST_F(SignatureSupervisionTest, TheSBCSignatureCoversTimeUnitDelayAndMapping) {
  EXPECT_EQ(bench.write(0x6661, 2, 0x0155, 2), 0U);
  EXPECT_EQ(bench.take(), Frames{"081#2063016266020000"});
  ReferenceCrc crc;
  crc.feed(bench.read(0x6600), 4).feed(0x0155, 2);
  feed_mapping(bench, crc);
  EXPECT_EQ(bench.write(0x6662, 2, crc.value(), 2), 0U);
  EXPECT_EQ(bench.read(0x1001), 0U);
}

TEST_F(SignatureSupervisionTest, TheSLSSignatureCoversUnitsParametersAndItsReservedWords) {
  EXPECT_EQ(bench.write(0x6691, 3, 700, 2), 0U);
  EXPECT_EQ(bench.write(0x6693, 3, 123456, 4), 0U);
  EXPECT_EQ(bench.write(0x6694, 3, 80, 2), 0U);
  EXPECT_EQ(bench.write(0x6698, 3, 0, 4), 0U);
  EXPECT_EQ(bench.take(), Frames{"081#2063019966030000"});
  ReferenceCrc crc;
  crc.feed(bench.read(0x6600), 4).feed(bench.read(0x6602), 4).feed(bench.read(0x6603), 4);
  crc.feed(700, 2).feed(0, 2).feed(123456, 4).feed(80, 2).feed(0, 2).feed(0, 2).feed(0, 4).feed(0, 4);
  feed_mapping(bench, crc);
  EXPECT_EQ(bench.write(0x6699, 3, crc.value(), 2), 0U);
  EXPECT_EQ(bench.read(0x1001), 0U);
}

TEST_F(SignatureSupervisionTest, TheSDISignatureCoversUnitsWindowAndItsReservedWords) {
  EXPECT_EQ(bench.write(0x66D3, 2, 77, 4), 0U);
  EXPECT_EQ(bench.take(), Frames{"081#206301D666020000"});
  ReferenceCrc crc;
  crc.feed(bench.read(0x6601), 4).feed(bench.read(0x6602), 4).feed(0, 2).feed(0, 4).feed(0, 2).feed(77, 4);
  feed_mapping(bench, crc);
  EXPECT_EQ(bench.write(0x66D6, 2, crc.value(), 2), 0U);
  EXPECT_EQ(bench.read(0x1001), 0U);
}

TEST_F(SignatureSupervisionTest, AUnitConcernsEveryFunctionThatItCounts) {
  EXPECT_EQ(bench.write(0x6601, 0, 0x12345678, 4), 0U);
  EXPECT_EQ(bench.take(), (Frames{"081#206301D666010000", "081#206301D666020000"}));
  EXPECT_EQ(bench.write(0x6601, 0, 0x00B50000, 4), 0U);
  EXPECT_EQ(bench.take(), Frames{"081#0000000000000000"});
}

TEST_F(SignatureSupervisionTest, EverySignatureCoversTheMapping) {
  EXPECT_EQ(bench.write(0x66FF, 8, 0x26400000, 4), 0U);
  EXPECT_EQ(bench.take().size(), 14U) << "STO, three SBC, eight SLS, two SDI";
  ReferenceCrc crc;
  crc.feed(0, 1);
  feed_mapping(bench, crc);
  EXPECT_EQ(bench.write(0x6645, 1, crc.value(), 2), 0U);
  EXPECT_EQ(bench.take(), Frames{}) << "thirteen still differ";
  EXPECT_EQ(bench.write(0x66FF, 8, 0, 4), 0U);
  EXPECT_EQ(bench.write(0x6645, 1, 0, 2), 0U);
  EXPECT_EQ(bench.read(0x1001), 0U);
}

TEST_F(SignatureSupervisionTest, ResetNodeReturnsToTheConfigurationThatWasStored) {
  bench.write(0x6641, 0, 1, 1);
  EXPECT_EQ(bench.read(0x1001), 1U);
  bench.send("000#8101");
  EXPECT_EQ(bench.read(0x1001), 0U);
  enable();
}

}  // namespace
}  // namespace tav::drive::test

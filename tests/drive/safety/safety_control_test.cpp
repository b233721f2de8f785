// Commands and statuses of the safety functions, and the safety words that carry them.
#include <gtest/gtest.h>

#include <utility>

#include "drive/safety/SafetyFixture.hpp"

namespace tav::drive::test {
namespace {

using SafetyControlTest = SafetyFixture;

TEST_F(SafetyControlTest, STODemandedKeepsTheDriveInSwitchOnDisabled) {
  EXPECT_EQ(bench.write(0x6640, 0, 0, 1), 0U);
  EXPECT_EQ(bench.read(0x2640), 1U);
  command(0x06);
  EXPECT_EQ(state() & 0x4F, 0x40U);
  EXPECT_EQ(bench.write(0x6640, 0, 1, 1), 0U);
  EXPECT_EQ(bench.read(0x2640), 0U);
  EXPECT_EQ(state() & 0x4F, 0x40U);
  enable();
  EXPECT_EQ(bench.write(0x6640, 0, 0, 1), 0U);
  EXPECT_EQ(state() & 0x4F, 0x40U) << "and takes the torque away";
}

TEST_F(SafetyControlTest, STOOfATurningMotorLetsItCoast) {
  enable();
  command(0x7F);
  bench.write(0x6042, 0, 1000, 2);
  bench.step(milliseconds(1000));
  bench.write(0x6640, 0, 0, 1);
  EXPECT_EQ(bench.read_signed(0x606C), 1000);
  bench.step(milliseconds(60000));
  EXPECT_EQ(bench.read_signed(0x606C), 0);
}

TEST_F(SafetyControlTest, WithRestartAcknowledgeSTOEndsWithARisingEdgeOnly) {
  bench.write(0x6641, 0, 1, 1);
  bench.write(0x6645, 1, 0x90C2, 2);
  bench.write(0x6640, 0, 0, 1);
  bench.write(0x6640, 0, 1, 1);
  EXPECT_EQ(bench.read(0x2640), 1U);
  EXPECT_EQ(bench.read(0x2631), 1U) << "it waits for the acknowledge";
  command(0x06);
  EXPECT_EQ(state() & 0x4F, 0x40U);
  bench.write(0x2630, 0, 1, 1);
  EXPECT_EQ(bench.read(0x2640), 1U) << "no edge";
  bench.write(0x2630, 0, 0, 1);
  EXPECT_EQ(bench.read(0x2640), 1U);
  bench.write(0x2630, 0, 1, 1);
  EXPECT_EQ(bench.read(0x2640), 0U);
  enable();
}

TEST_F(SafetyControlTest, AnAcknowledgeBeforeTheDemandEndsCountsForNothing) {
  bench.write(0x6641, 0, 1, 1);
  bench.write(0x6645, 1, 0x90C2, 2);
  bench.write(0x6640, 0, 0, 1);
  bench.write(0x2630, 0, 0, 1);
  bench.write(0x2630, 0, 1, 1);
  bench.write(0x6640, 0, 1, 1);
  EXPECT_EQ(bench.read(0x2640), 1U);
}

TEST_F(SafetyControlTest, AMappedBitOfAControlWordDemandsItsFunction) {
  EXPECT_EQ(bench.write(0x66F1, 3, 0x66400000, 4), 0U);
  EXPECT_EQ(bench.write(0x6620, 2, 0xFB, 1), 0U);
  EXPECT_EQ(bench.read(0x6640), 0U);
  EXPECT_EQ(bench.write(0x6620, 2, 0xFF, 1), 0U);
  EXPECT_EQ(bench.read(0x6640), 1U);
}

TEST_F(SafetyControlTest, AFunctionMappedTwiceIsDemandedByEither) {
  bench.write(0x66F0, 2, 0x66900400, 4);
  bench.write(0x66F7, 8, 0x66900400, 4);
  bench.write(0x6620, 1, 0xFD, 1);
  EXPECT_EQ(bench.read(0x6690, 4), 0U);
  EXPECT_EQ(bench.read(0x2690, 4), 1U);
  bench.write(0x6620, 8, 0x7F, 1);
  bench.write(0x6620, 1, 0xFF, 1);
  EXPECT_EQ(bench.read(0x6690, 4), 0U);
  bench.write(0x6620, 8, 0xFF, 1);
  EXPECT_EQ(bench.read(0x6690, 4), 1U);
}

TEST_F(SafetyControlTest, TheSafeInputWordDemandsByItsOwnMapping) {
  EXPECT_EQ(bench.write(0x2622, 6, 0x66600200, 4), 0U);
  EXPECT_EQ(bench.read(0x1001), 0U) << "no signature covers the mapping of the safe input";
  EXPECT_EQ(bench.write(0x2620, 1, 0xDF, 1), 0U);
  EXPECT_EQ(bench.read(0x6660, 2), 0U);
  EXPECT_EQ(bench.read(0x2660, 2), 1U);
}

TEST_F(SafetyControlTest, TheSafeInputWordIsOneWordWithTwoNames) {
  EXPECT_EQ(bench.read(0x2620, 2), 0xFFU);
  EXPECT_EQ(bench.write(0x2620, 1, 0x15, 1), 0U);
  EXPECT_EQ(bench.read(0x2620, 2), 0x15U);
  EXPECT_EQ(bench.read(0x2620, 1), 0x15U);
}

TEST_F(SafetyControlTest, StatusWordsShowTheFunctionsMappedToThem) {
  bench.write(0x66F8, 2, 0x26400000, 4);
  bench.write(0x66FF, 1, 0x26D10200, 4);
  bench.write(0x2623, 4, 0x26D10200, 4);
  bench.write(0x66D1, 2, 0, 1);
  EXPECT_EQ(bench.read(0x6621, 1), 0x02U) << "a mapping without its signatures is an STO too";
  EXPECT_EQ(bench.read(0x6621, 8), 0x01U);
  EXPECT_EQ(bench.read(0x2621, 1), 0x08U);
}

TEST_F(SafetyControlTest, ABitIsMappedToNothingButAFunction) {
  EXPECT_EQ(bench.write(0x66F0, 2, 0x26400000, 4), 0x06090030U) << "a status is no command";
  EXPECT_EQ(bench.write(0x66F8, 2, 0x66400000, 4), 0x06090030U);
  EXPECT_EQ(bench.write(0x66F0, 2, 0x66900900, 4), 0x06090030U);
  EXPECT_EQ(bench.write(0x66F0, 2, 0, 4), 0U);
}

TEST_F(SafetyControlTest, STOAppliesTheBrakeThatItNames) {
  bench.write(0x6642, 0, 0x66600300, 4);
  EXPECT_EQ(bench.read(0x2660, 3), 0U);
  bench.write(0x6640, 0, 0, 1);
  EXPECT_EQ(bench.read(0x2660, 3), 1U);
  EXPECT_EQ(bench.read(0x2660, 2), 0U);
}

TEST_F(SafetyControlTest, AnNMTResetEndsNoDemand) {
  bench.write(0x66F0, 1, 0x66900300, 4);
  const std::pair<std::uint16_t, std::uint8_t> kCommands[] = {
      {0x6640, 0}, {0x6660, 2}, {0x6690, 1}, {0x66D0, 1}, {0x66D1, 2}};
  for (const auto& [index, instance] : kCommands) EXPECT_EQ(bench.write(index, instance, 0, 1), 0U);
  bench.write(0x6620, 1, 0xFE, 1);
  bench.write(0x2620, 1, 0x7F, 1);
  for (const char* const reset : {"000#8201", "000#8101"}) {
    bench.send(reset);
    for (const auto& [index, instance] : kCommands)
      EXPECT_EQ(bench.read(index, instance), 0U) << std::hex << index;
    EXPECT_EQ(bench.read(0x2640), 1U);
    EXPECT_EQ(bench.read(0x6690, 3), 0U) << "demanded by a bit of a control word";
    EXPECT_EQ(bench.read(0x6620, 1), 0xFEU);
    EXPECT_EQ(bench.read(0x2620, 2), 0x7FU);
  }
  bench.write(0x6640, 0, 1, 1);
  EXPECT_EQ(bench.read(0x2640), 0U) << "the demand ends by its command";
}

TEST_F(SafetyControlTest, AnNMTResetIsNoRestartAcknowledge) {
  bench.write(0x6641, 0, 1, 1);
  bench.write(0x6645, 1, 0x90C2, 2);
  bench.write(0x6640, 0, 0, 1);
  bench.write(0x6640, 0, 1, 1);
  bench.write(0x2630, 0, 0, 1);
  bench.send("000#8101");
  EXPECT_EQ(bench.read(0x6641), 0U) << "it was not stored";
  EXPECT_EQ(bench.read(0x2640), 1U) << "the interlock stays";
  bench.write(0x6660, 1, 1, 1);
  EXPECT_EQ(bench.read(0x2640), 1U);
  bench.write(0x2630, 0, 1, 1);
  EXPECT_EQ(bench.read(0x2640), 0U);
}

TEST(SafetyControlAtPowerOn, APowerCycleEndsDemandsAndInterlocks) {
  {
    DriveBench before;
    before.write(0x6640, 0, 0, 1);
    EXPECT_EQ(before.read(0x2640), 1U);
  }
  DriveBench after;
  EXPECT_EQ(after.read(0x2640), 0U);
}

}  // namespace
}  // namespace tav::drive::test

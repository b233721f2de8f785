// The power drive system, transition by transition (CiA 402-2, 6.2 to 8.4).
#include <gtest/gtest.h>

#include "drive/DriveBench.hpp"

namespace tav::drive::test {
namespace {

constexpr std::uint32_t kShutdown = 0x06;
constexpr std::uint32_t kSwitchOn = 0x07;
constexpr std::uint32_t kEnableOperation = 0x0F;
constexpr std::uint32_t kDisableVoltage = 0x00;
constexpr std::uint32_t kQuickStop = 0x02;
constexpr std::uint32_t kFaultReset = 0x80;
constexpr std::uint32_t kRamps = 0x70;  // enable, unlock, reference
constexpr std::uint32_t kHalt = 0x100;

/** The states, by the bits of the status word that tell them: 0 to 3, 5 and 6. */
constexpr std::uint32_t kSwitchOnDisabled = 0x40;
constexpr std::uint32_t kReadyToSwitchOn = 0x21;
constexpr std::uint32_t kSwitchedOn = 0x23;
constexpr std::uint32_t kOperationEnabled = 0x27;
constexpr std::uint32_t kQuickStopActive = 0x07;
constexpr std::uint32_t kFaultReactionActive = 0x0F;
constexpr std::uint32_t kFault = 0x08;

class PowerTest : public ::testing::Test {
 protected:
  void command(std::uint32_t word) { EXPECT_EQ(bench.write(0x6040, 0, word, 2), 0U); }
  std::uint32_t statusword() { return bench.read(0x6041); }
  /** Without bit 5 where the state does not depend on it. */
  std::uint32_t state() {
    const std::uint32_t word = statusword();
    return (word & 0x48) != 0 ? word & 0x4F : word & 0x6F;
  }
  void option(std::uint16_t index, std::uint32_t value) { EXPECT_EQ(bench.write(index, 0, value, 2), 0U); }
  void enable() {
    command(kShutdown);
    command(kSwitchOn);
    command(kEnableOperation);
    ASSERT_EQ(state(), kOperationEnabled);
  }
  /** Turns at 1000/min. As shipped a ramp from there to a standstill takes a second, the quick stop 0.2 s. */
  void turn() {
    enable();
    command(kEnableOperation | kRamps);
    EXPECT_EQ(bench.write(0x6042, 0, 1000, 2), 0U);
    bench.step(milliseconds(1000));
    ASSERT_EQ(velocity(), 1000);
  }
  std::int32_t velocity() { return bench.read_signed(0x606C); }

  DriveBench bench;
};

TEST_F(PowerTest, IsSwitchOnDisabledAfterPowerOn) {
  EXPECT_EQ(state(), kSwitchOnDisabled);
  EXPECT_EQ(statusword() & 0x0210, 0x0210U) << "voltage enabled, remote";
}

TEST_F(PowerTest, StepsToOperationEnabledAndBack) {
  command(kShutdown);
  EXPECT_EQ(state(), kReadyToSwitchOn);
  command(kSwitchOn);
  EXPECT_EQ(state(), kSwitchedOn);
  command(kEnableOperation);
  EXPECT_EQ(state(), kOperationEnabled);
  command(kSwitchOn);  // disable operation
  EXPECT_EQ(state(), kSwitchedOn);
  command(kShutdown);
  EXPECT_EQ(state(), kReadyToSwitchOn);
  command(kDisableVoltage);
  EXPECT_EQ(state(), kSwitchOnDisabled);
}

TEST_F(PowerTest, SwitchesOnAndEnablesByOneCommand) {
  command(kShutdown);
  command(kEnableOperation);
  EXPECT_EQ(state(), kOperationEnabled);
}

TEST_F(PowerTest, LeavesSwitchOnDisabledByShutdownAlone) {
  for (const std::uint32_t word : {kSwitchOn, kEnableOperation, kDisableVoltage, kQuickStop, kFaultReset}) {
    command(word);
    EXPECT_EQ(state(), kSwitchOnDisabled) << word;
  }
}

TEST_F(PowerTest, ShutdownEndsOperation) {
  enable();
  command(kShutdown);
  EXPECT_EQ(state(), kReadyToSwitchOn);
}

TEST_F(PowerTest, DisableVoltageEndsEveryState) {
  command(kShutdown);
  command(kDisableVoltage);
  EXPECT_EQ(state(), kSwitchOnDisabled);
  command(kShutdown);
  command(kSwitchOn);
  command(kDisableVoltage);
  EXPECT_EQ(state(), kSwitchOnDisabled);
  enable();
  command(kDisableVoltage);
  EXPECT_EQ(state(), kSwitchOnDisabled);
}

TEST_F(PowerTest, QuickStopOfAStandingDriveEndsInSwitchOnDisabled) {
  command(kShutdown);
  command(kQuickStop);
  EXPECT_EQ(state(), kSwitchOnDisabled);
  command(kShutdown);
  command(kSwitchOn);
  command(kQuickStop);
  EXPECT_EQ(state(), kSwitchOnDisabled);
  enable();
  command(kQuickStop);
  EXPECT_EQ(state(), kSwitchOnDisabled) << "option 2: disabled as soon as it stands";
}

TEST_F(PowerTest, AFaultResetBitGivesNoTorque) {
  command(kFaultReset | kShutdown);
  EXPECT_EQ(state(), kSwitchOnDisabled);
  command(kShutdown);
  command(kFaultReset | kEnableOperation);
  EXPECT_EQ(state(), kReadyToSwitchOn);
  command(kFaultReset);
  EXPECT_EQ(state(), kSwitchOnDisabled) << "no bit keeps the voltage on";
}

TEST_F(PowerTest, QuickStopUsesItsRampAndThenDisables) {
  turn();
  command(kQuickStop);
  EXPECT_EQ(state(), kQuickStopActive);
  bench.step(milliseconds(100));
  EXPECT_EQ(velocity(), 500);
  EXPECT_EQ(state(), kQuickStopActive);
  bench.step(milliseconds(100));
  EXPECT_EQ(velocity(), 0);
  EXPECT_EQ(state(), kSwitchOnDisabled);
}

TEST_F(PowerTest, QuickStopOptionOneUsesTheDecelerationRamp) {
  option(0x605A, 1);
  turn();
  command(kQuickStop);
  bench.step(milliseconds(500));
  EXPECT_EQ(velocity(), 500);
  bench.step(milliseconds(500));
  EXPECT_EQ(state(), kSwitchOnDisabled);
}

TEST_F(PowerTest, QuickStopOptionZeroTakesTheTorqueAway) {
  option(0x605A, 0);
  turn();
  command(kQuickStop);
  EXPECT_EQ(state(), kSwitchOnDisabled);
  EXPECT_EQ(velocity(), 1000) << "it coasts";
  bench.step(milliseconds(1000));
  EXPECT_GT(velocity(), 0);
  bench.step(milliseconds(60000));
  EXPECT_EQ(velocity(), 0);
}

TEST_F(PowerTest, QuickStopOptionsFiveToEightStayUntilEnabledAgain) {
  for (const std::uint32_t value : {5U, 6U, 7U, 8U}) {
    bench.send("000#8101");
    option(0x605A, value);
    turn();
    command(kQuickStop);
    bench.step(milliseconds(2000));
    EXPECT_EQ(velocity(), 0) << value;
    EXPECT_EQ(state(), kQuickStopActive) << value;
    EXPECT_NE(statusword() & 0x0400, 0U) << "it stands as it shall";
    command(kEnableOperation | kRamps);
    EXPECT_EQ(state(), kOperationEnabled) << value;
    bench.step(milliseconds(1000));
    EXPECT_EQ(velocity(), 1000) << value;
    command(kQuickStop);
    command(kDisableVoltage);
    EXPECT_EQ(state(), kSwitchOnDisabled) << value;
  }
}

TEST_F(PowerTest, QuickStopOptionsBelowFiveCannotBeCalledOff) {
  turn();
  command(kQuickStop);
  command(kEnableOperation);
  EXPECT_EQ(state(), kQuickStopActive);
}

TEST_F(PowerTest, ShutdownOptionTellsHowItEnds) {
  turn();
  command(kShutdown);
  EXPECT_EQ(state(), kReadyToSwitchOn) << "option 0: at once";
  bench.step(milliseconds(60000));
  option(0x605B, 1);
  turn();
  command(kShutdown);
  EXPECT_EQ(state(), kOperationEnabled) << "option 1: first the ramp";
  bench.step(milliseconds(500));
  EXPECT_EQ(velocity(), 500);
  bench.step(milliseconds(500));
  EXPECT_EQ(state(), kReadyToSwitchOn);
}

TEST_F(PowerTest, DisableOperationOptionTellsHowItEnds) {
  turn();
  command(kSwitchOn);
  EXPECT_EQ(state(), kOperationEnabled) << "as shipped: first the ramp";
  bench.step(milliseconds(1000));
  EXPECT_EQ(state(), kSwitchedOn);
  option(0x605C, 0);
  turn();
  command(kSwitchOn);
  EXPECT_EQ(state(), kSwitchedOn);
}

TEST_F(PowerTest, AnOperationThatIsBeingEndedCanBeTakenUpAgain) {
  turn();
  command(kSwitchOn);
  bench.step(milliseconds(300));
  command(kEnableOperation | kRamps);
  bench.step(milliseconds(2000));
  EXPECT_EQ(state(), kOperationEnabled);
  EXPECT_EQ(velocity(), 1000);
}

TEST_F(PowerTest, HaltStopsOnTheRampOfItsOptionAndStaysEnabled) {
  turn();
  command(kEnableOperation | kRamps | kHalt);
  bench.step(milliseconds(500));
  EXPECT_EQ(velocity(), 500);
  bench.step(milliseconds(500));
  EXPECT_EQ(velocity(), 0);
  EXPECT_EQ(state(), kOperationEnabled);
  EXPECT_NE(statusword() & 0x0400, 0U) << "halted: target reached";
  command(kEnableOperation | kRamps);
  bench.step(milliseconds(1000));
  EXPECT_EQ(velocity(), 1000);
  option(0x605D, 2);
  command(kEnableOperation | kRamps | kHalt);
  bench.step(milliseconds(100));
  EXPECT_EQ(velocity(), 500);
}

TEST_F(PowerTest, AFaultStopsTheMotorAndEndsInFault) {
  turn();
  bench.drive().raise_fault(0x7122);
  EXPECT_EQ(state(), kFaultReactionActive);
  bench.step(milliseconds(100));
  EXPECT_EQ(velocity(), 500) << "0x605E as shipped: quick-stop ramp";
  command(kDisableVoltage);
  EXPECT_EQ(state(), kFaultReactionActive) << "no command ends it";
  bench.step(milliseconds(100));
  EXPECT_EQ(state(), kFault);
}

TEST_F(PowerTest, FaultReactionOptionsChooseTheStop) {
  option(0x605E, 0);
  turn();
  bench.drive().raise_fault(0x2310);
  EXPECT_EQ(velocity(), 1000) << "it coasts";
  bench.step(milliseconds(60000));
  EXPECT_EQ(state(), kFault);
  command(kFaultReset);
  option(0x605E, 1);
  turn();
  bench.drive().raise_fault(0x2310);
  bench.step(milliseconds(500));
  EXPECT_EQ(velocity(), 500);
}

TEST_F(PowerTest, AFaultOfADriveWithoutTorqueIsAtOnceAFault) {
  bench.drive().raise_fault(0x4310);
  EXPECT_EQ(state(), kFault);
  for (const std::uint32_t word : {kShutdown, kSwitchOn, kEnableOperation, kDisableVoltage, kQuickStop}) {
    command(word);
    EXPECT_EQ(state(), kFault) << word;
  }
}

TEST_F(PowerTest, OnlyTheRisingEdgeOfBitSevenResetsAFault) {
  command(kFaultReset);
  bench.drive().raise_fault(0x4310);
  command(kFaultReset);
  EXPECT_EQ(state(), kFault) << "the bit was set before";
  command(0);
  EXPECT_EQ(state(), kFault);
  command(kFaultReset);
  EXPECT_EQ(state(), kSwitchOnDisabled);
  command(0);
  enable();
}

TEST_F(PowerTest, AFaultWithItsCauseStillThereCannotBeReset) {
  bench.drive().raise_fault(0x4310, true);
  command(kFaultReset);
  EXPECT_EQ(state(), kFault);
  bench.drive().clear_fault(0x4310);
  EXPECT_EQ(state(), kFault) << "it waits to be reset";
  command(0);
  command(kFaultReset);
  EXPECT_EQ(state(), kSwitchOnDisabled);
}

TEST_F(PowerTest, ResetNodeStartsTheStateMachineAnew) {
  turn();
  bench.send("000#8101");
  EXPECT_EQ(state(), kSwitchOnDisabled);
  EXPECT_EQ(bench.read(0x6040), 0U);
}

TEST_F(PowerTest, ResetNodeStopsNoMotorAndMovesNoCounter) {
  turn();
  const std::int32_t position = bench.read_signed(0x6064);
  EXPECT_GT(position, 0);
  bench.send("000#8101");
  EXPECT_EQ(velocity(), 1000) << "it coasts, 500/min each second";
  EXPECT_EQ(bench.read_signed(0x6064), position);
  bench.step(milliseconds(1000));
  EXPECT_EQ(velocity(), 500);
  EXPECT_GT(bench.read_signed(0x6064), position);
  bench.step(milliseconds(1000));
  EXPECT_EQ(velocity(), 0);
}

TEST_F(PowerTest, TheUnitsOwnStatusWordIsTheSame) {
  enable();
  EXPECT_EQ(bench.read(0x2020), statusword());
}

TEST_F(PowerTest, PeripheralFlagsFollowThePowerStage) {
  EXPECT_EQ(bench.read(0x2021, 1), 1U) << "brake applied";
  EXPECT_EQ(bench.read(0x2021, 4), 0U) << "driver off";
  EXPECT_EQ(bench.read(0x2021, 5), 1U) << "may be configured";
  enable();
  EXPECT_EQ(bench.read(0x2021, 1), 0U);
  EXPECT_EQ(bench.read(0x2021, 2), 1U);
  EXPECT_EQ(bench.read(0x2021, 3), 1U);
  EXPECT_EQ(bench.read(0x2021, 4), 1U);
  EXPECT_EQ(bench.read(0x2021, 5), 0U);
  EXPECT_EQ(bench.read(0x2021, 6), 1U);
}

TEST_F(PowerTest, ShowsTheModeItIsIn) {
  EXPECT_EQ(bench.read_signed(0x6061), 2);
  EXPECT_EQ(bench.write(0x6060, 0, 3, 1), 0x06090031U) << "velocity mode is the only one";
}

TEST_F(PowerTest, TakesTheOptionCodesOfTheStandardAndNoOthers) {
  const struct {
    std::uint16_t index;
    int first;
    int last;
  } kOptions[] = {{0x6007, 0, 3}, {0x605A, 0, 8}, {0x605B, 0, 1},
                  {0x605C, 0, 1}, {0x605D, 1, 4}, {0x605E, 0, 4}};
  for (const auto& [index, first, last] : kOptions) {
    for (const int code : {-32768, -1, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 77, 32767}) {
      const bool standard = code >= first && code <= last;
      EXPECT_EQ(bench.write(index, 0, static_cast<std::uint16_t>(code), 2), standard ? 0U : 0x06090030U)
          << std::hex << index << ' ' << std::dec << code;
    }
  }
}

}  // namespace
}  // namespace tav::drive::test

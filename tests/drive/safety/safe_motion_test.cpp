// SLS, SDI and SBC acting on the motor (IEC 61800-5-2; objects of CiA 402-4).
//
// As shipped: SLS 1 limits the speed to 250/min, 500 ms after its demand or once it was kept for 100 ms, and
// answers with STO; SDI has a window of 10/min; a brake is applied after 100 ms. Ramps are 1000/min each
// second.
#include <gtest/gtest.h>

#include "drive/DriveBench.hpp"
#include "drive/safety/SafetyFixture.hpp"

namespace tav::drive::test {
namespace {

constexpr std::uint32_t kSTOReaction = 0x66400000;

class SafeMotionTest : public ::testing::Test {
 protected:
  void control(std::uint32_t word) { EXPECT_EQ(bench.write(0x6040, 0, word, 2), 0U); }
  void enable() {
    for (const std::uint32_t word : {0x06U, 0x07U, 0x7FU}) control(word);
  }
  void turn(int velocity) {
    enable();
    EXPECT_EQ(bench.write(0x6042, 0, static_cast<std::uint16_t>(velocity), 2), 0U);
    bench.step(milliseconds(2000));
    EXPECT_EQ(bench.read_signed(0x606C), velocity);
    bench.take();
  }
  /** A command is active low. */
  void demand(std::uint16_t index, std::uint8_t instance, bool demanded = true) {
    EXPECT_EQ(bench.write(index, instance, demanded ? 0 : 1, 1), 0U);
  }
  void acknowledge_error() {
    EXPECT_EQ(bench.write(0x6632, 0, 0, 1), 0U);
    EXPECT_EQ(bench.write(0x6632, 0, 1, 1), 0U);
  }
  std::uint32_t state() { return bench.read(0x6041) & 0x6FU; }
  bool fault() { return (state() & 0x4FU) == 0x08U; }
  bool sto_acts() { return bench.read(0x2640) != 0; }
  bool brake_applied() { return bench.read(0x2021, 1) != 0; }
  /** Changes the reaction of SLS 1, and its signature with it. */
  void without_sto_reaction() {
    EXPECT_EQ(bench.write(0x6698, 1, 0, 4), 0U);
    EXPECT_EQ(bench.write(0x6699, 1, sls_signature(0), 2), 0U);
    EXPECT_EQ(bench.read(0x1001) & 0x80U, 0U) << "the signature agrees";
    bench.take();
  }
  std::uint16_t sls_signature(std::uint32_t reaction);

  DriveBench bench;
};

/** Over units, the parameters of SLS 1 with zeros between them, and the mapping. */
std::uint16_t SafeMotionTest::sls_signature(std::uint32_t reaction) {
  ReferenceCrc crc;
  for (const unsigned unit : {0x6600U, 0x6602U, 0x6603U}) {
    crc.feed(bench.read(static_cast<std::uint16_t>(unit)), 4);
  }
  crc.feed(bench.read(0x6691, 1), 2).feed(0, 2).feed(bench.read(0x6693, 1), 4);
  crc.feed(bench.read(0x6694, 1), 2).feed(0, 2).feed(0, 2).feed(0, 4).feed(reaction, 4);
  feed_mapping(bench, crc);
  return crc.value();
}

TEST_F(SafeMotionTest, SLSTakesTheTorqueOfAMotorThatIsTooFastWhenItsTimeIsOver) {
  ASSERT_EQ(bench.read(0x6698, 1), kSTOReaction);
  turn(1000);
  demand(0x6690, 1);
  bench.step(milliseconds(490));
  EXPECT_EQ(state(), 0x27U) << "there is time to slow down";
  EXPECT_TRUE(bench.take_events().empty());
  bench.step(milliseconds(30));
  EXPECT_EQ(bench.take_events(), Frames{"081#0084219066010000"}) << "0x8400, SLS command 1";
  EXPECT_TRUE(fault());
  EXPECT_TRUE(sto_acts());
  EXPECT_LT(bench.read_signed(0x606C), 1000) << "it coasts";
}

TEST_F(SafeMotionTest, SLSLetsAMotorBeThatSlowsDownInTime) {
  turn(600);
  demand(0x6690, 1);
  bench.write(0x6042, 0, 250, 2);  // 350 ms
  bench.step(milliseconds(3000));
  EXPECT_EQ(state(), 0x27U);
  EXPECT_EQ(bench.read_signed(0x606C), 250) << "the limit itself is allowed";
  EXPECT_TRUE(bench.take_events().empty());
  bench.write(0x6042, 0, 300, 2);
  bench.step(milliseconds(100));
  EXPECT_TRUE(fault());
}

TEST_F(SafeMotionTest, SLSWatchesSoonerWhenTheSpeedWasKeptForItsTime) {
  turn(100);
  demand(0x6690, 1);
  bench.step(milliseconds(120));
  bench.write(0x6042, 0, 1000, 2);
  bench.step(milliseconds(180));  // 280/min, 300 ms after the demand
  EXPECT_TRUE(fault());
}

TEST_F(SafeMotionTest, SLSThatIsNotDemandedOrEndedLimitsNothing) {
  demand(0x6690, 1);
  bench.step(milliseconds(1000));
  demand(0x6690, 1, false);
  turn(1000);
  EXPECT_EQ(state(), 0x27U);
}

TEST_F(SafeMotionTest, AViolationHasToBeAcknowledgedAndTheFaultReset) {
  turn(1000);
  demand(0x6690, 1);
  bench.step(milliseconds(600));
  demand(0x6690, 1, false);
  bench.step(milliseconds(5000));
  control(0);
  control(0x80);
  EXPECT_EQ(state() & 0x4FU, 0x40U) << "the fault is reset";
  control(0x06);
  EXPECT_EQ(state() & 0x4FU, 0x40U) << "STO acts";
  EXPECT_EQ(bench.read(0x2632), 1U) << "an acknowledge is awaited";
  acknowledge_error();
  EXPECT_FALSE(sto_acts());
  EXPECT_EQ(bench.read(0x2632), 0U);
  enable();
  EXPECT_EQ(state(), 0x27U);
}

TEST_F(SafeMotionTest, SLSWithoutSTOAsReactionIsAFaultThatStopsOnItsRamp) {
  without_sto_reaction();
  EXPECT_EQ(bench.write(0x605E, 0, 2, 2), 0U);  // quick-stop ramp
  turn(1000);
  demand(0x6690, 1);
  bench.step(milliseconds(520));
  EXPECT_EQ(state() & 0x4FU, 0x0FU) << "FAULT_REACTION_ACTIVE";
  EXPECT_FALSE(sto_acts());
  bench.step(milliseconds(5000));
  EXPECT_TRUE(fault());
  EXPECT_EQ(bench.read_signed(0x606C), 0);
}

TEST_F(SafeMotionTest, SDIAllowsOneDirectionAndItsWindowAroundZero) {
  demand(0x66D0, 1);  // positive
  turn(500);
  EXPECT_EQ(state(), 0x27U);
  bench.write(0x6042, 0, 0xFFF6, 2);  // -10/min
  bench.step(milliseconds(2000));
  EXPECT_EQ(state(), 0x27U) << "within the window";
  bench.write(0x6042, 0, 0xFF9C, 2);  // -100/min
  bench.step(milliseconds(100));
  EXPECT_EQ(bench.take_events(), Frames{"081#008421D066010000"});
  EXPECT_TRUE(fault());
  EXPECT_TRUE(sto_acts());
}

TEST_F(SafeMotionTest, SDINegativeForbidsThePositiveDirection) {
  demand(0x66D1, 2);
  turn(-500);
  EXPECT_EQ(state(), 0x27U);
  bench.write(0x6042, 0, 100, 2);
  bench.step(milliseconds(1000));
  EXPECT_EQ(bench.take_events(), Frames{"081#008421D166020000"});
  EXPECT_TRUE(fault());
}

TEST_F(SafeMotionTest, SBCAppliesTheBrakeAfterItsDelay) {
  enable();
  EXPECT_FALSE(brake_applied());
  demand(0x6660, 2);
  EXPECT_EQ(bench.read(0x2660, 2), 1U);
  bench.step(milliseconds(90));
  EXPECT_FALSE(brake_applied());
  bench.step(milliseconds(30));
  EXPECT_TRUE(brake_applied());
  demand(0x6660, 2, false);
  bench.step(milliseconds(20));
  EXPECT_FALSE(brake_applied());
}

TEST_F(SafeMotionTest, SBCStopsAMotorThatHasTorqueToo) {
  turn(1000);
  demand(0x6660, 2);
  bench.step(milliseconds(100));
  EXPECT_EQ(bench.read_signed(0x606C), 1000) << "the brake has its delay";
  bench.step(milliseconds(200));
  EXPECT_LT(bench.read_signed(0x606C), 400) << "3300/min each second";
  bench.step(milliseconds(300));
  EXPECT_EQ(bench.read_signed(0x606C), 0);
  demand(0x6660, 2, false);
  bench.step(milliseconds(1100));
  EXPECT_EQ(bench.read_signed(0x606C), 1000) << "it follows its set-point again";
}

TEST_F(SafeMotionTest, TheBrakeThatSTONamesStopsTheMotor) {
  EXPECT_EQ(bench.write(0x6642, 0, 0x66600100, 4), 0U);
  turn(1000);
  demand(0x6640, 0);
  bench.step(milliseconds(600));
  EXPECT_EQ(bench.read_signed(0x606C), 0);
}

TEST_F(SafeMotionTest, AViolationIsAnErrorOfTheProfileForTheErrorBehaviour) {
  bench.send("000#0101");
  turn(1000);
  demand(0x6690, 1);
  bench.step(milliseconds(600));
  EXPECT_TRUE(sto_acts());
  bench.take();
  bench.step(milliseconds(100));
  EXPECT_EQ(bench.take(), Frames{"701#7F"}) << "0x1029:2 is 0: pre-operational, as for any 0x8400";
}

TEST_F(SafeMotionTest, AnNMTResetEndsNoViolation) {
  turn(1000);
  demand(0x6690, 1);
  bench.step(milliseconds(600));
  EXPECT_TRUE(sto_acts());
  demand(0x6690, 1, false);
  for (const char* const command : {"000#8101", "000#8201"}) {
    bench.send(command);
    EXPECT_TRUE(sto_acts()) << command;
    enable();
    EXPECT_EQ(state() & 0x4FU, 0x40U);
  }
  acknowledge_error();
  EXPECT_FALSE(sto_acts());
  enable();
  EXPECT_EQ(state(), 0x27U);
}

TEST_F(SafeMotionTest, AnNMTResetGivesAWatchedMotorNoTimeAnew) {
  turn(200);
  demand(0x6690, 1);
  bench.step(milliseconds(600));
  bench.send("000#8101");
  EXPECT_EQ(bench.read(0x6690, 1), 0U) << "still demanded";
  bench.write(0x6048, 2, 0, 2);  // no ramp
  enable();
  bench.write(0x6042, 0, 1000, 2);
  bench.step(milliseconds(20));
  EXPECT_TRUE(sto_acts()) << "watched all along";
}

}  // namespace
}  // namespace tav::drive::test

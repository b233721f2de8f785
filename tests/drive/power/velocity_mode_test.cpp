// Velocity mode: set-point, factors, limits, ramps, position (CiA 402-2, vl).
#include <gtest/gtest.h>

#include <cmath>

#include "drive/DriveBench.hpp"

namespace tav::drive::test {
namespace {

constexpr double kPi = 3.141592653589793;

class VelocityTest : public ::testing::Test {
 protected:
  static Settings tav_unit() {
    Settings settings = as_node(1);
    settings.mechanics.steps_per_electrical_revolution = 360;
    settings.mechanics.pole_pairs = 7;
    return settings;
  }
  void SetUp() override {
    for (const std::uint32_t word : {0x06U, 0x07U, 0x7FU}) control(word);
  }
  void control(std::uint32_t word) { EXPECT_EQ(bench.write(0x6040, 0, word, 2), 0U); }
  void set_point(int velocity) {
    EXPECT_EQ(bench.write(0x6042, 0, static_cast<std::uint16_t>(velocity), 2), 0U);
  }
  int velocity() { return bench.read_signed(0x606C); }
  int demand() { return static_cast<std::int16_t>(bench.read(0x6043)); }
  bool target_reached() { return (bench.read(0x6041) & 0x0400) != 0; }
  bool internal_limit() { return (bench.read(0x6041) & 0x0800) != 0; }

  DriveBench bench{tav_unit()};
};

TEST_F(VelocityTest, RunsUpOnItsAccelerationRamp) {
  EXPECT_EQ(bench.write(0x6048, 1, 300, 4), 0U);
  EXPECT_EQ(bench.write(0x6048, 2, 2, 2), 0U);  // 150/min each second
  set_point(600);
  EXPECT_FALSE(target_reached());
  bench.step(milliseconds(2000));
  EXPECT_EQ(velocity(), 300);
  EXPECT_EQ(demand(), 300);
  EXPECT_FALSE(target_reached());
  bench.step(milliseconds(2000));
  EXPECT_EQ(velocity(), 600);
  EXPECT_TRUE(target_reached());
  bench.step(milliseconds(5000));
  EXPECT_EQ(velocity(), 600);
}

TEST_F(VelocityTest, SlowsDownOnItsDecelerationRampAndTurnsRound) {
  EXPECT_EQ(bench.write(0x6049, 1, 500, 4), 0U);
  set_point(1000);
  bench.step(milliseconds(1000));
  set_point(-1000);
  bench.step(milliseconds(1000));
  EXPECT_EQ(velocity(), 500);
  bench.step(milliseconds(1000));
  EXPECT_EQ(velocity(), 0);
  bench.step(milliseconds(500));
  EXPECT_EQ(velocity(), -500) << "beyond zero it is an acceleration again";
  bench.step(milliseconds(500));
  EXPECT_EQ(velocity(), -1000);
  EXPECT_TRUE(target_reached());
}

TEST_F(VelocityTest, TheSizeOfTheTimeStepsMakesNoDifference) {
  DriveBench coarse{tav_unit()};
  for (const std::uint32_t word : {0x06U, 0x07U, 0x7FU}) coarse.write(0x6040, 0, word, 2);
  coarse.write(0x6042, 0, 700, 2);
  set_point(700);
  for (int i = 0; i < 3000; ++i) bench.step(milliseconds(1));
  coarse.step(milliseconds(3000));
  EXPECT_EQ(velocity(), coarse.read_signed(0x606C));
  EXPECT_NEAR(bench.read_signed(0x6064), coarse.read_signed(0x6064), 1);
}

TEST_F(VelocityTest, WithoutARampTheSpeedJumps) {
  EXPECT_EQ(bench.write(0x6048, 2, 0, 2), 0U);
  set_point(500);
  EXPECT_EQ(velocity(), 500);
}

TEST_F(VelocityTest, LimitsTheAmountInBothDirections) {
  EXPECT_EQ(bench.write(0x6046, 1, 100, 4), 0U);
  EXPECT_EQ(bench.write(0x6046, 2, 800, 4), 0U);
  set_point(1000);
  bench.step(milliseconds(2000));
  EXPECT_EQ(velocity(), 800);
  EXPECT_TRUE(internal_limit());
  EXPECT_TRUE(target_reached());
  set_point(-30000);
  bench.step(milliseconds(3000));
  EXPECT_EQ(velocity(), -800);
  EXPECT_TRUE(internal_limit());
  set_point(50);
  bench.step(milliseconds(3000));
  EXPECT_EQ(velocity(), 100);
  EXPECT_TRUE(internal_limit());
  set_point(0);
  bench.step(milliseconds(3000));
  EXPECT_EQ(velocity(), 0) << "a wish to stand is no set-point below the limit";
  EXPECT_FALSE(internal_limit());
  set_point(500);
  bench.step(milliseconds(3000));
  EXPECT_FALSE(internal_limit());
}

TEST_F(VelocityTest, ANewLimitActsAtOnce) {
  set_point(1000);
  bench.step(milliseconds(1000));
  EXPECT_EQ(bench.write(0x6046, 2, 400, 4), 0U);
  bench.step(milliseconds(600));
  EXPECT_EQ(velocity(), 400);
}

TEST_F(VelocityTest, MultipliesTheSetPointByItsFactor) {
  EXPECT_EQ(bench.write(0x604B, 1, 3, 2), 0U);
  EXPECT_EQ(bench.write(0x604B, 2, 2, 2), 0U);
  set_point(200);
  bench.step(milliseconds(1000));
  EXPECT_EQ(velocity(), 300);
  EXPECT_EQ(demand(), 200) << "in the unit of the set-point";
  EXPECT_EQ(static_cast<std::int16_t>(bench.read(0x6044)), 200);
  EXPECT_EQ(bench.write(0x604B, 2, 0, 2), 0x06090030U) << "nothing is divided by 0";
  EXPECT_EQ(bench.write(0x604B, 1, static_cast<std::uint16_t>(-3), 2), 0U);
  bench.step(milliseconds(1000));
  EXPECT_EQ(velocity(), -300);
}

TEST_F(VelocityTest, TheDimensionFactorIsTheDrivesOwn) {
  EXPECT_EQ(bench.write(0x604C, 1, 2, 4), 0x06010002U);
  EXPECT_EQ(bench.read_signed(0x604C, 1), 1);
}

TEST_F(VelocityTest, WithoutTheEnableBitItStandsOnItsRamp) {
  set_point(1000);
  bench.step(milliseconds(1000));
  control(0x6F);
  bench.step(milliseconds(500));
  EXPECT_EQ(velocity(), 500);
  bench.step(milliseconds(500));
  EXPECT_EQ(velocity(), 0);
}

TEST_F(VelocityTest, WithoutTheUnlockBitTheRampIsFrozen) {
  set_point(1000);
  bench.step(milliseconds(400));
  control(0x5F);
  bench.step(milliseconds(3000));
  EXPECT_EQ(velocity(), 400);
  EXPECT_FALSE(target_reached());
  control(0x7F);
  bench.step(milliseconds(600));
  EXPECT_EQ(velocity(), 1000);
}

TEST_F(VelocityTest, WithoutTheReferenceBitTheSetPointCountsAsZero) {
  set_point(1000);
  bench.step(milliseconds(1000));
  control(0x3F);
  bench.step(milliseconds(1000));
  EXPECT_EQ(velocity(), 0);
}

TEST_F(VelocityTest, AfterNTurnsOfTheWheelTheOdometryIsNTimesPiTimesItsDiameter) {
  constexpr int kTurns = 25;
  constexpr double kReduction = 10.0;
  constexpr double kDiameter = 200.0;
  EXPECT_EQ(bench.write(0x6048, 2, 0, 2), 0U);
  EXPECT_EQ(bench.write(0x6049, 2, 0, 2), 0U);
  set_point(600);  // ten motor turns a second: one turn of the wheel
  for (int i = 0; i < kTurns; ++i) bench.step(milliseconds(1000));
  set_point(0);
  const double electrical = bench.read_signed(0x6064) / 360.0;
  const double odometry = electrical / 7 / kReduction * kDiameter * kPi;
  EXPECT_NEAR(odometry, kTurns * kPi * kDiameter, 0.1);
}

TEST_F(VelocityTest, IntegratesThePositionOverItsRamps) {
  set_point(600);
  bench.step(milliseconds(600));  // 600/min at 1000/min each second: the mean is 300/min
  set_point(0);
  bench.step(milliseconds(600));
  const double turns = bench.read_signed(0x6064) / 2520.0;
  EXPECT_NEAR(turns, 1.2 * 300 / 60, 0.001);
  bench.step(milliseconds(10000));
  EXPECT_NEAR(bench.read_signed(0x6064) / 2520.0, turns, 0.0001);
}

TEST_F(VelocityTest, ThePositionCounterWraps) {
  EXPECT_EQ(bench.write(0x6048, 2, 0, 2), 0U);
  set_point(3000);  // 126,000 steps a second
  bench.step(milliseconds(17100000));
  EXPECT_LT(bench.read_signed(0x6064), 0);
  EXPECT_EQ(bench.read(0x6064), 2154600000U);
}

TEST_F(VelocityTest, PolarityTurnsSpeedAndPositionRound) {
  EXPECT_EQ(bench.write(0x607E, 0, 0xC0, 1), 0U);
  set_point(600);
  bench.step(milliseconds(10000));
  EXPECT_EQ(velocity(), 600) << "set-point and actual value are seen the same way round";
  EXPECT_EQ(bench.write(0x607E, 0, 0x40, 1), 0U);
  const int reversed = bench.read_signed(0x6064);
  EXPECT_EQ(bench.write(0x607E, 0, 0xC0, 1), 0U);
  EXPECT_EQ(bench.read_signed(0x6064), -reversed);
  EXPECT_LT(reversed, 0) << "the motor itself turns backwards";
}

TEST_F(VelocityTest, ADriveWithoutTorqueShowsNoDemand) {
  set_point(1000);
  bench.step(milliseconds(1000));
  control(0);
  EXPECT_EQ(demand(), 0);
  EXPECT_EQ(velocity(), 1000) << "it coasts";
  EXPECT_FALSE(target_reached());
  bench.step(milliseconds(60000));
  EXPECT_EQ(velocity(), 0);
}

/** A drive whose user counts in 0.5/min: two units are one turn a minute. */
class HalfUnitsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const std::uint32_t word : {0x06U, 0x07U, 0x7FU}) bench.write(0x6040, 0, word, 2);
  }
  DriveBench bench{changed(shipped_description(), "604Csub2", "DefaultValue", "2"), as_node(1)};
};

TEST_F(HalfUnitsTest, LimitsAreInTheUnitsOfTheSetPoint) {
  bench.write(0x6046, 2, 1000, 4);
  bench.write(0x6042, 0, 1500, 2);
  EXPECT_NE(bench.read(0x6041) & 0x0800U, 0U) << "internal limit";
  bench.step(milliseconds(5000));
  EXPECT_EQ(bench.read_signed(0x6044) & 0xFFFF, 1000) << "units of the user";
  bench.write(0x6640, 0, 0, 1);
  bench.step(milliseconds(100));
  EXPECT_EQ(bench.read_signed(0x606C), 900) << "500/min, less the 50 that coasting takes in 100 ms, in units";
}

TEST_F(HalfUnitsTest, RampsAreInTheUnitsOfTheSetPoint) {
  bench.write(0x6042, 0, 1000, 2);
  bench.step(milliseconds(500));
  EXPECT_EQ(bench.read_signed(0x6044) & 0xFFFF, 500) << "1000 units each second";
  bench.step(milliseconds(500));
  bench.write(0x6042, 0, 0, 2);
  bench.step(milliseconds(500));
  EXPECT_EQ(bench.read_signed(0x6044) & 0xFFFF, 500);
  bench.write(0x6042, 0, 1000, 2);
  bench.step(milliseconds(500));
  bench.write(0x6040, 0, 0x7B, 2);  // quick stop: 5000 units each second
  bench.step(milliseconds(100));
  EXPECT_EQ(bench.read_signed(0x6044) & 0xFFFF, 500);
}

/** A drive whose description knows more modes and starts in another one. */
class OtherModesTest : public ::testing::Test {
 protected:
  static std::string description() {
    std::string eds = changed(shipped_description(), "6060", "DefaultValue", "1");
    eds = changed(eds, "6060", "LowLimit", "");
    return changed(eds, "6060", "HighLimit", "");
  }
  DriveBench bench{description(), as_node(1)};
};

TEST_F(OtherModesTest, TheDisplayShowsNoModeThatTheDriveDoesNotHave) {
  EXPECT_EQ(bench.read_signed(0x6060), 1);
  EXPECT_EQ(bench.read_signed(0x6061), 0);
  EXPECT_EQ(bench.write(0x6060, 0, 3, 1), 0x06090030U);
  EXPECT_EQ(bench.write(0x6060, 0, 2, 1), 0U);
  EXPECT_EQ(bench.read_signed(0x6061), 2);
}

TEST_F(OtherModesTest, TheMotorFollowsTheVelocityTargetInVelocityModeOnly) {
  for (const std::uint32_t word : {0x06U, 0x07U, 0x7FU}) bench.write(0x6040, 0, word, 2);
  bench.write(0x6042, 0, 500, 2);
  bench.step(milliseconds(1000));
  EXPECT_EQ(bench.read_signed(0x606C), 0);
  EXPECT_EQ(bench.write(0x6060, 0, 2, 1), 0U);
  bench.step(milliseconds(1000));
  EXPECT_EQ(bench.read_signed(0x606C), 500);
  EXPECT_EQ(bench.write(0x6060, 0, 0, 1), 0U);
  bench.step(milliseconds(1000));
  EXPECT_EQ(bench.read_signed(0x606C), 0);
}

}  // namespace
}  // namespace tav::drive::test

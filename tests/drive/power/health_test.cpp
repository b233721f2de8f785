// Supply, current, temperatures, self test and calibration.
#include <gtest/gtest.h>

#include "drive/DriveBench.hpp"

namespace tav::drive::test {
namespace {

constexpr std::uint32_t kWell = 0;
constexpr std::uint32_t kWarning = 1;
constexpr std::uint32_t kError = 2;

class HealthTest : public ::testing::Test {
 protected:
  std::uint32_t state() { return bench.read(0x6041) & 0x4F; }
  bool warned() { return (bench.read(0x6041) & 0x80) != 0; }
  void measure() { bench.drive().measure(environment); }

  DriveBench bench;
  Environment environment;
};

TEST_F(HealthTest, AsShippedAllIsWell) {
  for (std::uint8_t i = 1; i <= 5; ++i) EXPECT_EQ(bench.read(0x2043, i), kWell);
  EXPECT_EQ(bench.read(0x2040), 0U);
  EXPECT_EQ(bench.read(0x2041), 0U);
  EXPECT_FALSE(warned());
}

TEST_F(HealthTest, ALowBatteryWarnsAndThenFails) {
  environment.battery_mv = 21999;
  measure();
  EXPECT_EQ(bench.read(0x2043, 1), kWarning);
  EXPECT_TRUE(warned());
  EXPECT_EQ(bench.read(0x1001), 0U);
  environment.battery_mv = 19999;
  measure();
  EXPECT_EQ(bench.read(0x2043, 1), kError);
  EXPECT_EQ(bench.read(0x2040), 0x01U);
  EXPECT_EQ(bench.read(0x603F), 0x3220U);
  EXPECT_EQ(state(), 0x08U);
}

TEST_F(HealthTest, AWarningThatLastsBecomesAnError) {
  environment.battery_mv = 57000;
  measure();
  bench.step(milliseconds(999));
  EXPECT_EQ(bench.read(0x2043, 2), kWarning);
  bench.step(milliseconds(1));
  EXPECT_EQ(bench.read(0x2043, 2), kError);
  EXPECT_EQ(bench.read(0x603F), 0x3210U);
}

TEST_F(HealthTest, AWarningThatEndsInTimeIsForgotten) {
  environment.phase_current_ma = 26000;
  measure();
  EXPECT_EQ(bench.read(0x2043, 3), kWarning);
  bench.step(milliseconds(999));
  environment.phase_current_ma = 24000;
  measure();
  bench.step(milliseconds(5000));
  EXPECT_EQ(bench.read(0x2043, 3), kWell);
  EXPECT_FALSE(warned());
}

TEST_F(HealthTest, AFailureCanBeResetWhenItsCauseIsGone) {
  environment.phase_current_ma = 30001;
  measure();
  EXPECT_EQ(bench.read(0x603F), 0x2310U);
  bench.write(0x6040, 0, 0x80, 2);
  EXPECT_EQ(state(), 0x08U);
  environment.phase_current_ma = 0;
  measure();
  EXPECT_EQ(bench.read(0x2043, 3), kWell);
  bench.write(0x6040, 0, 0x00, 2);
  bench.write(0x6040, 0, 0x80, 2);
  EXPECT_EQ(state(), 0x40U);
}

TEST_F(HealthTest, TheBoardFactorScalesTheCurrent) {
  EXPECT_EQ(bench.write(0x2044, 12, 0x40000000, 4), 0U);  // 2.0
  environment.phase_current_ma = 15001;
  measure();
  EXPECT_EQ(bench.read(0x2043, 3), kError);
}

TEST_F(HealthTest, ANewThresholdActsAtOnce) {
  EXPECT_EQ(bench.write(0x2044, 4, 50000, 4), 0U);
  EXPECT_EQ(bench.read(0x2043, 1), kError) << "48 V is too little now";
}

TEST_F(HealthTest, TemperaturesHaveAHysteresis) {
  environment.mosfet_2_celsius = 85;
  measure();
  EXPECT_EQ(bench.read(0x2043, 4), kError);
  EXPECT_EQ(bench.read(0x603F), 0x4310U);
  environment.mosfet_2_celsius = 75;
  measure();
  EXPECT_EQ(bench.read(0x2043, 4), kError);
  environment.mosfet_2_celsius = 74;
  measure();
  EXPECT_EQ(bench.read(0x2043, 4), kWell);
  environment.driver_celsius = 150;
  measure();
  EXPECT_EQ(bench.read(0x2043, 5), kError);
}

TEST_F(HealthTest, AnErrorRunsThroughTheProtectionStates) {
  environment.battery_mv = 10000;
  measure();
  EXPECT_EQ(bench.read(0x2041), 1U) << "zero torque";
  EXPECT_EQ(bench.read(0x2042), 0U);
  bench.step(milliseconds(500));
  EXPECT_EQ(bench.read(0x2041), 2U) << "phases short-circuited";
  EXPECT_EQ(bench.read(0x2042), 1U);
  bench.step(milliseconds(100));
  EXPECT_EQ(bench.read(0x2041), 0U);
  EXPECT_EQ(bench.read(0x2042), 2U);
}

TEST_F(HealthTest, ASimulatedSelfTestErrorIsAFault) {
  EXPECT_EQ(bench.write(0x2050, 4, 3, 1), 0U);
  EXPECT_EQ(bench.read(0x2050, 1), 0U);
  EXPECT_EQ(bench.read(0x2050, 2), 3U);
  EXPECT_EQ(bench.read(0x603F), 0x5400U);
  EXPECT_EQ(bench.read(0x2040), 0x40U);
  EXPECT_EQ(state(), 0x08U);
  EXPECT_EQ(bench.write(0x2050, 4, 0, 1), 0U);
  bench.write(0x6040, 0, 0x80, 2);
  EXPECT_EQ(state(), 0x40U);
  EXPECT_EQ(bench.read(0x2040), 0U);
}

TEST_F(HealthTest, WithoutCalibrationThereIsNoTorque) {
  EXPECT_EQ(bench.write(0x2051, 1, 0, 1), 0U);
  EXPECT_EQ(bench.read(0x603F), 0x7122U);
  bench.write(0x6040, 0, 0x06, 2);
  EXPECT_EQ(state(), 0x40U);
  EXPECT_EQ(bench.write(0x2051, 1, 1, 1), 0U);
  EXPECT_EQ(bench.read(0x1001), 0U);
  bench.write(0x6040, 0, 0x06, 2);
  EXPECT_EQ(bench.read(0x6041) & 0x6F, 0x21U);
}

TEST_F(HealthTest, ACurrentOfTheOtherSignIsAnOverCurrentToo) {
  environment.phase_current_ma = -26000;
  measure();
  EXPECT_EQ(bench.read(0x2043, 3), kWarning);
  environment.phase_current_ma = -1000000;
  measure();
  EXPECT_EQ(bench.read(0x2043, 3), kError);
  EXPECT_EQ(bench.read(0x603F), 0x2310U);
}

/** The motor turns at 1000/min; without torque it loses 500/min each second, short-circuited 2000. */
class ProtectionTest : public HealthTest {
 protected:
  void SetUp() override {
    for (const std::uint32_t word : {0x06U, 0x07U, 0x7FU}) bench.write(0x6040, 0, word, 2);
    bench.write(0x6042, 0, 1000, 2);
    bench.step(milliseconds(1000));
    EXPECT_EQ(velocity(), 1000);
  }
  std::int32_t velocity() { return bench.read_signed(0x606C); }
};

TEST_F(ProtectionTest, ZeroTorqueBrakesNothingAndAShortCircuitDoes) {
  environment.phase_current_ma = 31000;
  measure();
  EXPECT_EQ(state(), 0x08U) << "no fault reaction without torque";
  EXPECT_EQ(bench.read(0x2041), 1U);
  bench.step(milliseconds(500));
  EXPECT_EQ(velocity(), 750);
  EXPECT_EQ(bench.read(0x2041), 2U);
  bench.step(milliseconds(100));
  EXPECT_EQ(velocity(), 550);
  EXPECT_EQ(bench.read(0x2041), 0U);
  bench.step(milliseconds(100));
  EXPECT_EQ(velocity(), 500);
}

TEST_F(ProtectionTest, ThereIsNoTorqueWhileItRuns) {
  environment.phase_current_ma = 31000;
  measure();
  environment.phase_current_ma = 0;
  measure();
  bench.write(0x6040, 0, 0x80, 2);
  EXPECT_EQ(state(), 0x40U);
  bench.write(0x6040, 0, 0x06, 2);
  EXPECT_EQ(state(), 0x40U);
  bench.step(milliseconds(600));
  bench.write(0x6040, 0, 0x06, 2);
  EXPECT_EQ(bench.read(0x6041) & 0x6FU, 0x21U);
}

TEST_F(ProtectionTest, WithoutSupplyThereIsNoTorque) {
  environment.battery_mv = 0;
  measure();
  EXPECT_EQ(bench.read(0x6041) & 0x10U, 0U) << "voltage enabled";
  EXPECT_EQ(bench.read(0x2021, 3), 0U) << "high power applied";
  bench.step(milliseconds(500));
  EXPECT_EQ(velocity(), 750);
}

TEST(SupplyWithoutThresholds, ADriveWithoutVoltageDoesNotTurn) {
  std::string eds = shipped_description();
  for (std::size_t at = eds.find("battery_uv_error"); at != std::string::npos;
       at = eds.find("battery_uv_error")) {
    eds.replace(at, 16, "battery_xx_error");
  }
  DriveBench bench(eds, as_node(1));
  for (const std::uint32_t word : {0x06U, 0x07U, 0x7FU}) bench.write(0x6040, 0, word, 2);
  EXPECT_EQ(bench.read(0x6041) & 0x6FU, 0x27U);
  Environment flat;
  flat.battery_mv = 0;
  bench.drive().measure(flat);
  EXPECT_EQ(bench.read(0x6041) & 0x4FU, 0x40U) << "the output stage cannot stay on";
  bench.write(0x6040, 0, 0x06, 2);
  EXPECT_EQ(bench.read(0x6041) & 0x4FU, 0x40U);
  bench.drive().measure(Environment());
  bench.write(0x6040, 0, 0x06, 2);
  EXPECT_EQ(bench.read(0x6041) & 0x6FU, 0x21U);
}

TEST(HealthAtPowerOn, ShowsWhatTheSensorsMeasuredBefore) {
  std::string problem;
  const auto drive = VirtualDrive::from_file("share/tav/tav.eds", as_node(1), problem);
  ASSERT_NE(drive, nullptr) << problem;
  Frames frames;
  drive->connect([&](const nkr::can::Frame& frame) { frames.push_back(nkr::can::to_string(frame)); });
  Environment flat;
  flat.battery_mv = 5000;
  drive->measure(flat);
  EXPECT_EQ(frames, Frames{});
  drive->power_on(Time{});
  drive->advance(Time{} + milliseconds(1));
  EXPECT_EQ(frames, (Frames{"701#00", "081#2032050000000000"}));
}

}  // namespace
}  // namespace tav::drive::test

#include <gtest/gtest.h>

#include <limits>

#include "../../../src/controller/WrappingArithmetic.hpp"
#include "support/ControllerFixture.hpp"

namespace {

using namespace nkr::tavcore;
using tavtest::ControllerFixture;
using Names = std::vector<std::string>;

constexpr nkr_error_t kTimedOut = NKR_SDO_TIMED_OUT;

class DriveInformation : public ControllerFixture {
 protected:
  int odometry_at(int position) {
    Controller& controller = initialized_controller();
    dispatcher->axis_position = position;
    int odometry = -1;
    EXPECT_EQ(controller.getOdometryValue(odometry), NKR_OK);
    return odometry;
  }
};

TEST_F(DriveInformation, BeforeInitAllAreRefusedWithTheirOwnName) {
  Controller controller;
  int number = 1;
  bool compatible = true;
  EXPECT_EQ(controller.getOdometryValue(number), NKR_NOT_AVAILABLE);
  expect_single_record(0, 2, "getOdometryValue", std::nullopt, "TAV Controller is not initialized");
  log.clear();
  EXPECT_EQ(controller.checkHWCompatibility("hw", compatible), NKR_NOT_AVAILABLE);
  expect_single_record(0, 2, "checkHWCompatibility", std::nullopt, "TAV Controller is not initialized");
  log.clear();
  std::string text;
  EXPECT_EQ(controller.getSWVersion(text), NKR_NOT_AVAILABLE);
  expect_single_record(0, 2, "getSWVersion", std::nullopt, "TAV Controller is not initialized");
  log.clear();
  EXPECT_EQ(controller.getHWVersion(text), NKR_NOT_AVAILABLE);
  expect_single_record(0, 2, "getHWVersion", std::nullopt, "TAV Controller is not initialized");
  log.clear();
  EXPECT_EQ(number, 1);
  EXPECT_TRUE(compatible);
}

TEST_F(DriveInformation, OdometryIsTheWheelCircumferenceTimesTheWheelRevolutions) {
  load_config({{"nbStepRevolutionElec", "6"}, {"nbPolePair", "4"}, {"reduction", "10"}, {"diameter", "200"}});
  EXPECT_EQ(odometry_at(0), 0);
  EXPECT_EQ(odometry_at(240), 628);        // one wheel revolution: 200 * pi = 628.3
  EXPECT_EQ(odometry_at(-240), -628);      // truncated toward zero
  EXPECT_EQ(odometry_at(240000), 628318);  // 1000 revolutions
}

TEST_F(DriveInformation, OdometryIs0WhenTheReadFailedAndTheFailureIsReturned) {
  Controller& controller = initialized_controller();
  dispatcher->axis_position = 5000;
  dispatcher->results["getPositionValue"] = {kTimedOut};
  int odometry = 77;
  EXPECT_EQ(controller.getOdometryValue(odometry), kTimedOut);
  EXPECT_EQ(odometry, 0);
}

TEST_F(DriveInformation, OdometrySaturatesAndTakesNoNumberAs0) {
  load_config({{"nbStepRevolutionElec", "1"}, {"nbPolePair", "1"}, {"reduction", "1"}, {"diameter", "1e9"}});
  EXPECT_EQ(odometry_at(1000), std::numeric_limits<int>::max());
  EXPECT_EQ(odometry_at(-1000), std::numeric_limits<int>::min());
  load_config({{"nbStepRevolutionElec", "0"}, {"nbPolePair", "1"}, {"reduction", "1"}, {"diameter", "1"}});
  EXPECT_EQ(odometry_at(0), 0);
  EXPECT_EQ(odometry_at(1), std::numeric_limits<int>::max());
}

TEST_F(DriveInformation, VersionsAreTheFourBytesJoinedByDots) {
  Controller& controller = initialized_controller();
  dispatcher->sw_version = 0x01020304;
  dispatcher->hw_version = 0xFF000A00;
  std::string text;
  EXPECT_EQ(controller.getSWVersion(text), NKR_OK);
  EXPECT_EQ(text, "1.2.3.4");
  EXPECT_EQ(controller.getHWVersion(text), NKR_OK);
  EXPECT_EQ(text, "255.0.10.0");
}

TEST_F(DriveInformation, AFailedVersionReadLeavesTheTextUnchanged) {
  Controller& controller = initialized_controller();
  dispatcher->results["getSWVersion(number)"] = {kTimedOut};
  dispatcher->results["getHWVersion(number)"] = {kTimedOut};
  std::string text = "old";
  EXPECT_EQ(controller.getSWVersion(text), kTimedOut);
  EXPECT_EQ(controller.getHWVersion(text), kTimedOut);
  EXPECT_EQ(text, "old");
  bool compatible = true;
  EXPECT_EQ(controller.checkHWCompatibility("hw", compatible), kTimedOut);
  EXPECT_TRUE(compatible);
}

TEST_F(DriveInformation, CompatibilityIsTheListOfTheConfigurationSection) {
  load_config({{"compatibleHWVersions", "1.0.0.0, 1.2.3.4"}});
  Controller& controller = initialized_controller();
  bool compatible = false;
  dispatcher->hw_version = 0x01020304;
  EXPECT_EQ(controller.checkHWCompatibility("hw", compatible), NKR_OK);
  EXPECT_TRUE(compatible);
  dispatcher->hw_version = 0x01020305;
  EXPECT_EQ(controller.checkHWCompatibility("hw", compatible), NKR_OK);
  EXPECT_FALSE(compatible);
  EXPECT_EQ(controller.checkHWCompatibility("no such section", compatible), NKR_NOT_AVAILABLE);
}

TEST_F(DriveInformation, WithoutAConfigurationWhatNeedsItAnswersNotAvailable) {
  Controller& controller = initialized_controller();
  ASSERT_EQ(controller.init(nullptr, nullptr), NKR_ERROR);
  int odometry = 0;
  bool compatible = false;
  EXPECT_EQ(controller.getOdometryValue(odometry), NKR_NOT_AVAILABLE);
  EXPECT_EQ(controller.checkHWCompatibility("hw", compatible), NKR_NOT_AVAILABLE);
  EXPECT_EQ(controller.setTavInfos(1, IDiagnosticService::MoveEnum::FORWARD), NKR_NOT_AVAILABLE);
}

TEST(WrappingArithmetic, DividesTheSmallestNumberByMinus1WithoutOverflow) {
  EXPECT_EQ(wrapping_quotient(std::numeric_limits<int>::min(), -1), std::numeric_limits<int>::min());
  EXPECT_EQ(wrapping_quotient(-7, 2), -3);
  EXPECT_EQ(wrapping_product(1 << 30, 4), 0);
  EXPECT_EQ(wrapping_product(-3, 5), -15);
}

}  // namespace

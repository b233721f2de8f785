// Numbers with units, and enumerations by name.
#include <gtest/gtest.h>

#include <string>

#include "tavctl/Tool.hpp"

namespace {

using tool::DriveOnBus;
using tool::tavctl;

void expect_in(const std::string& text, const std::string& part) {
  EXPECT_NE(text.find(part), std::string::npos) << part << "\n--- is not in:\n" << text;
}

TEST(Units, AreShownByName) {
  const auto result = tavctl({"--bus", "virtual", "units"});
  EXPECT_EQ(result.code, 0) << result.err;
  expect_in(result.out, "rpm         0x00B44700");
  expect_in(result.out, "inc         0x00B50000");
  expect_in(result.out, "rev/s^2     0x00B45700");
  expect_in(result.out, "ms          0xFD030000");
  expect_in(result.out, "Target velocity unit    rpm");
}

TEST(Units, AreTakenByName) {
  const DriveOnBus drive;
  const auto result = drive.tavctl({"units", "--velocity", "0.1rpm", "--json"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.json()["velocity_unit"]["raw"], 0xFFB44700U);
  EXPECT_EQ(result.json()["velocity_unit"]["unit"], "0.1 rpm");
  EXPECT_EQ(drive.tavctl({"units", "--velocity", "0x00B44700"}).code, 0) << "numbers are taken still";
}

TEST(Units, ThatMeanNothingAreRefused) {
  const DriveOnBus drive;
  auto result = drive.tavctl({"units", "--velocity", "0x12345678"});
  EXPECT_EQ(result.code, 6);
  expect_in(result.err, "0x12345678 means no unit");
  result = drive.tavctl({"units", "--velocity", "inc"});
  EXPECT_EQ(result.code, 6);
  expect_in(result.err, "inc is no unit of velocity");
  EXPECT_EQ(drive.tavctl({"units", "--velocity", "furlong"}).code, 2);
  EXPECT_EQ(drive.downloads(), 0);
}

TEST(Velocity, IsTakenInMetresPerSecondAndSaysWhatIsSent) {
  // pi * 0.2 m around the wheel, a gear of 10: 0.3 m/s are 286.48 rpm of the motor
  const DriveOnBus drive;
  const auto result = drive.tavctl({"velocity", "0.3m/s", "--for", "0.1", "--json"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.json_lines().back()["target_velocity"], 286);
  expect_in(result.err, "target velocity: 0.3m/s is sent as 286 rpm");
}

TEST(Velocity, IsTakenInRevolutionsAndInPercentOfTheMaximum) {
  const DriveOnBus drive;
  EXPECT_EQ(
      drive.tavctl({"velocity", "-2rev/s", "--for", "0.1", "--json"}).json_lines().back()["target_velocity"],
      -120);
  const auto result = drive.tavctl({"velocity", "12%", "--for", "0.1", "--json"});
  EXPECT_EQ(result.json_lines().back()["target_velocity"], 36) << "of maxMaintenanceSpeedValue = 300";
  expect_in(result.err, "12% of maxMaintenanceSpeedValue is sent as 36 rpm");
}

TEST(Velocity, ThatCannotBeTakenIsRefusedBeforeAnythingMoves) {
  const DriveOnBus drive;
  EXPECT_EQ(drive.tavctl({"velocity", "40000"}).code, 6);
  EXPECT_EQ(drive.tavctl({"velocity", "1000m/s"}).code, 6);
  EXPECT_EQ(drive.tavctl({"velocity", "3mm"}).code, 6);
  EXPECT_EQ(drive.tavctl({"velocity", "fast"}).code, 2);
  EXPECT_EQ(drive.downloads(), 0);
}

TEST(Velocity, IsShownWithItsUnit) {
  const DriveOnBus drive;
  const auto result = drive.tavctl({"velocity", "60", "--for", "0.1"});
  expect_in(result.out, "Target velocity         60 rpm\n");
  expect_in(drive.tavctl({"state"}).out, "Velocity                0 rpm\n");
}

TEST(ReadAndWrite, KnowTheUnitsOfObjects) {
  const DriveOnBus drive;
  const auto result = drive.tavctl({"write", "vl_target_velocity", "5rev/s"});
  EXPECT_EQ(result.code, 0) << result.err;
  expect_in(result.out, "(0x6042:00): 300 rpm");
  expect_in(drive.tavctl({"read", "vl_target_velocity", "--json"}).out, "\"unit\": \"rpm\"");
  EXPECT_EQ(drive.tavctl({"write", "vl_target_velocity", "1000rev/s"}).code, 6);
}

TEST(SafetySet, TakesVelocitiesAndTimesWithUnits) {
  const DriveOnBus drive;
  const auto result = drive.tavctl({"safety", "set", "SLS", "1", "velocity_limit=0.3m/s",
                                    "time_to_velocity_monitoring=0.5s", "error_reaction=STO"});
  EXPECT_EQ(result.code, 0) << result.err;
  expect_in(result.err, "velocity_limit: 0.3m/s is sent as 286 rpm");
  expect_in(result.out, "286 (0x0000011E) rpm");
  expect_in(result.out, "500 (0x01F4) ms");
  expect_in(result.out, "Error reaction          STO");
  expect_in(drive.tavctl({"safety", "show"}).out, "286 (0x0000011E) rpm");
}

TEST(OptionCodes, AreTakenByNameAndNumber) {
  const DriveOnBus drive;
  auto result = drive.tavctl({"option-codes", "--halt", "quick-stop ramp", "--json"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.json()["halt"]["value"], 2);
  EXPECT_EQ(result.json()["halt"]["name"], "quick-stop ramp");
  EXPECT_EQ(drive.tavctl({"option-codes", "--halt", "1", "--json"}).json()["halt"]["name"], "slow-down ramp");
  result = drive.tavctl({"option-codes", "--halt", "explode"});
  EXPECT_EQ(result.code, 2);
  expect_in(result.err, "a number, or: coast, slow-down ramp");
}

}  // namespace

// Several drives and a vehicle, from the command line.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "tavctl/Tool.hpp"

namespace {

using tool::tavctl;

constexpr const char* kVehicle = R"([default]
CANOpenEDSFile = share/tav/tav.eds
HWConfigurationEntry = wheel
maxMaintenanceSpeedValue = 300

[wheel]
nbStepRevolutionElec = 360
nbPolePair = 7
reduction = 10.0
diameter = 200.0

[unit left]
nodeId = 11

[unit right]
nodeId = 12
sense = inverted

[vehicle]
trackWidth = 400.0
left = left
right = right
)";

/** tavctl on two drives inside it. */
tool::Result on_two(std::vector<std::string> arguments) {
  const std::string path = testing::TempDir() + "tavctl-vehicle.ini";
  std::ofstream(path) << kVehicle;
  arguments.insert(arguments.begin(), {"--bus", "virtual", "--config", path});
  return tavctl(arguments);
}

/** The same, again when a busy machine held the program up for longer than the drives wait for it. */
tool::Result patiently_on_two(const std::vector<std::string>& arguments) {
  constexpr int kWrongState = 7;
  tool::Result result = on_two(arguments);
  for (int i = 0; i < 20 && result.code == kWrongState; ++i) result = on_two(arguments);
  return result;
}

void expect_in(const std::string& text, const std::string& part) {
  EXPECT_NE(text.find(part), std::string::npos) << part << "\n--- is not in:\n" << text;
}

TEST(GroupVelocity, TurnsEachDriveAtItsVelocityAndStopsThem) {
  const auto result =
      patiently_on_two({"group", "velocity", "left=300", "right=-200", "--for", "3", "--json"});
  ASSERT_EQ(result.code, 0) << result.err;
  const auto units = result.json()["units"];
  EXPECT_EQ(units[0]["name"], "left");
  EXPECT_NEAR(units[0]["velocity"].get<int>(), 300, 5) << "a motor ripples";
  EXPECT_EQ(units[1]["node"], 12);
  EXPECT_NEAR(units[1]["velocity"].get<int>(), -200, 5);
  EXPECT_EQ(result.json()["start"]["classes"].size(), 11U) << "the histogram";
}

TEST(GroupVelocity, RefusesWhatIsNoUnitOrNoVelocity) {
  auto result = on_two({"group", "velocity", "left=300", "middle=1"});
  EXPECT_EQ(result.code, 3);
  expect_in(result.err, "no [unit middle], but left, right");
  EXPECT_EQ(on_two({"group", "velocity", "left"}).code, 2);
  EXPECT_EQ(on_two({"group", "velocity", "left=fast"}).code, 2);
  EXPECT_EQ(on_two({"group", "velocity", "left=40000"}).code, 2);
}

TEST(GroupWatch, ShowsAllDrives) {
  const auto result = on_two({"group", "watch", "--count", "1"});
  EXPECT_EQ(result.code, 0) << result.err;
  expect_in(result.out, "left");
  expect_in(result.out, "right");
  expect_in(result.out, "SWITCH_ON_DISABLED");
}

TEST(Drive, GoesForwardOnWheelsThatAreMountedOppositely) {
  const auto result = patiently_on_two({"drive", "--v", "0.2", "--for", "2", "--json"});
  ASSERT_EQ(result.code, 0) << result.err;
  EXPECT_GT(result.json()["pose"]["x"].get<double>(), 0.1);
  EXPECT_NEAR(result.json()["pose"]["y"].get<double>(), 0, 0.01);
}

TEST(Drive, NeedsAVehicle) {
  const auto result = tavctl({"--bus", "virtual", "drive", "--v", "0.2"});
  EXPECT_EQ(result.code, 3);
  expect_in(result.err, "describes no vehicle");
}

TEST(CycleTest, RefusesWhatDoesNotFitTheBitRateWithTheNumbers) {
  const auto result = on_two({"cycle-test", "--period", "1ms", "--units", "2", "--bit-rate", "500000"});
  EXPECT_EQ(result.code, 6);
  expect_in(result.err, "103 % of 500 kbit/s");
  expect_in(result.err, "800 kbit/s");
}

TEST(CycleTest, TellsHowTheCyclesWereAndMovesNothing) {
  const auto result = on_two({"cycle-test", "--period", "20ms", "--for", "1", "--json"});
  ASSERT_TRUE(result.code == 0 || result.code == 1) << result.err;  // as this machine is
  EXPECT_GT(result.json()["cycles"].get<int>(), 0);
  EXPECT_EQ(result.json()["is_fit"].get<bool>(), result.code == 0);
}

TEST(CycleTest, RefusesAPeriodThatIsNone) {
  EXPECT_EQ(on_two({"cycle-test", "--period", "soon"}).code, 2);
  EXPECT_EQ(on_two({"cycle-test", "--period", "2"}).code, 2);
  EXPECT_EQ(on_two({"cycle-test", "--units", "5"}).code, 3);
}

}  // namespace

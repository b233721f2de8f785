// The parameters of a motor, as a file has them.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <tav/drive/MotorParameters.hpp>

namespace tav::drive::test {
namespace {

std::string mistakes_in(const std::string& text) {
  std::istringstream stream(text);
  MotorParameters parameters;
  parameters.mass = 7;
  std::string problem;
  EXPECT_FALSE(read_motor_parameters(stream, parameters, problem)) << text;
  EXPECT_EQ(parameters.mass, 7);
  return problem;
}

TEST(MotorParameters, AreAPresetAndWhatDiffersFromIt) {
  std::istringstream text("# mine\r\npreset = agv-200mm\n mass = 120.5  # kg\n\nslope=-3e0\n");
  MotorParameters parameters;
  parameters.gear_ratio = 3;
  std::string problem;
  ASSERT_TRUE(read_motor_parameters(text, parameters, problem)) << problem;
  EXPECT_EQ(parameters.mass, 120.5);
  EXPECT_EQ(parameters.slope, -3);
  EXPECT_EQ(parameters.gear_ratio, 10);
}

TEST(MotorParameters, WithoutAPresetWhatStandsInNoLineStays) {
  std::istringstream text("mass = 120");
  MotorParameters parameters;
  parameters.gear_ratio = 3;
  std::string problem;
  ASSERT_TRUE(read_motor_parameters(text, parameters, problem)) << problem;
  EXPECT_EQ(parameters.gear_ratio, 3);
}

TEST(MotorParameters, EveryMistakeIsNamedWithItsLine) {
  EXPECT_EQ(
      mistakes_in("mass = 10\nmas = 10\nmass = heavy\nslope = 200\nslope 3\nmass = 1\npreset = agv-200mm\n"),
      "line 2: no parameter is called \"mas\"\n"
      "line 3: mass stands twice\n"
      "line 4: slope is a number from -100 to 100 %, not \"200\"\n"
      "line 5: \"slope 3\" is no \"name = value\"\n"
      "line 6: mass stands twice\n"
      "line 7: the preset comes first: it would undo what stands before it");
  EXPECT_EQ(mistakes_in("preset = agv"),
            "line 1: no preset is called \"agv\": agv-200mm, agv-200mm-heavy, agv-200mm-24v");
  for (const char* const number : {"", "1,5", "nan", "inf", "0x10", "1 2", "1e999", "--1", "1.2.3"}) {
    EXPECT_EQ(mistakes_in("mass = " + std::string(number)),
              "line 1: mass is a number from 0 to 100000 kg, not \"" + std::string(number) + "\"");
  }
}

TEST(MotorParameters, ThatContradictEachOtherAreRefused) {
  EXPECT_EQ(mistakes_in("nominal_current = 30\n"), "line 1: current_limit is below nominal_current");
  EXPECT_EQ(mistakes_in("chopper_voltage = 40"),
            "line 1: chopper_voltage is not above battery_voltage: the chopper would never rest");
}

TEST(MotorParameters, EachHasANameOfItsOwnAndADefaultWithinItsLimits) {
  const MotorParameters parameters;
  std::vector<std::string> names;
  for (const MotorParameter& one : motor_parameter_list()) {
    EXPECT_GE(parameters.*one.value, one.low) << one.name;
    EXPECT_LE(parameters.*one.value, one.high) << one.name;
    EXPECT_EQ(std::count(names.begin(), names.end(), one.name), 0) << one.name;
    names.emplace_back(one.name);
  }
  EXPECT_EQ(names.size() * sizeof(double), sizeof(MotorParameters));
}

TEST(MotorParameters, EveryPresetCanBeTaken) {
  for (const std::string& name : motor_presets()) {
    MotorParameters parameters;
    EXPECT_TRUE(motor_preset(name, parameters)) << name;
  }
  MotorParameters parameters;
  EXPECT_FALSE(motor_preset("", parameters));
}

}  // namespace
}  // namespace tav::drive::test

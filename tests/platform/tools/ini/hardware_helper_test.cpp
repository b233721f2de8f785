#include <gtest/gtest.h>

#include <cstdio>
#include <nkr/tools/HardwareHelper.hpp>

#include "support/TemporaryFile.hpp"

using nkr::tools::HardwareHelper;

namespace {

constexpr const char* kText =
    "[default]\nHWConfigurationEntry = unit\n"
    "[unit]\nnbPolePair = 7\nreduction = 12.5\ndevice = /dev/null\ncompatibleHWVersions = 1.0.0.0, 1.2.3.4\n"
    "[list]\ncompatibleHWVersions=11.2.3.4\n";

}  // namespace

TEST(HardwareHelper, ReadsMembersOfTheNamedSection) {
  const tavtest::TemporaryFile file(kText);
  HardwareHelper helper(1);
  ASSERT_EQ(helper.init(file.path()), NKR_OK);
  int pairs = 0;
  double reduction = 0;
  std::string device;
  EXPECT_EQ(helper.getHWConfigurationMember("nbPolePair", pairs), NKR_OK);
  EXPECT_EQ(pairs, 7);
  EXPECT_EQ(helper.getHWConfigurationMember("reduction", reduction), NKR_OK);
  EXPECT_EQ(reduction, 12.5);
  EXPECT_EQ(helper.getHWConfigurationMember("device", device), NKR_OK);
  EXPECT_EQ(device, "/dev/null");
}

TEST(HardwareHelper, AnswersNotAvailableForAnAbsentMemberOrAnotherType) {
  const tavtest::TemporaryFile file(kText);
  HardwareHelper helper(1);
  ASSERT_EQ(helper.init(file.path()), NKR_OK);
  int value = 5;
  EXPECT_EQ(helper.getHWConfigurationMember("diameter", value), NKR_NOT_AVAILABLE);
  EXPECT_EQ(helper.getHWConfigurationMember("reduction", value), NKR_NOT_AVAILABLE);
  EXPECT_EQ(value, 5);
}

TEST(HardwareHelper, AnswersNotAvailableForAnUnreadableFileOrAMissingSection) {
  HardwareHelper helper(1);
  EXPECT_EQ(helper.init("/nonexistent/file.ini"), NKR_NOT_AVAILABLE);
  EXPECT_EQ(helper.init(tavtest::TemporaryFile("[default]\nx=1\n").path()), NKR_NOT_AVAILABLE);
  EXPECT_EQ(helper.init(tavtest::TemporaryFile("[default]\nHWConfigurationEntry=gone\n").path()),
            NKR_NOT_AVAILABLE);
  EXPECT_EQ(helper.init(tavtest::TemporaryFile("no ini").path()), NKR_NOT_AVAILABLE);
  std::string text;
  EXPECT_EQ(helper.getHWConfigurationMember("device", text), NKR_NOT_AVAILABLE);
}

TEST(HardwareHelper, SaysWhetherADeviceNodeExists) {
  const HardwareHelper helper(1);
  bool present = false;
  EXPECT_EQ(helper.checkUSB("/dev/null", present), NKR_OK);
  EXPECT_TRUE(present);
  EXPECT_EQ(helper.checkUSB("/dev/no-such-device", present), NKR_OK);
  EXPECT_FALSE(present);
}

TEST(HardwareHelper, WritesAVersionAsFourBytes) {
  const HardwareHelper helper(1);
  EXPECT_EQ(helper.convertVersionToString(0x01020304), "1.2.3.4");
  EXPECT_EQ(helper.convertVersionToString(0xFF0A0000), "255.10.0.0");
}

TEST(HardwareHelper, LooksForTheWholeVersionInTheSectionsList) {
  const tavtest::TemporaryFile file(kText);
  HardwareHelper helper(1);
  ASSERT_EQ(helper.init(file.path()), NKR_OK);
  bool compatible = false;
  EXPECT_EQ(helper.checkHWCompatibility("unit", 0x01020304, compatible), NKR_OK);
  EXPECT_TRUE(compatible);
  EXPECT_EQ(helper.checkHWCompatibility("list", 0x01020304, compatible), NKR_OK);
  EXPECT_FALSE(compatible);
  EXPECT_EQ(helper.checkHWCompatibility("gone", 0x01020304, compatible), NKR_NOT_AVAILABLE);
}

// Names of objects and commands: as people type them, and what is said when they are misspelt.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>

#include "support/TemporaryFile.hpp"
#include "tavctl/Tool.hpp"

namespace {

using tool::DriveOnBus;
using tool::tavctl;

void expect_in(const std::string& text, const std::string& part) {
  EXPECT_NE(text.find(part), std::string::npos) << part << "\n--- is not in:\n" << text;
}

TEST(ObjectNames, AreTakenInAnyCaseAndWithAnySignBetweenWords) {
  const auto result = tavctl({"--bus", "virtual", "read", "StatusWord", "VL-Target velocity"});
  EXPECT_EQ(result.code, 0) << result.err;
  expect_in(result.out, "\"statusword\" (0x6041:00)");
  expect_in(result.out, "\"vl_target_velocity\" (0x6042:00)");
}

TEST(ObjectNames, ThatAreMisspeltAreAnsweredByTheNearest) {
  const auto result = tavctl({"--bus", "virtual", "read", "statuswrod"});
  EXPECT_EQ(result.code, 3);
  expect_in(result.err, "did you mean \"statusword\"?");
}

TEST(Read, TakesAWholeRecordByIndexOrName) {
  for (const char* const name : {"0x1018", "identity object"}) {
    const auto json = tavctl({"--bus", "virtual", "--json", "read", name}).json();
    ASSERT_EQ(json["objects"].size(), 5U) << name << json;
    EXPECT_EQ(json["objects"][1]["address"], "0x1018:01");
  }
}

TEST(Read, TakesOneMemberOfARecord) {
  const auto json = tavctl({"--bus", "virtual", "--json", "read", "0x1018:0"}).json();
  ASSERT_EQ(json["objects"].size(), 1U);
  EXPECT_EQ(json["objects"][0]["value"], 4);
}

TEST(Read, TakesPatterns) {
  const auto json = tavctl({"--bus", "virtual", "--json", "read", "identity*id"}).json();
  ASSERT_EQ(json["objects"].size(), 1U);
  EXPECT_EQ(json["objects"][0]["address"], "0x1018:01");
}

TEST(CommandNames, ThatAreMisspeltAreAnsweredByTheNearest) {
  auto result = tavctl({"--bus", "virtual", "velocty", "300"});
  EXPECT_EQ(result.code, 2);
  expect_in(result.err, "\"velocty\" is no command");
  expect_in(result.err, "did you mean \"velocity\"?");
  result = tavctl({"config", "lod", "x"});
  EXPECT_EQ(result.code, 2);
  expect_in(result.err, "\"lod\" is no command of config");
  expect_in(result.err, "did you mean \"load\"?");
}

TEST(CommandNames, MissingBehindAGroupAreListed) {
  for (const auto& [group, command] :
       {std::pair<const char*, const char*>{"comm", "show"}, {"safety", "verify"}, {"config", "save"}}) {
    const auto result = tavctl({group});
    EXPECT_EQ(result.code, 2) << group;
    expect_in(result.err, command);
  }
  expect_in(tavctl({}).err, "velocity");
}

TEST(OutOfRange, HasOneExitCode) {
  const DriveOnBus drive;
  for (const std::vector<std::string>& command : {std::vector<std::string>{"--node", "200", "info"},
                                                  {"velocity", "40000"},
                                                  {"write", "vl_target_velocity", "40000"},
                                                  {"comm", "set", "producer_heartbeat_time=65536"},
                                                  {"safety", "set", "SLS", "9", "velocity_limit=1"},
                                                  {"option-codes", "--halt", "40000"},
                                                  {"watch", "--interval", "0"}}) {
    EXPECT_EQ(drive.tavctl(command).code, 6) << command[0] << ' ' << command[1];
  }
  EXPECT_EQ(drive.downloads(), 0);
}

TEST(ConfigDiff, ShowsNamesAndUnitsOfBothSides) {
  const DriveOnBus drive;
  const tavtest::TemporaryFile file("");
  ASSERT_EQ(drive.tavctl({"config", "save", file.path()}).code, 0);
  ASSERT_EQ(drive.tavctl({"write", "0x6046:2", "200rpm"}).code, 0);
  const auto result = drive.tavctl({"config", "diff", file.path()});
  EXPECT_EQ(result.code, 1);
  expect_in(result.out, "(0x6046:02): the file says ");
  expect_in(result.out, " rpm, the drive holds 200 rpm");
}

TEST(CommTest, GivesNoPercentsOfABusWithoutBitRate) {
  const DriveOnBus drive;
  const auto json = drive.tavctl({"comm-test", "--count", "5", "--json"}).json();
  EXPECT_TRUE(json["bit_rate"].is_null()) << json;
  EXPECT_FALSE(json.contains("bus_load_percent"));
  EXPECT_TRUE(json.contains("bits_per_second"));
  EXPECT_TRUE(drive.tavctl({"comm-test", "--count", "5", "--bit-rate", "500000", "--json"})
                  .json()
                  .contains("bus_load_percent"));
}

}  // namespace

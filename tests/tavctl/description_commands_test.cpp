// Commands that need no bus: list, eds.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "platform/tools/lint/CleanDescription.hpp"
#include "tavctl/Tool.hpp"

namespace {

using tool::tavctl;

/** A file that is gone when the test ends. */
class TemporaryFile {
 public:
  TemporaryFile(const std::string& name, const std::string& content) : path_(testing::TempDir() + name) {
    std::ofstream(path_, std::ios::binary) << content;
  }
  ~TemporaryFile() { std::remove(path_.c_str()); }
  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  std::string path_;
};

TEST(List, ShowsEveryObjectOfTheConfiguredDescription) {
  const auto result = tavctl({"list", "--json"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_GT(result.json()["objects"].size(), 900u);
}

TEST(List, FindsByPartOfANameAndByAddress) {
  const auto by_name = tavctl({"list", "target_vel", "--json"}).json()["objects"];
  ASSERT_EQ(by_name.size(), 1u);
  EXPECT_EQ(by_name[0]["name"], "vl_target_velocity");
  EXPECT_EQ(by_name[0]["index"], 0x6042);
  EXPECT_EQ(by_name[0]["data_type"], "INTEGER16");
  const auto by_address = tavctl({"list", "0x1018:01", "--json"}).json()["objects"];
  ASSERT_EQ(by_address.size(), 1u);
  EXPECT_EQ(by_address[0]["name"], "Identity Object Vendor Id");
}

TEST(List, SaysWhenNothingFits) {
  const auto result = tavctl({"list", "no such thing"});
  EXPECT_EQ(result.code, 1);
  EXPECT_NE(result.err.find("no object fits"), std::string::npos);
}

TEST(EdsLint, FindsNothingInTheDrivesOwnDescription) {
  const auto result = tavctl({"eds", "lint", "share/tav/tav.eds", "--json"});
  EXPECT_EQ(result.code, 0) << result.out;
  EXPECT_TRUE(result.json()["problems"].empty());
}

TEST(EdsLint, NamesTheLineOfAProblem) {
  const TemporaryFile file(
      "bad.eds",
      "[FileInfo]\nFileName=bad.eds\n[MandatoryObjects]\nSupportedObjects=1\n1=0x1000\n"
      "[1000]\nParameterName=Device type\nObjectType=0x7\nDataType=banana\nAccessType=ro\n");
  const auto result = tavctl({"eds", "lint", file.path(), "--json"});
  EXPECT_EQ(result.code, 1);
  bool named = false;
  const auto json = result.json();
  for (const auto& problem : json["problems"]) named = named || problem["line"] == 9;
  EXPECT_TRUE(named) << result.out;
  const auto text = tavctl({"eds", "lint", file.path()});
  EXPECT_NE(text.out.find(file.path() + ":9: error: [1000] "), std::string::npos) << text.out;
  EXPECT_NE(text.out.find("; cure: "), std::string::npos) << text.out;
}

TEST(EdsLint, CountsWhatIsAllowedButWorthALookForNoProblem) {
  const TemporaryFile file("note.eds", tavtest::with(tavtest::kCleanEds, "ObjFlags=0x1\n", "Colour=blue\n"));
  const auto result = tavctl({"eds", "lint", file.path(), "--json"});
  const auto json = result.json();
  ASSERT_EQ(json["problems"].size(), 1u) << result.out;
  EXPECT_EQ(json["problems"][0]["severity"], "note");
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(json["conforming"], true);
}

TEST(EdsLint, AnswersTheConfigurationCodeForAMissingFile) {
  EXPECT_EQ(tavctl({"eds", "lint", "/nowhere.eds"}).code, 3);
}

TEST(EdsShow, ShowsDeviceAndObjects) {
  const auto result = tavctl({"eds", "show", "share/tav/tav.eds"});
  EXPECT_EQ(result.code, 0);
  EXPECT_NE(result.out.find("Product"), std::string::npos);
  EXPECT_NE(result.out.find("0x6041:00 statusword"), std::string::npos);
}

TEST(CommandLine, RefusesWhatItDoesNotKnow) {
  EXPECT_EQ(tavctl({"fly"}).code, 2);
  EXPECT_EQ(tavctl({}).code, 2);
  EXPECT_EQ(tavctl({"--node", "200", "list"}).code, 2);
}

TEST(CommandLine, HelpTeachesAndSucceeds) {
  const auto result = tavctl({"--help"});
  EXPECT_EQ(result.code, 0);
  EXPECT_NE(result.out.find("Exit codes"), std::string::npos);
  EXPECT_NE(result.out.find("tavctl --bus virtual info"), std::string::npos);
  EXPECT_EQ(tavctl({"velocity", "--help"}).code, 0);
  const auto fields = tavctl({"safety", "set", "--help"});
  EXPECT_EQ(fields.code, 0);
  EXPECT_NE(fields.out.find("velocity_limit"), std::string::npos) << fields.out;
}

TEST(CommandLine, AsksForABusWhenNoneIsGiven) {
  const auto result = tavctl({"info"});
  EXPECT_EQ(result.code, 2);
  EXPECT_NE(result.err.find("--bus virtual"), std::string::npos);
}

TEST(Configuration, SaysWhatIsWrongWithIt) {
  EXPECT_EQ(tavctl({"--bus", "virtual", "--config", "/nowhere.ini", "info"}).code, 3);
  const TemporaryFile file("bad.ini", "[default]\ncontextId = 1\nnodeId = ten\n");
  const auto result = tavctl({"--bus", "virtual", "--config", file.path(), "info"});
  EXPECT_EQ(result.code, 3);
  EXPECT_NE(result.err.find(file.path()), std::string::npos);
  EXPECT_NE(result.err.find("nodeId"), std::string::npos);
}

}  // namespace

// Commands that need no bus: list, eds.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <string>

#include "platform/tools/lint/CleanDescription.hpp"
#include "tavctl/Tool.hpp"

namespace {

using tavtest::kCleanDcf;
using tavtest::kCleanEds;
using tavtest::with;
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
  const TemporaryFile file("note.eds", with(kCleanEds, "ObjFlags=0x1\n", "Colour=blue\n"));
  const auto result = tavctl({"eds", "lint", file.path(), "--json"});
  const auto json = result.json();
  ASSERT_EQ(json["problems"].size(), 1u) << result.out;
  EXPECT_EQ(json["problems"][0]["severity"], "note");
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(json["conforming"], true);
}

TEST(EdsLint, NamesTheKeyAndTheRule) {
  const TemporaryFile file("limit.eds", with(kCleanEds, "HighLimit=0x7FFF", "HighLimit=0xFFFF"));
  const auto text = tavctl({"eds", "lint", file.path()});
  EXPECT_EQ(text.code, 1);
  EXPECT_NE(text.out.find(": warning: [6083] DefaultValue: value is outside the object's own limits: "
                          "100 is above HighLimit 0xFFFF (-1 in an INTEGER16)"),
            std::string::npos)
      << text.out;
  EXPECT_NE(text.out.find(" [default-outside-limits]\n"), std::string::npos) << text.out;
  const auto problem = tavctl({"eds", "lint", file.path(), "--json"}).json()["problems"][0];
  EXPECT_EQ(problem["key"], "DefaultValue");
  EXPECT_EQ(problem["code"], "default-outside-limits");
  EXPECT_EQ(problem["deviation"], true);
}

TEST(EdsLint, DoesNotCallAFileConformingThatBreaksARuleNoReaderMeets) {
  const TemporaryFile file("count.eds", with(kCleanEds, "NrOfRXPDO=1", "NrOfRXPDO=2"));
  const auto result = tavctl({"eds", "lint", file.path()});
  EXPECT_EQ(result.code, 1);
  EXPECT_NE(result.out.find(": 1 remark; readable, does not conform to CiA 306"), std::string::npos)
      << result.out;
}

TEST(EdsLint, LeavesOutNotesOnRequestAndSaysHowMany) {
  const TemporaryFile file("notes.eds",
                           with(kCleanEds, "CreationDate=01-05-2026", "CreationDate=2026-01-05"));
  EXPECT_NE(tavctl({"eds", "lint", file.path()}).out.find(": note: "), std::string::npos);
  const auto result = tavctl({"eds", "lint", file.path(), "--no-notes"});
  EXPECT_EQ(result.out.find(": note: "), std::string::npos) << result.out;
  EXPECT_NE(result.out.find(": 0 remarks, and notes that are not shown: 1; readable, does not conform"),
            std::string::npos)
      << result.out;
  EXPECT_EQ(result.code, 1);
  const auto json = tavctl({"eds", "lint", file.path(), "--no-notes", "--json"}).json();
  EXPECT_TRUE(json["problems"].empty());
  EXPECT_EQ(json["notes_not_shown"], 1);
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

TEST(EdsShow, ShowsWhatADcfAdds) {
  const TemporaryFile file("clean.dcf", kCleanDcf);
  const auto text = tavctl({"eds", "show", file.path()});
  EXPECT_EQ(text.code, 0);
  for (const char* part :
       {"\nNode id                 5\n", "\nBit rate                125\n", " value ", " 0xA27 "}) {
    EXPECT_NE(text.out.find(part), std::string::npos) << part << text.out;
  }
  const auto json = tavctl({"eds", "show", file.path(), "--json"}).json();
  EXPECT_EQ(json["commissioning"]["node_id"], "5");
  EXPECT_EQ(json["commissioning"]["last_eds"], "clean.eds");
  unsigned values = 0;
  for (const auto& object : json["objects"]) {
    if (object["parameter_value"].is_null()) continue;
    ++values;
    const bool compact = object["index"] == 0x2000;
    EXPECT_EQ(object["parameter_value"], !compact ? "0xA27" : object["subindex"] == 3 ? "1000" : "10");
  }
  EXPECT_EQ(values, 3u);
}

TEST(EdsShow, SaysNothingOfValuesThatAnEdsDoesNotHave) {
  const TemporaryFile file("clean.eds", kCleanEds);
  const auto text = tavctl({"eds", "show", file.path()});
  EXPECT_EQ(text.out.find("Node id"), std::string::npos);
  EXPECT_EQ(text.out.find(" value "), std::string::npos);
  EXPECT_TRUE(tavctl({"eds", "show", file.path(), "--json"}).json()["commissioning"].is_null());
}

TEST(EdsShow, GivesProgramsObjectTypeAndLine) {
  const TemporaryFile file("types.eds", kCleanEds);
  const auto json = tavctl({"eds", "show", file.path(), "--json"}).json();
  const std::string before = kCleanEds.substr(0, kCleanEds.find("[2002]"));
  bool found = false;
  for (const auto& object : json["objects"]) {
    if (object["index"] != 0x2002) continue;
    found = true;
    EXPECT_EQ(object["object_type"], 2);
    EXPECT_EQ(object["line"], std::count(before.begin(), before.end(), '\n') + 1);
  }
  EXPECT_TRUE(found);
}

TEST(EdsDiff, PutsFirstWhatMattersToARunningMachine) {
  const TemporaryFile before("before.dcf", kCleanDcf);
  std::string changed = with(kCleanDcf, "DefaultValue=100", "DefaultValue=101");
  changed = with(changed, "NodeID=5", "NodeID=6");
  changed = with(changed, "AccessType=wo", "AccessType=ro");
  const TemporaryFile after("after.dcf",
                            changed + "[2005]\nParameterName=Torque\nDataType=0x0003\nAccessType=ro\n");
  const auto text = tavctl({"eds", "diff", before.path(), after.path()});
  EXPECT_EQ(text.code, 1);
  EXPECT_EQ(text.out,
            "What breaks a running machine:\n"
            "  [DeviceComissioning], NodeID: 5 -> 6\n"
            "  0x2002:00 Program, AccessType: wo -> ro\n"
            "What the device does otherwise:\n"
            "  0x6083:00 Profile acceleration, DefaultValue: 100 -> 101\n"
            "What is new:\n"
            "  0x2005:00 Torque: is new\n");
  const auto json = tavctl({"eds", "diff", before.path(), after.path(), "--json"}).json();
  EXPECT_EQ(json["equal"], false);
  ASSERT_EQ(json["differences"].size(), 4u);
  EXPECT_EQ(json["differences"][0]["section"], "DeviceComissioning");
  EXPECT_EQ(json["differences"][1]["index"], 0x2002);
  EXPECT_EQ(json["differences"][1]["impact"], "breaks");
  EXPECT_EQ(json["differences"][1]["before"], "wo");
  EXPECT_TRUE(json["differences"][3]["key"].is_null());
}

TEST(EdsDiff, SucceedsWhenNothingDiffers) {
  const auto text = tavctl({"eds", "diff", "share/tav/tav.eds", "share/tav/tav.eds"});
  EXPECT_EQ(text.code, 0);
  EXPECT_EQ(text.out, "No difference.\n");
  EXPECT_EQ(tavctl({"eds", "diff", "share/tav/tav.eds", "/nowhere.eds"}).code, 3);
}

TEST(CommandLine, RefusesWhatItDoesNotKnow) {
  EXPECT_EQ(tavctl({"fly"}).code, 2);
  EXPECT_EQ(tavctl({}).code, 2);
  EXPECT_EQ(tavctl({"--node", "200", "list"}).code, 6);
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

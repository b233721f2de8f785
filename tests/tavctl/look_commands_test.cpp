// Commands that look at a drive and change nothing.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "support/TemporaryFile.hpp"
#include "tavctl/Tool.hpp"

namespace {

using tool::DriveOnBus;
using tool::tavctl;

const std::vector<std::vector<std::string>> kLookCommands = {{"info"},
                                                             {"state"},
                                                             {"read", "statusword", "0x1018:1"},
                                                             {"errors"},
                                                             {"units"},
                                                             {"polarity"},
                                                             {"option-codes"},
                                                             {"watch", "--count", "2", "--interval", "0.05"},
                                                             {"doctor"}};

TEST(LookCommands, SendNoDownload) {
  const DriveOnBus drive;
  for (const auto& command : kLookCommands) {
    const int before = drive.uploads();
    const auto result = drive.tavctl(command);
    EXPECT_EQ(result.code, 0) << command[0] << '\n' << result.err << result.out;
    EXPECT_GT(drive.uploads(), before) << command[0];
    EXPECT_EQ(drive.downloads(), 0) << command[0];
  }
}

TEST(Info, TellsIdentityAndStrings) {
  const auto json = tavctl({"--bus", "virtual", "info", "--json"}).json();
  EXPECT_EQ(json["vendor_id"], 2599);
  EXPECT_EQ(json["device_name"], "TAV");
  EXPECT_EQ(json["node"], 10);
  EXPECT_EQ(json["bus"], "virtual");
}

TEST(Info, TalksToTheNodeThatIsAskedFor) {
  const auto result = tavctl({"--bus", "virtual", "--node", "33", "info", "--json"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.json()["node"], 33);
}

TEST(Scenario, HappensToTheDriveInside) {
  const tavtest::TemporaryFile file("access 2 read 0x1018:1 reply abort 0x06060000\n");
  const auto result = tavctl({"--bus", "virtual", "--scenario", file.path(), "read", "0x1018:1", "0x1018:1"});
  EXPECT_EQ(result.code, 6) << result.err;
  EXPECT_NE(result.err.find("06060000"), std::string::npos) << result.err;
}

TEST(Scenario, AnSTOInputIsTheReasonThatEnablingNames) {
  const tavtest::TemporaryFile file("sto on\n");
  const auto result = tavctl({"--bus", "virtual", "--scenario", file.path(), "enable"});
  EXPECT_NE(result.code, 0);
  EXPECT_NE(result.err.find("STO input"), std::string::npos) << result.err;
}

TEST(Scenario, IsNamedWithLineAndMistakeWhenItIsNone) {
  const tavtest::TemporaryFile file("\nsto maybe\n");
  const auto wrong = tavctl({"--bus", "virtual", "--scenario", file.path(), "info"});
  EXPECT_EQ(wrong.code, 3);
  EXPECT_NE(wrong.err.find("line 2"), std::string::npos) << wrong.err;
  const tavtest::TemporaryFile unknown("access 1 read \"Statuswort\" reset\n");
  EXPECT_EQ(tavctl({"--bus", "virtual", "--scenario", unknown.path(), "info"}).code, 3);
  EXPECT_EQ(tavctl({"--bus", "unix:/tmp/nowhere", "--scenario", file.path(), "info"}).code, 2);
}

TEST(Read, ReadsByNameAndByAddress) {
  const auto json =
      tavctl({"--bus", "virtual", "--json", "read", "Identity Object Vendor Id", "0x1018:1", "0x1008"})
          .json();
  ASSERT_EQ(json["objects"].size(), 3u);
  EXPECT_EQ(json["objects"][0]["value"], 2599);
  EXPECT_EQ(json["objects"][1]["value"], 2599);
  EXPECT_EQ(json["objects"][1]["name"], "Identity Object Vendor Id");
  EXPECT_EQ(json["objects"][2]["value"], "TAV");
}

TEST(Read, SuggestsNamesForAnUnknownOne) {
  const auto result = tavctl({"--bus", "virtual", "read", "Vendor Id"});
  EXPECT_EQ(result.code, 3);
  EXPECT_NE(result.err.find("Identity Object Vendor Id"), std::string::npos) << result.err;
}

TEST(Read, NamesObjectAndCodeWhenTheDriveRefuses) {
  const auto result = tavctl({"--bus", "virtual", "read", "0x2999:7"});
  EXPECT_EQ(result.code, 6);
  EXPECT_NE(result.err.find("0x2999:07"), std::string::npos) << result.err;
  EXPECT_NE(result.err.find("0x06020000"), std::string::npos) << result.err;
}

TEST(Read, SaysThatNobodyAnswers) {
  const DriveOnBus drive;
  const auto result = drive.tavctl({"--node", "11", "read", "statusword"});
  EXPECT_EQ(result.code, 5);
  EXPECT_NE(result.err.find("\"statusword\" (0x6041:00)"), std::string::npos) << result.err;
  EXPECT_NE(result.err.find("node 11"), std::string::npos) << result.err;
  EXPECT_NE(result.err.find("0x05040000"), std::string::npos) << result.err;
}

/** How often a text holds another one. */
std::size_t times(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != text.npos; at = text.find(part, at + 1)) ++count;
  return count;
}

TEST(Failure, TellsAllThatIsKnownOfTheRequestAndNamesTheObjectOnce) {
  const DriveOnBus drive;
  const auto result = drive.tavctl({"--node", "11", "info"});
  EXPECT_EQ(result.code, 5);
  EXPECT_EQ(times(result.err, "\"Identity Object Vendor Id\" (0x1018:01)"), 1u) << result.err;
  for (const char* const part : {"time spent:", " ms; it failed 2 times in a row", "node 11:", "never heard",
                                 "error counters: tx 0, rx 0", "likely cause:"}) {
    EXPECT_NE(result.err.find(part), std::string::npos) << part << '\n' << result.err;
  }
  EXPECT_NE(result.err.find(drive.bus_name() + " is error active"), std::string::npos) << result.err;
}

TEST(Failure, IsADocumentForPrograms) {
  const DriveOnBus drive;
  const auto error = drive.tavctl({"--node", "11", "--json", "read", "statusword"}).json()["error"];
  EXPECT_EQ(error["exit_code"], 5);
  EXPECT_EQ(error["request"]["index"], 0x6041);
  EXPECT_EQ(error["request"]["node"], 11);
  EXPECT_EQ(error["request"]["code"], 0x05040000);
  EXPECT_EQ(error["request"]["bus"]["state"], "error active");
  EXPECT_FALSE(error["request"]["likely_cause"].get<std::string>().empty());
}

TEST(Failure, OfAnObjectThatTheDriveRefusesSaysThatTheDriveIsThere) {
  const auto result = tavctl({"--bus", "virtual", "read", "0x2999:7"});
  EXPECT_NE(result.err.find("likely cause: The node is there and refused the request."), std::string::npos)
      << result.err;
}

TEST(Failure, ComesAfterTheTimeThatTheDriveIsGranted) {
  const DriveOnBus drive;
  const auto error =
      drive.tavctl({"--node", "11", "--json", "--sdo-timeout", "50", "read", "statusword"}).json()["error"];
  EXPECT_EQ(error["code"], 0x05040000);
  EXPECT_EQ(error["name"], "NKR_SDO_TIMED_OUT");
  EXPECT_LT(error["request"]["milliseconds"].get<int>(), 900);
}

TEST(BlackBox, HoldsTheLastFramesOfACommandThatFailed) {
  const std::string path = "/tmp/tavctl-black-box-" + std::to_string(::getpid()) + ".log";
  const auto result = tavctl({"--bus", "virtual", "--black-box", path, "read", "statusword", "0x2999:7"});
  EXPECT_EQ(result.code, 6);
  EXPECT_NE(result.err.find(path), std::string::npos) << result.err;
  const auto decoded = tavctl({"trace", "decode", path});
  std::remove(path.c_str());
  EXPECT_EQ(decoded.code, 0) << decoded.err;
  EXPECT_NE(decoded.out.find("\"statusword\" (0x6041:00) is"), std::string::npos) << decoded.out;
  EXPECT_NE(decoded.out.find("refused 0x2999:07: 0x06020000"), std::string::npos) << decoded.out;
}

TEST(BlackBox, IsNotWrittenWhenAllWentWell) {
  const std::string path = "/tmp/tavctl-black-box-" + std::to_string(::getpid()) + ".log";
  EXPECT_EQ(tavctl({"--bus", "virtual", "--black-box", path, "state"}).code, 0);
  EXPECT_NE(::access(path.c_str(), F_OK), 0);
}

TEST(Bus, ThatDoesNotExistIsToldWithTheCommandThatHelps) {
  const auto result = tavctl({"--bus", "nocan7", "info"});
  EXPECT_EQ(result.code, 4);
  EXPECT_NE(result.err.find("nocan7"), std::string::npos) << result.err;
}

TEST(Trace, ShowsEveryFrameWithItsMeaning) {
  const auto result = tavctl({"--bus", "virtual", "--trace", "read", "Identity Object Vendor Id"});
  EXPECT_EQ(result.code, 0);
  const std::size_t request = result.err.find("read \"Identity Object Vendor Id\" (0x1018:01)");
  const std::size_t reply = result.err.find("\"Identity Object Vendor Id\" (0x1018:01) is 2599");
  EXPECT_NE(request, std::string::npos) << result.err;
  EXPECT_NE(reply, std::string::npos) << result.err;
  EXPECT_LT(request, reply);
  EXPECT_NE(result.err.find("60A  40 18 10 01"), std::string::npos) << result.err;
}

TEST(State, OfADriveThatWasJustSwitchedOn) {
  const auto json = tavctl({"--bus", "virtual", "state", "--json"}).json();
  EXPECT_EQ(json["state"], "SWITCH_ON_DISABLED");
  EXPECT_EQ(json["nmt_state"]["name"], "pre-operational");
  EXPECT_EQ(json["velocity"], 0);
  EXPECT_EQ(json["sto_demanded"], false);
  EXPECT_EQ(json["last_error"], "none");
  EXPECT_EQ(json["mode"], 2);
}

TEST(Watch, SaysThatTheDriveRestarted) {
  DriveOnBus drive;
  tool::ProcessOnTerminal process({"--bus", drive.bus_name(), "watch", "--interval", "0.05"});
  ASSERT_TRUE(process.shows("velocity")) << process.shown();
  nkr_error_t opened = NKR_OK;
  const auto port = drive.bus().open({{0x7FF, 0x7FF}}, opened);
  ASSERT_EQ(port->send({0x000, {0x81, 10}}, nkr::can::Clock::now() + std::chrono::seconds(5)), NKR_OK);
  EXPECT_TRUE(process.shows("the drive restarted: its boot-up was heard")) << process.shown();
  process.send(SIGINT);
  EXPECT_EQ(process.wait(), 0);
}

TEST(Watch, WritesOneLineAReading) {
  const auto result = tavctl({"--bus", "virtual", "--json", "watch", "--count", "3", "--interval", "0.02"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), 3) << result.out;
  EXPECT_NE(result.out.find("\"state\":\"SWITCH_ON_DISABLED\""), std::string::npos);
}

TEST(Doctor, LooksAtEverythingOnTheWayToATurningMotor) {
  const auto json = tavctl({"--bus", "virtual", "doctor", "--json"}).json();
  std::string checks;
  for (const auto& check : json["checks"]) {
    checks += check["check"].get<std::string>() + ';';
    EXPECT_NE(check["verdict"], "problem") << check;
    EXPECT_EQ(check["verdict"] == "ok", check["cure"] == "") << check;
  }
  EXPECT_EQ(checks,
            "interface;bit rate;node;vendor id;product code;revision;nodes heard;this host;drive's heartbeat;"
            "host's heartbeat;death of the host;state;safe torque off;errors;safety signatures;");
}

TEST(Doctor, FindsAnInterfaceThatIsNotThere) {
  const auto result = tavctl({"--bus", "nocan7", "doctor", "--json"});
  EXPECT_EQ(result.code, 1);
  const auto check = result.json()["checks"][0];
  EXPECT_EQ(check["check"], "interface");
  EXPECT_EQ(check["verdict"], "problem");
  EXPECT_NE(check["found"].get<std::string>().find("nocan7"), std::string::npos) << check;
  EXPECT_FALSE(check["cure"].get<std::string>().empty());
}

TEST(Doctor, FindsASilentNodeAndEndsThere) {
  const DriveOnBus drive;
  const auto result = drive.tavctl({"--node", "11", "doctor"});
  EXPECT_EQ(result.code, 1);
  EXPECT_NE(result.out.find("node 11 is silent, but node 10 is heard"), std::string::npos) << result.out;
  EXPECT_EQ(result.out.find("vendor id"), std::string::npos) << result.out;
}

}  // namespace

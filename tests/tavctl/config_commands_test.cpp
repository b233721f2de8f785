// A drive's configuration as a file.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

#include "support/TemporaryFile.hpp"
#include "tavctl/Tool.hpp"

namespace {

using tool::DriveOnBus;

std::string content(const std::string& path) {
  std::ostringstream all;
  all << std::ifstream(path).rdbuf();
  return all.str();
}

void configure(const DriveOnBus& drive) {
  ASSERT_EQ(drive.tavctl({"comm", "set", "producer_heartbeat_time=250"}).code, 0);
  ASSERT_EQ(drive.tavctl({"pdo", "map", "tpdo", "2", "statusword", "position_value"}).code, 0);
  ASSERT_EQ(drive.tavctl({"safety", "set", "SLS", "5", "velocity_limit=444"}).code, 0);
  ASSERT_EQ(drive.tavctl({"safety", "mapping", "set", "status", "can2", "3=SBC_1"}).code, 0);
  ASSERT_EQ(drive.tavctl({"safety", "srdo", "set", "1", "enabled=on", "refresh_time=40"}).code, 0);
  ASSERT_EQ(drive.tavctl({"safety", "srdo", "validate"}).code, 0);
  ASSERT_EQ(drive.tavctl({"manufacturer", "set", "speed_pid_derivative_gain=9"}).code, 0);
}

TEST(Config, SavedFromOneDriveAndLoadedIntoAnotherGivesEqualDictionaries) {
  const tavtest::TemporaryFile first("");
  const tavtest::TemporaryFile second("");
  {
    const DriveOnBus drive;
    configure(drive);
    const int before = drive.downloads();
    const auto saved = drive.tavctl({"config", "save", first.path()});
    ASSERT_EQ(saved.code, 0) << saved.err;
    EXPECT_EQ(drive.downloads(), before) << "saving only looks";
    EXPECT_EQ(drive.tavctl({"config", "verify", first.path()}).code, 0);
  }
  const DriveOnBus other;
  EXPECT_EQ(other.tavctl({"config", "diff", first.path()}).code, 1) << "as shipped it differs";
  const auto loaded = other.tavctl({"config", "load", first.path()});
  EXPECT_EQ(loaded.code, 0) << loaded.out << loaded.err;
  EXPECT_EQ(other.tavctl({"safety", "verify"}).code, 0);
  ASSERT_EQ(other.tavctl({"config", "save", second.path()}).code, 0);
  EXPECT_EQ(content(first.path()), content(second.path()));
}

TEST(Config, IdentifiersFollowTheNodeIdOfTheDriveThatTakesThem) {
  const tavtest::TemporaryFile file("");
  {
    const DriveOnBus drive;
    ASSERT_EQ(drive.tavctl({"config", "save", file.path()}).code, 0);
  }
  EXPECT_NE(content(file.path()).find("ParameterValue=$NODEID+0x200"), std::string::npos);
  const DriveOnBus other;
  ASSERT_EQ(other.tavctl({"network", "set", "--node-id", "20", "--discard"}).code, 0);
  const auto loaded = other.tavctl({"config", "load", file.path(), "--node", "20"});
  EXPECT_EQ(loaded.code, 0) << loaded.out << loaded.err;
  EXPECT_EQ(other.tavctl({"pdo", "show", "--node", "20", "--json"}).json()["pdos"][0]["cob_id"], 0x200 + 20);
}

TEST(Config, IdentifiersOfEmergenciesAndSDOChannelsAreMadeInvalidBeforeTheyChange) {
  const tavtest::TemporaryFile file("");
  const DriveOnBus drive;
  const auto write = [&](const char* object, const char* value) {
    const auto written = drive.tavctl({"write", object, value});
    EXPECT_EQ(written.code, 0) << written.err;
  };
  write("0x1201:1", "0x6A0");
  write("0x1201:2", "0x6C0");
  ASSERT_EQ(drive.tavctl({"config", "save", file.path()}).code, 0);
  for (const char* const object : {"0x1014", "0x1201:1", "0x1201:2"}) write(object, "0x80000000");
  write("0x1014", "0x0A5");
  write("0x1201:1", "0x6A1");
  write("0x1201:2", "0x6C1");
  const auto loaded = drive.tavctl({"config", "load", file.path()});
  EXPECT_EQ(loaded.code, 0) << loaded.out << loaded.err;
  EXPECT_EQ(drive.tavctl({"config", "diff", file.path()}).code, 0);
}

TEST(Config, ADifferenceIsNamedWithBothValues) {
  const DriveOnBus drive;
  const tavtest::TemporaryFile file("");
  ASSERT_EQ(drive.tavctl({"config", "save", file.path()}).code, 0);
  ASSERT_EQ(drive.tavctl({"comm", "set", "producer_heartbeat_time=777"}).code, 0);
  const auto result = drive.tavctl({"config", "diff", file.path(), "--json"});
  EXPECT_EQ(result.code, 1);
  ASSERT_EQ(result.json()["differences"].size(), 1U);
  EXPECT_EQ(result.json()["differences"][0]["object"], "Producer Heartbeat Time");
  EXPECT_EQ(result.json()["differences"][0]["file"], "0x0064");
  EXPECT_EQ(result.json()["differences"][0]["drive"], "0x0309");
}

TEST(Config, AFileOfAnotherDeviceOrOfNoneIsRefusedBeforeAnythingIsSent) {
  const DriveOnBus drive;
  const tavtest::TemporaryFile nonsense("this is no configuration\n");
  EXPECT_EQ(drive.tavctl({"config", "load", nonsense.path()}).code, 3);
  EXPECT_EQ(drive.tavctl({"config", "load", "/no/such/file"}).code, 3);
  const tavtest::TemporaryFile other(
      "[DeviceInfo]\nVendorNumber=0x123\nProductNumber=1\n[1017]\nParameterName=Producer Heartbeat Time\n"
      "DataType=6\nAccessType=rw\nParameterValue=5\n");
  EXPECT_EQ(drive.tavctl({"config", "load", other.path()}).code, 3);
  EXPECT_EQ(drive.downloads(), 0);
}

TEST(Config, GoesOnAfterAFailureAndListsWhatFailed) {
  const DriveOnBus drive;
  // An SRDO signature that does not fit makes the drive refuse the validity; all else is loaded.
  ASSERT_EQ(drive.tavctl({"safety", "srdo", "set", "1", "enabled=on"}).code, 0);
  ASSERT_EQ(drive.tavctl({"safety", "srdo", "validate"}).code, 0);
  const tavtest::TemporaryFile valid("");
  ASSERT_EQ(drive.tavctl({"config", "save", valid.path()}).code, 0);
  std::string text = content(valid.path());
  const std::size_t section = text.find("[13FFsub1]");
  ASSERT_NE(section, std::string::npos);
  const std::size_t value = text.find("ParameterValue=", section);
  ASSERT_NE(value, std::string::npos);
  text.replace(value, text.find_first_of("\r\n", value) - value, "ParameterValue=0x1111");
  const tavtest::TemporaryFile wrong(text);
  const auto result = drive.tavctl({"config", "load", wrong.path(), "--json"});
  EXPECT_EQ(result.code, 1) << result.out << result.err;
  EXPECT_FALSE(result.json()["failures"].empty() && result.json()["differences"].empty());
}

TEST(Config, IsNotLoadedUnderAnEnabledMotor) {
  const DriveOnBus drive;
  const tavtest::TemporaryFile file("");
  ASSERT_EQ(drive.tavctl({"config", "save", file.path()}).code, 0);
  ASSERT_EQ(drive.tavctl({"enable"}).code, 0);
  const int before = drive.downloads();
  const auto result = drive.tavctl({"config", "load", file.path()});
  EXPECT_EQ(result.code, 7) << result.out;
  EXPECT_NE(result.err.find("tavctl disable"), std::string::npos) << result.err;
  EXPECT_EQ(drive.downloads(), before);
}

TEST(Config, APartIsLoadedOnlyWhenTold) {
  const tavtest::TemporaryFile file("");
  const DriveOnBus drive;
  ASSERT_EQ(drive.tavctl({"config", "save", file.path()}).code, 0);
  std::string part = content(file.path());
  part.erase(part.find("ParameterValue"),
             part.find('\n', part.find("ParameterValue")) - part.find("ParameterValue"));
  std::ofstream(file.path()) << part;
  const auto refused = drive.tavctl({"config", "load", file.path()});
  EXPECT_EQ(refused.code, 3);
  EXPECT_NE(refused.err.find("--partial"), std::string::npos) << refused.err;
  EXPECT_EQ(drive.downloads(), 0);
  const auto loaded = drive.tavctl({"config", "load", file.path(), "--partial"});
  EXPECT_EQ(loaded.code, 0) << loaded.err;
}

TEST(Config, SaysAfterLoadingThatSignaturesDoNotFit) {
  const tavtest::TemporaryFile file("");
  const DriveOnBus drive;
  ASSERT_EQ(drive.tavctl({"config", "save", file.path()}).code, 0);
  std::string wrong = content(file.path());
  const std::size_t limit = wrong.find("ParameterValue=", wrong.find("[6693sub1]"));
  ASSERT_NE(limit, std::string::npos);
  wrong.replace(limit, wrong.find('\n', limit) - limit, "ParameterValue=0x000000C8");
  std::ofstream(file.path()) << wrong;
  const auto loaded = drive.tavctl({"config", "load", file.path()});
  EXPECT_EQ(loaded.code, 1) << loaded.out;
  EXPECT_NE(loaded.out.find("SLS 1"), std::string::npos) << loaded.out;
  EXPECT_NE(loaded.err.find("no torque"), std::string::npos) << loaded.err;
  const auto doctor = drive.tavctl({"doctor"});
  EXPECT_EQ(doctor.code, 1);
  EXPECT_NE(doctor.out.find("do not fit: SLS 1"), std::string::npos) << doctor.out;
}

}  // namespace

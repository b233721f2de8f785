#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

#include "support/TemporaryFile.hpp"
#include "tavctl/Tool.hpp"

namespace {

using tool::DriveOnBus;
using tool::tavctl;

TEST(Safety, OfADriveAsShippedVerifiesWithoutADownload) {
  const DriveOnBus drive;
  const auto result = drive.tavctl({"safety", "verify", "--json"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.json()["passed"], true);
  EXPECT_EQ(result.json()["signatures"].size(), 30U) << "14 instances and 16 SRDOs";
  EXPECT_EQ(drive.downloads(), 0);
}

TEST(Safety, ParametersAreSetWithTheirSignature) {
  const DriveOnBus drive;
  const auto result =
      drive.tavctl({"safety", "set", "SLS", "3", "velocity_limit=321", "error_reaction=on", "--json"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.json()["velocity_limit"], 321);
  EXPECT_EQ(drive.tavctl({"safety", "verify"}).code, 0);
  EXPECT_EQ(drive.tavctl({"safety", "set", "SBC", "4", "brake_time_delay=1"}).code, 6) << "there are three";
}

TEST(Safety, ParametersAreNotChangedUnderAnEnabledMotor) {
  const DriveOnBus drive;
  ASSERT_EQ(drive.tavctl({"enable"}).code, 0);
  const int before = drive.downloads();
  EXPECT_EQ(drive.tavctl({"safety", "set", "SLS", "3", "velocity_limit=321"}).code, 7);
  EXPECT_EQ(drive.tavctl({"safety", "mapping", "set", "control", "can1", "1=STO"}).code, 7);
  EXPECT_EQ(drive.tavctl({"units", "--time", "0xFD030000"}).code, 7);
  EXPECT_EQ(drive.downloads(), before);
}

TEST(Safety, AWrongSignatureInTheDriveIsFound) {
  const DriveOnBus drive;
  ASSERT_EQ(drive.tavctl({"write", "0x6662:2", "0x1234"}).code, 0);
  const auto result = drive.tavctl({"safety", "verify", "--json"});
  EXPECT_EQ(result.code, 1);
  for (const auto& check : result.json()["signatures"]) {
    EXPECT_EQ(check["agrees"], check["name"] != "SBC 2") << check;
  }
}

TEST(Safety, ACommandThatChangesTheMappingRefreshesEverySignature) {
  const DriveOnBus drive;
  const auto result =
      drive.tavctl({"safety", "mapping", "set", "control", "can1", "1=STO", "2=SLS_1", "--json"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.json()["mappings"]["control can1"][1], "STO");
  EXPECT_EQ(result.json()["mappings"]["control can1"][2], "SLS_1");
  EXPECT_EQ(drive.tavctl({"safety", "verify"}).code, 0);
  EXPECT_EQ(drive.tavctl({"safety", "mapping", "set", "control", "can1", "0=STO"}).code, 2)
      << "a reserved bit";
  EXPECT_EQ(drive.tavctl({"safety", "mapping", "set", "control", "can1", "1=SS1"}).code, 2);
}

TEST(Safety, TheSignaturesOfASavedConfigurationAreThoseOfTheDrive) {
  const DriveOnBus drive;
  const auto shown = drive.tavctl({"safety", "show", "--json"});
  ASSERT_EQ(shown.code, 0) << shown.err;
  const tavtest::TemporaryFile file(shown.out);
  const auto computed = tavctl({"safety", "signatures", "--from", file.path(), "--json"});
  ASSERT_EQ(computed.code, 0) << computed.err;
  for (const auto& check : shown.json()["signatures"]) {
    EXPECT_EQ(computed.json()[check["name"].get<std::string>()], check["stored"]) << check["name"];
  }
}

TEST(Safety, VerificationAgainstAFileNamesTheInputThatDiffers) {
  const DriveOnBus drive;
  const tavtest::TemporaryFile file(drive.tavctl({"safety", "show", "--json"}).out);
  ASSERT_EQ(drive.tavctl({"safety", "verify", "--expected", file.path()}).code, 0);
  ASSERT_EQ(drive.tavctl({"safety", "set", "SDI", "2", "velocity_zero_window=77"}).code, 0);
  const auto result = drive.tavctl({"safety", "verify", "--expected", file.path()});
  EXPECT_EQ(result.code, 1);
  EXPECT_NE(result.out.find("SDI velocity zero window u32 SDI velocity zero window u32 2"), std::string::npos)
      << result.out;
}

TEST(Safety, AnIncompleteConfigurationFileIsRefusedWithWhatIsMissing) {
  const tavtest::TemporaryFile file(R"({"units": {"time_unit": 1}})");
  const auto result = tavctl({"safety", "signatures", "--from", file.path()});
  EXPECT_EQ(result.code, 3);
  EXPECT_NE(result.err.find("units.position_unit"), std::string::npos) << result.err;
}

TEST(Srdo, IsChangedInPreOperationalAndDeclaredValid) {
  const DriveOnBus drive;
  ASSERT_EQ(drive.tavctl({"nmt", "start"}).code, 0);
  const auto set = drive.tavctl(
      {"safety", "srdo", "set", "2", "enabled=on", "refresh_time=30", "cob_id_1=0x115", "cob_id_2=0x116"});
  EXPECT_EQ(set.code, 0) << set.err;
  EXPECT_NE(set.err.find("pre-operational"), std::string::npos) << "it says that it leaves operational";
  const auto valid = drive.tavctl({"safety", "srdo", "validate", "--json"});
  EXPECT_EQ(valid.code, 0) << valid.err;
  EXPECT_EQ(valid.json()["valid"], true);
  EXPECT_EQ(drive.tavctl({"safety", "verify"}).code, 0);
}

TEST(Srdo, IsNotDeclaredValidWithoutIdentifiers) {
  const DriveOnBus drive;
  ASSERT_EQ(drive.tavctl({"safety", "srdo", "set", "2", "enabled=on"}).code, 0);
  const auto valid = drive.tavctl({"safety", "srdo", "validate"});
  EXPECT_EQ(valid.code, 6);
  EXPECT_NE(valid.err.find("0x06040043"), std::string::npos) << valid.err;
}

TEST(SafetyReport, HoldsIdentityInputsAndBothSignaturesAndEscapesWhatTheDriveSays) {
  const DriveOnBus drive;
  ASSERT_EQ(drive.tavctl({"write", "Manufacturer device name", "<b>left & right"}).code, 0);
  const tavtest::TemporaryFile page("");
  const tavtest::TemporaryFile text("");
  ASSERT_EQ(drive.tavctl({"safety", "report", "--html", page.path(), "--text", text.path()}).code, 0);
  const auto content = [](const std::string& path) {
    std::ostringstream all;
    all << std::ifstream(path).rdbuf();
    return all.str();
  };
  const std::string html = content(page.path());
  EXPECT_NE(html.find("&lt;b&gt;left &amp; right"), std::string::npos);
  EXPECT_EQ(html.find("<b>left"), std::string::npos);
  const std::string plain = content(text.path());
  for (const char* const part : {"<b>left & right", "SHA-256", "0x00000A27", "SLS 8", "Held by the drive",
                                 "Computed anew", "does not perform them"}) {
    EXPECT_NE(plain.find(part), std::string::npos) << part;
  }
}

}  // namespace

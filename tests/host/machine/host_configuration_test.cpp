// Configuration files of a host: what they say, and what is said of mistakes in them.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <tav/host/FailureLog.hpp>
#include <tav/host/HostConfiguration.hpp>
#include <tav/host/Unit.hpp>
#include <tav/host/text.hpp>

#include "host/DriveBeside.hpp"
#include "support/ConfigText.hpp"
#include "support/TemporaryFile.hpp"

namespace tests::host {
namespace {

using nkr::tavcore::Config;
using tav::host::Cause;
using tav::host::HostConfiguration;
using tav::host::Result;
using tav::host::UnitConfiguration;
using tavtest::config_text;
using tavtest::TemporaryFile;

constexpr const char* kVehicle =
    "[default]\n"                           // 1
    "CANOpenEDSFile = share/tav/tav.eds\n"  // 2
    "HWConfigurationEntry = wheel\n"        // 3
    "maxMaintenanceSpeedValue = 300\n"      // 4
    "[wheel]\n"                             // 5
    "nbStepRevolutionElec = 360\n"          // 6
    "nbPolePair = 7\n"                      // 7
    "reduction = 10.0\n"                    // 8
    "diameter = 200.0\n"                    // 9
    "[unit left]\n"                         // 10
    "nodeId = 11\n"                         // 11
    "[unit right]\n"                        // 12
    "nodeId = 12\n"                         // 13
    "sense = inverted\n"                    // 14
    "diameter = 198.5\n"                    // 15
    "[vehicle]\n"                           // 16
    "trackWidth = 400.0\n"                  // 17
    "left = left\n"                         // 18
    "right = right\n";                      // 19

Result read(HostConfiguration& file, const std::string& content) {
  std::istringstream stream(content);
  return file.read(stream, "a.ini");
}

std::string with(std::string content, const std::string& from, const std::string& to) {
  const std::size_t at = content.find(from);
  if (at == content.npos) ADD_FAILURE() << from;
  return content.replace(at, from.size(), to);
}

/** All that is said of a text, one remark a line. */
std::string remarks_of(const std::string& content) {
  HostConfiguration file;
  const Result result = read(file, content);
  bool has_mistake = false;
  std::string all;
  for (const auto& remark : file.remarks()) {
    has_mistake = has_mistake || remark.is_mistake;
    all += (all.empty() ? "" : "\n") + text(remark, file.path());
  }
  EXPECT_EQ(result.ok(), !has_mistake);
  return all;
}

TEST(HostConfigurationFile, WithOneDriveIsReadAsConfigLoadDoes) {
  const TemporaryFile on_disk(config_text());
  HostConfiguration file;
  ASSERT_TRUE(file.read(on_disk.path()).ok());
  ASSERT_EQ(file.units().size(), 1U);
  EXPECT_EQ(file.units()[0].name, "");
  EXPECT_FALSE(file.vehicle());
  EXPECT_TRUE(file.remarks().empty());
  Config loaded;
  ASSERT_EQ(loaded.load(on_disk.path()), NKR_OK);
  const auto config = file.units()[0].config();
  EXPECT_EQ(config->getPath(), loaded.getPath());
  EXPECT_EQ(config->getContextId(), loaded.getContextId());
  EXPECT_EQ(config->getNodeId(), loaded.getNodeId());
  EXPECT_EQ(config->getHWConfigurationEntry(), loaded.getHWConfigurationEntry());
  EXPECT_EQ(config->getNbStepRevolutionElec(), loaded.getNbStepRevolutionElec());
  EXPECT_EQ(config->getNbPolePair(), loaded.getNbPolePair());
  EXPECT_EQ(config->getReduction(), loaded.getReduction());
  EXPECT_EQ(config->getDiameter(), loaded.getDiameter());
  EXPECT_EQ(config->getUsbPort(), loaded.getUsbPort());
  EXPECT_EQ(config->getCANOpenEDSFilePath(), loaded.getCANOpenEDSFilePath());
  EXPECT_EQ(config->getTargetVelocityTimeoutMs(), loaded.getTargetVelocityTimeoutMs());
  EXPECT_EQ(config->getMaxMaintenanceSpeedValue(), loaded.getMaxMaintenanceSpeedValue());
}

TEST(HostConfigurationFile, ThatIsShippedHoldsNothingToRemark) {
  HostConfiguration file;
  ASSERT_TRUE(file.read("share/tav/tav.ini").ok());
  EXPECT_TRUE(file.remarks().empty());
}

TEST(HostConfigurationFile, LogsNothing) {
  const tav::host::FailureLog log;
  HostConfiguration file;
  EXPECT_FALSE(read(file, "nodeId").ok());
  EXPECT_EQ(log.last(), "");
}

TEST(HostConfigurationFile, DescribesSeveralDrivesAndAVehicle) {
  HostConfiguration file;
  const Result result = read(file, kVehicle);
  ASSERT_TRUE(result.ok()) << text(result);
  EXPECT_TRUE(file.remarks().empty()) << text(file.remarks()[0], "");
  ASSERT_EQ(file.units().size(), 2U);
  const UnitConfiguration& left = file.units()[0];
  const UnitConfiguration& right = file.units()[1];
  EXPECT_EQ(left.name, "left");
  EXPECT_EQ(left.values.node_id, 11);
  EXPECT_EQ(left.values.reduction, 10.0);
  EXPECT_EQ(left.values.diameter, 200.0);
  EXPECT_FALSE(left.is_inverted);
  EXPECT_EQ(right.values.node_id, 12);
  EXPECT_EQ(right.values.reduction, 10.0);
  EXPECT_EQ(right.values.diameter, 198.5);
  EXPECT_EQ(right.values.nb_pole_pair, 7);
  EXPECT_TRUE(right.is_inverted);
  ASSERT_TRUE(file.vehicle());
  EXPECT_EQ(file.vehicle()->track_width, 400.0);
  EXPECT_EQ(file.vehicle()->left, "left");
  EXPECT_EQ(file.vehicle()->right, "right");
}

TEST(HostConfigurationFile, DescribesUnitsBesideTheDriveOfDefault) {
  HostConfiguration file;
  const Result result = read(file, config_text() + "[unit second]\nnodeId = 6\n");
  ASSERT_TRUE(result.ok()) << text(result);
  ASSERT_EQ(file.units().size(), 2U);
  EXPECT_EQ(file.units()[0].values.node_id, 5);
  EXPECT_EQ(file.units()[1].values.node_id, 6);
  EXPECT_EQ(file.units()[1].values.diameter, 200.25);
}

TEST(HostConfigurationFile, ChoosesADriveByItsName) {
  HostConfiguration file;
  ASSERT_TRUE(read(file, kVehicle).ok());
  UnitConfiguration unit;
  ASSERT_TRUE(file.select("right", unit).ok());
  EXPECT_EQ(unit.values.node_id, 12);
  Result result = file.select("", unit);
  EXPECT_EQ(result.cause(), Cause::CONFIGURATION);
  EXPECT_EQ(result.explanation().detail, "a.ini: it describes several drives, choose one: left, right");
  result = file.select("rihgt", unit);
  EXPECT_EQ(result.explanation().detail,
            "a.ini: it has no [unit rihgt], but left, right: did you mean \"right\"?");
  ASSERT_TRUE(read(file, config_text()).ok());
  ASSERT_TRUE(file.select("", unit).ok());
  EXPECT_EQ(unit.values.node_id, 5);
  EXPECT_EQ(file.select("left", unit).explanation().detail,
            "a.ini: it has no [unit left]: it describes one drive, in [default]");
}

TEST(ConfigurationRemarks, NameFileLineKeyWhatWasFoundAndTheExpectedForm) {
  EXPECT_EQ(
      remarks_of(with(kVehicle, "reduction = 10.0", "reduction = 10,0")),
      "a.ini:8: [wheel] reduction = 10,0: expected a number above 0 with a decimal point, such as 10.0");
}

TEST(ConfigurationRemarks, TellAllMistakesAtOnceInTheOrderOfTheLines) {
  std::string content = with(kVehicle, "nbPolePair = 7", "nbPolePair = seven");
  content = with(content, "nodeId = 12", "nodeId = 128");
  content = with(content, "sense = inverted", "sense = backward");
  content = with(content, "left = left", "left = Left");
  content = with(content, "diameter = 200.0\n", "");
  EXPECT_EQ(remarks_of(content),
            "a.ini:7: [wheel] nbPolePair = seven: expected a whole number from 1 up, such as 7\n"
            "a.ini:9: [unit left] diameter is missing: expected millimetres, a number above 0 with a decimal "
            "point, such as 200.0\n"
            "a.ini:12: [unit right] nodeId = 128: expected a node id, 1 to 127, such as 10\n"
            "a.ini:13: [unit right] sense = backward: expected normal or inverted\n"
            "a.ini:17: [vehicle] left = Left: expected the name of a unit of this file: left, right");
}

TEST(ConfigurationRemarks, SayWhichLineIsNone) {
  EXPECT_EQ(remarks_of(with(kVehicle, "[wheel]", "[wheel]\nspeed 12")),
            "a.ini:6: \"speed 12\": expected [section], key = value, or a comment after ; or #");
}

TEST(ConfigurationRemarks, SayWhatIsMissing) {
  EXPECT_EQ(
      remarks_of(with(kVehicle, "trackWidth = 400.0\n", "")),
      "a.ini:16: [vehicle] trackWidth is missing: expected millimetres, a number above 0 with a decimal "
      "point, such as 400.0");
  HostConfiguration file;
  EXPECT_FALSE(read(file, "").ok());
  EXPECT_EQ(file.remarks().size(), 6U) << "the keys of [default]";
}

TEST(ConfigurationRemarks, SayThatAHardwareSectionIsNotThere) {
  EXPECT_EQ(remarks_of(config_text({{"HWConfigurationEntry", "hv"}})),
            "a.ini:3: [default] HWConfigurationEntry = hv: there is no section [hv]");
}

TEST(ConfigurationRemarks, SayThatTwoUnitsShareANode) {
  EXPECT_EQ(
      remarks_of(with(kVehicle, "nodeId = 12", "nodeId = 11")),
      "a.ini:13: [unit right] nodeId = 11: expected another node id than [unit left]: two nodes of a bus "
      "cannot share one");
}

TEST(ConfigurationRemarks, WarnOfKeysThatNothingUses) {
  EXPECT_EQ(remarks_of(with(kVehicle, "nodeId = 12", "nodeId = 12\nnbPolePairs = 8")),
            "a.ini:14: [unit right] nbPolePairs is a key that nothing uses: did you mean \"nbPolePair\"?");
  EXPECT_EQ(remarks_of(with(kVehicle, "[vehicle]", "[vehicle]\nspeed = 8")),
            "a.ini:17: [vehicle] speed is a key that nothing uses");
  EXPECT_EQ(remarks_of(std::string(kVehicle) + "[Vehicle]\nx = 1\n"),
            "a.ini:21: [Vehicle] x is in a section that nothing uses: did you mean \"vehicle\"?");
}

TEST(ConfigurationRemarks, WarnOfKeysThatStandTwice) {
  EXPECT_EQ(remarks_of(with(kVehicle, "nodeId = 12", "nodeId = 12\nnodeId = 13")),
            "a.ini:14: [unit right] nodeId = 13: line 13 says it first, and holds");
}

TEST(ConfigurationRemarks, WarnOfNumbersThatProgramsLivedWith) {
  HostConfiguration file;
  EXPECT_TRUE(read(file, config_text({{"maxMaintenanceSpeedValue", "0"}})).ok());
  ASSERT_EQ(file.remarks().size(), 1U);
  EXPECT_EQ(file.remarks()[0].key, "maxMaintenanceSpeedValue");
}

TEST(ConfigurationRemarks, AreNoneForHardwareThatNoUnitHas) {
  EXPECT_EQ(remarks_of(config_text() + "[other]\ncompatibleHWVersions = 2.0.0.0\n"), "");
}

/** A folder of its own that holds a configuration and its description. */
class Folder {
 public:
  Folder() {
    path_ = (std::filesystem::temp_directory_path() / "tav-configuration-XXXXXX").string();
    if (::mkdtemp(path_.data()) == nullptr) throw std::runtime_error("no folder");
  }
  ~Folder() { std::filesystem::remove_all(path_); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  [[nodiscard]] std::string add(const std::string& name, const std::string& content) const {
    std::ofstream(path_ + '/' + name) << content;
    return path_ + '/' + name;
  }
  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  std::string path_;
};

TEST(DescriptionOfAConfiguration, IsLookedForBesideTheFileToo) {
  const Folder folder;
  const std::string description = folder.add("my.eds", "");
  const std::string configuration = folder.add("my.ini", config_text({{"CANOpenEDSFile", "my.eds"}}));
  HostConfiguration file;
  ASSERT_TRUE(file.read(configuration).ok());
  EXPECT_EQ(file.units()[0].values.canopen_eds_file_path, description);
}

TEST(DescriptionOfAConfiguration, IsTakenWhereTheProgramRunsFirst) {
  const Folder folder;
  std::filesystem::create_directories(folder.path() + "/share/tav");
  static_cast<void>(folder.add("share/tav/tav.eds", ""));
  HostConfiguration file;
  ASSERT_TRUE(file.read(folder.add("my.ini", config_text())).ok());
  EXPECT_EQ(file.units()[0].values.canopen_eds_file_path, "share/tav/tav.eds");
}

TEST(DescriptionOfAConfiguration, ThatIsNowhereIsToldWithThePlaces) {
  const Folder folder;
  HostConfiguration file;
  const Result result = file.read(folder.add("my.ini", config_text({{"CANOpenEDSFile", "no.eds"}})));
  EXPECT_EQ(result.cause(), Cause::CONFIGURATION);
  const std::string here = std::filesystem::current_path().string();
  EXPECT_NE(result.explanation().detail.find("[default] CANOpenEDSFile = no.eds: there is no such file; "
                                             "looked for: " +
                                             here + "/no.eds, " + folder.path() + "/no.eds"),
            std::string::npos)
      << result.explanation().detail;
}

TEST(HostConfigurationFile, ThatIsNotThereIsToldWithWhereItWasLookedFor) {
  HostConfiguration file;
  const Result result = file.read("no.ini");
  EXPECT_EQ(result.explanation().detail, "no.ini: there is no such file in " +
                                             std::filesystem::current_path().string() +
                                             ", from where a relative path counts");
}

TEST(HostConfigurationFile, OpensAUnitByItsName) {
  const DriveBeside beside;
  const TemporaryFile on_disk(with(kVehicle, "nodeId = 12", "nodeId = 10\nnbPolePairs = 1"));
  auto settings = beside.settings();
  settings.configuration = on_disk.path();
  settings.unit = "right";
  std::vector<std::string> warnings;
  settings.on_warning = [&](const tav::host::Explanation& warning) {
    warnings.push_back(tav::host::headline(warning));
  };
  Result result;
  const auto unit = tav::host::Unit::open(settings, result);
  ASSERT_NE(unit, nullptr) << text(result);
  EXPECT_EQ(unit->node_id(), 10);
  EXPECT_EQ(unit->config()->getDiameter(), 198.5);
  EXPECT_EQ(warnings,
            std::vector<std::string>{"cannot use all of the configuration " + on_disk.path() +
                                     ":14: [unit right] nbPolePairs is a key that nothing uses: did you "
                                     "mean \"nbPolePair\"?"});
}

}  // namespace
}  // namespace tests::host

// Communication, network, process data, manufacturer's values, store and restore, motion orders.
#include <gtest/gtest.h>

#include <cstddef>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <string>
#include <vector>

#include "support/TemporaryFile.hpp"
#include "tavctl/Tool.hpp"

namespace {

using tool::DriveOnBus;

TEST(Comm, IsChangedFieldByFieldAndReadBack) {
  const DriveOnBus drive;
  const auto result = drive.tavctl({"comm", "set", "producer_heartbeat_time=200", "--json"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.json()["producer_heartbeat_time"], 200);
  EXPECT_EQ(result.json()["cob_id_sync"], 0x80);
}

TEST(Comm, RefusesUnknownFieldsAndValuesThatDoNotFitBeforeAnythingIsWritten) {
  const DriveOnBus drive;
  EXPECT_EQ(drive.tavctl({"comm", "set", "heartbeat=1"}).code, 2);
  EXPECT_EQ(drive.tavctl({"comm", "set", "producer_heartbeat_time=65536"}).code, 6);
  EXPECT_EQ(drive.tavctl({"comm", "set", "producer_heartbeat_time"}).code, 2);
  EXPECT_EQ(drive.downloads(), 0);
}

TEST(Network, IsSetAndTheDriveFollowedToItsNewNodeId) {
  const DriveOnBus drive;
  const auto result =
      drive.tavctl({"network", "set", "--node-id", "12", "--termination", "true", "--discard", "--json"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.json()["node_id"], 12);
  EXPECT_EQ(result.json()["termination"], true);
  EXPECT_EQ(drive.tavctl({"network", "show", "--node", "12", "--json"}).json()["node_id"], 12);
  EXPECT_EQ(drive.tavctl({"network", "show", "--node", "10"}).code, 5) << "nobody is at the old id";
}

TEST(Network, AsksWhatIsToBecomeOfWhatIsNotStored) {
  const DriveOnBus drive;
  const auto refused = drive.tavctl({"network", "set", "--node-id", "12"});
  EXPECT_EQ(refused.code, 2);
  EXPECT_NE(refused.err.find("--store-all"), std::string::npos) << refused.err;
  EXPECT_NE(refused.err.find("--discard"), std::string::npos) << refused.err;
  EXPECT_EQ(drive.downloads(), 0);
}

TEST(Reset, ListsWhatRevertedAndWritesItBackWhenTold) {
  const DriveOnBus drive;
  const auto set = drive.tavctl({"safety", "set", "SLS", "1", "velocity_limit=200"});
  ASSERT_EQ(set.code, 0) << set.err;
  EXPECT_NE(set.err.find("not stored"), std::string::npos) << set.err;
  const auto told = drive.tavctl({"network", "set", "--termination", "true", "--discard", "--json"});
  EXPECT_EQ(told.code, 0) << told.err;
  const auto reverted = told.json()["reverted"];
  ASSERT_FALSE(reverted.empty()) << told.err;
  bool names_the_limit = false;
  for (const auto& row : reverted) names_the_limit = names_the_limit || row["address"] == "0x6693:01";
  EXPECT_TRUE(names_the_limit) << reverted;
  EXPECT_NE(told.err.find("--write-back"), std::string::npos) << told.err;

  ASSERT_EQ(drive.tavctl({"safety", "set", "SLS", "1", "velocity_limit=200"}).code, 0);
  const auto back = drive.tavctl({"nmt", "reset", "--discard", "--write-back"});
  EXPECT_EQ(back.code, 0) << back.err;
  const auto shown = drive.tavctl({"safety", "show", "--json"}).json();
  EXPECT_EQ(shown["configuration"]["sls"][0]["velocity_limit"], 200);
  EXPECT_EQ(drive.tavctl({"safety", "verify"}).code, 0) << "the signature came back with it";
}

TEST(Reset, AsksAPersonWhetherWhatRevertedIsToBeWrittenBack) {
  for (const bool wanted : {true, false}) {
    const DriveOnBus drive;
    ASSERT_EQ(drive.tavctl({"safety", "set", "SLS", "1", "velocity_limit=200"}).code, 0);
    tool::ProcessOnTerminal process({"--bus", drive.bus_name(), "nmt", "reset", "--discard"});
    ASSERT_TRUE(process.shows("write the former values back? [y/N]")) << process.shown();
    process.type(wanted ? "y\n" : "\n");
    EXPECT_TRUE(process.shows(wanted ? "Written back" : "--write-back")) << process.shown();
    EXPECT_EQ(process.wait(), 0);
    const auto shown = drive.tavctl({"safety", "show", "--json"}).json();
    EXPECT_EQ(shown["configuration"]["sls"][0]["velocity_limit"], wanted ? 200 : 250);
  }
}

TEST(Reset, LosesNothingWhenAllIsStoredFirst) {
  const DriveOnBus drive;
  ASSERT_EQ(drive.tavctl({"safety", "set", "SLS", "1", "velocity_limit=200"}).code, 0);
  const auto result = drive.tavctl({"nmt", "reset", "--store-all", "--json"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_TRUE(result.json()["reverted"].empty()) << result.out;
  const auto shown = drive.tavctl({"safety", "show", "--json"}).json();
  EXPECT_EQ(shown["configuration"]["sls"][0]["velocity_limit"], 200);
}

TEST(Restore, BringsTheDriveBackToItsDefaultNodeId) {
  const DriveOnBus drive;
  ASSERT_EQ(drive.tavctl({"network", "set", "--node-id", "12", "--discard"}).code, 0);
  const auto result = drive.tavctl({"restore", "all", "--node", "12", "--discard", "--json"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.json()["node_id"], 10);
}

TEST(Pdo, ShowsWhatEachCarries) {
  const DriveOnBus drive;
  const auto pdos = drive.tavctl({"pdo", "show", "--json"}).json()["pdos"];
  ASSERT_FALSE(pdos.empty());
  EXPECT_EQ(pdos[0]["pdo"], "rpdo");
  EXPECT_EQ(pdos[0]["cob_id"], 0x20A);
  EXPECT_EQ(drive.downloads(), 0);
}

/** A configuration whose description lacks sub-indices of RPDO 1; the drive on the bus "virtual" lacks them
 * too. */
class WithoutTimes {
 public:
  explicit WithoutTimes(std::initializer_list<const char*> subindices)
      : description_(without(subindices)),
        configuration_(replaced(text_of("share/tav/tav.ini"), "share/tav/tav.eds", description_.path())) {}

  [[nodiscard]] tool::Result tavctl(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), {"--bus", "virtual", "--config", configuration_.path()});
    return tool::tavctl(arguments);
  }

 private:
  static std::string text_of(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  static std::string replaced(std::string text, const std::string& what, const std::string& with) {
    return text.replace(text.find(what), what.size(), with);
  }
  static std::string without(std::initializer_list<const char*> subindices) {
    std::string text = text_of("share/tav/tav.eds");
    for (const std::string subindex : subindices) {
      const std::size_t section = text.find("[1400sub" + subindex + "]");
      text.erase(section, text.find("\n[", section) + 1 - section);
    }
    const std::string count = "[1400]\nSubNumber=";
    text.replace(text.find(count) + count.size(), 1, std::to_string(5 - subindices.size()));
    return text;
  }

  tavtest::TemporaryFile description_;
  tavtest::TemporaryFile configuration_;
};

TEST(Pdo, WithoutInhibitTimeIsShownAndChangedAllTheSame) {
  const WithoutTimes drive({"3"});
  const auto shown = drive.tavctl({"pdo", "show", "--json"});
  ASSERT_EQ(shown.code, 0) << shown.err;
  EXPECT_EQ(shown.json()["pdos"][0]["cob_id"], 0x20A);
  EXPECT_EQ(shown.json()["pdos"][0]["event_timer"], 0);
  const auto set = drive.tavctl({"pdo", "set", "rpdo", "1", "event_timer=50", "--json"});
  EXPECT_EQ(set.code, 0) << set.err;
  EXPECT_EQ(set.json()["event_timer"], 50);
  EXPECT_EQ(set.json()["valid"], true);
}

TEST(Pdo, WithoutTimesIsShownAndMappedAllTheSame) {
  const WithoutTimes drive({"3", "5"});
  const auto shown = drive.tavctl({"pdo", "show", "--json"});
  ASSERT_EQ(shown.code, 0) << shown.err;
  EXPECT_FALSE(shown.json()["pdos"][0].contains("event_timer"));
  EXPECT_TRUE(shown.json()["pdos"][1].contains("event_timer")) << "the others have theirs";
  EXPECT_EQ(drive.tavctl({"pdo", "set", "rpdo", "1", "event_timer=50"}).code, 2);
  EXPECT_EQ(drive.tavctl({"pdo", "set", "rpdo", "1", "transmission_type=1"}).code, 0);
  EXPECT_EQ(drive.tavctl({"pdo", "map", "rpdo", "1", "controlword"}).code, 0);
}

TEST(Pdo, IsMappedByNamesAndReadBack) {
  const DriveOnBus drive;
  const auto result = drive.tavctl({"pdo", "map", "tpdo", "2", "statusword", "position_value", "--json"});
  EXPECT_EQ(result.code, 0) << result.err;
  const auto pdo = result.json()["pdos"][0];
  EXPECT_EQ(pdo["mapping"][0]["entry"], "0x60410010");
  EXPECT_EQ(pdo["mapping"][1]["entry"], "0x60640020");
  EXPECT_EQ(pdo["valid"], true);
}

TEST(Pdo, WithoutAnIdentifierIsMappedOnlyWhenOneIsGiven) {
  // RPDO 5 is shipped with identifier 0: enabled so, it would take NMT commands for its own.
  const DriveOnBus drive;
  const auto refused = drive.tavctl({"pdo", "map", "rpdo", "5", "controlword"});
  EXPECT_EQ(refused.code, 6) << refused.out;
  EXPECT_NE(refused.err.find("--cob-id"), std::string::npos) << refused.err;
  EXPECT_EQ(drive.tavctl({"pdo", "map", "rpdo", "5", "controlword", "--cob-id", "0x701"}).code, 6);
  EXPECT_EQ(drive.downloads(), 0);
  const auto mapped = drive.tavctl({"pdo", "map", "rpdo", "5", "controlword", "--cob-id", "0x345", "--json"});
  ASSERT_EQ(mapped.code, 0) << mapped.err;
  EXPECT_EQ(mapped.json()["pdos"][0]["cob_id"], 0x345);
  EXPECT_EQ(mapped.json()["pdos"][0]["valid"], true);
  EXPECT_EQ(mapped.err.find("WARNING"), std::string::npos) << "nothing to remedy: " << mapped.err;
}

TEST(Pdo, RefusesWhatCannotBeMappedBeforeAnythingIsWritten) {
  const DriveOnBus drive;
  EXPECT_EQ(drive.tavctl({"pdo", "map", "tpdo", "1", "Manufacturer device name"}).code, 6);
  EXPECT_EQ(
      drive.tavctl({"pdo", "map", "tpdo", "1", "position_value", "velocity_actual_value", "statusword"}).code,
      6);
  EXPECT_EQ(drive.tavctl({"pdo", "map", "rpdo", "1", "statusword"}).code, 6);
  EXPECT_EQ(drive.tavctl({"pdo", "map", "rpdo", "99", "controlword"}).code, 3);
  EXPECT_EQ(drive.downloads(), 0);
}

TEST(Pdo, ParametersAreChangedWithTheIdentifierDisabledMeanwhile) {
  const DriveOnBus drive;
  const auto result =
      drive.tavctl({"pdo", "set", "rpdo", "1", "transmission_type=1", "event_timer=50", "--json"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.json()["transmission_type"], 1);
  EXPECT_EQ(result.json()["event_timer"], 50);
  EXPECT_EQ(result.json()["valid"], true);
  EXPECT_EQ(drive.tavctl({"pdo", "set", "tpdo", "1", "event_timer=50"}).code, 2)
      << "only receive PDO 1 to 5 have one";
}

TEST(Manufacturer, ParametersAreSetAndReadBack) {
  const DriveOnBus drive;
  const auto result = drive.tavctl(
      {"manufacturer", "set", "use_internal_brake=off", "speed_pid_integral_gain=0x20", "--json"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.json()["use_internal_brake"], false);
  EXPECT_EQ(result.json()["speed_pid_integral_gain"], 0x20);
}

TEST(SystemErrors, ThresholdsAreSetAndStatesShown) {
  const DriveOnBus drive;
  EXPECT_EQ(drive.tavctl({"system-errors", "set", "phase_over_board_factor=1.5", "--json"})
                .json()["phase_over_board_factor"],
            1.5);
  const auto states = drive.tavctl({"system-errors", "states", "--json"}).json();
  EXPECT_TRUE(states.contains("battery_under_voltage"));
  EXPECT_TRUE(states.contains("level_1_error"));
}

TEST(SelfTestAndCalibration, AreShownWithoutADownload) {
  const DriveOnBus drive;
  EXPECT_TRUE(drive.tavctl({"selftest", "--json"}).json().contains("auto_init"));
  EXPECT_EQ(drive.tavctl({"calibration", "--json"}).json()["is_valid"], true);
  EXPECT_EQ(drive.downloads(), 0);
}

TEST(DriveInfo, IsASnapshotWithoutADownload) {
  const DriveOnBus drive;
  const auto result = drive.tavctl({"drive-info", "--json"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.json()["velocity"], 0);
  EXPECT_EQ(result.json()["direction"], "stop");
  EXPECT_EQ(drive.downloads(), 0);
}

TEST(Move, GoesAtAPercentageOfTheConfiguredSpeedAndStops) {
  const DriveOnBus drive;
  const auto result = drive.tavctl({"move", "50", "backward", "--for", "0.5", "--json"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.json()["target_velocity"], -150) << "half of maxMaintenanceSpeedValue 300";
  EXPECT_EQ(drive.tavctl({"read", "vl_target_velocity", "--json"}).json()["objects"][0]["value"], 0);
  EXPECT_EQ(drive.tavctl({"move", "50", "sideways"}).code, 2);
}

}  // namespace

#include <gtest/gtest.h>

#include <iterator>
#include <tavcore/Config.hpp>

#include "support/ConfigText.hpp"
#include "support/Doubles.hpp"
#include "support/TemporaryFile.hpp"

namespace {

using nkr::tavcore::Config;
using tavtest::config_text;
using tavtest::ConfigValues;
using tavtest::TemporaryFile;

class ConfigLoad : public testing::Test {
 protected:
  void expect_single_record(std::uint32_t context, const std::string& text) {
    ASSERT_EQ(log.records().size(), 1U);
    const tavtest::LogEntry record = log.records()[0];
    EXPECT_EQ(record.context, context);
    EXPECT_EQ(record.level, 2U);
    EXPECT_EQ(record.function, "load");
    EXPECT_GT(record.line, 0U);
    EXPECT_EQ(record.class_name, "Config");
    EXPECT_EQ(record.text, text);
    log.clear();
  }

  tavtest::RecordingLog log;
};

TEST_F(ConfigLoad, AfterConstructionEverythingIsEmptyButTheTimeout) {
  const Config config;
  EXPECT_EQ(config.getPath(), "");
  EXPECT_EQ(config.getContextId(), 0);
  EXPECT_EQ(config.getNodeId(), 0);
  EXPECT_EQ(config.getHWConfigurationEntry(), "");
  EXPECT_EQ(config.getNbStepRevolutionElec(), 0);
  EXPECT_EQ(config.getNbPolePair(), 0);
  EXPECT_EQ(config.getReduction(), 0.0);
  EXPECT_EQ(config.getDiameter(), 0.0);
  EXPECT_EQ(config.getUsbPort(), "");
  EXPECT_EQ(config.getCANOpenEDSFilePath(), "");
  EXPECT_EQ(config.getTargetVelocityTimeoutMs(), 100);
}

TEST_F(ConfigLoad, ReadsEveryKeyAndStoresThePath) {
  const TemporaryFile file(config_text());
  Config config;
  ASSERT_EQ(config.load(file.path()), NKR_OK);
  EXPECT_EQ(config.getPath(), file.path());
  EXPECT_EQ(config.getContextId(), 7);
  EXPECT_EQ(config.getNodeId(), 5);
  EXPECT_EQ(config.getHWConfigurationEntry(), "hw");
  EXPECT_EQ(config.getNbStepRevolutionElec(), 6);
  EXPECT_EQ(config.getNbPolePair(), 4);
  EXPECT_EQ(config.getReduction(), 10.5);
  EXPECT_EQ(config.getDiameter(), 200.25);
  EXPECT_EQ(config.getUsbPort(), "/dev/null");
  EXPECT_EQ(config.getCANOpenEDSFilePath(), "share/tav/tav.eds");
  EXPECT_EQ(config.getTargetVelocityTimeoutMs(), 250);
  EXPECT_EQ(config.getMaxMaintenanceSpeedValue(), 300);
  EXPECT_TRUE(log.records().empty());
}

TEST_F(ConfigLoad, AMissingFileChangesNothingAndIsRecordedWithItsPath) {
  Config config;
  EXPECT_EQ(config.load("/no/such/file.ini"), NKR_NOT_AVAILABLE);
  expect_single_record(0, "Can't open config file : /no/such/file.ini");
  EXPECT_EQ(config.getPath(), "");
  EXPECT_EQ(config.getTargetVelocityTimeoutMs(), 100);
}

TEST_F(ConfigLoad, ANodeIdThatIsNoIntegerStopsAfterTheContextIdWasStored) {
  const TemporaryFile file(config_text({{"nodeId", "five"}}));
  Config config;
  EXPECT_EQ(config.load(file.path()), NKR_NOT_AVAILABLE);
  expect_single_record(7, "Invalid type for nodeId");
  EXPECT_EQ(config.getContextId(), 7);
  EXPECT_EQ(config.getNodeId(), 0);
  EXPECT_EQ(config.getPath(), "");
}

TEST_F(ConfigLoad, EachMissingSettingStopsWithItsOwnMessage) {
  const std::pair<const char*, std::uint32_t> keys[] = {{"contextId", 0},
                                                        {"nodeId", 7},
                                                        {"HWConfigurationEntry", 7},
                                                        {"CANOpenEDSFile", 7},
                                                        {"targetVelocityTimeoutMs", 7},
                                                        {"maxMaintenanceSpeedValue", 7}};
  for (const auto& [key, context] : keys) {
    const TemporaryFile file(config_text({{key, ""}}));
    Config config;
    EXPECT_EQ(config.load(file.path()), NKR_NOT_AVAILABLE);
    expect_single_record(context, std::string("Invalid type for ") + key);
  }
}

TEST_F(ConfigLoad, SettingsAreReadInTheirOrderUntilTheFirstFailure) {
  const char* const keys[] = {"contextId",
                              "nodeId",
                              "HWConfigurationEntry",
                              "CANOpenEDSFile",
                              "targetVelocityTimeoutMs",
                              "maxMaintenanceSpeedValue"};
  ConfigValues removed;
  for (std::size_t i = std::size(keys); i-- > 0;) {
    removed[keys[i]] = "";
    const TemporaryFile file(config_text(removed));
    EXPECT_EQ(Config().load(file.path()), NKR_NOT_AVAILABLE);
    ASSERT_EQ(log.records().size(), 1U);
    EXPECT_EQ(log.records()[0].text, std::string("Invalid type for ") + keys[i]);
    log.clear();
  }
}

TEST_F(ConfigLoad, HardwareMembersAreReadInTheirOrderUntilTheFirstFailure) {
  const char* const members[] = {"nbStepRevolutionElec", "nbPolePair", "reduction", "diameter", "device"};
  for (std::size_t i = 0; i < std::size(members); ++i) {
    SCOPED_TRACE(members[i]);
    const TemporaryFile file(config_text({{members[i], ""}}));
    Config config;
    EXPECT_EQ(config.load(file.path()), NKR_NOT_AVAILABLE);
    EXPECT_EQ(config.getNbStepRevolutionElec(), i > 0 ? 6 : 0);
    EXPECT_EQ(config.getNbPolePair(), i > 1 ? 4 : 0);
    EXPECT_EQ(config.getReduction(), i > 2 ? 10.5 : 0.0);
    EXPECT_EQ(config.getDiameter(), i > 3 ? 200.25 : 0.0);
    EXPECT_EQ(config.getUsbPort(), "");
  }
}

TEST_F(ConfigLoad, FieldsReadBeforeAFailureKeepTheirNewValues) {
  const TemporaryFile file(config_text({{"maxMaintenanceSpeedValue", "fast"}}));
  Config config;
  EXPECT_EQ(config.load(file.path()), NKR_NOT_AVAILABLE);
  EXPECT_EQ(config.getNodeId(), 5);
  EXPECT_EQ(config.getTargetVelocityTimeoutMs(), 250);
  EXPECT_EQ(config.getNbPolePair(), 0);
  log.clear();
}

TEST_F(ConfigLoad, EachMissingHardwareMemberStopsWithoutAMessageAndThePathStaysEmpty) {
  for (const char* const member : {"nbStepRevolutionElec", "nbPolePair", "reduction", "diameter", "device"}) {
    SCOPED_TRACE(member);
    const TemporaryFile file(config_text({{member, ""}}));
    Config config;
    EXPECT_EQ(config.load(file.path()), NKR_NOT_AVAILABLE);
    EXPECT_TRUE(log.records().empty());
    EXPECT_EQ(config.getPath(), "");
    EXPECT_EQ(config.getMaxMaintenanceSpeedValue(), 300);
  }
}

TEST_F(ConfigLoad, AMissingHardwareSectionStopsWithoutAMessage) {
  const TemporaryFile file(config_text({{"HWConfigurationEntry", "other"}}));
  Config config;
  EXPECT_EQ(config.load(file.path()), NKR_NOT_AVAILABLE);
  EXPECT_TRUE(log.records().empty());
  EXPECT_EQ(config.getHWConfigurationEntry(), "other");
}

TEST_F(ConfigLoad, ASecondLoadLogsWithTheContextOfTheFirstUntilItReadsItsOwn) {
  const TemporaryFile good(config_text());
  Config config;
  ASSERT_EQ(config.load(good.path()), NKR_OK);
  EXPECT_EQ(config.load("/no/such/file.ini"), NKR_NOT_AVAILABLE);
  expect_single_record(7, "Can't open config file : /no/such/file.ini");
  EXPECT_EQ(config.getPath(), good.path());
}

TEST_F(ConfigLoad, AFileThatIsNoConfigurationFailsWithARecord) {
  Config config;
  EXPECT_EQ(config.load("/"), NKR_NOT_AVAILABLE);
  ASSERT_EQ(log.records().size(), 1U);
  EXPECT_EQ(log.records()[0].text, "Error during parsing of config file : /");
  log.clear();
}

TEST_F(ConfigLoad, ResultsAreTheSameWithLoggingDisabled) {
  log.disable();
  Config config;
  EXPECT_EQ(config.load("/no/such/file.ini"), NKR_NOT_AVAILABLE);
  const TemporaryFile file(config_text());
  EXPECT_EQ(config.load(file.path()), NKR_OK);
}

TEST_F(ConfigLoad, ValuesMakeTheConfigurationThatAFileWithThemMakes) {
  const TemporaryFile file(config_text());
  Config loaded;
  ASSERT_EQ(loaded.load(file.path()), NKR_OK);
  nkr::tavcore::ConfigValues values;
  values.path = file.path();
  values.context_id = 7;
  values.node_id = 5;
  values.hw_configuration_entry = "hw";
  values.nb_step_revolution_elec = 6;
  values.nb_pole_pair = 4;
  values.reduction = 10.5;
  values.diameter = 200.25;
  values.usb_port = "/dev/null";
  values.canopen_eds_file_path = "share/tav/tav.eds";
  values.target_velocity_timeout_ms = 250;
  values.max_maintenance_speed_value = 300;
  const Config made = Config::from_values(values);
  EXPECT_EQ(made.getPath(), loaded.getPath());
  EXPECT_EQ(made.getContextId(), loaded.getContextId());
  EXPECT_EQ(made.getNodeId(), loaded.getNodeId());
  EXPECT_EQ(made.getHWConfigurationEntry(), loaded.getHWConfigurationEntry());
  EXPECT_EQ(made.getNbStepRevolutionElec(), loaded.getNbStepRevolutionElec());
  EXPECT_EQ(made.getNbPolePair(), loaded.getNbPolePair());
  EXPECT_EQ(made.getReduction(), loaded.getReduction());
  EXPECT_EQ(made.getDiameter(), loaded.getDiameter());
  EXPECT_EQ(made.getUsbPort(), loaded.getUsbPort());
  EXPECT_EQ(made.getCANOpenEDSFilePath(), loaded.getCANOpenEDSFilePath());
  EXPECT_EQ(made.getTargetVelocityTimeoutMs(), loaded.getTargetVelocityTimeoutMs());
  EXPECT_EQ(made.getMaxMaintenanceSpeedValue(), loaded.getMaxMaintenanceSpeedValue());
}

}  // namespace

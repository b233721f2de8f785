#include "ServiceTest.hpp"

namespace tavtest {
namespace {

using nkr::tavcore::IInternalService;
using nkr::tavcore::IManufacturerService;
using Accesses = std::vector<Access>;
using Texts = std::vector<std::string>;
using Block = IInternalService::_BlocId;

using InternalTest = ServiceTest;
using ManufacturerTest = ServiceTest;

TEST_F(InternalTest, StoringBlock5WritesSaveToItsObjectAlone) {
  EXPECT_EQ(dispatcher()._storeParameters(Block{5}), NKR_OK);
  EXPECT_EQ(
      client().accesses,
      (Accesses{write_of("Store Parameters Save Motor Calibration And Internal Parameters", 0x65766173)}));
}

TEST_F(InternalTest, RestoringBlock6WritesLoadToItsObjectAlone) {
  EXPECT_EQ(dispatcher()._restoreDefaultParameters(Block{6}), NKR_OK);
  EXPECT_EQ(client().accesses,
            (Accesses{write_of("Restore Default Parameters Restore Test Results", 0x64616F6C)}));
}

TEST_F(InternalTest, OtherBlocksAreRefusedAndRecorded) {
  EXPECT_EQ(dispatcher()._storeParameters(Block{1}), NKR_ERROR);
  EXPECT_EQ(dispatcher()._restoreDefaultParameters(Block{-7}), NKR_ERROR);
  EXPECT_TRUE(client().accesses.empty());
  const std::vector<LogEntry> records = log.records();
  ASSERT_EQ(records.size(), 2U);
  EXPECT_EQ(records[0].text, "Invalid block id : 1");
  EXPECT_EQ(records[0].function, "_storeParameters");
  EXPECT_EQ(records[0].level, 2U);
  EXPECT_EQ(records[0].context, 7U);
  EXPECT_EQ(records[1].text, "Invalid block id : -7");
  EXPECT_EQ(records[1].function, "_restoreDefaultParameters");
}

TEST_F(InternalTest, TheGuardComesBeforeTheCheckOfTheBlock) {
  DispatcherBench bench(description);
  EXPECT_EQ(bench.dispatcher->_storeParameters(Block{1}), NKR_NOT_AVAILABLE);
  EXPECT_EQ(bench.dispatcher->_restoreDefaultParameters(Block{1}), NKR_NOT_AVAILABLE);
  EXPECT_EQ(texts(2),
            (Texts{"TAV CANOpenDispatcher is not initialized", "TAV CANOpenDispatcher is not initialized"}));
}

TEST_F(InternalTest, AMissingNameLeavesTheFieldsFromThereOn) {
  description.remove("nkr_system_error_public_config phase_oc_error");
  load();
  const std::string prefix = "nkr_system_error_public_config ";
  answer(prefix + "time_ms_zero_torque_protect", 1U);
  answer(prefix + "phase_oc_warning", 7);
  answer(prefix + "battery_uv_warning_timeout_ms", 9U);
  IInternalService::_SystemErrorConfig config{90, 91, 92, 93, 94, 95, 96, 97, 98, 99, 88, 87, 86, 85, 84, 83};
  EXPECT_EQ(dispatcher()._getSystemErrorConfig(config), NKR_NOT_AVAILABLE);
  EXPECT_EQ(config.zero_torque_protection_time_ms, 1U);
  EXPECT_EQ(config.battery_over_voltage_error, 0);
  EXPECT_EQ(config.phase_over_current_warning, 7);
  EXPECT_EQ(config.phase_over_current_error, 97);
  EXPECT_EQ(config.under_voltage_warning_time_out_ms, 98U);
  EXPECT_EQ(config.temperature_hysteresis_fall_mosfet_2, 83);
  EXPECT_EQ(client().accesses.size(), 7U);
}

TEST_F(InternalTest, ANodeIdSetByHandSurvivesAReset) {
  EXPECT_EQ(dispatcher()._setNodeId(7), NKR_OK);
  EXPECT_TRUE(client().accesses.empty());
  EXPECT_TRUE(log.records().empty());
  EXPECT_EQ(addressed_node(), 7);
  EXPECT_EQ(dispatcher().setNMTState(nkr::tavcore::INMTService::NMTCommand::RESET_NODE), NKR_OK);
  EXPECT_EQ(addressed_node(), 7);
}

TEST_F(InternalTest, ANodeIdIsNotSetBeforeInit) {
  DispatcherBench bench(description);
  EXPECT_EQ(bench.dispatcher->_setNodeId(7), NKR_NOT_AVAILABLE);
  std::uint8_t reg = 0;
  EXPECT_EQ(bench.dispatcher->getErrorRegister(reg), NKR_OK);
  EXPECT_EQ(bench.client->accesses.at(0).node, 0xFF);
}

TEST_F(ManufacturerTest, AFailingFourthStateLeavesAllFiveOutputs) {
  using Status = IManufacturerService::SystemErrorStatus;
  fail("nkr_system_error_states_status mos_ot");
  Status s[5] = {Status{1}, Status{2}, Status{3}, Status{4}, Status{5}};
  answer("nkr_system_error_states_status battery_uv", u8(99));
  EXPECT_EQ(dispatcher().getSystemErrorState(s[0], s[1], s[2], s[3], s[4]), kAbort);
  for (std::uint32_t i = 0; i < 5; ++i) EXPECT_EQ(s[i], Status{i + 1});
}

TEST_F(ManufacturerTest, TheLastStateReadByItsRepeatLeavesAllFiveOutputs) {
  using Status = IManufacturerService::SystemErrorStatus;
  fail_once("nkr_system_error_states_status drv_ot");
  Status s[5] = {Status{1}, Status{2}, Status{3}, Status{4}, Status{5}};
  EXPECT_EQ(dispatcher().getSystemErrorState(s[0], s[1], s[2], s[3], s[4]), NKR_OK);
  for (std::uint32_t i = 0; i < 5; ++i) EXPECT_EQ(s[i], Status{i + 1});
}

}  // namespace
}  // namespace tavtest

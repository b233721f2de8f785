// The safety operations under the rules of every service operation. Those that write a signature stand in
// failures_test.cpp too: what they write depends on where a read failed.

#include <gtest/gtest.h>

#include "SafetyBench.hpp"
#include "safety_operations.hpp"
#include "support/OperationSuite.hpp"

namespace {

using nkr::tavcore::CANOpenDispatcher;
using tavtest::DispatcherBench;
using tavtest::operation_name;
using tavtest::OperationSuite;
using Safe = nkr::tavcore::ISafeMotionService;
using Srdo = nkr::tavcore::ISRDOService;

INSTANTIATE_TEST_SUITE_P(Safety, OperationSuite, testing::ValuesIn(tavtest::safety_operations()),
                         operation_name);

/** Every safety operation before init(), with arguments that it would refuse too: the guard comes first. */
struct Guarded {
  std::string name;
  std::function<nkr_error_t(CANOpenDispatcher&)> call;
};

std::vector<Guarded> guarded_operations() {
  static Safe::SafetyWordMapping mapping{};
  static Safe::SafetyWordType word{};
  static Safe::STOParameters sto{};
  static Safe::SLSParameters sls{};
  static Safe::SDIParameters sdi{};
  static Safe::SBCParameters sbc{};
  static Srdo::SRDOParameters srdo{};
  static Srdo::SRDOMapping srdo_mapping{};
  static Srdo::SRDODirection direction{};
  static std::uint16_t signature = 0;
  static bool flag = false;
  const auto control = Safe::SafetyControlWordId{99};
  const auto status = Safe::SafetyStatusWordId{99};
  const auto function = Safe::SafetyFunctionId{99};
  const auto none = Safe::SafetyFunctionId::NONE;
  return {
      {"getSafetyControlWordMapping",
       [=](auto& d) { return d.getSafetyControlWordMapping(control, mapping); }},
      {"setSafetyControlWordMapping",
       [=](auto& d) { return d.setSafetyControlWordMapping(control, mapping); }},
      {"getSafetyStatusWordMapping", [=](auto& d) { return d.getSafetyStatusWordMapping(status, mapping); }},
      {"setSafetyStatusWordMapping", [=](auto& d) { return d.setSafetyStatusWordMapping(status, mapping); }},
      {"getSafetyFunctionCommand", [=](auto& d) { return d.getSafetyFunctionCommand(function, flag); }},
      {"getSafetyFunctionCommand", [=](auto& d) { return d.getSafetyFunctionCommand(none, flag); }},
      {"getSafetyFunctionStatus", [=](auto& d) { return d.getSafetyFunctionStatus(function, flag); }},
      {"getSafetyFunctionStatus", [=](auto& d) { return d.getSafetyFunctionStatus(none, flag); }},
      {"getSafetyControlWord", [=](auto& d) { return d.getSafetyControlWord(control, word); }},
      {"setSafetyControlWord", [=](auto& d) { return d.setSafetyControlWord(control, word); }},
      {"getSafetyStatusWord", [=](auto& d) { return d.getSafetyStatusWord(status, word); }},
      {"getSTOParameters", [=](auto& d) { return d.getSTOParameters(Safe::STOId{1}, sto, signature); }},
      {"setSTOParameters", [=](auto& d) { return d.setSTOParameters(Safe::STOId{1}, sto); }},
      {"getSLSParameters", [=](auto& d) { return d.getSLSParameters(Safe::SLSId{1}, sls, signature); }},
      {"setSLSParameters", [=](auto& d) { return d.setSLSParameters(Safe::SLSId{1}, sls); }},
      {"getSDIParameters", [=](auto& d) { return d.getSDIParameters(Safe::SDIId{1}, sdi, signature); }},
      {"setSDIParameters", [=](auto& d) { return d.setSDIParameters(Safe::SDIId{1}, sdi); }},
      {"getSBCParameters", [=](auto& d) { return d.getSBCParameters(Safe::SBCId{1}, sbc, signature); }},
      {"setSBCParameters", [=](auto& d) { return d.setSBCParameters(Safe::SBCId{1}, sbc); }},
      {"getSRDOParameters",
       [=](auto& d) { return d.getSRDOParameters(Srdo::SRDOId{1}, direction, srdo, signature); }},
      {"setSRDOParameters", [=](auto& d) { return d.setSRDOParameters(Srdo::SRDOId{1}, srdo); }},
      {"getSRDOMapping", [=](auto& d) { return d.getSRDOMapping(Srdo::SRDOId{1}, srdo_mapping); }},
      {"getSRDOConfigurationValidity", [=](auto& d) { return d.getSRDOConfigurationValidity(flag); }},
      {"setSRDOConfigurationValidity", [=](auto& d) { return d.setSRDOConfigurationValidity(); }}};
}

TEST(SafetyOperations, BeforeInitAnswerNotAvailableWithARecordOfTheirNameAndSendNothing) {
  tavtest::RecordingLog log;
  for (const Guarded& operation : guarded_operations()) {
    DispatcherBench bench(tavtest::safety_description());
    log.clear();
    EXPECT_EQ(operation.call(*bench.dispatcher), NKR_NOT_AVAILABLE) << operation.name;
    EXPECT_TRUE(bench.client->accesses.empty());
    const auto records = log.records();
    ASSERT_EQ(records.size(), 1U) << operation.name;
    EXPECT_EQ(records[0].function, operation.name);
    EXPECT_EQ(records[0].class_name, "CANOpenDispatcher");
    EXPECT_EQ(records[0].text, "TAV CANOpenDispatcher is not initialized");
    EXPECT_EQ(records[0].context, 0U);
    EXPECT_EQ(records[0].level, 2U);
  }
}

}  // namespace

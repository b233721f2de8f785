// The safety operations under the rules of every service operation. Those that write a signature stand in
// failures_test.cpp.

#include "safety_operations.hpp"

#include <gtest/gtest.h>

#include "SafetyBench.hpp"
#include "support/OperationSuite.hpp"

namespace {

using nkr::tavcore::CANOpenDispatcher;
using tavtest::DispatcherBench;
using tavtest::operation_name;
using tavtest::OperationSuite;
using Safe = nkr::tavcore::ISafeMotionService;

INSTANTIATE_TEST_SUITE_P(Safety, OperationSuite, testing::ValuesIn(tavtest::safety_operations()),
                         operation_name);

/** Operations with arguments that they refuse, or that ask for no access. */
std::vector<std::pair<std::string, std::function<nkr_error_t(CANOpenDispatcher&)>>> refusing_operations() {
  static Safe::SafetyWordMapping mapping{};
  static Safe::SafetyWordType word{};
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
  };
}

TEST(SafetyOperations, BeforeInitAnswerSoBeforeTheyLookAtTheirArguments) {
  tavtest::RecordingLog log;
  for (const auto& [name, call] : refusing_operations()) {
    DispatcherBench bench(tavtest::safety_description());
    log.clear();
    EXPECT_EQ(call(*bench.dispatcher), NKR_NOT_AVAILABLE) << name;
    EXPECT_TRUE(bench.client->accesses.empty());
    EXPECT_EQ(lines_of(log.records()),
              std::vector<std::string>{"0 | 2 | " + name +
                                       " | CANOpenDispatcher | TAV CANOpenDispatcher is not initialized"});
  }
}

}  // namespace

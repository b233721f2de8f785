// The whole refresh: 14 instances, each over the 128 mapping objects. failures_test.cpp compares it access by
// access.

#include <gtest/gtest.h>

#include "SafetyBench.hpp"
#include "support/Doubles.hpp"

namespace {

using tavtest::Accesses;
using tavtest::SafetyBench;
using Safe = nkr::tavcore::ISafeMotionService;

constexpr nkr_error_t kTimeout = 0x05040000;

class Refresh : public testing::Test {
 protected:
  Refresh() { log_.disable(); }

  Accesses& accesses() { return bench_.client->accesses; }

  tavtest::RecordingLog log_;
  SafetyBench bench_;
};

TEST_F(Refresh, ReadsAndSignsFourteenInstances) {
  ASSERT_EQ(bench_.dispatcher->updateAllSafetySignatures(), NKR_OK);
  // Parameters and held signatures of STO, SDI, SLS and SBC, their units, and for each the mapping and a
  // write.
  EXPECT_EQ(accesses().size(), 3U + 2 * 2 + 8 * 5 + 3 * 2 + 2 * 2 + 8 * 3 + 3 + 14 * 129);
  EXPECT_EQ(bench_.client->writes().size(), 14U);
}

/** Counts the getters that a refresh goes through. */
class CountingDispatcher : public nkr::tavcore::CANOpenDispatcher {
 public:
  using CANOpenDispatcher::CANOpenDispatcher;

  [[nodiscard]] nkr_error_t getSTOParameters(const STOId& /*id*/, STOParameters& parameters,
                                             unsigned short& /*signature*/) const override {
    EXPECT_FALSE(parameters.restartAcknowledgeBehavior) << "the record starts as zeros";
    EXPECT_EQ(parameters.activateSBC, 0U);
    parameters.restartAcknowledgeBehavior = true;
    return NKR_OK;
  }
  [[nodiscard]] nkr_error_t getSDIParameters(const SDIId& id, SDIParameters& /*parameters*/,
                                             unsigned short& /*signature*/) const override {
    asked.push_back("SDI " + std::to_string(static_cast<int>(id)));
    return NKR_OK;
  }
  [[nodiscard]] nkr_error_t getSLSParameters(const SLSId& id, SLSParameters& /*parameters*/,
                                             unsigned short& /*signature*/) const override {
    asked.push_back("SLS " + std::to_string(static_cast<int>(id)));
    return NKR_OK;
  }
  [[nodiscard]] nkr_error_t getSBCParameters(const SBCId& id, SBCParameters& /*parameters*/,
                                             unsigned short& /*signature*/) const override {
    asked.push_back("SBC " + std::to_string(static_cast<int>(id)));
    return asked.size() < 13 ? NKR_OK : kTimeout;
  }

  mutable std::vector<std::string> asked;
};

TEST_F(Refresh, UsesTheGettersOfADerivedDispatcherAndRepeatsOneThatFails) {
  CountingDispatcher dispatcher(bench_.config, bench_.client);
  ASSERT_EQ(dispatcher.init(), NKR_OK);
  EXPECT_EQ(dispatcher.updateAllSafetySignatures(), kTimeout);
  const std::vector<std::string> expected = {"SDI 1", "SDI 2", "SLS 1", "SLS 2", "SLS 3", "SLS 4", "SLS 5",
                                             "SLS 6", "SLS 7", "SLS 8", "SBC 1", "SBC 2", "SBC 3", "SBC 3"};
  EXPECT_EQ(dispatcher.asked, expected);
  EXPECT_EQ(bench_.client->writes().front(), SafetyBench::write_at(0x6645, 1, std::uint16_t{0x90C2}));
}

}  // namespace

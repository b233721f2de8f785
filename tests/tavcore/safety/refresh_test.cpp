// The whole refresh: 14 instances, each over the 128 mapping objects.

#include <gtest/gtest.h>

#include <algorithm>

#include "SafetyBench.hpp"
#include "support/Doubles.hpp"

namespace {

using nkr::tavcore::SafetyConfiguration;
using tavtest::Access;
using tavtest::Accesses;
using tavtest::mapping_reads;
using tavtest::SafetyBench;
using tavtest::Value;
using Safe = nkr::tavcore::ISafeMotionService;

constexpr nkr_error_t kTimeout = 0x05040000;

/** The accesses of a refresh on a drive that holds zeros, as they must follow one another. */
class RefreshTrace {
 public:
  explicit RefreshTrace(const SafetyBench& bench) : bench_(bench) {
    read_flag("STO restart acknowledge behavior");
    read_long("STO activate SBC");
    sign("STO", 1, {}, 0x6645);
    for (std::uint32_t n = 1; n <= 2; ++n) {
      read_long("SDI velocity zero window u32 SDI velocity zero window u32 " + std::to_string(n));
      sign("SDI", n, {"Position unit", "Velocity unit"}, 0x66D6);
    }
    for (std::uint32_t n = 1; n <= 8; ++n) {
      const std::string instance = std::to_string(n);
      read_word("SLS time to velocity monitoring SLS time to velocity monitoring " + instance);
      read_long("SLS velocity limit u32 SLS velocity limit u32 " + instance);
      read_word("SLS time for velocity in limits SLS time for velocity in limits " + instance);
      read_long("SLS error reactions SLS error reaction " + instance);
      sign("SLS", n, {"Time unit", "Velocity unit", "Acceleration unit"}, 0x6699);
    }
    for (std::uint32_t n = 1; n <= 3; ++n) {
      read_word("SBC brake time delay SBC brake time delay " + std::to_string(n));
      sign("SBC", n, {"Time unit"}, 0x6662);
    }
  }

  [[nodiscard]] const Accesses& accesses() const { return accesses_; }

 private:
  void read(const std::string& name, const Value& value) { accesses_.push_back(bench_.read_of(name, value)); }
  void read_flag(const std::string& name) { read(name, false); }
  void read_word(const std::string& name) { read(name, std::uint16_t{0}); }
  void read_long(const std::string& name) { read(name, std::uint32_t{0}); }

  void sign(const std::string& function, std::uint32_t n, const std::vector<std::string>& units,
            std::uint32_t index) {
    const std::string text = function + " safety application configuration signature ";
    read_word(text + text + std::to_string(n));
    for (const std::string& unit : units) read_long(unit);
    const Accesses mapping = mapping_reads();
    accesses_.insert(accesses_.end(), mapping.begin(), mapping.end());
    accesses_.push_back(SafetyBench::write_at(index, n, std::uint16_t{0}));
  }

  const SafetyBench& bench_;
  Accesses accesses_;
};

class Refresh : public testing::Test {
 protected:
  Refresh() { log_.disable(); }

  Accesses& accesses() { return bench_.client->accesses; }

  tavtest::RecordingLog log_;
  SafetyBench bench_;
};

TEST_F(Refresh, ReadsAndSignsEveryInstanceInOrder) {
  ASSERT_EQ(bench_.dispatcher->updateAllSafetySignatures(), NKR_OK);
  const RefreshTrace expected(bench_);
  EXPECT_EQ(expected.accesses().size(), 3U + 2 * 2 + 8 * 5 + 3 * 2 + 2 * 2 + 8 * 3 + 3 + 14 * 129);
  EXPECT_EQ(accesses(), expected.accesses());
}

TEST_F(Refresh, AMappingSetterWritesItsBitsThenRefreshes) {
  const auto none = Safe::SafetyFunctionId::NONE;
  const Safe::SafetyWordMapping mapping{none, none, none, none, none, none, none, none};
  ASSERT_EQ(bench_.dispatcher->setSafetyStatusWordMapping(Safe::SafetyStatusWordId::SAFE_OUTPUT, mapping),
            NKR_OK);
  const RefreshTrace refresh(bench_);
  ASSERT_EQ(accesses().size(), 4 + refresh.accesses().size());
  EXPECT_EQ(Accesses(accesses().begin() + 4, accesses().end()), refresh.accesses());
}

TEST_F(Refresh, AMappingReadThatFailsForGoodIsReportedByTheMappingSetter) {
  bench_.client->fail_address(tavtest::at(0x66F0, 1), kTimeout);
  const Safe::SafetyWordMapping mapping{};
  EXPECT_EQ(bench_.dispatcher->setSafetyStatusWordMapping(Safe::SafetyStatusWordId::SAFE_OUTPUT, mapping),
            kTimeout);
  EXPECT_TRUE(std::none_of(accesses().begin(), accesses().end(), [](const Access& access) {
    return access.kind == tavtest::AccessKind::WRITE && access.address == tavtest::at(0x6645, 1);
  }));
  // The read twice by the mapping's signature, that twice by the update, that twice by the refresh, and the
  // refresh twice by the setter: 16 attempts.
  EXPECT_EQ(std::count_if(accesses().begin(), accesses().end(),
                          [](const Access& access) { return access.address == tavtest::at(0x66F0, 1); }),
            16);
}

TEST_F(Refresh, ASignatureThatCannotBeWrittenIsReportedByTheMappingSetter) {
  bench_.client->fail_address(tavtest::at(0x6662, 3), kTimeout);
  EXPECT_EQ(bench_.dispatcher->setSafetyControlWordMapping(Safe::SafetyControlWordId::SAFE_INPUT, {}),
            kTimeout);
}

TEST_F(Refresh, AParameterReadThatFailsOnceSignsTheInstanceWithWhatWasReadSoFar) {
  bench_.hold("SBC brake time delay SBC brake time delay 3", std::uint16_t{400});
  const std::uint32_t address = bench_.address("SBC brake time delay SBC brake time delay 3");
  bench_.client->fail_address(address, kTimeout, 1);
  EXPECT_EQ(bench_.dispatcher->updateAllSafetySignatures(), NKR_OK);
  std::vector<std::uint8_t> bytes = {0, 0, 0, 0, 400 & 0xFF, 400 >> 8};
  bytes.resize(6 + 512);
  EXPECT_EQ(accesses().back(), SafetyBench::write_at(0x6662, 3, nkr::tavcore::crc16_ccitt(bytes)));
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

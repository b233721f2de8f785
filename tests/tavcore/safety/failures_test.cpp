// Every operation that writes a signature beside its literal form, with a failure at every access: same
// accesses, same values written, same result, same records. What it writes depends on where a read failed.

#include <gtest/gtest.h>

#include <functional>
#include <ostream>

#include "Reference.hpp"
#include "support/Doubles.hpp"

namespace {

using nkr::tavcore::CANOpenDispatcher;
using nkr::tavcore::SafetyConfiguration;
using nkr::tavcore::SRDOConfiguration;
using tavtest::RecordingClient;
using tavtest::Reference;
using tavtest::SafetyBench;
using Safe = nkr::tavcore::ISafeMotionService;
using Srdo = nkr::tavcore::ISRDOService;

constexpr nkr_error_t kTimeout = 0x05040000;
constexpr nkr_error_t kDeviceState = 0x08000022;

/** One operation, by the library and written out. */
struct Case {
  std::string name;
  std::function<nkr_error_t(CANOpenDispatcher&)> library;
  std::function<nkr_error_t(Reference&)> reference;
  bool guarded = true;
};

void PrintTo(const Case& c, std::ostream* out) {
  *out << c.name;
}

const Safe::STOParameters kSTO{true, 5};
const Safe::SLSParameters kSLS{100, 200000, 300, true};
const Safe::SDIParameters kSDI{70000};
const Safe::SBCParameters kSBC{250};
const Srdo::SRDOParameters kSRDO{true, 25, 20, 254, 0x101, 0x102};

std::vector<Case> signature_updates() {
  return {
      {"updateSignature_STO", [](auto& d) { return d.updateSignature_STO(Safe::STOId{1}, kSTO); },
       [](auto& r) { return r.update_sto(kSTO); }, false},
      {"updateSignature_SLS", [](auto& d) { return d.updateSignature_SLS(Safe::SLSId{3}, kSLS); },
       [](auto& r) { return r.update_sls(3, kSLS); }, false},
      {"updateSignature_SDI", [](auto& d) { return d.updateSignature_SDI(Safe::SDIId{2}, kSDI); },
       [](auto& r) { return r.update_sdi(2, kSDI); }, false},
      {"updateSignature_SBC", [](auto& d) { return d.updateSignature_SBC(Safe::SBCId{3}, kSBC); },
       [](auto& r) { return r.update_sbc(3, kSBC); }, false},
      {"updateAllSafetySignatures", [](auto& d) { return d.updateAllSafetySignatures(); },
       [](auto& r) { return r.update_all(); }, false},
  };
}

std::vector<Case> setters() {
  return {
      {"setSTOParameters", [](auto& d) { return d.setSTOParameters(Safe::STOId{1}, kSTO); },
       [](auto& r) { return r.set_sto(kSTO); }},
      {"setSLSParameters", [](auto& d) { return d.setSLSParameters(Safe::SLSId{8}, kSLS); },
       [](auto& r) { return r.set_sls(8, kSLS); }},
      {"setSDIParameters", [](auto& d) { return d.setSDIParameters(Safe::SDIId{1}, kSDI); },
       [](auto& r) { return r.set_sdi(1, kSDI); }},
      {"setSBCParameters", [](auto& d) { return d.setSBCParameters(Safe::SBCId{2}, kSBC); },
       [](auto& r) { return r.set_sbc(2, kSBC); }},
      {"setSRDOParameters", [](auto& d) { return d.setSRDOParameters(Srdo::SRDOId{2}, kSRDO); },
       [](auto& r) { return r.set_srdo(2, kSRDO); }},
  };
}

std::vector<Case> mapping_setters() {
  using Function = Safe::SafetyFunctionId;
  const auto none = Function::NONE;
  const Safe::SafetyWordMapping output{
      Function::STO, none, Function::SLS_8, Function::RESTART_ACKNOWLEDGE, none, none, none, none};
  const std::string base = "nkr_safety_word_ssw_mapping_safeout scw_sw_safeout_bit";
  const std::vector<std::pair<std::string, std::uint32_t>> codes = {
      {base + "0", 0x26400000}, {base + "1", 0}, {base + "2", 0x26900800}, {base + "3", 0x26310000}};
  const Safe::SafetyWordMapping word1{none, Function::SBC_2, none, none, none, Function::SDIN_1, none, none};
  const std::string bit = "nkr_safety_word_scw_mapping_cw1 scw_cw_can_1_bit";
  const std::vector<std::pair<std::string, std::uint32_t>> word1_codes = {
      {bit + "1", 0x66600200}, {bit + "2", 0}, {bit + "3", 0}, {bit + "4", 0}, {bit + "5", 0x66D10100}};
  return {
      {"setSafetyControlWordMapping",
       [=](auto& d) { return d.setSafetyControlWordMapping(Safe::SafetyControlWordId::CAN_1, word1); },
       [=](auto& r) { return r.set_mapping(word1_codes); }},
      {"setSafetyStatusWordMapping",
       [=](auto& d) { return d.setSafetyStatusWordMapping(Safe::SafetyStatusWordId::SAFE_OUTPUT, output); },
       [=](auto& r) { return r.set_mapping(codes); }}};
}

SafetyConfiguration drive_configuration() {
  SafetyConfiguration c;
  c.units = {0xFD030000, 0x00B50000, 0x00B44700, 0x00B45700};
  c.sto = {true, 0x12345678};
  for (std::uint16_t i = 0; i < 8; ++i) {
    const bool reacts = i % 2 == 0;
    c.sls[i] = {static_cast<std::uint16_t>(1000 + i), 70000U + i, static_cast<std::uint16_t>(300 + i),
                reacts ? 0x66400000U : 0U};
  }
  c.sdi = {{{111111}, {222222}}};
  c.sbc = {{{401}, {402}, {403}}};
  for (std::uint32_t i = 0; i < 128; ++i) c.mapping[i] = 0x66900000 + 0x01010101 * i;
  return c;
}

SRDOConfiguration drive_srdo() {
  return {2, 1, 25, 20, 254, 0x101, 0x102, {0x62100108, 0x62110108, 0x62100208, 0x62110208}};
}

/** Longer operations (the refresh of all signatures) are not compared in every detail at every access. */
constexpr std::size_t kShort = 150;

/** A drive that answers as the configuration says. */
class FailurePatterns : public testing::TestWithParam<Case> {
 protected:
  FailurePatterns() {
    log_.disable();
    bench_.hold(drive_configuration());
    bench_.hold(nkr::tavcore::compute_safety_signatures(drive_configuration()));
    bench_.hold(drive_srdo());
  }

  /** The same faults for both; everything that can be seen must be the same. */
  void compare(const std::function<void(RecordingClient&)>& break_it) {
    compare(break_it, accesses_.size() <= kShort);
  }

  void compare(const std::function<void(RecordingClient&)>& break_it, bool with_records) {
    RecordingClient& client = *bench_.client;
    Reference reference(client);
    const nkr_error_t expected = run(client, break_it, [&] { return GetParam().reference(reference); });
    const std::vector<tavtest::Access> expected_accesses = client.accesses;
    log_.answer_enabled(with_records ? NKR_OK : 0);
    log_.clear();
    const nkr_error_t actual = run(client, break_it, [&] { return GetParam().library(*bench_.dispatcher); });
    EXPECT_EQ(actual, expected);
    EXPECT_TRUE(client.accesses == expected_accesses);
    if (with_records) {
      EXPECT_EQ(lines_of(log_.records()), lines_of(reference.records()));
    }
    accesses_ = expected_accesses;
  }

  /** Numbers of the accesses worth failing: of a long operation not every read of the mapping. */
  [[nodiscard]] std::vector<std::size_t> places() {
    compare([](RecordingClient&) {});
    std::vector<std::size_t> all;
    for (std::size_t i = 0; i < accesses_.size(); ++i) {
      if (accesses_.size() <= kShort || !is_inner_mapping_read(accesses_[i].address)) all.push_back(i + 1);
    }
    return all;
  }

  std::vector<tavtest::Access> accesses_;

  tavtest::RecordingLog log_;
  SafetyBench bench_;

 private:
  /** A read of the mapping other than the first, one in the middle and the last. */
  static bool is_inner_mapping_read(std::uint32_t address) {
    const bool reads_mapping = address >= tavtest::at(0x66F0, 1) && address <= tavtest::at(0x66FF, 8);
    return reads_mapping && address != tavtest::at(0x66F0, 1) && address != tavtest::at(0x66F7, 3) &&
           address != tavtest::at(0x66FF, 8);
  }

  template <class Call>
  static nkr_error_t run(RecordingClient& client, const std::function<void(RecordingClient&)>& break_it,
                         Call call) {
    client.clear();
    break_it(client);
    return call();
  }
};

TEST_P(FailurePatterns, SucceedsWithItsAccessesInOrder) {
  compare([](RecordingClient&) {});
  EXPECT_FALSE(accesses_.empty());
}

TEST_P(FailurePatterns, EndsWithTheRepeatOfTheAccessThatFailedOnce) {
  for (const std::size_t nth : places()) {
    compare([&](RecordingClient& client) { client.fail_access(nth, kTimeout); });
    ASSERT_FALSE(HasFailure()) << "failing access " << nth;
  }
}

TEST_P(FailurePatterns, AnswersTheSecondCodeOfTheAccessThatFailedTwice) {
  for (const std::size_t nth : places()) {
    compare([&](RecordingClient& client) {
      client.fail_access(nth, kTimeout);
      client.fail_access(nth + 1, kDeviceState);
    });
    ASSERT_FALSE(HasFailure()) << "failing access " << nth;
  }
}

TEST_P(FailurePatterns, OfALongOperationAreRecordedAsThoseOfAShortOne) {
  const std::vector<std::size_t> all = places();
  for (std::size_t i = 0; i < all.size(); i += 13) {
    for (const std::size_t times : {1U, 2U, 3U}) {
      SCOPED_TRACE("failing access " + std::to_string(all[i]) + " and the next, " + std::to_string(times));
      compare(
          [&](RecordingClient& client) {
            for (std::size_t k = 0; k < times; ++k) client.fail_access(all[i] + k, kTimeout);
          },
          true);
    }
    if (HasFailure()) return;
  }
}

TEST_P(FailurePatterns, MakesTheWholeStepAgainThatFailedByAnAccessFailingThrice) {
  for (const std::size_t nth : places()) {
    compare([&](RecordingClient& client) {
      client.fail_access(nth, kTimeout);
      client.fail_access(nth + 1, kDeviceState);
      client.fail_access(nth + 2, NKR_CAN_BUS_OFF);
    });
    ASSERT_FALSE(HasFailure()) << "failing access " << nth;
  }
}

TEST_P(FailurePatterns, EndsAtTheAccessThatFailsForGood) {
  for (const std::size_t nth : places()) {
    compare([&](RecordingClient& client) { client.fail_from(nth, kDeviceState); });
    ASSERT_FALSE(HasFailure()) << "failing access " << nth;
  }
}

TEST_P(FailurePatterns, BeforeInitIsRefusedOrNeedsNoDescription) {
  CANOpenDispatcher fresh(bench_.config, bench_.client);
  log_.answer_enabled(NKR_OK);
  const nkr_error_t result = GetParam().library(fresh);
  const auto records = log_.records();
  if (GetParam().guarded) {
    EXPECT_EQ(result, NKR_NOT_AVAILABLE);
    EXPECT_TRUE(bench_.client->accesses.empty());
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0].function, GetParam().name);
    EXPECT_EQ(records[0].text, "TAV CANOpenDispatcher is not initialized");
  } else {
    for (const auto& record : records) EXPECT_NE(record.function, GetParam().name);
    for (const auto& access : bench_.client->accesses) EXPECT_EQ(access.node, 0xFF);
  }
}

// A step that failed is made again as a whole: its second attempt can fail elsewhere.
TEST_P(FailurePatterns, ASecondFailureInTheRepeatedStep) {
  const std::vector<std::size_t> all = places();
  for (std::size_t i = 0; i < all.size(); i += 5) {
    const std::size_t nth = all[i];
    for (std::size_t later = nth + 2; later <= nth + 300; later += 67) {
      SCOPED_TRACE("failing accesses " + std::to_string(nth) + " and " + std::to_string(later));
      for (std::size_t times = 1; times <= 2; ++times) {
        compare([&](RecordingClient& client) {
          client.fail_access(nth, kTimeout);
          client.fail_access(nth + 1, kTimeout);
          client.fail_access(later, kDeviceState);
          if (times > 1) client.fail_access(later + 1, kDeviceState);
        });
      }
      if (HasFailure()) return;
    }
  }
}

std::string case_name(const testing::TestParamInfo<Case>& info) {
  return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Signatures, FailurePatterns, testing::ValuesIn(signature_updates()), case_name);
INSTANTIATE_TEST_SUITE_P(Setters, FailurePatterns, testing::ValuesIn(setters()), case_name);
INSTANTIATE_TEST_SUITE_P(MappingSetters, FailurePatterns, testing::ValuesIn(mapping_setters()), case_name);

}  // namespace

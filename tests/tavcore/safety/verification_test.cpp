// Verification of what a drive holds.

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <tavcore/SafetyVerification.hpp>

#include "SafetyBench.hpp"
#include "support/Doubles.hpp"

namespace {

using nkr::tavcore::compute_safety_signatures;
using nkr::tavcore::compute_srdo_signature;
using nkr::tavcore::SafetyConfiguration;
using nkr::tavcore::SafetyExpectation;
using nkr::tavcore::SafetyInputDifference;
using nkr::tavcore::SafetySignatureCheck;
using nkr::tavcore::SafetyVerification;
using nkr::tavcore::SRDOConfiguration;
using nkr::tavcore::verify_safety;
using tavtest::SafetyBench;

constexpr nkr_error_t kTimeout = 0x05040000;

SafetyConfiguration commissioned() {
  SafetyConfiguration c;
  c.units = {0xFD030000, 0x00B50000, 0x00B44700, 0x00B45700};
  c.sto = {true, 1};
  for (std::uint16_t i = 0; i < 8; ++i) c.sls[i] = {500, 250U * (i + 1U), 100, 0x66400000};
  c.sdi = {{{10}, {20}}};
  c.sbc = {{{101}, {102}, {103}}};
  c.mapping[1] = 0x66400000;
  c.mapping[65] = 0x26400000;
  c.safe_input_mapping[2] = 0x66900100;
  c.safe_output_mapping[1] = 0x26900100;
  return c;
}

SRDOConfiguration commissioned_srdo() {
  return {2, 1, 25, 20, 254, 0x101, 0x102, {0x62100108, 0x62110108}};
}

class Verification : public testing::Test {
 protected:
  Verification() {
    log_.disable();
    hold_commissioned();
  }

  /** A drive whose signatures fit what it holds. */
  void hold_commissioned() {
    bench_.hold(commissioned());
    bench_.hold(compute_safety_signatures(commissioned()));
    bench_.hold(commissioned_srdo());
    bench_.hold_at(0x13FF, 2, compute_srdo_signature(commissioned_srdo()));
    bench_.hold("Configuration valid", std::uint8_t{0xA5});
  }

  static SafetyExpectation all_expected() { return {commissioned(), {commissioned_srdo()}}; }

  tavtest::RecordingLog log_;
  SafetyBench bench_;
};

std::vector<std::string> names_of(const std::vector<SafetyInputDifference>& differences) {
  std::vector<std::string> names;
  for (const auto& difference : differences) names.push_back(difference.input);
  return names;
}

std::vector<std::string> failing(const SafetyVerification& verification) {
  std::vector<std::string> names;
  for (const auto& check : verification.checks) {
    if (!check.passed()) names.push_back(check.name);
  }
  return names;
}

TEST_F(Verification, OfACommissionedDrivePasses) {
  const SafetyVerification v = verify_safety(*bench_.dispatcher, {2}, all_expected());
  EXPECT_EQ(v.result, NKR_OK);
  EXPECT_TRUE(v.passed());
  EXPECT_TRUE(v.srdo_configuration_valid());
  std::vector<std::string> names;
  for (const auto& check : v.checks) {
    names.push_back(check.name);
    EXPECT_TRUE(check.agrees());
    EXPECT_EQ(check.expected, check.computed);
  }
  EXPECT_EQ(names,
            (std::vector<std::string>{"STO 1", "SLS 1", "SLS 2", "SLS 3", "SLS 4", "SLS 5", "SLS 6", "SLS 7",
                                      "SLS 8", "SDI 1", "SDI 2", "SBC 1", "SBC 2", "SBC 3", "SRDO 2"}));
}

TEST_F(Verification, ShowsWhatTheDriveHolds) {
  const SafetyVerification v = verify_safety(*bench_.dispatcher, {2});
  EXPECT_EQ(v.configuration.units.acceleration_unit, 0x00B45700U);
  EXPECT_EQ(v.configuration.sto.activateSBC, 1U);
  EXPECT_EQ(v.configuration.sls[7].velocity_limit, 2000U);
  EXPECT_EQ(v.configuration.sdi[1].velocityZeroWindow, 20U);
  EXPECT_EQ(v.configuration.sbc[2].brakeTimeDelay, 103);
  EXPECT_EQ(v.configuration.mapping[65], 0x26400000U);
  EXPECT_EQ(v.configuration.safe_input_mapping[2], 0x66900100U);
  EXPECT_EQ(v.configuration.safe_output_mapping[1], 0x26900100U);
  ASSERT_EQ(v.srdos.size(), 1U);
  EXPECT_EQ(v.srdos[0].transmission_type, 254);
  EXPECT_EQ(v.srdos[0].mapping, commissioned_srdo().mapping);
  EXPECT_EQ(v.checks.front().stored, compute_safety_signatures(commissioned()).sto);
  EXPECT_FALSE(v.checks.front().expected.has_value());
}

TEST_F(Verification, WritesNothing) {
  (void)verify_safety(*bench_.dispatcher, nkr::tavcore::all_srdos(), all_expected());
  EXPECT_TRUE(bench_.client->writes().empty());
}

TEST_F(Verification, ReadsEachInputAndSignatureOnce) {
  (void)verify_safety(*bench_.dispatcher, {2});
  const auto& accesses = bench_.client->accesses;
  // Units, STO 2, SLS 8 x 4, SDI 2, SBC 3, 10 bits of safe input and output, the mapping, 14 signatures; then
  // the validity, the SRDO's six parameters, count, two entries and signature.
  EXPECT_EQ(accesses.size(), 4U + 2 + 32 + 2 + 3 + 10 + 128 + 14 + 1 + 6 + 1 + 2 + 1);
  for (const auto& access : accesses) {
    EXPECT_EQ(std::count(accesses.begin(), accesses.end(), access), 1) << std::hex << access.address;
  }
}

/** The objects that a verification of SRDO 2 reads, in order. */
std::vector<std::uint32_t> objects_in_order(const SafetyBench& bench) {
  std::vector<std::uint32_t> objects;
  const auto add = [&](const std::string& name) { objects.push_back(bench.address(name)); };
  const auto add_instances = [&](const std::vector<std::string>& texts, int instances) {
    for (int n = 1; n <= instances; ++n) {
      for (const std::string& text : texts) add(text + std::to_string(n));
    }
  };
  for (const char* unit : {"Time unit", "Position unit", "Velocity unit", "Acceleration unit"}) add(unit);
  add("STO restart acknowledge behavior");
  add_instances({"SLS time to velocity monitoring SLS time to velocity monitoring ",
                 "SLS velocity limit u32 SLS velocity limit u32 ",
                 "SLS time for velocity in limits SLS time for velocity in limits ",
                 "SLS error reactions SLS error reaction "},
                8);
  add_instances({"SDI velocity zero window u32 SDI velocity zero window u32 "}, 2);
  add_instances({"SBC brake time delay SBC brake time delay "}, 3);
  add("STO activate SBC");
  for (int bit = 0; bit < 6; ++bit) {
    add("nkr_safety_word_scw_mapping_safein scw_cw_safein_bit" + std::to_string(bit));
  }
  for (int bit = 0; bit < 4; ++bit) {
    add("nkr_safety_word_ssw_mapping_safeout scw_sw_safeout_bit" + std::to_string(bit));
  }
  for (const auto& read : tavtest::mapping_reads()) objects.push_back(read.address);
  const std::vector<std::pair<std::string, int>> functions = {{"STO", 1}, {"SLS", 8}, {"SDI", 2}, {"SBC", 3}};
  for (const auto& [function, instances] : functions) {
    const std::string text = function + " safety application configuration signature ";
    add_instances({text + text}, instances);
  }
  add("Configuration valid");
  for (const std::uint32_t subindex : {1U, 2U, 3U, 5U, 6U, 4U}) {
    objects.push_back(tavtest::at(0x1302, subindex));
  }
  for (const std::uint32_t subindex : {0U, 1U, 2U}) objects.push_back(tavtest::at(0x1382, subindex));
  objects.push_back(tavtest::at(0x13FF, 2));
  return objects;
}

TEST_F(Verification, ReadsInOneOrder) {
  (void)verify_safety(*bench_.dispatcher, {2});
  std::vector<std::uint32_t> objects;
  for (const auto& access : bench_.client->accesses) objects.push_back(access.address);
  EXPECT_EQ(objects, objects_in_order(bench_));
}

TEST_F(Verification, ListsDifferencesInTheOrderOfTheSignature) {
  bench_.hold(SafetyConfiguration{});
  bench_.hold(SRDOConfiguration{2, 0, 0, 0, 0, 0, 0, {}});
  const SafetyVerification v = verify_safety(*bench_.dispatcher, {2}, all_expected());
  ASSERT_EQ(v.checks.size(), 15U);
  const std::vector<std::string> mapping = {"66F0:02", "66F8:02"};
  const auto before_mapping = [&](std::vector<std::string> names) {
    names.insert(names.end(), mapping.begin(), mapping.end());
    return names;
  };
  EXPECT_EQ(names_of(v.checks[0].differences), before_mapping({"STO restart acknowledge behavior"}));
  EXPECT_EQ(names_of(v.checks[1].differences),
            before_mapping({"Time unit", "Velocity unit", "Acceleration unit",
                            "SLS time to velocity monitoring SLS time to velocity monitoring 1",
                            "SLS velocity limit u32 SLS velocity limit u32 1",
                            "SLS time for velocity in limits SLS time for velocity in limits 1",
                            "SLS error reactions SLS error reaction 1"}));
  EXPECT_EQ(names_of(v.checks[9].differences),
            before_mapping({"Position unit", "Velocity unit",
                            "SDI velocity zero window u32 SDI velocity zero window u32 1"}));
  EXPECT_EQ(names_of(v.checks[11].differences),
            before_mapping({"Time unit", "SBC brake time delay SBC brake time delay 1"}));
  EXPECT_EQ(names_of(v.checks[14].differences),
            (std::vector<std::string>{"1302:01", "1302:02", "1302:03", "1302:05", "1302:06", "1382:00",
                                      "1382:01", "1382:02"}));
}

TEST_F(Verification, MarksTheInstanceWhoseSignatureIsAnother) {
  auto signatures = compute_safety_signatures(commissioned());
  signatures.sls[2] ^= 1;
  bench_.hold(signatures);
  const SafetyVerification v = verify_safety(*bench_.dispatcher, {}, all_expected());
  EXPECT_FALSE(v.passed());
  EXPECT_EQ(failing(v), std::vector<std::string>{"SLS 3"});
  EXPECT_TRUE(v.checks[3].differences.empty()) << "the inputs are the expected ones";
  EXPECT_NE(v.checks[3].stored, v.checks[3].computed);
}

TEST_F(Verification, WithoutAnExpectationOnlyAgreementCounts) {
  SafetyConfiguration other = commissioned();
  other.sls[2].velocity_limit = 9999;
  bench_.hold(other);
  bench_.hold(compute_safety_signatures(other));
  EXPECT_TRUE(verify_safety(*bench_.dispatcher, {2}).passed());
  EXPECT_FALSE(verify_safety(*bench_.dispatcher, {2}, all_expected()).passed());
}

/** A change of the drive, and what must be told about it. */
struct Change {
  std::function<void(SafetyConfiguration&)> make;
  std::string input;
  std::vector<std::string> checks;
};

TEST_F(Verification, TellsWhichInputDiffersAndWhichSignaturesCoverIt) {
  const std::vector<std::string> all_sls = {"SLS 1", "SLS 2", "SLS 3", "SLS 4",
                                            "SLS 5", "SLS 6", "SLS 7", "SLS 8"};
  const auto with = [](std::vector<std::string> names, const std::vector<std::string>& more) {
    names.insert(names.end(), more.begin(), more.end());
    return names;
  };
  const std::vector<Change> changes = {
      {[](auto& c) { c.units.time_unit = 1; }, "Time unit", with(all_sls, {"SBC 1", "SBC 2", "SBC 3"})},
      {[](auto& c) { c.units.position_unit = 1; }, "Position unit", {"SDI 1", "SDI 2"}},
      {[](auto& c) { c.units.velocity_unit = 1; }, "Velocity unit", with(all_sls, {"SDI 1", "SDI 2"})},
      {[](auto& c) { c.units.acceleration_unit = 1; }, "Acceleration unit", all_sls},
      {[](auto& c) { c.sto.restartAcknowledgeBehavior = false; },
       "STO restart acknowledge behavior",
       {"STO 1"}},
      {[](auto& c) { c.sls[3].time_to_velocity_monitoring = 1; },
       "SLS time to velocity monitoring SLS time to velocity monitoring 4",
       {"SLS 4"}},
      {[](auto& c) { c.sls[0].velocity_limit = 1; },
       "SLS velocity limit u32 SLS velocity limit u32 1",
       {"SLS 1"}},
      {[](auto& c) { c.sls[7].time_for_velocity_in_limits = 1; },
       "SLS time for velocity in limits SLS time for velocity in limits 8",
       {"SLS 8"}},
      {[](auto& c) { c.sls[1].error_reaction = 0x66400001; },
       "SLS error reactions SLS error reaction 2",
       {"SLS 2"}},
      {[](auto& c) { c.sdi[1].velocityZeroWindow = 1; },
       "SDI velocity zero window u32 SDI velocity zero window u32 2",
       {"SDI 2"}},
      {[](auto& c) { c.sbc[0].brakeTimeDelay = 1; },
       "SBC brake time delay SBC brake time delay 1",
       {"SBC 1"}}};
  for (const Change& change : changes) {
    SCOPED_TRACE(change.input);
    SafetyConfiguration held = commissioned();
    change.make(held);
    bench_.hold(held);
    bench_.hold(compute_safety_signatures(held));
    const SafetyVerification v = verify_safety(*bench_.dispatcher, {2}, all_expected());
    EXPECT_FALSE(v.passed());
    EXPECT_EQ(failing(v), change.checks);
    for (const SafetySignatureCheck& check : v.checks) {
      EXPECT_TRUE(check.agrees());
      if (!check.passed()) {
        EXPECT_EQ(names_of(check.differences), std::vector<std::string>{change.input});
      }
    }
    EXPECT_TRUE(v.unsigned_differences.empty());
  }
}

TEST_F(Verification, GivesBothValuesOfADifference) {
  SafetyConfiguration held = commissioned();
  held.sls[0].velocity_limit = 251;
  bench_.hold(held);
  const SafetyVerification v = verify_safety(*bench_.dispatcher, {2}, all_expected());
  ASSERT_EQ(v.checks[1].differences.size(), 1U);
  EXPECT_EQ(v.checks[1].differences[0].expected, 250U);
  EXPECT_EQ(v.checks[1].differences[0].actual, 251U);
}

TEST_F(Verification, AMappingObjectThatDiffersIsNamedInAll14) {
  SafetyConfiguration held = commissioned();
  held.mapping[127] = 1;
  held.mapping[8] = 2;
  bench_.hold(held);
  bench_.hold(compute_safety_signatures(held));
  const SafetyVerification v = verify_safety(*bench_.dispatcher, {}, {commissioned(), {}});
  ASSERT_EQ(v.checks.size(), 14U);
  for (const auto& check : v.checks) {
    EXPECT_EQ(names_of(check.differences), (std::vector<std::string>{"66F1:01", "66FF:08"})) << check.name;
  }
}

TEST_F(Verification, DifferencesThatNoSignatureCoversFailItToo) {
  SafetyConfiguration held = commissioned();
  held.sto.activateSBC = 0;
  held.safe_input_mapping[5] = 1;
  held.safe_output_mapping[0] = 1;
  bench_.hold(held);
  bench_.hold_at(0x1302, 4, std::uint8_t{253});
  const SafetyVerification v = verify_safety(*bench_.dispatcher, {2}, all_expected());
  EXPECT_FALSE(v.passed());
  EXPECT_TRUE(failing(v).empty());
  EXPECT_EQ(
      names_of(v.unsigned_differences),
      (std::vector<std::string>{"STO activate SBC", "nkr_safety_word_scw_mapping_safein scw_cw_safein_bit5",
                                "nkr_safety_word_ssw_mapping_safeout scw_sw_safeout_bit0", "1302:04"}));
}

TEST_F(Verification, AnSRDOIsComparedFieldByField) {
  const std::vector<std::pair<std::function<void(SRDOConfiguration&)>, std::vector<std::string>>> changes = {
      {[](auto& s) { s.direction = 0; }, {"1302:01"}},
      {[](auto& s) { s.refresh_time = 1; }, {"1302:02"}},
      {[](auto& s) { s.validation_time = 1; }, {"1302:03"}},
      {[](auto& s) { s.cob_id_1 = 1; }, {"1302:05"}},
      {[](auto& s) { s.cob_id_2 = 1; }, {"1302:06"}},
      {[](auto& s) { s.mapping[1] = 1; }, {"1382:02"}},
      {[](auto& s) { s.mapping.pop_back(); }, {"1382:00", "1382:02"}},
      {[](auto& s) { s.mapping.push_back(0); }, {"1382:00", "1382:03"}}};
  for (const auto& [change, inputs] : changes) {
    SRDOConfiguration held = commissioned_srdo();
    change(held);
    bench_.hold(held);
    bench_.hold_at(0x13FF, 2, compute_srdo_signature(held));
    const SafetyVerification v = verify_safety(*bench_.dispatcher, {2}, all_expected());
    EXPECT_EQ(failing(v), std::vector<std::string>{"SRDO 2"});
    EXPECT_TRUE(v.checks.back().agrees());
    EXPECT_EQ(names_of(v.checks.back().differences), inputs);
  }
}

TEST_F(Verification, AMappingEntryThatOneSideLacksCountsAsZero) {
  SRDOConfiguration longer = commissioned_srdo();
  longer.mapping.push_back(7);
  bench_.hold(longer);
  const auto held_more = verify_safety(*bench_.dispatcher, {2}, all_expected()).checks.back().differences;
  ASSERT_EQ(names_of(held_more), (std::vector<std::string>{"1382:00", "1382:03"}));
  EXPECT_EQ(held_more[1].expected, 0U);
  EXPECT_EQ(held_more[1].actual, 7U);

  bench_.hold(commissioned_srdo());
  const auto held_less =
      verify_safety(*bench_.dispatcher, {2}, {commissioned(), {longer}}).checks.back().differences;
  ASSERT_EQ(names_of(held_less), (std::vector<std::string>{"1382:00", "1382:03"}));
  EXPECT_EQ(held_less[1].expected, 7U);
  EXPECT_EQ(held_less[1].actual, 0U);
}

TEST_F(Verification, AnSRDOWithAnotherSignatureIsMarked) {
  bench_.hold_at(0x13FF, 2, std::uint16_t{0});
  EXPECT_EQ(failing(verify_safety(*bench_.dispatcher, {2})), std::vector<std::string>{"SRDO 2"});
}

TEST_F(Verification, AnExpectedSRDOIsReadThoughNotAskedFor) {
  SRDOConfiguration other = commissioned_srdo();
  other.refresh_time = 99;
  const SafetyVerification v = verify_safety(*bench_.dispatcher, {}, {std::nullopt, {other}});
  EXPECT_FALSE(v.passed());
  ASSERT_EQ(v.srdos.size(), 1U);
  EXPECT_EQ(v.srdo_validity, 0xA5);
}

TEST_F(Verification, WithoutSRDOsNeitherTheyNorTheirValidityAreRead) {
  const SafetyVerification v = verify_safety(*bench_.dispatcher, {});
  EXPECT_TRUE(v.passed());
  EXPECT_EQ(v.checks.size(), 14U);
  EXPECT_FALSE(v.srdo_configuration_valid());
  for (const auto& access : bench_.client->accesses)
    EXPECT_NE(access.address, bench_.address("Configuration valid"));
}

TEST_F(Verification, TheDriveHasSixteenSRDOs) {
  const auto numbers = nkr::tavcore::all_srdos();
  ASSERT_EQ(numbers.size(), 16U);
  EXPECT_EQ(numbers.front(), 1);
  EXPECT_EQ(numbers.back(), 16);
}

TEST_F(Verification, AReadThatFailsOnceIsMadeAgainAndGoesOn) {
  (void)verify_safety(*bench_.dispatcher, {2}, all_expected());
  const std::size_t reads = bench_.client->accesses.size();
  for (std::size_t nth = 1; nth <= reads; ++nth) {
    bench_.client->clear();
    bench_.client->fail_access(nth, kTimeout);
    EXPECT_TRUE(verify_safety(*bench_.dispatcher, {2}, all_expected()).passed()) << nth;
    EXPECT_EQ(bench_.client->accesses.size(), reads + 1);
  }
}

TEST_F(Verification, AReadThatFailsTwiceEndsItWithTheObjectAndNeverPasses) {
  (void)verify_safety(*bench_.dispatcher, {2}, all_expected());
  const std::size_t reads = bench_.client->accesses.size();
  for (std::size_t nth = 1; nth <= reads; ++nth) {
    bench_.client->clear();
    bench_.client->fail_access(nth, kTimeout);
    bench_.client->fail_access(nth + 1, 0x08000022);
    const SafetyVerification v = verify_safety(*bench_.dispatcher, {2}, all_expected());
    EXPECT_FALSE(v.passed()) << nth;
    EXPECT_EQ(v.result, 0x08000022);
    EXPECT_FALSE(v.failed_object.empty());
    EXPECT_EQ(bench_.client->accesses.size(), nth + 1);
  }
}

TEST_F(Verification, NamesTheObjectThatCouldNotBeRead) {
  bench_.client->fail_address(bench_.address("SBC brake time delay SBC brake time delay 2"), kTimeout);
  EXPECT_EQ(verify_safety(*bench_.dispatcher, {}).failed_object,
            "SBC brake time delay SBC brake time delay 2");
  bench_.client->clear();
  bench_.client->fail_address(tavtest::at(0x138A, 0), kTimeout);
  EXPECT_EQ(verify_safety(*bench_.dispatcher, {10}).failed_object, "138A:00");
  bench_.client->clear();
  bench_.client->fail_address(tavtest::at(0x13FF, 16), kTimeout);
  EXPECT_EQ(verify_safety(*bench_.dispatcher, {16}).failed_object, "13FF:10")
      << "both digits are hexadecimal";
}

TEST_F(Verification, NeedsALoadedDescription) {
  const nkr::tavcore::CANOpenDispatcher fresh(bench_.config, bench_.client);
  const SafetyVerification v = verify_safety(fresh);
  EXPECT_EQ(v.result, NKR_NOT_AVAILABLE);
  EXPECT_FALSE(v.passed());
  EXPECT_TRUE(bench_.client->accesses.empty());
}

}  // namespace

// The bus-free calculator, against worked values and against what the services write.

#include <gtest/gtest.h>

#include <random>

#include "SafetyBench.hpp"
#include "support/Doubles.hpp"

namespace {

using nkr::tavcore::compute_safety_signatures;
using nkr::tavcore::compute_srdo_signature;
using nkr::tavcore::crc16_ccitt;
using nkr::tavcore::SafetyConfiguration;
using nkr::tavcore::SafetySignatures;
using nkr::tavcore::SRDOConfiguration;
using tavtest::SafetyBench;
using Safe = nkr::tavcore::ISafeMotionService;
using Srdo = nkr::tavcore::ISRDOService;

constexpr std::size_t kMappingBytes = 512;

/** Signature of the bytes, followed by a mapping of zeros. */
std::uint16_t with_zero_mapping(std::vector<std::uint8_t> bytes) {
  bytes.resize(bytes.size() + kMappingBytes);
  return crc16_ccitt(bytes);
}

TEST(SignatureCalculator, AConfigurationOfZerosHasSignaturesOfZero) {
  const SafetySignatures signatures = compute_safety_signatures({});
  EXPECT_EQ(signatures.sto, 0);
  for (const auto signature : signatures.sls) EXPECT_EQ(signature, 0);
  for (const auto signature : signatures.sdi) EXPECT_EQ(signature, 0);
  for (const auto signature : signatures.sbc) EXPECT_EQ(signature, 0);
}

TEST(SignatureCalculator, STOWithRestartAcknowledgeAndAnEmptyMappingIs90C2) {
  SafetyConfiguration c;
  c.sto = {true, 0xFFFFFFFF};
  EXPECT_EQ(compute_safety_signatures(c).sto, 0x90C2);
}

TEST(SignatureCalculator, FieldsStandInTheDrivesOrderWithItsReservedPlaces) {
  SafetyConfiguration c;
  c.units = {0x11121314, 0x21222324, 0x31323334, 0x41424344};
  c.sls[2] = {0x5152, 0x61626364, 0x7172, 0x66400000};
  c.sdi[1] = {0x81828384};
  c.sbc[2] = {0x9192};
  const SafetySignatures signatures = compute_safety_signatures(c);
  EXPECT_EQ(signatures.sls[2],
            with_zero_mapping({0x14, 0x13, 0x12, 0x11, 0x34, 0x33, 0x32, 0x31, 0x44, 0x43, 0x42, 0x41,
                               0x52, 0x51, 0,    0,    0x64, 0x63, 0x62, 0x61, 0x72, 0x71, 0,    0,
                               0,    0,    0,    0,    0,    0,    0x00, 0x00, 0x40, 0x66}));
  EXPECT_EQ(signatures.sdi[1], with_zero_mapping({0x24, 0x23, 0x22, 0x21, 0x34, 0x33, 0x32, 0x31, 0,   0, 0,
                                                  0,    0,    0,    0,    0,    0x84, 0x83, 0x82, 0x81}));
  EXPECT_EQ(signatures.sbc[2], with_zero_mapping({0x14, 0x13, 0x12, 0x11, 0x92, 0x91}));
}

TEST(SignatureCalculator, EveryPlaceOfTheMappingCountsInEverySignature) {
  const SafetySignatures none = compute_safety_signatures({});
  for (std::size_t place = 0; place < 128; ++place) {
    SafetyConfiguration c;
    c.mapping[place] = 0x66400000;
    const SafetySignatures some = compute_safety_signatures(c);
    EXPECT_NE(some.sto, none.sto) << place;
    EXPECT_NE(some.sls[7], none.sls[7]) << place;
    std::vector<std::uint8_t> bytes(1 + kMappingBytes);
    bytes[1 + 4 * place + 2] = 0x40;
    bytes[1 + 4 * place + 3] = 0x66;
    EXPECT_EQ(some.sto, crc16_ccitt(bytes)) << place;
  }
}

TEST(SignatureCalculator, WhatNoSignatureCoversChangesNone) {
  SafetyConfiguration c;
  c.sto.activateSBC = 1;
  c.safe_input_mapping[0] = 0x66400000;
  c.safe_output_mapping[3] = 0x26400000;
  EXPECT_EQ(compute_safety_signatures(c).sto, 0);
  EXPECT_EQ(compute_safety_signatures(c).sls[0], 0);
}

TEST(SignatureCalculator, AnSLSRecordOfTheServiceIsTakenAsTheDriveHoldsIt) {
  const auto reacting = nkr::tavcore::sls_configuration({1, 2, 3, true});
  EXPECT_EQ(reacting.time_to_velocity_monitoring, 1);
  EXPECT_EQ(reacting.velocity_limit, 2U);
  EXPECT_EQ(reacting.time_for_velocity_in_limits, 3);
  EXPECT_EQ(reacting.error_reaction, 0x66400000U);
  EXPECT_EQ(nkr::tavcore::sls_configuration({1, 2, 3, false}).error_reaction, 0U);
}

TEST(SignatureCalculator, TheSRDOExampleIs290D) {
  const SRDOConfiguration srdo{1, 2, 25, 20, 254, 0x101, 0x102, {0x62100108, 0x62110108}};
  EXPECT_EQ(compute_srdo_signature(srdo), 0x290D);
}

TEST(SignatureCalculator, AnSRDOWithoutEntriesEndsWithItsCount) {
  const SRDOConfiguration srdo{1, 0, 0, 0, 0, 0, 0x01000000, {}};
  EXPECT_EQ(compute_srdo_signature(srdo), crc16_ccitt({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0}));
}

TEST(SignatureCalculator, AnSRDOHasPlaceFor255Entries) {
  SRDOConfiguration srdo{1, 2, 25, 20, 254, 0x101, 0x102, std::vector<std::uint32_t>(255, 7)};
  const std::uint16_t full = compute_srdo_signature(srdo);
  srdo.mapping.push_back(8);
  EXPECT_EQ(compute_srdo_signature(srdo), full);
}

/** Random configurations, the same in every run. */
class RandomConfigurations {
 public:
  std::uint32_t number() { return static_cast<std::uint32_t>(engine_()); }
  std::uint16_t word() { return static_cast<std::uint16_t>(number()); }
  std::uint8_t byte() { return static_cast<std::uint8_t>(number()); }
  bool flag() { return (number() & 1) != 0; }

  SafetyConfiguration safety() {
    SafetyConfiguration c;
    c.units = {number(), number(), number(), number()};
    c.sto = {flag(), number()};
    for (auto& sls : c.sls) sls = {word(), number(), word(), flag() ? 0x66400000U : 0U};
    for (auto& sdi : c.sdi) sdi = {number()};
    for (auto& sbc : c.sbc) sbc = {word()};
    for (auto& code : c.mapping) code = number();
    return c;
  }

  SRDOConfiguration srdo(std::int32_t n) {
    SRDOConfiguration srdo{n, byte(), word(), byte(), byte(), word(), word(), {}};
    srdo.mapping.resize(number() % 17);
    for (auto& entry : srdo.mapping) entry = number();
    return srdo;
  }

 private:
  std::mt19937 engine_{20260501};
};

std::vector<std::uint16_t> written_words(SafetyBench& bench) {
  std::vector<std::uint16_t> words;
  for (const auto& write : bench.client->writes()) words.push_back(std::get<std::uint16_t>(write.value));
  return words;
}

TEST(SignaturesOfTheServices, AgreeWithTheCalculatorOverRandomConfigurations) {
  tavtest::RecordingLog log;
  log.disable();
  RandomConfigurations random;
  for (int round = 0; round < 25; ++round) {
    SafetyBench bench;
    const SafetyConfiguration c = random.safety();
    const SafetySignatures s = compute_safety_signatures(c);
    bench.hold(c);
    ASSERT_EQ(bench.dispatcher->updateAllSafetySignatures(), NKR_OK);
    std::vector<std::uint16_t> expected = {s.sto, s.sdi[0], s.sdi[1]};
    expected.insert(expected.end(), s.sls.begin(), s.sls.end());
    expected.insert(expected.end(), s.sbc.begin(), s.sbc.end());
    EXPECT_EQ(written_words(bench), expected);
  }
}

TEST(SignaturesOfTheServices, AgreeWithTheCalculatorOverRandomSRDOs) {
  tavtest::RecordingLog log;
  log.disable();
  RandomConfigurations random;
  for (std::int32_t n = 1; n <= 16; ++n) {
    SafetyBench bench;
    const SRDOConfiguration srdo = random.srdo(n);
    bench.hold(srdo);
    ASSERT_EQ(bench.dispatcher->setSRDOParameters(
                  Srdo::SRDOId{n},
                  {true, srdo.refresh_time, srdo.validation_time, srdo.transmission_type,
                   static_cast<std::uint16_t>(srdo.cob_id_1), static_cast<std::uint16_t>(srdo.cob_id_2)}),
              NKR_OK);
    EXPECT_EQ(std::get<std::uint16_t>(bench.client->accesses.back().value), compute_srdo_signature(srdo));
  }
}

}  // namespace

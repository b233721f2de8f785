// Parameters of STO, SLS, SDI and SBC, and the signatures that are written with them.

#include <gtest/gtest.h>

#include "SafetyBench.hpp"
#include "support/Doubles.hpp"

namespace {

using tavtest::Accesses;
using tavtest::mapping_reads;
using tavtest::SafetyBench;
using Safe = nkr::tavcore::ISafeMotionService;

constexpr nkr_error_t kTimeout = 0x05040000;

class SafetyParameters : public testing::Test {
 protected:
  Accesses& accesses() { return bench_.client->accesses; }
  nkr::tavcore::CANOpenDispatcher& drive() { return *bench_.dispatcher; }
  /** The last access, which is a write of a signature. */
  std::uint16_t written_signature() { return std::get<std::uint16_t>(accesses().back().value); }

  tavtest::RecordingLog log_;
  SafetyBench bench_;
};

/** The given accesses, the mapping's 128 reads, and one more. */
Accesses with_mapping(Accesses first, const tavtest::Access& last) {
  const Accesses mapping = mapping_reads();
  first.insert(first.end(), mapping.begin(), mapping.end());
  first.push_back(last);
  return first;
}

// --- exact accesses ---------------------------------------------------------------------------------------

TEST_F(SafetyParameters, SettingSTOWritesBothParametersThenTheSignature) {
  ASSERT_EQ(drive().setSTOParameters(Safe::STOId{1}, {true, 7}), NKR_OK);
  EXPECT_EQ(accesses(), with_mapping({bench_.write_of("STO restart acknowledge behavior", true),
                                      bench_.write_of("STO activate SBC", std::uint32_t{7})},
                                     SafetyBench::write_at(0x6645, 1, std::uint16_t{0x90C2})));
}

TEST_F(SafetyParameters, SettingSLSWritesFourParametersReadsThreeUnitsThenSigns) {
  ASSERT_EQ(drive().setSLSParameters(Safe::SLSId{8}, {0, 0, 0, false}), NKR_OK);
  EXPECT_EQ(
      accesses(),
      with_mapping(
          {bench_.write_of("SLS time to velocity monitoring SLS time to velocity monitoring 8",
                           std::uint16_t{0}),
           bench_.write_of("SLS velocity limit u32 SLS velocity limit u32 8", std::uint32_t{0}),
           bench_.write_of("SLS time for velocity in limits SLS time for velocity in limits 8",
                           std::uint16_t{0}),
           bench_.write_of("SLS error reactions SLS error reaction 8", std::uint32_t{0}),
           bench_.read_of("Time unit", std::uint32_t{0}), bench_.read_of("Velocity unit", std::uint32_t{0}),
           bench_.read_of("Acceleration unit", std::uint32_t{0})},
          SafetyBench::write_at(0x6699, 8, std::uint16_t{0})));
}

TEST_F(SafetyParameters, SettingSDIWritesTheWindowReadsTwoUnitsThenSigns) {
  ASSERT_EQ(drive().setSDIParameters(Safe::SDIId{2}, {0}), NKR_OK);
  EXPECT_EQ(accesses(),
            with_mapping({bench_.write_of("SDI velocity zero window u32 SDI velocity zero window u32 2",
                                          std::uint32_t{0}),
                          bench_.read_of("Position unit", std::uint32_t{0}),
                          bench_.read_of("Velocity unit", std::uint32_t{0})},
                         SafetyBench::write_at(0x66D6, 2, std::uint16_t{0})));
}

TEST_F(SafetyParameters, SettingSBCWritesTheDelayReadsOneUnitThenSigns) {
  ASSERT_EQ(drive().setSBCParameters(Safe::SBCId{3}, {0}), NKR_OK);
  EXPECT_EQ(accesses(),
            with_mapping({bench_.write_of("SBC brake time delay SBC brake time delay 3", std::uint16_t{0}),
                          bench_.read_of("Time unit", std::uint32_t{0})},
                         SafetyBench::write_at(0x6662, 3, std::uint16_t{0})));
}

TEST_F(SafetyParameters, NamesEndWithTheInstanceAndSTOParametersHaveNone) {
  Safe::SLSParameters sls{};
  Safe::STOParameters sto{};
  std::uint16_t signature = 0;
  bench_.hold(
      "SLS safety application configuration signature SLS safety application configuration "
      "signature 8",
      std::uint16_t{0x0808});
  bench_.hold(
      "STO safety application configuration signature STO safety application configuration "
      "signature 1",
      std::uint16_t{0x0101});
  ASSERT_EQ(drive().getSLSParameters(Safe::SLSId{8}, sls, signature), NKR_OK);
  EXPECT_EQ(signature, 0x0808);
  ASSERT_EQ(drive().getSTOParameters(Safe::STOId{1}, sto, signature), NKR_OK);
  EXPECT_EQ(signature, 0x0101);
}

TEST_F(SafetyParameters, AnInstanceThatTheDriveLacksIsAnUnknownName) {
  Safe::SLSParameters sls{};
  std::uint16_t signature = 0;
  EXPECT_EQ(drive().getSLSParameters(Safe::SLSId{9}, sls, signature), NKR_NOT_AVAILABLE);
  EXPECT_EQ(drive().setSBCParameters(Safe::SBCId{-1}, {1}), NKR_NOT_AVAILABLE);
  EXPECT_TRUE(accesses().empty());
  EXPECT_EQ(log_.records().back().text, "Object SBC brake time delay SBC brake time delay -1 not found !");
}

TEST_F(SafetyParameters, TheSignaturesSubindexIsTheIdsLowByte) {
  ASSERT_EQ(drive().updateSignature_SBC(Safe::SBCId{0x103}, {0}), NKR_OK);
  EXPECT_EQ(accesses().back(), SafetyBench::write_at(0x6662, 3, std::uint16_t{0}));
}

// --- what is signed ---------------------------------------------------------------------------------------

TEST_F(SafetyParameters, ARecordOfZerosHasTheSignatureZero) {
  for (const nkr_error_t result :
       {drive().updateSignature_STO(Safe::STOId{1}, {}), drive().updateSignature_SLS(Safe::SLSId{1}, {}),
        drive().updateSignature_SDI(Safe::SDIId{1}, {}), drive().updateSignature_SBC(Safe::SBCId{1}, {})}) {
    EXPECT_EQ(result, NKR_OK);
  }
  const Accesses writes = bench_.client->writes();
  ASSERT_EQ(writes.size(), 4U);
  for (const auto& write : writes) EXPECT_EQ(std::get<std::uint16_t>(write.value), 0);
}

TEST_F(SafetyParameters, STOWithRestartAcknowledgeHas0x1021BeforeTheMappingAnd0x90C2AfterZeros) {
  bool yes = true;
  const std::uint16_t before_mapping = nkr::tavcore::CANOpenDispatcher::crcComputation(0, yes);
  EXPECT_EQ(before_mapping, 0x1021);
  ASSERT_EQ(drive().updateSignature_STO(Safe::STOId{1}, {true, 0}), NKR_OK);
  EXPECT_EQ(accesses().back(), SafetyBench::write_at(0x6645, 1, std::uint16_t{0x90C2}));
}

TEST_F(SafetyParameters, ChangingActivateSBCAloneLeavesTheSTOSignature) {
  ASSERT_EQ(drive().setSTOParameters(Safe::STOId{1}, {true, 1}), NKR_OK);
  const std::uint16_t signature = written_signature();
  ASSERT_EQ(drive().setSTOParameters(Safe::STOId{1}, {true, 0xFFFFFFFF}), NKR_OK);
  EXPECT_EQ(written_signature(), signature);
}

TEST_F(SafetyParameters, AnSLSErrorReactionIsFedAs00004066) {
  // All else is zero, so the signature is that of these bytes and the zeros of the mapping.
  ASSERT_EQ(drive().updateSignature_SLS(Safe::SLSId{1}, {0, 0, 0, true}), NKR_OK);
  std::vector<std::uint8_t> bytes = {0x00, 0x00, 0x40, 0x66};
  bytes.resize(4 + 512);
  EXPECT_EQ(written_signature(), nkr::tavcore::crc16_ccitt(bytes));
}

TEST_F(SafetyParameters, SLSErrorReactionIsWrittenAsTheReferenceOfSTOOrZero) {
  ASSERT_EQ(drive().setSLSParameters(Safe::SLSId{1}, {0, 0, 0, true}), NKR_OK);
  EXPECT_EQ(accesses()[3],
            bench_.write_of("SLS error reactions SLS error reaction 1", std::uint32_t{0x66400000}));
}

TEST_F(SafetyParameters, AStoredErrorReactionOf66400001ReadsAsFalse) {
  const std::vector<std::pair<std::uint32_t, bool>> meanings = {
      {0x66400001, false}, {0x66400000, true}, {0, false}, {1, false}, {0x66500000, false}};
  for (const auto& [stored, expected] : meanings) {
    bench_.hold("SLS error reactions SLS error reaction 1", stored);
    Safe::SLSParameters sls{};
    sls.errorReaction = !expected;
    std::uint16_t signature = 0;
    ASSERT_EQ(drive().getSLSParameters(Safe::SLSId{1}, sls, signature), NKR_OK);
    EXPECT_EQ(sls.errorReaction, expected) << std::hex << stored;
  }
}

TEST_F(SafetyParameters, TheSignatureIsOfTheCallersRecordNotOfWhatTheDriveHolds) {
  bench_.hold("SBC brake time delay SBC brake time delay 1", std::uint16_t{999});
  ASSERT_EQ(drive().setSBCParameters(Safe::SBCId{1}, {0}), NKR_OK);
  EXPECT_EQ(written_signature(), 0);
}

// --- failures with a name ---------------------------------------------------------------------------------

TEST_F(SafetyParameters, ASetterWhoseSignatureUpdateFailsStillAnswersOk) {
  bench_.client->fail_address(bench_.address("Time unit"), kTimeout);
  EXPECT_EQ(drive().setSBCParameters(Safe::SBCId{1}, {5}), NKR_OK);
  EXPECT_EQ(accesses().size(), 3U) << "the delay, and the unit twice: the update itself is made once";
  bench_.client->clear();
  bench_.client->fail_address(tavtest::at(0x6645, 1), kTimeout);
  EXPECT_EQ(drive().setSTOParameters(Safe::STOId{1}, {true, 0}), NKR_OK);
  EXPECT_EQ(accesses().size(), 2U + 128U + 2U);
}

TEST_F(SafetyParameters, AMappingReadThatFailsOnceLeavesTheMappingOutOfTheSignature) {
  for (const std::uint32_t address :
       {tavtest::at(0x66F0, 1), tavtest::at(0x66F7, 8), tavtest::at(0x66FF, 8)}) {
    bench_.client->clear();
    bench_.client->fail_address(address, kTimeout, 1);
    EXPECT_EQ(drive().updateSignature_STO(Safe::STOId{1}, {true, 0}), NKR_OK);
    EXPECT_EQ(written_signature(), 0x1021) << "the instance's own field alone";
  }
}

TEST_F(SafetyParameters, AMappingSignatureStoresItsResultOnSuccessAlone) {
  std::uint16_t result = 0x5555;
  bench_.client->fail_address(tavtest::at(0x66F0, 1), kTimeout, 1);
  EXPECT_EQ(drive().computeMappingSignature(0x1021, result), NKR_OK);
  EXPECT_EQ(result, 0x5555);
  bench_.client->clear();
  EXPECT_EQ(drive().computeMappingSignature(0x1021, result), NKR_OK);
  EXPECT_EQ(result, 0x90C2);
  EXPECT_EQ(accesses(), mapping_reads());
}

}  // namespace

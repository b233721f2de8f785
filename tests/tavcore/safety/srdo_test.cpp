// Safety-relevant data objects.

#include <gtest/gtest.h>

#include "SafetyBench.hpp"
#include "support/Doubles.hpp"

namespace {

using tavtest::Accesses;
using tavtest::SafetyBench;
using Srdo = nkr::tavcore::ISRDOService;
using Direction = Srdo::SRDODirection;

constexpr nkr_error_t kTimeout = 0x05040000;

class SRDO : public testing::Test {
 protected:
  Accesses& accesses() { return bench_.client->accesses; }
  nkr::tavcore::CANOpenDispatcher& drive() { return *bench_.dispatcher; }
  std::uint16_t written_signature() { return std::get<std::uint16_t>(accesses().back().value); }

  tavtest::RecordingLog log_;
  SafetyBench bench_;
};

/** The worked example of EN 50325-5's field order: receive, 25 ms, 20 ms, 101h and 102h, two objects. */
const Srdo::SRDOParameters kExample{true, 25, 20, 254, 0x101, 0x102};

TEST_F(SRDO, TheWorkedExampleHasTheSignature290D) {
  bench_.hold_at(0x1301, 1, std::uint8_t{2});
  bench_.hold_at(0x1381, 0, std::uint8_t{2});
  bench_.hold_at(0x1381, 1, std::uint32_t{0x62100108});
  bench_.hold_at(0x1381, 2, std::uint32_t{0x62110108});
  ASSERT_EQ(drive().setSRDOParameters(Srdo::SRDOId{1}, kExample), NKR_OK);
  const Accesses expected = {SafetyBench::write_at(0x1301, 1, std::uint8_t{2}),
                             SafetyBench::write_at(0x1301, 2, std::uint16_t{25}),
                             SafetyBench::write_at(0x1301, 3, std::uint8_t{20}),
                             SafetyBench::write_at(0x1301, 4, std::uint8_t{254}),
                             SafetyBench::write_at(0x1301, 5, std::uint32_t{0x101}),
                             SafetyBench::write_at(0x1301, 6, std::uint32_t{0x102}),
                             SafetyBench::read_at(0x1381, 0, std::uint8_t{2}),
                             SafetyBench::read_at(0x1381, 1, std::uint32_t{0x62100108}),
                             SafetyBench::read_at(0x1381, 2, std::uint32_t{0x62110108}),
                             SafetyBench::read_at(0x1301, 1, std::uint8_t{2}),
                             SafetyBench::write_at(0x13FF, 1, std::uint16_t{0x290D})};
  EXPECT_EQ(accesses(), expected);
}

TEST_F(SRDO, TheDirectionSignedIsTheOneReadBack) {
  bench_.hold_at(0x1301, 1, std::uint8_t{2});
  ASSERT_EQ(drive().setSRDOParameters(Srdo::SRDOId{1}, kExample), NKR_OK);
  const std::uint16_t with_two = written_signature();
  bench_.hold_at(0x1301, 1, std::uint8_t{0});
  ASSERT_EQ(drive().setSRDOParameters(Srdo::SRDOId{1}, kExample), NKR_OK);
  EXPECT_NE(written_signature(), with_two);
}

TEST_F(SRDO, TheTransmissionTypeIsNotSigned) {
  ASSERT_EQ(drive().setSRDOParameters(Srdo::SRDOId{1}, kExample), NKR_OK);
  const std::uint16_t signature = written_signature();
  Srdo::SRDOParameters other = kExample;
  other.transmissionType = 1;
  ASSERT_EQ(drive().setSRDOParameters(Srdo::SRDOId{1}, other), NKR_OK);
  EXPECT_EQ(written_signature(), signature);
}

TEST_F(SRDO, Number10TransmitsAndNumber3ReceivesWhateverTheDriveHolds) {
  for (int number = 1; number <= 17; ++number) {
    const bool transmits = number == 2 || number == 10 || number == 16;
    const Direction expected = transmits ? Direction::TRANSMIT : Direction::RECEIVE;
    for (const std::uint8_t held : std::vector<std::uint8_t>{0, 1, 2, 0xFF}) {
      bench_.hold_at(0x1300 + static_cast<std::uint32_t>(number), 1, held);
      Direction direction{};
      Srdo::SRDOParameters parameters{};
      std::uint16_t signature = 0;
      ASSERT_EQ(drive().getSRDOParameters(Srdo::SRDOId{number}, direction, parameters, signature), NKR_OK);
      EXPECT_EQ(direction, expected) << number;
      EXPECT_EQ(parameters.enabled, held != 0);
    }
    ASSERT_EQ(drive().setSRDOParameters(Srdo::SRDOId{number}, kExample), NKR_OK);
    EXPECT_EQ(bench_.client->writes().front().value,
              tavtest::Value(static_cast<std::uint8_t>(transmits ? 1 : 2)));
    bench_.client->clear();
  }
}

TEST_F(SRDO, AReadFillsEachFieldFromItsSubindex) {
  bench_.hold(nkr::tavcore::SRDOConfiguration{2, 1, 0x1234, 0x56, 0x78, 0x8000019A, 0x4000019B, {}});
  bench_.hold_at(0x13FF, 2, std::uint16_t{0x4711});
  Direction direction{};
  Srdo::SRDOParameters p{};
  std::uint16_t signature = 0;
  ASSERT_EQ(drive().getSRDOParameters(Srdo::SRDOId{2}, direction, p, signature), NKR_OK);
  EXPECT_TRUE(p.enabled);
  EXPECT_EQ(p.refreshTime, 0x1234);
  EXPECT_EQ(p.validationTime, 0x56);
  EXPECT_EQ(p.transmissionType, 0x78);
  EXPECT_EQ(p.cobId1, 0x019A) << "the low 16 bits";
  EXPECT_EQ(p.cobId2, 0x019B);
  EXPECT_EQ(signature, 0x4711);
  std::vector<std::uint32_t> addresses;
  for (const auto& access : accesses()) addresses.push_back(access.address);
  EXPECT_EQ(addresses, (std::vector<std::uint32_t>{0x13020100, 0x13020200, 0x13020300, 0x13020400, 0x13020500,
                                                   0x13020600, 0x13FF0200}));
}

TEST_F(SRDO, DisablingWritesDirection0AndAllTheRest) {
  Srdo::SRDOParameters off = kExample;
  off.enabled = false;
  ASSERT_EQ(drive().setSRDOParameters(Srdo::SRDOId{2}, off), NKR_OK);
  const Accesses writes = bench_.client->writes();
  ASSERT_EQ(writes.size(), 7U);
  EXPECT_EQ(writes.front(), SafetyBench::write_at(0x1302, 1, std::uint8_t{0}));
  std::vector<std::uint8_t> bytes = {0, 25, 0, 20, 1, 1, 0, 0, 2, 1, 0, 0, 0};
  EXPECT_EQ(writes.back(), SafetyBench::write_at(0x13FF, 2, nkr::tavcore::crc16_ccitt(bytes)));
}

TEST_F(SRDO, AMappingWithoutEntriesAddsItsCountByteAlone) {
  ASSERT_EQ(drive().setSRDOParameters(Srdo::SRDOId{1}, {false, 0, 0, 0, 0, 0x0100}), NKR_OK);
  std::vector<std::uint8_t> bytes = {0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0};
  const std::uint16_t without_count = nkr::tavcore::crc16_ccitt(bytes);
  bytes.push_back(0);
  EXPECT_EQ(written_signature(), nkr::tavcore::crc16_ccitt(bytes));
  EXPECT_NE(written_signature(), without_count);
}

TEST_F(SRDO, AMappingReadResizesTheEntriesToTheCount) {
  bench_.hold_at(0x1381, 0, std::uint8_t{2});
  bench_.hold_at(0x1381, 1, std::uint32_t{0x62100108});
  bench_.hold_at(0x1381, 2, std::uint32_t{0x62110108});
  for (const std::size_t size : {0U, 1U, 5U}) {
    Srdo::SRDOMapping mapping{9, std::vector<std::uint32_t>(size, 7)};
    ASSERT_EQ(drive().getSRDOMapping(Srdo::SRDOId{1}, mapping), NKR_OK);
    EXPECT_EQ(mapping.count, 2);
    EXPECT_EQ(mapping.entries, (std::vector<std::uint32_t>{0x62100108, 0x62110108}));
  }
}

TEST_F(SRDO, AMappingOf255EntriesIsReadToItsEnd) {
  bench_.hold_at(0x1381, 0, std::uint8_t{255});
  bench_.hold_at(0x1381, 255, std::uint32_t{0xABCDEF08});
  Srdo::SRDOMapping mapping{};
  ASSERT_EQ(drive().getSRDOMapping(Srdo::SRDOId{1}, mapping), NKR_OK);
  ASSERT_EQ(mapping.entries.size(), 255U);
  EXPECT_EQ(mapping.entries.back(), 0xABCDEF08U);
}

TEST_F(SRDO, ACountReadOnItsRepeatIsStoredAndNothingElse) {
  bench_.hold_at(0x1381, 0, std::uint8_t{2});
  bench_.client->fail_access(1, kTimeout);
  Srdo::SRDOMapping mapping{9, {7}};
  EXPECT_EQ(drive().getSRDOMapping(Srdo::SRDOId{1}, mapping), NKR_OK);
  EXPECT_EQ(mapping.count, 2);
  EXPECT_EQ(mapping.entries, std::vector<std::uint32_t>{7});
}

// A mapping read that stopped early leaves entries out: they count as 0 in the signature that is then
// written.
TEST_F(SRDO, AnEntryThatWasNotReadCountsAsZeroInTheSignature) {
  bench_.hold_at(0x1301, 1, std::uint8_t{2});
  bench_.hold_at(0x1381, 0, std::uint8_t{2});
  bench_.hold_at(0x1381, 1, std::uint32_t{0x62100108});
  bench_.client->fail_address(tavtest::at(0x1381, 0), kTimeout, 1);
  EXPECT_EQ(drive().setSRDOParameters(Srdo::SRDOId{1}, kExample), NKR_OK);
  const std::vector<std::uint8_t> bytes = {2, 25, 0, 20, 1, 1, 0, 0, 2, 1, 0, 0,
                                           2, 1,  0, 0,  0, 0, 2, 0, 0, 0, 0};
  EXPECT_EQ(accesses().back(), SafetyBench::write_at(0x13FF, 1, nkr::tavcore::crc16_ccitt(bytes)));
}

/** A dispatcher whose mapping is its own. */
class OwnMapping : public nkr::tavcore::CANOpenDispatcher {
 public:
  using CANOpenDispatcher::CANOpenDispatcher;
  [[nodiscard]] nkr_error_t getSRDOMapping(const SRDOId& /*srdo*/, SRDOMapping& mapping) const override {
    mapping = {2, {0x62100108, 0x62110108, 0xFFFFFFFF}};
    return NKR_OK;
  }
};

TEST_F(SRDO, SettingUsesTheMappingOfADerivedDispatcher) {
  OwnMapping dispatcher(bench_.config, bench_.client);
  ASSERT_EQ(dispatcher.init(), NKR_OK);
  bench_.hold_at(0x1301, 1, std::uint8_t{2});
  ASSERT_EQ(dispatcher.setSRDOParameters(Srdo::SRDOId{1}, kExample), NKR_OK);
  EXPECT_EQ(accesses().back(), SafetyBench::write_at(0x13FF, 1, std::uint16_t{0x290D}));
}

TEST_F(SRDO, TheConfigurationIsValidExactlyAtA5) {
  for (unsigned held = 0; held <= 0xFF; ++held) {
    bench_.hold("Configuration valid", static_cast<std::uint8_t>(held));
    bool valid = held != 0xA5;
    ASSERT_EQ(drive().getSRDOConfigurationValidity(valid), NKR_OK);
    EXPECT_EQ(valid, held == 0xA5) << held;
  }
}

TEST_F(SRDO, DeclaringTheConfigurationValidWritesA5) {
  ASSERT_EQ(drive().setSRDOConfigurationValidity(), NKR_OK);
  EXPECT_EQ(accesses(), Accesses{bench_.write_of("Configuration valid", std::uint8_t{0xA5})});
}

TEST_F(SRDO, ANumberThatTheDriveLacksFailsAtItsFirstAccess) {
  bench_.client->fail_address(tavtest::at(0x1311, 1), 0x06020000);
  EXPECT_EQ(drive().setSRDOParameters(Srdo::SRDOId{17}, kExample), 0x06020000);
  EXPECT_EQ(accesses().size(), 2U);
}

}  // namespace

// Which function each bit of a safety word stands for.

#include <gtest/gtest.h>
#include <nkr/safety_word.h>

#include <tavcore/SafetyWordTables.hpp>

#include "SafetyBench.hpp"
#include "support/Doubles.hpp"

namespace {

using tavtest::Accesses;
using tavtest::SafetyBench;
using Safe = nkr::tavcore::ISafeMotionService;
using ControlWord = Safe::SafetyControlWordId;
using StatusWord = Safe::SafetyStatusWordId;
using Function = Safe::SafetyFunctionId;
using Mapping = Safe::SafetyWordMapping;

class SafetyMapping : public testing::Test {
 protected:
  Accesses& accesses() { return bench_.client->accesses; }
  nkr::tavcore::CANOpenDispatcher& drive() { return *bench_.dispatcher; }

  /** The writes to mapping objects: those before the refresh begins. */
  Accesses mapping_writes() {
    const std::size_t refresh_begins = 3;  // reads of STO come first
    Accesses writes;
    for (const auto& access : accesses()) {
      if (access.kind != tavtest::AccessKind::WRITE) break;
      writes.push_back(access);
    }
    EXPECT_GT(accesses().size(), writes.size() + refresh_begins) << "the refresh follows";
    return writes;
  }

  /** Writes of codes to the objects `base` + bit. */
  Accesses writes_of(const std::string& base, const std::vector<std::pair<int, std::uint32_t>>& codes) {
    Accesses writes;
    for (const auto& [bit, code] : codes) writes.push_back(bench_.write_of(base + std::to_string(bit), code));
    return writes;
  }

  tavtest::RecordingLog log_;
  SafetyBench bench_;
};

std::vector<int> numbers_of(const Mapping& m) {
  std::vector<int> numbers;
  for (const Function f : {m.bit0, m.bit1, m.bit2, m.bit3, m.bit4, m.bit5, m.bit6, m.bit7}) {
    numbers.push_back(static_cast<int>(f));
  }
  return numbers;
}

Mapping all_of(Function function) {
  return {function, function, function, function, function, function, function, function};
}

const Mapping kSome{Function::STO,
                    Function::SBC_1,
                    Function::SLS_1,
                    Function::NONE,
                    Function::SDIP_2,
                    Function::SDIN_1,
                    Function::ERROR_ACKNOWLEDGE,
                    Function::RESTART_ACKNOWLEDGE};

TEST_F(SafetyMapping, ControlWord1HasFiveWritableBits) {
  ASSERT_EQ(drive().setSafetyControlWordMapping(ControlWord::CAN_1, kSome), NKR_OK);
  EXPECT_EQ(mapping_writes(),
            writes_of("nkr_safety_word_scw_mapping_cw1 scw_cw_can_1_bit",
                      {{1, 0x66600100}, {2, 0x66900100}, {3, 0}, {4, 0x66D00200}, {5, 0x66D10100}}));
}

TEST_F(SafetyMapping, StatusWord1HasSixWritableBits) {
  ASSERT_EQ(drive().setSafetyStatusWordMapping(StatusWord::CAN_1, kSome), NKR_OK);
  EXPECT_EQ(
      mapping_writes(),
      writes_of(
          "nkr_safety_word_ssw_mapping_sw1 ssw_sw_can_1_bit",
          {{1, 0x26600100}, {2, 0x26900100}, {3, 0}, {4, 0x26D00200}, {5, 0x26D10100}, {6, 0x26320000}}));
}

TEST_F(SafetyMapping, TheSafeInputHasSixWritableBits) {
  ASSERT_EQ(drive().setSafetyControlWordMapping(ControlWord::SAFE_INPUT, kSome), NKR_OK);
  EXPECT_EQ(
      mapping_writes(),
      writes_of(
          "nkr_safety_word_scw_mapping_safein scw_cw_safein_bit",
          {{0, 0x66400000}, {1, 0x66600100}, {2, 0x66900100}, {3, 0}, {4, 0x66D00200}, {5, 0x66D10100}}));
}

TEST_F(SafetyMapping, TheSafeOutputHasFourWritableBits) {
  ASSERT_EQ(drive().setSafetyStatusWordMapping(StatusWord::SAFE_OUTPUT, kSome), NKR_OK);
  EXPECT_EQ(mapping_writes(), writes_of("nkr_safety_word_ssw_mapping_safeout scw_sw_safeout_bit",
                                        {{0, 0x26400000}, {1, 0x26600100}, {2, 0x26900100}, {3, 0}}));
}

TEST_F(SafetyMapping, TheOtherWordsHaveEightWritableBits) {
  for (int word = 1; word < 8; ++word) {
    const std::string n = std::to_string(word + 1);
    bench_.client->clear();
    ASSERT_EQ(drive().setSafetyControlWordMapping(ControlWord{word}, kSome), NKR_OK);
    EXPECT_EQ(mapping_writes(), writes_of("nkr_safety_word_scw_mapping_cw" + n + " scw_cw_can_" + n + "_bit",
                                          {{0, 0x66400000},
                                           {1, 0x66600100},
                                           {2, 0x66900100},
                                           {3, 0},
                                           {4, 0x66D00200},
                                           {5, 0x66D10100},
                                           {6, 0x66320000},
                                           {7, 0x26300000}}));
    bench_.client->clear();
    ASSERT_EQ(drive().setSafetyStatusWordMapping(StatusWord{word}, kSome), NKR_OK);
    EXPECT_EQ(mapping_writes(), writes_of("nkr_safety_word_ssw_mapping_sw" + n + " ssw_sw_can_" + n + "_bit",
                                          {{0, 0x26400000},
                                           {1, 0x26600100},
                                           {2, 0x26900100},
                                           {3, 0},
                                           {4, 0x26D00200},
                                           {5, 0x26D10100},
                                           {6, 0x26320000},
                                           {7, 0x26310000}}));
  }
}

TEST_F(SafetyMapping, ReadingConvertsEachBitOfTheWord) {
  const std::vector<std::uint32_t> commands = {0x66400000, 0x66600300, 0x66900800, 0,
                                               0x66D00100, 0x66D10200, 0x66320000, 0x26300000};
  const std::vector<std::uint32_t> statuses = {0x26400000, 0x26600300, 0x26900800, 0,
                                               0x26D00100, 0x26D10200, 0x26320000, 0x26310000};
  const std::vector<int> functions = {0, 3, 11, -1, 12, 15, 16, 17};
  for (int word = 0; word < 8; ++word) {
    const std::string n = std::to_string(word + 1);
    for (std::size_t bit = 0; bit < 8; ++bit) {
      const std::string k = std::to_string(bit);
      bench_.hold("nkr_safety_word_scw_mapping_cw" + n + " scw_cw_can_" + n + "_bit" + k, commands[bit]);
      bench_.hold("nkr_safety_word_ssw_mapping_sw" + n + " ssw_sw_can_" + n + "_bit" + k, statuses[bit]);
    }
    Mapping mapping = all_of(Function::SLS_5);
    ASSERT_EQ(drive().getSafetyControlWordMapping(ControlWord{word}, mapping), NKR_OK);
    EXPECT_EQ(numbers_of(mapping), functions) << "reserved bits are read like the others";
    mapping = all_of(Function::SLS_5);
    ASSERT_EQ(drive().getSafetyStatusWordMapping(StatusWord{word}, mapping), NKR_OK);
    EXPECT_EQ(numbers_of(mapping), functions);
  }
}

TEST_F(SafetyMapping, FieldsBeyondTheWordsBitsStayAsTheyWere) {
  Mapping mapping = all_of(Function::SLS_5);
  ASSERT_EQ(drive().getSafetyControlWordMapping(ControlWord::SAFE_INPUT, mapping), NKR_OK);
  EXPECT_EQ(numbers_of(mapping), (std::vector<int>{-1, -1, -1, -1, -1, -1, 8, 8}));
  EXPECT_EQ(accesses().size(), 6U);
  EXPECT_EQ(accesses().front(),
            bench_.read_of("nkr_safety_word_scw_mapping_safein scw_cw_safein_bit0", std::uint32_t{0}));
  mapping = all_of(Function::SLS_5);
  bench_.client->clear();
  ASSERT_EQ(drive().getSafetyStatusWordMapping(StatusWord::SAFE_OUTPUT, mapping), NKR_OK);
  EXPECT_EQ(numbers_of(mapping), (std::vector<int>{-1, -1, -1, -1, 8, 8, 8, 8}));
  EXPECT_EQ(accesses().size(), 4U);
  EXPECT_EQ(accesses().front(),
            bench_.read_of("nkr_safety_word_ssw_mapping_safeout scw_sw_safeout_bit0", std::uint32_t{0}));
}

TEST_F(SafetyMapping, AnObjectThatHoldsZeroIsNoFunctionAndNoFunctionIsWrittenAsZero) {
  Mapping mapping = all_of(Function::STO);
  ASSERT_EQ(drive().getSafetyControlWordMapping(ControlWord::CAN_2, mapping), NKR_OK);
  EXPECT_EQ(numbers_of(mapping), std::vector<int>(8, -1));
  bench_.client->clear();
  ASSERT_EQ(drive().setSafetyControlWordMapping(ControlWord::CAN_2, mapping), NKR_OK);
  for (const auto& write : mapping_writes()) EXPECT_EQ(std::get<std::uint32_t>(write.value), 0U);
}

TEST_F(SafetyMapping, AnUnknownCodeEndsTheReadingWithARecordOfIt) {
  bench_.hold("nkr_safety_word_scw_mapping_cw2 scw_cw_can_2_bit0", std::uint32_t{0x66400000});
  bench_.hold("nkr_safety_word_scw_mapping_cw2 scw_cw_can_2_bit1", std::uint32_t{0x66400001});
  Mapping mapping = all_of(Function::SLS_5);
  log_.clear();
  EXPECT_EQ(drive().getSafetyControlWordMapping(ControlWord::CAN_2, mapping), NKR_ERROR);
  EXPECT_EQ(numbers_of(mapping), (std::vector<int>{0, 8, 8, 8, 8, 8, 8, 8}));
  EXPECT_EQ(accesses().size(), 2U);
  const tavtest::LogEntry record = log_.records().back();
  EXPECT_EQ(record.text, "nkr_safety_word_command_get_fct 1715470337 failed !");
  EXPECT_EQ(record.level, 2U);
  EXPECT_EQ(record.context, SafetyBench::kContext);
  EXPECT_EQ(record.function, "getSafetyControlWordMapping");
  EXPECT_EQ(record.class_name, "CANOpenDispatcher");
}

TEST_F(SafetyMapping, AnUnknownStatusCodeIsRecordedUnderItsOwnReaderAndConverter) {
  bench_.hold("nkr_safety_word_ssw_mapping_sw1 ssw_sw_can_1_bit0", std::uint32_t{0x26400001});
  Mapping mapping = all_of(Function::SLS_5);
  log_.clear();
  EXPECT_EQ(drive().getSafetyStatusWordMapping(StatusWord::CAN_1, mapping), NKR_ERROR);
  EXPECT_EQ(
      lines_of(log_.records()).back(),
      "7 | 2 | getSafetyStatusWordMapping | CANOpenDispatcher | nkr_safety_word_status_get_fct 641728513 "
      "failed !");
}

TEST_F(SafetyMapping, ACommandsCodeIsUnknownAmongStatuses) {
  bench_.hold("nkr_safety_word_ssw_mapping_sw1 ssw_sw_can_1_bit0", std::uint32_t{0x66400000});
  Mapping mapping = all_of(Function::SLS_5);
  EXPECT_EQ(drive().getSafetyStatusWordMapping(StatusWord::CAN_1, mapping), NKR_ERROR);
  EXPECT_EQ(log_.records().back().text, "nkr_safety_word_status_get_fct 1715470336 failed !");
  EXPECT_EQ(log_.records().back().function, "getSafetyStatusWordMapping");
}

TEST_F(SafetyMapping, AnUnknownWordIsAnErrorWithNothingSent) {
  Mapping mapping{};
  for (const int unknown : {-1, 9, 0x7FFFFFFF}) {
    EXPECT_EQ(drive().getSafetyControlWordMapping(ControlWord{unknown}, mapping), NKR_ERROR);
    EXPECT_EQ(drive().setSafetyControlWordMapping(ControlWord{unknown}, mapping), NKR_ERROR);
    EXPECT_EQ(drive().getSafetyStatusWordMapping(StatusWord{unknown}, mapping), NKR_ERROR);
    EXPECT_EQ(drive().setSafetyStatusWordMapping(StatusWord{unknown}, mapping), NKR_ERROR);
  }
  EXPECT_TRUE(accesses().empty());
}

TEST_F(SafetyMapping, AFieldThatWouldBeWrittenAndIsNoFunctionIsAnErrorBeforeAnythingIsSent) {
  for (const int unknown : {-2, 18, 0x7FFFFFFF, -0x7FFFFFFF}) {
    for (Function Mapping::*const field : {&Mapping::bit1, &Mapping::bit5}) {
      Mapping mapping = all_of(Function::NONE);
      mapping.*field = Function{unknown};
      EXPECT_EQ(drive().setSafetyControlWordMapping(ControlWord::CAN_1, mapping), NKR_ERROR);
      EXPECT_EQ(drive().setSafetyStatusWordMapping(StatusWord::CAN_1, mapping), NKR_ERROR);
    }
  }
  EXPECT_TRUE(accesses().empty());
}

TEST_F(SafetyMapping, EveryBitThatIsWrittenIsCheckedAndNoOther) {
  const std::vector<std::string> control_bits = {".xxxxx..", "xxxxxxxx",
                                                 "xxxxxx.."};  // word 1, 2 to 8, safe input
  const std::vector<std::string> status_bits = {".xxxxxx.", "xxxxxxxx",
                                                "xxxx...."};  // word 1, 2 to 8, safe output
  for (const int word : {0, 1, 7, 8}) {
    const std::size_t kind = word == 0 ? 0 : word == 8 ? 2 : 1;
    for (std::size_t bit = 0; bit < 8; ++bit) {
      SCOPED_TRACE("word " + std::to_string(word) + " bit " + std::to_string(bit));
      Mapping mapping = all_of(Function::NONE);
      constexpr Function Mapping::*kFields[] = {&Mapping::bit0, &Mapping::bit1, &Mapping::bit2,
                                                &Mapping::bit3, &Mapping::bit4, &Mapping::bit5,
                                                &Mapping::bit6, &Mapping::bit7};
      mapping.*kFields[bit] = Function{18};
      EXPECT_EQ(drive().setSafetyControlWordMapping(ControlWord{word}, mapping),
                control_bits[kind][bit] == 'x' ? NKR_ERROR : NKR_OK);
      EXPECT_EQ(drive().setSafetyStatusWordMapping(StatusWord{word}, mapping),
                status_bits[kind][bit] == 'x' ? NKR_ERROR : NKR_OK);
    }
  }
}

TEST_F(SafetyMapping, TheFirstAndTheLastFunctionMayBeMapped) {
  EXPECT_EQ(drive().setSafetyControlWordMapping(ControlWord::CAN_2, all_of(Function::STO)), NKR_OK);
  EXPECT_EQ(drive().setSafetyControlWordMapping(ControlWord::CAN_2, all_of(Function::RESTART_ACKNOWLEDGE)),
            NKR_OK);
}

TEST_F(SafetyMapping, WhatIsWrittenReadsBackAsTheSameFunctions) {
  for (int first = 0; first < 18; ++first) {
    bench_.client->clear();
    const Function function{first};
    ASSERT_EQ(drive().setSafetyControlWordMapping(ControlWord::CAN_5, all_of(function)), NKR_OK);
    for (const auto& write : mapping_writes()) bench_.client->answer(write.address, write.value);
    Mapping mapping{};
    ASSERT_EQ(drive().getSafetyControlWordMapping(ControlWord::CAN_5, mapping), NKR_OK);
    EXPECT_EQ(numbers_of(mapping), std::vector<int>(8, first));
  }
}

TEST(SafetyMappingTables, HoldABaseNameForEachWord) {
  using nkr::tavcore::sSafetyControlWordMapping;
  using nkr::tavcore::sSafetyStatusWordMapping;
  EXPECT_EQ(sSafetyControlWordMapping.size(), 9U);
  EXPECT_EQ(sSafetyStatusWordMapping.size(), 9U);
  EXPECT_EQ(sSafetyControlWordMapping.at(ControlWord::CAN_1),
            "nkr_safety_word_scw_mapping_cw1 scw_cw_can_1_bit");
  EXPECT_EQ(sSafetyStatusWordMapping.at(StatusWord::CAN_8),
            "nkr_safety_word_ssw_mapping_sw8 ssw_sw_can_8_bit");
  EXPECT_EQ(sSafetyControlWordMapping.at(ControlWord::SAFE_INPUT),
            "nkr_safety_word_scw_mapping_safein scw_cw_safein_bit");
  EXPECT_EQ(sSafetyStatusWordMapping.at(StatusWord::SAFE_OUTPUT),
            "nkr_safety_word_ssw_mapping_safeout scw_sw_safeout_bit");
}

TEST(SafetyMappingTables, TellHowManyBitsAWordHas) {
  EXPECT_EQ(nkr::tavcore::mappable_bits(ControlWord::CAN_8), 8);
  EXPECT_EQ(nkr::tavcore::mappable_bits(ControlWord::SAFE_INPUT), 6);
  EXPECT_EQ(nkr::tavcore::mappable_bits(StatusWord::CAN_1), 8);
  EXPECT_EQ(nkr::tavcore::mappable_bits(StatusWord::SAFE_OUTPUT), 4);
}

}  // namespace

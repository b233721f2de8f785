// What needs no drive: values, references, patterns, words, units, plots.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "cli/Failure.hpp"
#include "model/Description.hpp"
#include "model/DriveWords.hpp"
#include "model/Format.hpp"
#include "model/Pattern.hpp"
#include "model/Plot.hpp"
#include "model/UnitText.hpp"
#include "model/Value.hpp"
#include "session/BusInfo.hpp"

namespace {

using nkr::tools::DataType;
using nkr::tools::ObjectEntry;
using Bytes = std::vector<std::uint8_t>;

ObjectEntry object_of(DataType type, const char* low = nullptr, const char* high = nullptr) {
  ObjectEntry::Description description;
  description.name = "thing";
  description.data_type = type;
  if (low != nullptr) description.low_limit = low;
  if (high != nullptr) description.high_limit = high;
  return ObjectEntry(description);
}

Bytes encoded(DataType type, const std::string& text) {
  return tavctl::encode_value(object_of(type), text, 10);
}

TEST(Value, ReadsTheBytesOfATransferLeastSignificantFirst) {
  EXPECT_EQ(tavctl::decode_value(DataType::UNSIGNED16, {0x27, 0x02}).json, 0x0227);
  EXPECT_EQ(tavctl::decode_value(DataType::UNSIGNED32, {0x27, 0x0A, 0, 0}).text, "2599 (0x00000A27)");
  EXPECT_EQ(tavctl::decode_value(DataType::INTEGER16, {0xFF, 0xFF}).json, -1);
  EXPECT_EQ(tavctl::decode_value(DataType::INTEGER24, {0, 0, 0x80}).json, -8388608);
  EXPECT_EQ(tavctl::decode_value(DataType::BOOLEAN, {1}).json, true);
  EXPECT_EQ(tavctl::decode_value(DataType::REAL32, {0, 0, 0xC0, 0x3F}).json, 1.5);
  EXPECT_EQ(tavctl::decode_value(DataType::VISIBLE_STRING, {'T', 'A', 'V'}).json, "TAV");
}

TEST(Value, ShowsBytesThatDoNotFitTheTypeAsTheyStand) {
  EXPECT_EQ(tavctl::decode_value(DataType::UNSIGNED16, {1, 2, 0xFF}).text, "01 02 FF");
  EXPECT_EQ(tavctl::decode_value(DataType::UNKNOWN, {0xAB}).text, "AB");
  EXPECT_EQ(tavctl::decode_value(DataType::REAL32, {}).text, "");
}

TEST(Value, TakesNumbersInDecimalAndHexadecimal) {
  EXPECT_EQ(encoded(DataType::UNSIGNED16, "2599"), (Bytes{0x27, 0x0A}));
  EXPECT_EQ(encoded(DataType::UNSIGNED16, "0xA27"), (Bytes{0x27, 0x0A}));
  EXPECT_EQ(encoded(DataType::INTEGER16, "-300"), (Bytes{0xD4, 0xFE}));
  EXPECT_EQ(encoded(DataType::INTEGER8, "-128"), (Bytes{0x80}));
  EXPECT_EQ(encoded(DataType::UNSIGNED64, "18446744073709551615"), Bytes(8, 0xFF));
  EXPECT_EQ(encoded(DataType::REAL32, "1.5"), (Bytes{0, 0, 0xC0, 0x3F}));
}

TEST(Value, TakesABitPatternOfFullWidthInASignedType) {
  EXPECT_EQ(encoded(DataType::INTEGER16, "0xFFFF"), (Bytes{0xFF, 0xFF}));
  EXPECT_THROW(encoded(DataType::INTEGER16, "65535"), tavctl::Failure);
}

TEST(Value, TakesLeadingZerosForNothingAndNoneOfADescriptionsNotations) {
  EXPECT_EQ(encoded(DataType::UNSIGNED16, "010"), (Bytes{10, 0}));
  EXPECT_EQ(encoded(DataType::UNSIGNED16, "000"), (Bytes{0, 0}));
  EXPECT_THROW(encoded(DataType::UNSIGNED16, "5 ; five"), tavctl::Failure);
  EXPECT_THROW(encoded(DataType::UNSIGNED16, "$NODEID+1"), tavctl::Failure);
  EXPECT_THROW(encoded(DataType::REAL32, "1e39"), tavctl::Failure);
}

TEST(Value, TakesFlagsTextsAndBytes) {
  EXPECT_EQ(encoded(DataType::BOOLEAN, "on"), Bytes{1});
  EXPECT_EQ(encoded(DataType::BOOLEAN, "false"), Bytes{0});
  EXPECT_EQ(encoded(DataType::VISIBLE_STRING, "TAV"), (Bytes{'T', 'A', 'V'}));
  EXPECT_EQ(encoded(DataType::DOMAIN, "01 02 ff"), (Bytes{1, 2, 0xFF}));
}

TEST(Value, RefusesWhatIsNoValueOfTheType) {
  EXPECT_THROW(encoded(DataType::UNSIGNED8, "256"), tavctl::Failure);
  EXPECT_THROW(encoded(DataType::UNSIGNED8, "-1"), tavctl::Failure);
  EXPECT_THROW(encoded(DataType::INTEGER8, "128"), tavctl::Failure);
  EXPECT_THROW(encoded(DataType::INTEGER8, "-129"), tavctl::Failure);
  EXPECT_THROW(encoded(DataType::UNSIGNED16, "12x"), tavctl::Failure);
  EXPECT_THROW(encoded(DataType::UNSIGNED16, ""), tavctl::Failure);
  EXPECT_THROW(encoded(DataType::BOOLEAN, "2"), tavctl::Failure);
  EXPECT_THROW(encoded(DataType::REAL32, "fast"), tavctl::Failure);
  EXPECT_THROW(encoded(DataType::DOMAIN, "100"), tavctl::Failure);
}

TEST(Value, RefusesWhatTheDescriptionsLimitsForbid) {
  const ObjectEntry object = object_of(DataType::INTEGER16, "-10", "0x14");
  EXPECT_EQ(tavctl::encode_value(object, "-10", 10), (Bytes{0xF6, 0xFF}));
  EXPECT_EQ(tavctl::encode_value(object, "20", 10), (Bytes{0x14, 0}));
  EXPECT_THROW(static_cast<void>(tavctl::encode_value(object, "-11", 10)), tavctl::Failure);
  EXPECT_THROW(static_cast<void>(tavctl::encode_value(object, "21", 10)), tavctl::Failure);
}

TEST(BusInfo, IsWhatTheSystemSaysOfACanInterface) {
  const tavctl::BusInfo info = tavctl::parse_link(
      R"([{"ifname":"can0","operstate":"UP","linkinfo":{"info_kind":"can","info_data":{"state":"ERROR-PASSIVE",)"
      R"("berr_counter":{"tx":128,"rx":3},"restart_ms":100,"bittiming":{"bitrate":250000}}}}])");
  EXPECT_EQ(info.bit_rate, 250000U);
  EXPECT_EQ(info.state, "ERROR-PASSIVE");
  EXPECT_EQ(info.restart_ms, 100U);
  EXPECT_EQ(info.tx_errors, 128U);
  EXPECT_EQ(info.rx_errors, 3U);
}

TEST(BusInfo, IsEmptyForAnInterfaceWithoutAController) {
  for (const char* const text :
       {"", "nonsense", "[]", R"([{"ifname":"vcan0","linkinfo":{"info_kind":"vcan"}}])", R"({"a":1})"}) {
    const tavctl::BusInfo info = tavctl::parse_link(text);
    EXPECT_FALSE(info.bit_rate || info.state || info.restart_ms) << text;
  }
}

TEST(Reference, IsAnAddressWhenItBeginsWith0x) {
  EXPECT_EQ(tavctl::parse_reference("0x1018:1").address->get(), 0x101801u);
  EXPECT_EQ(tavctl::parse_reference("0x6041").address->get(), 0x604100u);
  EXPECT_EQ(tavctl::parse_reference("0x1003:0xFE").address->get(), 0x1003FEu);
}

TEST(Reference, IsANameOtherwise) {
  for (const char* text : {"statusword", "0x", "0xfoo", "0x12345", "0x1018:", "0x1018:256", "0x1018:1x"}) {
    EXPECT_FALSE(tavctl::parse_reference(text).address) << text;
  }
}

TEST(Pattern, WithoutWildcardsIsAPartInAnyCase) {
  EXPECT_TRUE(tavctl::matches("vl_target_velocity", "VELOCITY"));
  EXPECT_TRUE(tavctl::matches("anything", ""));
  EXPECT_FALSE(tavctl::matches("statusword", "velocity"));
}

TEST(Pattern, WithWildcardsIsTheWhole) {
  EXPECT_TRUE(tavctl::matches("vl_target_velocity", "vl_*velocity"));
  EXPECT_TRUE(tavctl::matches("0x1018:01", "0x1018:0?"));
  EXPECT_FALSE(tavctl::matches("vl_target_velocity", "target*"));
  EXPECT_TRUE(tavctl::matches("aaab", "*a*b"));
  EXPECT_FALSE(tavctl::matches("aaac", "*a*b"));
}

TEST(StatusWord, NamesTheStatesOfCia402) {
  const std::pair<std::uint16_t, const char*> cases[] = {
      {0x0000, "NOT_READY_TO_SWITCH_ON"}, {0x0040, "SWITCH_ON_DISABLED"},
      {0x0021, "READY_TO_SWITCH_ON"},     {0x0023, "SWITCHED_ON"},
      {0x0027, "OPERATION_ENABLED"},      {0x0007, "QUICK_STOP_ACTIVE"},
      {0x000F, "FAULT_REACTION_ACTIVE"},  {0x0008, "FAULT"},
      {0x0001, "no state of CiA 402"}};
  for (const auto& [word, name] : cases) EXPECT_EQ(tavctl::status_word_text(word), name) << word;
}

TEST(ControlWord, NamesItsCommand) {
  EXPECT_EQ(tavctl::control_word_text(0x0000), "disable voltage");
  EXPECT_EQ(tavctl::control_word_text(0x0002), "quick stop");
  EXPECT_EQ(tavctl::control_word_text(0x0006), "shutdown");
  EXPECT_EQ(tavctl::control_word_text(0x0007), "switch on");
  EXPECT_EQ(tavctl::control_word_text(0x000F), "enable operation");
  EXPECT_EQ(tavctl::control_word_text(0x007F), "enable operation, follow the ramp");
  EXPECT_EQ(tavctl::control_word_text(0x0080), "fault reset");
  EXPECT_EQ(tavctl::control_word_text(0x010F), "enable operation, halt");
}

TEST(ErrorRegister, NamesItsBits) {
  EXPECT_EQ(tavctl::error_register_text(0), "no error");
  EXPECT_NE(tavctl::error_register_text(0x02).find("current"), std::string::npos);
}

TEST(UnitText, ReadsPrefixNumeratorAndDenominator) {
  EXPECT_EQ(tavctl::unit_text(0xFD030000), "ms");
  EXPECT_EQ(tavctl::unit_text(0x00B44700), "rev/min");
  EXPECT_EQ(tavctl::unit_text(0x00B50000), "inc");
}

TEST(Plot, DrawsDemandAndActualInTheirRange) {
  const auto lines = tavctl::plot({{0.0, 0, 0}, {1.0, 100, 50}, {2.0, 100, 100}}, 21, 11);
  ASSERT_EQ(lines.size(), 13u);
  EXPECT_EQ(lines[0], "    100 |          -         *");
  EXPECT_EQ(lines[5], "        |          o");
  EXPECT_EQ(lines[10], "      0 |*");
  EXPECT_EQ(lines[11], "        +--------------------- 2.0 s");
}

TEST(Plot, OfNothingIsNothing) {
  EXPECT_TRUE(tavctl::plot({}).empty());
}

TEST(Plot, OfStandstillIsOneLine) {
  const auto lines = tavctl::plot({{0.0, 0, 0}, {1.0, 0, 0}}, 10, 3);
  EXPECT_EQ(lines[2], "      0 |*        *");
}

}  // namespace

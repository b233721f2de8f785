// Values, references and patterns: what needs no drive.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <tav/host/Value.hpp>
#include <tav/host/description.hpp>
#include <tav/host/pattern.hpp>
#include <vector>

namespace tests::host {
namespace {

using nkr::tools::DataType;
using nkr::tools::ObjectEntry;
using tav::host::Cause;
using tav::host::Result;
using Bytes = std::vector<std::uint8_t>;

ObjectEntry object_of(DataType type, const char* low = nullptr, const char* high = nullptr) {
  ObjectEntry::Description description;
  description.name = "thing";
  description.data_type = type;
  if (low != nullptr) description.low_limit = low;
  if (high != nullptr) description.high_limit = high;
  return ObjectEntry(description);
}

/** The bytes; none for a text that is refused. */
Bytes encoded(const ObjectEntry& object, const std::string& text) {
  Bytes bytes;
  const Result result = tav::host::encode_value(object, text, 10, bytes);
  EXPECT_TRUE(result.ok()) << text;
  return bytes;
}
Bytes encoded(DataType type, const std::string& text) {
  return encoded(object_of(type), text);
}

bool is_refused(const ObjectEntry& object, const std::string& text) {
  Bytes bytes;
  const Result result = tav::host::encode_value(object, text, 10, bytes);
  return result.cause() == Cause::REFUSED && bytes.empty();
}
bool is_refused(DataType type, const std::string& text) {
  return is_refused(object_of(type), text);
}

/** What the bytes say, as that type. */
template <class T>
T decoded(DataType type, const Bytes& bytes) {
  const tav::host::Value value = tav::host::decode_value(type, bytes);
  EXPECT_TRUE(std::holds_alternative<T>(value.data)) << value.text;
  return std::holds_alternative<T>(value.data) ? std::get<T>(value.data) : T{};
}

TEST(Value, ReadsTheBytesOfATransferLeastSignificantFirst) {
  EXPECT_EQ(decoded<std::uint64_t>(DataType::UNSIGNED16, {0x27, 0x02}), 0x0227U);
  EXPECT_EQ(tav::host::decode_value(DataType::UNSIGNED32, {0x27, 0x0A, 0, 0}).text, "2599 (0x00000A27)");
  EXPECT_EQ(decoded<std::int64_t>(DataType::INTEGER16, {0xFF, 0xFF}), -1);
  EXPECT_EQ(decoded<std::int64_t>(DataType::INTEGER24, {0, 0, 0x80}), -8388608);
  EXPECT_EQ(decoded<bool>(DataType::BOOLEAN, {1}), true);
  EXPECT_EQ(decoded<double>(DataType::REAL32, {0, 0, 0xC0, 0x3F}), 1.5);
  EXPECT_EQ(decoded<std::string>(DataType::VISIBLE_STRING, {'T', 'A', 'V'}), "TAV");
}

TEST(Value, ShowsBytesThatDoNotFitTheTypeAsTheyStand) {
  EXPECT_EQ(tav::host::decode_value(DataType::UNSIGNED16, {1, 2, 0xFF}).text, "01 02 FF");
  EXPECT_EQ(tav::host::decode_value(DataType::UNKNOWN, {0xAB}).text, "AB");
  EXPECT_EQ(tav::host::decode_value(DataType::REAL32, {}).text, "");
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
  EXPECT_TRUE(is_refused(DataType::INTEGER16, "65535"));
}

TEST(Value, TakesLeadingZerosForNothingAndNoneOfADescriptionsNotations) {
  EXPECT_EQ(encoded(DataType::UNSIGNED16, "010"), (Bytes{10, 0}));
  EXPECT_EQ(encoded(DataType::UNSIGNED16, "000"), (Bytes{0, 0}));
  EXPECT_TRUE(is_refused(DataType::UNSIGNED16, "5 ; five"));
  EXPECT_TRUE(is_refused(DataType::UNSIGNED16, "$NODEID+1"));
  EXPECT_TRUE(is_refused(DataType::REAL32, "1e39"));
}

TEST(Value, TakesFlagsTextsAndBytes) {
  EXPECT_EQ(encoded(DataType::BOOLEAN, "on"), Bytes{1});
  EXPECT_EQ(encoded(DataType::BOOLEAN, "false"), Bytes{0});
  EXPECT_EQ(encoded(DataType::VISIBLE_STRING, "TAV"), (Bytes{'T', 'A', 'V'}));
  EXPECT_EQ(encoded(DataType::DOMAIN, "01 02 ff"), (Bytes{1, 2, 0xFF}));
}

TEST(Value, RefusesWhatIsNoValueOfTheType) {
  EXPECT_TRUE(is_refused(DataType::UNSIGNED8, "256"));
  EXPECT_TRUE(is_refused(DataType::UNSIGNED8, "-1"));
  EXPECT_TRUE(is_refused(DataType::INTEGER8, "128"));
  EXPECT_TRUE(is_refused(DataType::INTEGER8, "-129"));
  EXPECT_TRUE(is_refused(DataType::UNSIGNED16, "12x"));
  EXPECT_TRUE(is_refused(DataType::UNSIGNED16, ""));
  EXPECT_TRUE(is_refused(DataType::BOOLEAN, "2"));
  EXPECT_TRUE(is_refused(DataType::REAL32, "fast"));
  EXPECT_TRUE(is_refused(DataType::DOMAIN, "100"));
}

TEST(Value, RefusesWhatTheDescriptionsLimitsForbid) {
  const ObjectEntry object = object_of(DataType::INTEGER16, "-10", "0x14");
  EXPECT_EQ(encoded(object, "-10"), (Bytes{0xF6, 0xFF}));
  EXPECT_EQ(encoded(object, "20"), (Bytes{0x14, 0}));
  EXPECT_TRUE(is_refused(object, "-11"));
  EXPECT_TRUE(is_refused(object, "21"));
}

TEST(Reference, IsAnAddressWhenItBeginsWith0x) {
  EXPECT_EQ(tav::host::parse_reference("0x1018:1").address->get(), 0x101801u);
  EXPECT_EQ(tav::host::parse_reference("0x6041").address->get(), 0x604100u);
  EXPECT_EQ(tav::host::parse_reference("0x1003:0xFE").address->get(), 0x1003FEu);
}

TEST(Reference, IsANameOtherwise) {
  for (const char* text : {"statusword", "0x", "0xfoo", "0x12345", "0x1018:", "0x1018:256", "0x1018:1x"}) {
    EXPECT_FALSE(tav::host::parse_reference(text).address) << text;
  }
}

TEST(Pattern, WithoutWildcardsIsAPartInAnyCase) {
  EXPECT_TRUE(tav::host::matches("vl_target_velocity", "VELOCITY"));
  EXPECT_TRUE(tav::host::matches("anything", ""));
  EXPECT_FALSE(tav::host::matches("statusword", "velocity"));
}

TEST(Pattern, WithWildcardsIsTheWhole) {
  EXPECT_TRUE(tav::host::matches("vl_target_velocity", "vl_*velocity"));
  EXPECT_TRUE(tav::host::matches("0x1018:01", "0x1018:0?"));
  EXPECT_FALSE(tav::host::matches("vl_target_velocity", "target*"));
  EXPECT_TRUE(tav::host::matches("aaab", "*a*b"));
  EXPECT_FALSE(tav::host::matches("aaac", "*a*b"));
}

}  // namespace
}  // namespace tests::host

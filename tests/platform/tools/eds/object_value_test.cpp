#include <gtest/gtest.h>

#include <clocale>
#include <nkr/tools/ObjectValue.hpp>

using nkr::tools::DataType;
using nkr::tools::integer_of;
using nkr::tools::number_of;
using nkr::tools::real_of;

TEST(NumberText, ReadsDecimalHexadecimalAndOctal) {
  EXPECT_EQ(number_of("42"), 42);
  EXPECT_EQ(number_of("-42"), -42);
  EXPECT_EQ(number_of("0x1A"), 26);
  EXPECT_EQ(number_of("0Xff"), 255);
  EXPECT_EQ(number_of("-0x80000000"), -2147483648LL);
  EXPECT_EQ(number_of("010"), 8);
  EXPECT_EQ(number_of("0"), 0);
  EXPECT_EQ(number_of(" 7\t"), 7);
}

TEST(NumberText, RefusesEverythingElse) {
  for (const char* text : {"", " ", "0x", "x1", "0xZZ", "12 34", "0x12 34", "1.0", "08", "1h", "--1", "+-1",
                           "ten", "99999999999999999999", "0x10000000000000000", "1+2", "-", "+"}) {
    EXPECT_EQ(number_of(text), std::nullopt) << text;
  }
}

TEST(NumberText, LeavesOutCommentsBehindTheNumber) {
  EXPECT_EQ(number_of("0x12;old 0x11"), 0x12);
  EXPECT_EQ(number_of("5 # five"), 5);
  EXPECT_EQ(number_of("5#five"), std::nullopt);
}

TEST(NumberText, AddsTheNodeIdWhereverItStandsInTheSum) {
  EXPECT_EQ(number_of("$NODEID+0x180", 5), 0x185);
  EXPECT_EQ(number_of("0x180+$NODEID", 5), 0x185);
  EXPECT_EQ(number_of("$nodeid + 0x200", 127), 0x27F);
  EXPECT_EQ(number_of("0x100+$NODEID+0x80", 1), 0x181);
  EXPECT_EQ(number_of("$NODEID", 9), 9);
  EXPECT_EQ(number_of("$NODEID+0x180;0x200", 1), 0x181);
}

TEST(NumberText, RefusesOtherFormulas) {
  for (const char* text : {"$NODEID+", "+$NODEID", "$NODEID-1", "$NODEID*2", "$NODEID+$NODEID", "$NODEIDX+1",
                           "$NODE+1", "($NODEID+1)", "$", "$NODEID 1", "$NODEID++1", "$NODEID+-1"}) {
    EXPECT_EQ(number_of(text, 5), std::nullopt) << text;
  }
}

TEST(NumberText, DoesNotWrapASumBeyond32Bits) {
  EXPECT_EQ(number_of("$NODEID+0xFFFFFFFF", 0), 0xFFFFFFFF);
  EXPECT_EQ(number_of("$NODEID+0xFFFFFFFF", 1), std::nullopt);
  EXPECT_EQ(number_of("0xFFFFFFFF+$NODEID", 127), std::nullopt);
}

TEST(IntegerText, HoldsWhatTheTypeHolds) {
  EXPECT_EQ(integer_of("255", DataType::UNSIGNED8), 255);
  EXPECT_EQ(integer_of("256", DataType::UNSIGNED8), std::nullopt);
  EXPECT_EQ(integer_of("-1", DataType::UNSIGNED8), std::nullopt);
  EXPECT_EQ(integer_of("-128", DataType::INTEGER8), -128);
  EXPECT_EQ(integer_of("-129", DataType::INTEGER8), std::nullopt);
  EXPECT_EQ(integer_of("0x7FFFFF", DataType::INTEGER24), 0x7FFFFF);
  EXPECT_EQ(integer_of("1", DataType::BOOLEAN), 1);
  EXPECT_EQ(integer_of("2", DataType::BOOLEAN), std::nullopt);
  EXPECT_EQ(integer_of("1", DataType::VISIBLE_STRING), std::nullopt);
}

TEST(IntegerText, TakesHexadecimalOfFullWidthAsTwosComplement) {
  EXPECT_EQ(integer_of("0x8000", DataType::INTEGER16), -32768);
  EXPECT_EQ(integer_of("0xFFFF", DataType::INTEGER16), -1);
  EXPECT_EQ(integer_of("0x10000", DataType::INTEGER16), std::nullopt);
  EXPECT_EQ(integer_of("65535", DataType::INTEGER16), std::nullopt);
  EXPECT_EQ(integer_of("0xFFFFFFFFFFFFFFF6", DataType::INTEGER64), -10);
  EXPECT_EQ(integer_of("0x80000000", DataType::INTEGER32), -2147483648LL);
  EXPECT_EQ(integer_of("-0x8000000000000000", DataType::INTEGER64), std::numeric_limits<std::int64_t>::min());
}

TEST(IntegerText, GivesLargeUnsigned64AsItsBits) {
  EXPECT_EQ(integer_of("0xFFFFFFFFFFFFFFFF", DataType::UNSIGNED64), -1);
  EXPECT_EQ(integer_of("18446744073709551615", DataType::UNSIGNED64), -1);
}

TEST(RealText, ReadsPlainNumbersAlone) {
  EXPECT_EQ(real_of("1.5"), 1.5);
  EXPECT_EQ(real_of("-2e3 # fast"), -2000.0);
  EXPECT_EQ(real_of("3"), 3.0);
  for (const char* text : {"", "1,5", "NaN", "inf", "1e999", "0x3FC00000", "1.5f", "--1", "+-1"}) {
    EXPECT_EQ(real_of(text), std::nullopt) << text;
  }
}

TEST(RealText, DoesNotDependOnTheLocale) {
  for (const char* locale : {"de_DE.UTF-8", "de_DE", "fr_FR.UTF-8", ""}) {
    if (std::setlocale(LC_ALL, locale) != nullptr) break;
  }
  EXPECT_EQ(real_of("1.5"), 1.5);
  EXPECT_EQ(real_of("1,5"), std::nullopt);
  std::setlocale(LC_ALL, "C");
}

TEST(Limits, AreDroppedWhenTheyCrossOrDoNotFit) {
  nkr::tools::ObjectEntry::Description object;
  object.data_type = DataType::INTEGER16;
  object.low_limit = "0x8000";
  object.high_limit = "0x7FFF";
  EXPECT_EQ(nkr::tools::limits_of(object).low, -32768);
  EXPECT_EQ(nkr::tools::limits_of(object).high, 32767);
  object.low_limit = "200";
  object.high_limit = "100";
  EXPECT_EQ(nkr::tools::limits_of(object).low, std::nullopt);
  EXPECT_EQ(nkr::tools::limits_of(object).high, std::nullopt);
  object.low_limit = "70000";
  EXPECT_EQ(nkr::tools::limits_of(object).low, std::nullopt);
  EXPECT_EQ(nkr::tools::limits_of(object).high, 100);
}

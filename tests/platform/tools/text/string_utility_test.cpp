#include <gtest/gtest.h>

#include <nkr/tools/StringUtility.hpp>

using nkr::tools::StringUtility;

TEST(StringUtility, PadsWithZerosToTheWidth) {
  EXPECT_EQ(StringUtility::format(7, 3), "007");
  EXPECT_EQ(StringUtility::format(0, 2), "00");
  EXPECT_EQ(StringUtility::format(1234, 2), "1234");
  EXPECT_EQ(StringUtility::format(12, 0), "12");
  EXPECT_EQ(StringUtility::format(12, -5), "12");
}

TEST(StringUtility, CountsTheSignInTheWidth) {
  EXPECT_EQ(StringUtility::format(-7, 4), "-007");
  EXPECT_EQ(StringUtility::format(-2147483647 - 1, 3), "-2147483648");
}

// The checksum that the tests compute themselves is the standard one.
#include <gtest/gtest.h>

#include "drive/safety/ReferenceCrc.hpp"

namespace tav::drive::test {
namespace {

TEST(ReferenceCrc, OfTheStandardsTextIsTheKnownOne) {
  ReferenceCrc crc;
  for (const char character : {'1', '2', '3', '4', '5', '6', '7', '8', '9'}) {
    crc.feed(static_cast<std::uint8_t>(character), 1);
  }
  EXPECT_EQ(crc.value(), 0x31C3);
}

TEST(ReferenceCrc, TakesTheLeastSignificantByteFirst) {
  EXPECT_EQ(ReferenceCrc().feed(0x12345678, 4).value(), 0xD0FA);
  EXPECT_EQ(ReferenceCrc().feed(1, 1).value(), 0x1021);
}

}  // namespace
}  // namespace tav::drive::test

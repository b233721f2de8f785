#include <gtest/gtest.h>

#include <nkr/canopencore/ObjectAddress.hpp>
#include <type_traits>

namespace {

using nkr::canopencore::ObjectAddress;

TEST(ObjectAddress, BecomesTheNumberThatAClientTakes) {
  constexpr ObjectAddress kStatusword{0x6041, 0, 16};
  static_assert(kStatusword == 0x60410010U);
  EXPECT_EQ(std::uint32_t{kStatusword}, 0x60410010U);
  EXPECT_EQ((std::uint32_t{ObjectAddress{0xFFFF, 0xFE, 0xFD}}), 0xFFFFFEFDU);
}

TEST(ObjectAddress, HasSubIndex0AndNoLengthUnlessTold) {
  EXPECT_EQ(std::uint32_t{ObjectAddress{0x1017}}, 0x10170000U);
  EXPECT_EQ((std::uint32_t{ObjectAddress{0x1A00, 1}}), 0x1A000100U);
}

TEST(ObjectAddress, IsTakenApartFromANumberWhenAskedFor) {
  constexpr ObjectAddress kAddress = ObjectAddress::of(0x1A000120);
  EXPECT_EQ(kAddress.index, 0x1A00);
  EXPECT_EQ(kAddress.subindex, 1);
  EXPECT_EQ(kAddress.bits, 0x20);
  EXPECT_EQ(std::uint32_t{ObjectAddress::of(0xFFFFFEFD)}, 0xFFFFFEFDU);
}

TEST(ObjectAddress, IsNeverMadeOfAnIndexOrANumberUnasked) {
  static_assert(!std::is_convertible_v<int, ObjectAddress>);
  static_assert(!std::is_convertible_v<std::uint32_t, ObjectAddress>);
  static_assert(!std::is_convertible_v<std::uint16_t, ObjectAddress>);
}

}  // namespace

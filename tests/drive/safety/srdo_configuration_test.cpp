// Rules for the configuration of safety-relevant data objects (EN 50325-5).
#include <gtest/gtest.h>

#include "drive/DriveBench.hpp"
#include "drive/safety/SRDODescription.hpp"

namespace tav::drive::test {
namespace {

class SRDOConfigurationTest : public ::testing::Test {
 protected:
  void map(std::uint32_t plain, std::uint32_t inverted) {
    EXPECT_EQ(bench.write(0x1381, 0, 0, 1), 0U);
    EXPECT_EQ(bench.write(0x1381, 1, plain, 4), 0U);
    EXPECT_EQ(bench.write(0x1381, 2, inverted, 4), 0U);
  }
  void configure() {
    map(0x62100108, 0x62110108);
    EXPECT_EQ(bench.write(0x1381, 0, 2, 1), 0U);
    EXPECT_EQ(bench.write(0x1301, 1, 2, 1), 0U);
    EXPECT_EQ(bench.write(0x1301, 2, 25, 2), 0U);
    EXPECT_EQ(bench.write(0x1301, 3, 20, 1), 0U);
    EXPECT_EQ(bench.write(0x1301, 5, 0x101, 4), 0U);
    EXPECT_EQ(bench.write(0x1301, 6, 0x102, 4), 0U);
  }

  DriveBench bench{kSRDODescription, as_node(1)};
};

TEST_F(SRDOConfigurationTest, AValidDeclarationNeedsTheSignature) {
  configure();
  EXPECT_EQ(bench.write(0x13FE, 0, 0xA5, 1), 0x06040043U);
  EXPECT_EQ(bench.read(0x13FE), 0U);
  EXPECT_EQ(bench.write(0x13FF, 1, 0x290D, 2), 0U);
  EXPECT_EQ(bench.write(0x13FE, 0, 0xA5, 1), 0U);
  EXPECT_EQ(bench.read(0x13FE), 0xA5U);
  EXPECT_EQ(bench.write(0x13FE, 0, 0xA4, 1), 0x06090030U);
}

TEST_F(SRDOConfigurationTest, AnyChangeOfTheConfigurationEndsItsValidity) {
  configure();
  bench.write(0x13FF, 1, 0x290D, 2);
  const auto ends_validity = [&](std::uint16_t index, std::uint8_t subindex, std::uint32_t value,
                                 unsigned bytes) {
    EXPECT_EQ(bench.write(0x13FE, 0, 0xA5, 1), 0U);
    EXPECT_EQ(bench.write(index, subindex, value, bytes), 0U);
    EXPECT_EQ(bench.read(0x13FE), 0U) << std::hex << index << ' ' << int{subindex};
  };
  ends_validity(0x1301, 2, 25, 2);
  ends_validity(0x1301, 3, 20, 1);
  ends_validity(0x1301, 4, 254, 1);
  ends_validity(0x1301, 5, 0x101, 4);
  ends_validity(0x1301, 6, 0x102, 4);
  ends_validity(0x13FF, 1, 0x290D, 2);
  ends_validity(0x1301, 1, 0, 1);
  ends_validity(0x1381, 0, 0, 1);
}

TEST_F(SRDOConfigurationTest, NothingIsChangedWhileOperational) {
  bench.send("000#0101");
  EXPECT_EQ(bench.write(0x1301, 2, 25, 2), 0x08000022U);
  EXPECT_EQ(bench.write(0x1381, 0, 0, 1), 0x08000022U);
  EXPECT_EQ(bench.write(0x13FF, 1, 1, 2), 0x08000022U);
  EXPECT_EQ(bench.write(0x13FE, 0, 0xA5, 1), 0x08000022U);
  bench.send("000#8001");
  EXPECT_EQ(bench.write(0x1301, 2, 25, 2), 0U);
}

TEST_F(SRDOConfigurationTest, TheMappingIsFixedWhileTheObjectIsInUse) {
  EXPECT_EQ(bench.write(0x1301, 1, 1, 1), 0U);
  EXPECT_EQ(bench.write(0x1381, 1, 0x62100108, 4), 0x06010000U);
  EXPECT_EQ(bench.write(0x1381, 0, 0, 1), 0x06010000U);
  EXPECT_EQ(bench.write(0x1301, 5, 0x105, 4), 0U) << "its parameters are not";
}

TEST_F(SRDOConfigurationTest, TheMappingAlternatesPlainAndInverted) {
  map(0x62100108, 0x62110108);
  EXPECT_EQ(bench.write(0x1381, 0, 1, 1), 0x06090030U) << "odd";
  map(0x62100108, 0x62110210);
  EXPECT_EQ(bench.write(0x1381, 0, 2, 1), 0x06040043U) << "lengths differ";
  map(0x62100208, 0x62110108);
  EXPECT_EQ(bench.write(0x1381, 0, 2, 1), 0x06040041U) << "not for mapping";
  map(0x62100308, 0x62110108);
  EXPECT_EQ(bench.write(0x1381, 0, 2, 1), 0x06040041U) << "not there";
}

TEST_F(SRDOConfigurationTest, AnObjectThatIsNotInUseNeedsNoSignature) {
  EXPECT_EQ(bench.write(0x13FE, 0, 0xA5, 1), 0U);
}

}  // namespace
}  // namespace tav::drive::test

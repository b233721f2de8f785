// Rules for the configuration of safety-relevant data objects (EN 50325-5).
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "drive/DriveBench.hpp"
#include "drive/safety/ReferenceCrc.hpp"
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

  void sign(std::uint32_t cob_id_1, std::uint32_t cob_id_2) {
    ReferenceCrc crc;
    crc.feed(2, 1).feed(25, 2).feed(20, 1).feed(cob_id_1, 4).feed(cob_id_2, 4);
    crc.feed(2, 1).feed(1, 1).feed(0x62100108, 4).feed(2, 1).feed(0x62110108, 4);
    EXPECT_EQ(bench.write(0x13FF, 1, crc.value(), 2), 0U);
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
  EXPECT_EQ(bench.write(0x1381, 0, 1, 1), 0x06040042U) << "odd";
  EXPECT_EQ(bench.write(0x1381, 0, 18, 1), 0x06040042U) << "more than 16";
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

TEST_F(SRDOConfigurationTest, AWrongParameterIsRefusedWhenItIsWritten) {
  configure();
  bench.write(0x13FF, 1, 0x290D, 2);
  EXPECT_EQ(bench.write(0x13FE, 0, 0xA5, 1), 0U);
  const struct {
    std::uint8_t subindex;
    unsigned bytes;
    std::vector<std::uint32_t> wrong;
  } kParameters[] = {{1, 1, {3, 255}},
                     {2, 2, {0}},
                     {3, 1, {0}},
                     {4, 1, {0, 1, 253, 255}},
                     {5, 4, {1, 0x100, 0x102, 0x180, 0x181, 0x20000101, 0x80000101}},
                     {6, 4, {1, 0x100, 0x101, 0x181, 0x182, 0x20000102, 0x80000102}}};
  for (const auto& [subindex, bytes, wrong] : kParameters) {
    for (const std::uint32_t value : wrong) {
      EXPECT_EQ(bench.write(0x1301, subindex, value, bytes), 0x06090030U) << int{subindex} << ' ' << value;
    }
  }
  EXPECT_EQ(bench.read(0x13FE), 0xA5U) << "nothing changed";
}

TEST_F(SRDOConfigurationTest, IdentifiersOfZeroAreTakenAndNotDeclaredValid) {
  configure();
  for (const std::uint8_t subindex : {std::uint8_t{5}, std::uint8_t{6}}) {
    EXPECT_EQ(bench.write(0x1301, subindex, 0, 4), 0U);
  }
  sign(0, 0);
  EXPECT_EQ(bench.write(0x13FE, 0, 0xA5, 1), 0x06040043U);
}

TEST_F(SRDOConfigurationTest, IdentifiersHaveToBeAPair) {
  configure();
  EXPECT_EQ(bench.write(0x1301, 6, 0x104, 4), 0U);
  sign(0x101, 0x104);
  EXPECT_EQ(bench.write(0x13FE, 0, 0xA5, 1), 0x06040043U);
  EXPECT_EQ(bench.write(0x1301, 5, 0x103, 4), 0U);
  sign(0x103, 0x104);
  EXPECT_EQ(bench.write(0x13FE, 0, 0xA5, 1), 0U);
}

TEST_F(SRDOConfigurationTest, AnSRDOThatMapsNothingYetMayBeDeclaredValid) {
  configure();
  EXPECT_EQ(bench.write(0x1301, 1, 0, 1), 0U);
  EXPECT_EQ(bench.write(0x1381, 0, 0, 1), 0U);
  EXPECT_EQ(bench.write(0x1301, 1, 2, 1), 0U);
  ReferenceCrc crc;
  crc.feed(2, 1).feed(25, 2).feed(20, 1).feed(0x101, 4).feed(0x102, 4).feed(0, 1);
  EXPECT_EQ(bench.write(0x13FF, 1, crc.value(), 2), 0U);
  EXPECT_EQ(bench.write(0x13FE, 0, 0xA5, 1), 0U);
}

TEST(SRDOConfigurationOfForeignDrives, AnSRDOWithoutAllItsParametersIsNotDeclaredValid) {
  std::string eds = kSRDODescription;
  eds.replace(eds.find("SubNumber=7"), 11, "SubNumber=6");
  eds.erase(eds.find("[1301sub4]"), eds.find("[1301sub5]") - eds.find("[1301sub4]"));
  DriveBench bench(eds, as_node(1));
  EXPECT_EQ(bench.write(0x1301, 1, 2, 1), 0U);
  EXPECT_EQ(bench.write(0x1301, 2, 25, 2), 0U);
  EXPECT_EQ(bench.write(0x1301, 3, 20, 1), 0U);
  EXPECT_EQ(bench.write(0x1301, 5, 0x101, 4), 0U);
  EXPECT_EQ(bench.write(0x1301, 6, 0x102, 4), 0U);
  ReferenceCrc crc;
  crc.feed(2, 1).feed(25, 2).feed(20, 1).feed(0x101, 4).feed(0x102, 4).feed(0, 1);
  EXPECT_EQ(bench.write(0x13FF, 1, crc.value(), 2), 0U);
  EXPECT_EQ(bench.write(0x13FE, 0, 0xA5, 1), 0x06040043U);
}

TEST_F(SRDOConfigurationTest, EntriesAreWrittenWhileThereIsNoCount) {
  map(0x62100108, 0x62110108);
  EXPECT_EQ(bench.write(0x1381, 0, 2, 1), 0U);
  EXPECT_EQ(bench.write(0x1381, 1, 0x62100108, 4), 0x06010000U);
  EXPECT_EQ(bench.write(0x1381, 0, 0, 1), 0U);
  EXPECT_EQ(bench.write(0x1381, 1, 0x62100108, 4), 0U);
}

TEST(SRDOConfigurationOfTheShippedDrive, RefusesWithTheCodesOfTheStandard) {
  DriveBench bench;
  EXPECT_EQ(bench.write(0x1301, 1, 3, 1), 0x06090030U);
  EXPECT_EQ(bench.write(0x1301, 3, 0, 1), 0x06090030U);
  EXPECT_EQ(bench.write(0x1381, 0, 17, 1), 0x06040042U);
}

TEST(SRDOConfigurationOfTheShippedDrive, WhatIsReceivedCanBeWritten) {
  DriveBench bench;
  for (const std::uint8_t entry : {std::uint8_t{1}, std::uint8_t{2}})
    bench.write(0x1381, entry, 0x66210108, 4);
  EXPECT_EQ(bench.write(0x1381, 0, 2, 1), 0U);
  for (const std::uint32_t direction : {1U, 2U}) {
    EXPECT_EQ(bench.write(0x1301, 1, direction, 1), 0U);
    ReferenceCrc crc;
    crc.feed(direction, 1).feed(25, 2).feed(20, 1).feed(0x113, 4).feed(0x114, 4);
    crc.feed(2, 1).feed(1, 1).feed(0x66210108, 4).feed(2, 1).feed(0x66210108, 4);
    EXPECT_EQ(bench.write(0x13FF, 1, crc.value(), 2), 0U);
    EXPECT_EQ(bench.write(0x13FE, 0, 0xA5, 1), direction == 1 ? 0U : 0x06040043U) << "a status word";
  }
}

TEST(SRDOConfigurationOfTheShippedDrive, NoTwoShareTheirIdentifiers) {
  DriveBench bench;
  for (const std::uint16_t number : {std::uint16_t{1}, std::uint16_t{3}}) {
    const auto parameters = static_cast<std::uint16_t>(0x1300 + number);
    const auto mapping = static_cast<std::uint16_t>(0x1380 + number);
    bench.write(mapping, 1, 0x66200108, 4);
    bench.write(mapping, 2, 0x66200108, 4);
    EXPECT_EQ(bench.write(mapping, 0, 2, 1), 0U);
    EXPECT_EQ(bench.write(parameters, 5, 0x113, 4), 0U);
    EXPECT_EQ(bench.write(parameters, 6, 0x114, 4), 0U);
    EXPECT_EQ(bench.write(parameters, 1, 2, 1), 0U);
    ReferenceCrc crc;
    crc.feed(2, 1).feed(25, 2).feed(20, 1).feed(0x113, 4).feed(0x114, 4);
    crc.feed(2, 1).feed(1, 1).feed(0x66200108, 4).feed(2, 1).feed(0x66200108, 4);
    EXPECT_EQ(bench.write(0x13FF, static_cast<std::uint8_t>(number), crc.value(), 2), 0U);
  }
  EXPECT_EQ(bench.write(0x13FE, 0, 0xA5, 1), 0x06040043U);
  EXPECT_EQ(bench.write(0x1303, 1, 0, 1), 0U);
  EXPECT_EQ(bench.write(0x13FE, 0, 0xA5, 1), 0U);
}

}  // namespace
}  // namespace tav::drive::test

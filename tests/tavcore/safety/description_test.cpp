// The safety operations and the product's own description fit together.

#include <gtest/gtest.h>

#include <fstream>
#include <nkr/tools/EDSParser.hpp>
#include <tavcore/SafetyWordTables.hpp>
#include <tavcore/SignatureCalculator.hpp>

#include "SafetyBench.hpp"

namespace {

using nkr::tools::EDSParser;
using nkr::tools::ObjectEntry;
using nkr::tools::ObjectID;

class ProductDescription : public testing::Test {
 protected:
  ProductDescription() {
    std::ifstream file("share/tav/tav.eds");
    EXPECT_TRUE(file.is_open() && eds_.parse(file, false));
  }

  /** Default value of an object as a number. */
  std::uint32_t default_of(std::uint16_t index, std::uint8_t subindex) {
    const ObjectEntry* const entry = eds_.find(ObjectID(index, subindex));
    EXPECT_NE(entry, nullptr) << std::hex << index << ':' << +subindex;
    if (entry == nullptr) return 0;
    return static_cast<std::uint32_t>(nkr::tools::number_of(entry->getDefaultValue()).value_or(0));
  }

  EDSParser eds_;
};

TEST_F(ProductDescription, HasEveryObjectThatTheSafetyOperationsName) {
  const tavtest::EdsFixture fixture = tavtest::safety_description();
  std::istringstream text(fixture.text());
  EDSParser named;
  ASSERT_TRUE(named.parse(text, false));
  ASSERT_GT(named.objects().size(), 200U);
  for (const auto& object : named.objects()) {
    const ObjectEntry* const entry = eds_.find(object->getName());
    ASSERT_NE(entry, nullptr) << object->getName();
    EXPECT_EQ(entry->getDataType(), object->getDataType()) << object->getName();
  }
}

TEST_F(ProductDescription, MapsTheCanWordsAtTheObjectsThatTheSignaturesCover) {
  using nkr::tavcore::ISafeMotionService;
  for (std::uint8_t word = 0; word < 8; ++word) {
    const auto& control =
        nkr::tavcore::sSafetyControlWordMapping.at(ISafeMotionService::SafetyControlWordId{word});
    const auto& status =
        nkr::tavcore::sSafetyStatusWordMapping.at(ISafeMotionService::SafetyStatusWordId{word});
    for (std::uint8_t bit = 0; bit < 8; ++bit) {
      const auto subindex = static_cast<std::uint8_t>(bit + 1);
      const auto* const control_bit = eds_.find(control + std::to_string(bit));
      const auto* const status_bit = eds_.find(status + std::to_string(bit));
      ASSERT_TRUE(control_bit != nullptr && status_bit != nullptr);
      EXPECT_TRUE(control_bit->getObjectID() ==
                  ObjectID(static_cast<std::uint16_t>(0x66F0 + word), subindex));
      EXPECT_TRUE(status_bit->getObjectID() == ObjectID(static_cast<std::uint16_t>(0x66F8 + word), subindex));
    }
  }
}

TEST_F(ProductDescription, ItsDefaultSignaturesAreThoseOfItsDefaults) {
  nkr::tavcore::SafetyConfiguration c;
  c.units = {default_of(0x6600, 0), default_of(0x6601, 0), default_of(0x6602, 0), default_of(0x6603, 0)};
  c.sto.restartAcknowledgeBehavior = default_of(0x6641, 0) != 0;
  for (std::uint8_t n = 1; n <= 8; ++n) {
    c.sls[n - 1U] = {static_cast<std::uint16_t>(default_of(0x6691, n)), default_of(0x6693, n),
                     static_cast<std::uint16_t>(default_of(0x6694, n)), default_of(0x6698, n)};
  }
  for (std::uint8_t n = 1; n <= 2; ++n) c.sdi[n - 1U] = {default_of(0x66D3, n)};
  for (std::uint8_t n = 1; n <= 3; ++n) c.sbc[n - 1U] = {static_cast<std::uint16_t>(default_of(0x6661, n))};
  for (std::size_t i = 0; i < 128; ++i) {
    c.mapping[i] =
        default_of(static_cast<std::uint16_t>(0x66F0 + i / 8), static_cast<std::uint8_t>(i % 8 + 1));
  }
  const auto signatures = nkr::tavcore::compute_safety_signatures(c);
  EXPECT_EQ(signatures.sto, default_of(0x6645, 1));
  for (std::uint8_t n = 1; n <= 8; ++n) EXPECT_EQ(signatures.sls[n - 1U], default_of(0x6699, n));
  for (std::uint8_t n = 1; n <= 2; ++n) EXPECT_EQ(signatures.sdi[n - 1U], default_of(0x66D6, n));
  for (std::uint8_t n = 1; n <= 3; ++n) EXPECT_EQ(signatures.sbc[n - 1U], default_of(0x6662, n));
}

TEST_F(ProductDescription, ItsDefaultSRDOSignaturesAreThoseOfItsDefaults) {
  for (std::uint8_t n = 1; n <= 16; ++n) {
    const auto index = static_cast<std::uint16_t>(0x1300 + n);
    const nkr::tavcore::SRDOConfiguration srdo{n,
                                               static_cast<std::uint8_t>(default_of(index, 1)),
                                               static_cast<std::uint16_t>(default_of(index, 2)),
                                               static_cast<std::uint8_t>(default_of(index, 3)),
                                               static_cast<std::uint8_t>(default_of(index, 4)),
                                               default_of(index, 5),
                                               default_of(index, 6),
                                               {}};
    EXPECT_EQ(nkr::tavcore::compute_srdo_signature(srdo), default_of(0x13FF, n)) << +n;
  }
}

}  // namespace

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <tavcore/CANOpenDispatcher.hpp>
#include <tavcore/SignatureCalculator.hpp>
#include <vector>

namespace {

using nkr::tavcore::CANOpenDispatcher;
using nkr::tavcore::crc16_ccitt;

/** The definition: a byte in the register's high byte, eight steps of the polynomial. */
std::uint16_t eight_steps(unsigned byte) {
  unsigned reg = byte << 8;
  for (int step = 0; step < 8; ++step) reg = (reg & 0x8000U) != 0 ? reg << 1 ^ 0x1021U : reg << 1;
  return static_cast<std::uint16_t>(reg);
}

template <class T>
std::uint16_t crc_of(T value, int seed = 0) {
  return CANOpenDispatcher::crcComputation(seed, value);
}

TEST(CrcTable, EachEntryIsItsIndexAfterEightSteps) {
  for (unsigned i = 0; i < 256; ++i)
    EXPECT_EQ(CANOpenDispatcher::CRC_PRECOMPUTED_VALUE.at(i), eight_steps(i));
}

TEST(CrcTable, BeginsWithTheKnownEntries) {
  EXPECT_EQ(CANOpenDispatcher::CRC_PRECOMPUTED_VALUE[0], 0x0000);
  EXPECT_EQ(CANOpenDispatcher::CRC_PRECOMPUTED_VALUE[1], 0x1021);
  EXPECT_EQ(CANOpenDispatcher::CRC_PRECOMPUTED_VALUE[2], 0x2042);
  EXPECT_EQ(CANOpenDispatcher::CRC_PRECOMPUTED_VALUE[3], 0x3063);
}

TEST(CrcComputation, GivesTheCheckValueOfTheNineDigits) {
  std::uint16_t crc = 0;
  for (const char digit : std::string("123456789")) crc = crc_of(static_cast<std::uint8_t>(digit), crc);
  EXPECT_EQ(crc, 0x31C3);
}

TEST(CrcComputation, FeedsTheLeastSignificantByteFirst) {
  EXPECT_EQ(crc_of(std::uint32_t{0x12345678}), 0xD0FA);
  std::uint16_t by_bytes = 0;
  for (const std::uint8_t byte : std::vector<std::uint8_t>{0x78, 0x56, 0x34, 0x12})
    by_bytes = crc_of(byte, by_bytes);
  EXPECT_EQ(crc_of(std::uint32_t{0x12345678}), by_bytes);
  EXPECT_EQ(crc_of(std::uint16_t{0x5678}), crc_of(std::uint8_t{0x56}, crc_of(std::uint8_t{0x78})));
}

TEST(CrcComputation, FeedsABoolAsOneByteThatIsZeroOrOne) {
  EXPECT_EQ(crc_of(true), 0x1021);
  EXPECT_EQ(crc_of(false), 0x0000);
  EXPECT_EQ(crc_of(false, 0xFFFF), crc_of(std::uint8_t{0}, 0xFFFF));
}

TEST(CrcComputation, ConstantAndVariableValuesGiveTheSame) {
  const bool bit = true;
  const std::uint8_t byte = 0xA5;
  const std::uint16_t word = 0x1234;
  const std::uint32_t long_word = 0x89ABCDEF;
  EXPECT_EQ(CANOpenDispatcher::crcComputation(0x1D0F, bit), crc_of(bit, 0x1D0F));
  EXPECT_EQ(CANOpenDispatcher::crcComputation(0x1D0F, byte), crc_of(byte, 0x1D0F));
  EXPECT_EQ(CANOpenDispatcher::crcComputation(0x1D0F, word), crc_of(word, 0x1D0F));
  EXPECT_EQ(CANOpenDispatcher::crcComputation(0x1D0F, long_word), crc_of(long_word, 0x1D0F));
}

TEST(CrcComputation, TakesTheLow16BitsOfTheSeed) {
  for (const int seed : {0x7FFF1D0F, 0x00011D0F, -0x10000 + 0x1D0F}) {
    EXPECT_EQ(crc_of(std::uint32_t{0x12345678}, seed), crc_of(std::uint32_t{0x12345678}, 0x1D0F));
  }
}

TEST(CrcComputation, ZeroBytesLeaveAZeroRegister) {
  EXPECT_EQ(crc_of(std::uint32_t{0}), 0);
}

TEST(BitwiseCrc, GivesTheCheckValueOfTheNineDigits) {
  EXPECT_EQ(crc16_ccitt({'1', '2', '3', '4', '5', '6', '7', '8', '9'}), 0x31C3);
  EXPECT_EQ(crc16_ccitt({0x78, 0x56, 0x34, 0x12}), 0xD0FA);
  EXPECT_EQ(crc16_ccitt({1}), 0x1021);
  EXPECT_EQ(crc16_ccitt({}), 0);
}

}  // namespace

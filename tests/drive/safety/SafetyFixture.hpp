#ifndef TAV_TESTS_DRIVE_SAFETY_SAFETYFIXTURE_HPP
#define TAV_TESTS_DRIVE_SAFETY_SAFETYFIXTURE_HPP

#include <gtest/gtest.h>

#include "drive/DriveBench.hpp"
#include "drive/safety/ReferenceCrc.hpp"

namespace tav::drive::test {

/** Feeds the mapping of the safety words, as the drive holds it. */
inline void feed_mapping(DriveBench& bench, ReferenceCrc& crc) {
  for (std::uint16_t index = 0x66F0; index <= 0x66FF; ++index) {
    for (std::uint8_t bit = 1; bit <= 8; ++bit) crc.feed(bench.read(index, bit), 4);
  }
}

/** The shipped drive, and the commands of its power state machine. */
class SafetyFixture : public ::testing::Test {
 protected:
  void command(std::uint32_t word) { EXPECT_EQ(bench.write(0x6040, 0, word, 2), 0U); }
  std::uint32_t state() { return bench.read(0x6041) & 0x6FU; }
  void enable() {
    for (const std::uint32_t word : {0x06U, 0x07U, 0x0FU}) command(word);
    ASSERT_EQ(state(), 0x27U);
  }

  DriveBench bench;
};

}  // namespace tav::drive::test

#endif

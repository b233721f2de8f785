// Lengths of frames on the bus.
#include <gtest/gtest.h>

#include <tav/host/frame_length.hpp>

namespace tests::host {
namespace {

using nkr::can::Frame;
using tav::host::bits_on_bus;

TEST(FrameLength, OfZerosHasAStuffBitAfterEachFive) {
  // 34 zeros from start of frame to the checksum of zeros, 6 stuff bits, 13 bits behind them.
  EXPECT_EQ(bits_on_bus(Frame(0x000, {})), 34u + 6u + 13u);
}

TEST(FrameLength, LiesBetweenThatWithoutStuffBitsAndTheMost) {
  // ISO 11898-1: 44 bits and the data, 3 between frames; at most one stuff bit for the first 5 and each 4
  // more.
  std::uint32_t random = 1;
  for (int i = 0; i < 5000; ++i) {
    Frame frame;
    random = random * 1664525U + 1013904223U;
    frame.id = random >> 16 & 0x7FFU;
    frame.size = static_cast<std::uint8_t>((random >> 8) % 9U);
    for (std::size_t k = 0; k < frame.size; ++k) {
      random = random * 1664525U + 1013904223U;
      frame.data[k] = static_cast<std::uint8_t>(random >> 24);
    }
    const unsigned plain = 47U + 8U * frame.size;
    EXPECT_GE(bits_on_bus(frame), plain);
    EXPECT_LE(bits_on_bus(frame), plain + (34U + 8U * frame.size - 1U) / 4U);
  }
}

TEST(FrameLength, OfARemoteFrameHasNoData) {
  Frame remote(0x70A, {});
  remote.remote = true;
  remote.size = 1;
  EXPECT_LE(bits_on_bus(remote), 47u + 33u / 4u);
}

TEST(FrameLength, OfALongIdentifierIsTwentyBitsLonger) {
  Frame frame(0x555, {});
  frame.extended = true;
  EXPECT_GE(bits_on_bus(frame), 67u);
  EXPECT_LE(bits_on_bus(frame), 67u + 53u / 4u);
}

}  // namespace
}  // namespace tests::host

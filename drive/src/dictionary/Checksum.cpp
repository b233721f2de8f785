#include "dictionary/Checksum.hpp"

#include <array>

namespace tav::drive {
namespace {

constexpr std::size_t kByteValues = 256;

/** What the eight shifts of one byte, standing at the top of the register, come to. */
constexpr std::array<std::uint16_t, kByteValues> make_steps() {
  constexpr unsigned kPolynomial = 0x1021;
  constexpr unsigned kTopBit = 0x8000;
  std::array<std::uint16_t, kByteValues> steps{};
  for (unsigned byte = 0; byte < kByteValues; ++byte) {
    unsigned shifted = byte << 8;
    for (int bit = 0; bit < 8; ++bit)
      shifted = (shifted << 1) ^ ((shifted & kTopBit) != 0 ? kPolynomial : 0U);
    steps[byte] = static_cast<std::uint16_t>(shifted);
  }
  return steps;
}

constexpr std::array<std::uint16_t, kByteValues> kSteps = make_steps();

}  // namespace

void Checksum::feed(std::uint64_t number, std::size_t bytes) {
  for (std::size_t i = 0; i < bytes; ++i, number >>= 8) {
    const std::size_t top = (static_cast<unsigned>(register_) >> 8) ^ (number & 0xFFU);
    register_ = static_cast<std::uint16_t>((static_cast<unsigned>(register_) << 8) ^ kSteps[top]);
  }
}

void Checksum::feed(const Object* object, std::size_t bytes) {
  feed(object == nullptr ? 0 : unsigned_of(object->value), bytes);
}

}  // namespace tav::drive

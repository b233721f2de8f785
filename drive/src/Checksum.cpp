#include "Checksum.hpp"

namespace tav::drive {

void Checksum::feed(std::uint64_t number, std::size_t bytes) {
  constexpr unsigned kPolynomial = 0x1021;
  constexpr unsigned kTopBit = 0x8000;
  for (std::size_t i = 0; i < bytes; ++i) {
    unsigned shifted = register_ ^ ((static_cast<unsigned>(number) & 0xFFU) << 8);
    for (int bit = 0; bit < 8; ++bit)
      shifted = (shifted << 1) ^ ((shifted & kTopBit) != 0 ? kPolynomial : 0U);
    register_ = static_cast<std::uint16_t>(shifted);
    number >>= 8;
  }
}

void Checksum::feed(const Object* object, std::size_t bytes) {
  feed(object == nullptr ? 0 : unsigned_of(object->value), bytes);
}

}  // namespace tav::drive

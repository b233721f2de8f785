#ifndef TAV_TESTS_DRIVE_SAFETY_REFERENCECRC_HPP
#define TAV_TESTS_DRIVE_SAFETY_REFERENCECRC_HPP

#include <cstdint>

namespace tav::drive::test {

/** CRC-16, polynomial 0x1021, from 0, of numbers fed least significant byte first; bit by bit, without a
 * table. */
class ReferenceCrc {
 public:
  ReferenceCrc& feed(std::uint32_t number, unsigned bytes) {
    for (; bytes > 0; --bytes, number >>= 8) {
      value_ ^= (number & 0xFFU) << 8;
      for (int bit = 0; bit < 8; ++bit) value_ = (value_ << 1) ^ ((value_ & 0x8000U) != 0 ? 0x11021U : 0U);
    }
    return *this;
  }
  [[nodiscard]] std::uint16_t value() const { return static_cast<std::uint16_t>(value_); }

 private:
  std::uint32_t value_ = 0;
};

}  // namespace tav::drive::test

#endif

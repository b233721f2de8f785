#ifndef NKR_CANOPEN_SDO_MULTIPLEXER_HPP
#define NKR_CANOPEN_SDO_MULTIPLEXER_HPP

#include <cstdint>

namespace nkr::canopen::sdo {

/** One entry of an object dictionary. */
struct Multiplexer {
  std::uint16_t index = 0;
  std::uint8_t subindex = 0;

  /** The entry of an address index << 16 | subindex << 8 | anything. */
  static Multiplexer of_address(std::uint32_t address) {
    return {static_cast<std::uint16_t>(address >> 16), static_cast<std::uint8_t>(address >> 8)};
  }
  [[nodiscard]] std::uint32_t address() const {
    return static_cast<std::uint32_t>(index) << 16 | static_cast<std::uint32_t>(subindex) << 8;
  }

  friend bool operator==(Multiplexer a, Multiplexer b) { return a.address() == b.address(); }
  friend bool operator!=(Multiplexer a, Multiplexer b) { return !(a == b); }
  friend bool operator<(Multiplexer a, Multiplexer b) { return a.address() < b.address(); }
};

}  // namespace nkr::canopen::sdo

#endif

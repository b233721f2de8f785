#ifndef NKR_CANOPENCORE_OBJECTADDRESS_HPP
#define NKR_CANOPENCORE_OBJECTADDRESS_HPP

#include <cstdint>

namespace nkr::canopencore {

/**
 * Address of an object: `{0x6041, 0}`, `{0x1A00, 1, 32}`.
 *
 * Becomes the number that IService takes (index << 16 | subindex << 8 | length in bits, the layout of a PDO
 * mapping entry, CiA 301) by itself. The other way is asked for, so an index alone is never taken for an
 * address.
 */
struct ObjectAddress {
  std::uint16_t index = 0;
  std::uint8_t subindex = 0;
  std::uint8_t bits = 0;  ///< length; 0 where the type of the value says it

  // NOLINTNEXTLINE(google-explicit-constructor): it stands for its number
  constexpr operator std::uint32_t() const {
    constexpr unsigned kIndexShift = 16;
    constexpr unsigned kSubindexShift = 8;
    return static_cast<std::uint32_t>(index) << kIndexShift |
           static_cast<std::uint32_t>(subindex) << kSubindexShift | bits;
  }

  /** The address that a number stands for, as a device description gives it. */
  [[nodiscard]] static constexpr ObjectAddress of(std::uint32_t number) {
    return {static_cast<std::uint16_t>(number >> 16), static_cast<std::uint8_t>(number >> 8),
            static_cast<std::uint8_t>(number)};
  }
};

}  // namespace nkr::canopencore

#endif

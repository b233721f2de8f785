#ifndef NKR_CANOPEN_NODECONFIGURATION_HPP
#define NKR_CANOPEN_NODECONFIGURATION_HPP

#include <cstddef>
#include <cstdint>
#include <nkr/canopencore/ObjectAddress.hpp>
#include <type_traits>
#include <vector>

namespace nkr::canopen {

/** An object, and what is to be written to it. */
struct ObjectValue {
  canopencore::ObjectAddress address;
  std::vector<std::uint8_t> bytes;  ///< as they go over the bus: numbers little endian (CiA 301, 7.1.4)
};

/** A number as the value of an object of the number's own width. */
template <class Number>
[[nodiscard]] ObjectValue object_value(canopencore::ObjectAddress address, Number number) {
  static_assert(std::is_integral_v<Number> && !std::is_same_v<Number, bool>);
  constexpr unsigned kBits = 8;
  ObjectValue value{address, std::vector<std::uint8_t>(sizeof(Number))};
  auto rest = static_cast<std::uint64_t>(number);
  for (std::uint8_t& byte : value.bytes) {
    byte = static_cast<std::uint8_t>(rest);
    rest >>= kBits;
  }
  return value;
}

/**
 * What an application wants a node to be set to, in the order in which it is to be written. An object may
 * stand in it more than once (a PDO is switched off, changed and switched on): its last value is the one that
 * holds.
 */
using NodeConfiguration = std::vector<ObjectValue>;

}  // namespace nkr::canopen

#endif

#include "node/CobId.hpp"

namespace tav::drive {

bool is_restricted(std::uint32_t identifier) {
  return identifier <= 0x07F || (identifier >= 0x101 && identifier <= 0x180) ||
         (identifier >= 0x581 && identifier <= 0x5FF) || (identifier >= 0x601 && identifier <= 0x67F) ||
         (identifier >= 0x6E0 && identifier <= 0x6FF) || identifier >= 0x701;
}

Abort refuses_cob_id(std::uint32_t value, std::optional<std::uint32_t> in_use, std::uint32_t own_bits) {
  if ((value & ~(kCobIdNotValid | kCobIdIdentifier | own_bits)) != 0) return Abort::INVALID_VALUE;
  if ((value & kCobIdNotValid) != 0) return Abort::NONE;
  const std::uint32_t identifier = value & kCobIdIdentifier;
  const bool changes = in_use && *in_use != identifier;
  return is_restricted(identifier) || changes ? Abort::INVALID_VALUE : Abort::NONE;
}

}  // namespace tav::drive

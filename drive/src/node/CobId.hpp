#ifndef TAV_DRIVE_SRC_NODE_COBID_HPP
#define TAV_DRIVE_SRC_NODE_COBID_HPP

#include <cstdint>
#include <optional>

#include "dictionary/Abort.hpp"

namespace tav::drive {

// A value that holds a CAN identifier (CiA 301: 0x1005, 0x1012, 0x1014, 0x1200, 0x1400, 0x1800 and
// following).
constexpr std::uint32_t kCobIdNotValid = 0x80000000;
constexpr std::uint32_t kCobIdBit30 = 0x40000000;
constexpr std::uint32_t kCobIdIdentifier = 0x7FF;

/** Identifiers that no PDO, SYNC, TIME, EMCY and no additional SDO may use (CiA 301, 7.3.5). */
[[nodiscard]] bool is_restricted(std::uint32_t identifier);

/**
 * Why a value with an identifier is not taken. One of 29 bits is none of this drive's.
 * @param in_use    the identifier that is valid now: it can be made invalid, not changed
 * @param own_bits  bits besides "not valid" and the identifier that have a meaning in this object
 */
[[nodiscard]] Abort refuses_cob_id(std::uint32_t value, std::optional<std::uint32_t> in_use,
                                   std::uint32_t own_bits = 0);

}  // namespace tav::drive

#endif

#ifndef NKR_TOOLS_OBJECTVALUE_HPP
#define NKR_TOOLS_OBJECTVALUE_HPP

#include <nkr/export.h>

#include <cstdint>
#include <nkr/tools/ObjectEntry.hpp>
#include <optional>
#include <string_view>

namespace nkr::tools {

/**
 * A value text of a description as a number: decimal, 0x hexadecimal, leading-0 octal, $NODEID in a sum (CiA
 * 306). What follows ";" or a blank and "#" is a comment. Nothing when it is no such text or does not fit; a
 * sum with $NODEID must fit 32 bits. Unlike integer_of(), it knows no type: 0xFFFF is 65535.
 */
[[nodiscard]] NKR_EXPORT std::optional<std::int64_t> number_of(std::string_view text,
                                                               std::uint8_t node_id = 0);

/**
 * A value text as an integer of that type, or nothing when it is none, or outside the type. A signed type
 * takes hexadecimal digits of its full width as two's complement (0xFFFF in an INTEGER16 is -1). An
 * UNSIGNED64 above 2^63 - 1 comes as its bit pattern. BOOLEAN: 0 or 1.
 */
[[nodiscard]] NKR_EXPORT std::optional<std::int64_t> integer_of(std::string_view text, DataType type,
                                                                std::uint8_t node_id = 0);

/** A value text as a finite number with a point as decimal sign, whatever the locale; or nothing. */
[[nodiscard]] NKR_EXPORT std::optional<double> real_of(std::string_view text);

/** The limits of an integer object that hold: readable, inside its type, low not above high. */
struct Limits {
  std::optional<std::int64_t> low;
  std::optional<std::int64_t> high;
};
[[nodiscard]] NKR_EXPORT Limits limits_of(const ObjectEntry::Description& object, std::uint8_t node_id = 0);

/** True when the text is a sum with $NODEID. */
[[nodiscard]] NKR_EXPORT bool is_node_relative(std::string_view text);

/** Bits of an integer type (BOOLEAN: 1), 0 for any other. */
[[nodiscard]] NKR_EXPORT unsigned integer_bits(DataType type);
[[nodiscard]] NKR_EXPORT bool is_signed(DataType type);

}  // namespace nkr::tools

#endif

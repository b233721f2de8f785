#ifndef TAVCTL_MODEL_VALUE_HPP
#define TAVCTL_MODEL_VALUE_HPP

#include <cstdint>
#include <nkr/tools/ObjectEntry.hpp>
#include <string>
#include <vector>

#include "cli/Output.hpp"

namespace tavctl {

/** A value of an object, for people and for programs. */
struct Value {
  std::string text;
  Json json;
};

[[nodiscard]] Value value_of(bool value);
[[nodiscard]] Value value_of(std::int64_t value);
/** Decimal and, with the digits that `bytes` bytes have, hexadecimal. */
[[nodiscard]] Value value_of(std::uint64_t value, int bytes);
[[nodiscard]] Value value_of(double value);
[[nodiscard]] Value value_of(const std::string& value);
/** Bytes as they stand: "01 02 FF". */
[[nodiscard]] Value value_of(const std::vector<std::uint8_t>& bytes);

/** What the bytes of an SDO transfer (little endian) say as that type; as bytes when they do not fit it. */
[[nodiscard]] Value decode_value(nkr::tools::DataType type, const std::vector<std::uint8_t>& bytes);

/**
 * What the user wrote as the bytes of that object's type: numbers decimal or 0x hexadecimal (in a
 * signed type the digits of its full width are a bit pattern: 0xFFFF is -1 in an INTEGER16),
 * 0/1/true/false/on/off for a BOOLEAN, bytes ("01 02 FF") for types that are neither number nor text.
 * Failure(REFUSED) for what is no such value or lies outside the limits of the description.
 */
[[nodiscard]] std::vector<std::uint8_t> encode_value(const nkr::tools::ObjectEntry& object,
                                                     const std::string& text, std::uint8_t node);

}  // namespace tavctl

#endif

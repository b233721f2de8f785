#ifndef TAV_HOST_VALUE_HPP
#define TAV_HOST_VALUE_HPP

#include <nkr/export.h>

#include <cstdint>
#include <nkr/tools/ObjectEntry.hpp>
#include <string>
#include <tav/host/Result.hpp>
#include <variant>
#include <vector>

namespace tav::host {

/** A value of an object, for people and for programs. */
struct Value {
  std::string text;
  std::variant<std::string, bool, std::int64_t, std::uint64_t, double> data;
};

[[nodiscard]] NKR_EXPORT Value value_of(bool value);
[[nodiscard]] NKR_EXPORT Value value_of(std::int64_t value);
/** Decimal and, with the digits that `bytes` bytes have, hexadecimal. */
[[nodiscard]] NKR_EXPORT Value value_of(std::uint64_t value, int bytes);
[[nodiscard]] NKR_EXPORT Value value_of(double value);
[[nodiscard]] NKR_EXPORT Value value_of(const std::string& value);
/** Bytes as they stand: "01 02 FF". */
[[nodiscard]] NKR_EXPORT Value value_of(const std::vector<std::uint8_t>& bytes);

/** What the bytes of an SDO transfer (little endian) say as that type; as bytes when they do not fit it. */
[[nodiscard]] NKR_EXPORT Value decode_value(nkr::tools::DataType type,
                                            const std::vector<std::uint8_t>& bytes);

/**
 * What the user wrote as the bytes of that object's type: numbers decimal or 0x hexadecimal (in a
 * signed type the digits of its full width are a bit pattern: 0xFFFF is -1 in an INTEGER16),
 * 0/1/true/false/on/off for a BOOLEAN, bytes ("01 02 FF") for types that are neither number nor text.
 * @return with Cause::REFUSED for what is no such value or lies outside the limits of the description
 */
NKR_EXPORT Result encode_value(const nkr::tools::ObjectEntry& object, const std::string& text,
                               std::uint8_t node, std::vector<std::uint8_t>& bytes);

}  // namespace tav::host

#endif

#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>
#include <optional>
#include <sstream>
#include <system_error>
#include <tav/host/Value.hpp>
#include <tav/host/number.hpp>
#include <tav/host/printable.hpp>
#include <tav/host/words.hpp>

#include "../words/refusal.hpp"

namespace tav::host {

using nkr::tools::DataType;
using nkr::tools::ObjectEntry;

namespace {

using Bytes = std::vector<std::uint8_t>;

/** Width of an integer type; 0 for every other type. */
std::size_t integer_bytes(DataType type) {
  return type == DataType::BOOLEAN ? 0 : nkr::tools::integer_bits(type) / 8;
}

std::uint64_t little_endian(const Bytes& bytes, std::size_t width) {
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < width; ++i) value |= static_cast<std::uint64_t>(bytes[i]) << (8 * i);
  return value;
}

Bytes to_bytes(std::uint64_t value, std::size_t width) {
  Bytes bytes(width);
  for (std::size_t i = 0; i < width; ++i) bytes[i] = static_cast<std::uint8_t>(value >> (8 * i));
  return bytes;
}

std::int64_t sign_extended(std::uint64_t value, std::size_t width) {
  const std::uint64_t sign = std::uint64_t{1} << (8 * width - 1);
  return static_cast<std::int64_t>((value ^ sign) - sign);
}

bool is_text(DataType type) {
  return type == DataType::VISIBLE_STRING;
}

/** Empty for a value that the description's limits allow; else what they are. */
std::string outside_limits(const ObjectEntry& object, std::int64_t value, std::uint8_t node) {
  const nkr::tools::Limits limits = nkr::tools::limits_of(object.description(), node);
  const bool outside = (limits.low && value < *limits.low) || (limits.high && value > *limits.high);
  return outside ? "the description allows " + object.getLowLimit() + " to " + object.getHighLimit() : "";
}

// What the user wrote as bytes; nothing, and why, for what is no value of the type.

std::optional<Bytes> encode_integer(const ObjectEntry& object, const std::string& text, std::uint8_t node,
                                    std::string& why) {
  const DataType type = object.getDataType();
  const std::optional<std::int64_t> number = typed_integer(text, type);
  if (!number) {
    why = "a whole number that fits " + data_type_name(type) + " is needed, decimal or 0x hexadecimal";
    return std::nullopt;
  }
  const bool above_all_limits = !nkr::tools::is_signed(type) && *number < 0;  // a bit pattern of 64 bits
  if (!above_all_limits) why = outside_limits(object, *number, node);
  if (!why.empty()) return std::nullopt;
  return to_bytes(static_cast<std::uint64_t>(*number), integer_bytes(type));
}

std::optional<Bytes> encode_boolean(const std::string& text, std::string& why) {
  const std::optional<bool> flag = typed_flag(text);
  why = "a BOOLEAN is 0 or 1 (or false, true, off, on)";
  if (!flag) return std::nullopt;
  return Bytes{static_cast<std::uint8_t>(*flag ? 1 : 0)};
}

template <class Float, class Raw>
std::optional<Bytes> encode_real(const std::string& text, std::string& why) {
  const std::optional<double> number = typed_real(text);
  why = "a number is needed, with a point as decimal sign";
  if (!number || std::fabs(*number) > static_cast<double>(std::numeric_limits<Float>::max())) {
    return std::nullopt;
  }
  const auto value = static_cast<Float>(*number);
  Raw raw = 0;
  static_assert(sizeof raw == sizeof value);
  std::memcpy(&raw, &value, sizeof raw);
  return to_bytes(raw, sizeof raw);
}

std::optional<Bytes> encode_raw(const std::string& text, std::string& why) {
  std::istringstream words(text);
  Bytes bytes;
  why = "bytes are needed, hexadecimal, with blanks between them: \"01 02 FF\"";
  for (std::string word; words >> word;) {
    unsigned value = 0;
    const auto [stop, error] = std::from_chars(word.data(), word.data() + word.size(), value, 16);
    if (error != std::errc{} || stop != word.data() + word.size() || value > 0xFF) return std::nullopt;
    bytes.push_back(static_cast<std::uint8_t>(value));
  }
  return bytes;
}

std::optional<Bytes> encode(const ObjectEntry& object, const std::string& text, std::uint8_t node,
                            std::string& why) {
  const DataType type = object.getDataType();
  if (integer_bytes(type) != 0) return encode_integer(object, text, node, why);
  if (type == DataType::BOOLEAN) return encode_boolean(text, why);
  if (type == DataType::REAL32) return encode_real<float, std::uint32_t>(text, why);
  if (type == DataType::REAL64) return encode_real<double, std::uint64_t>(text, why);
  if (is_text(type)) return Bytes(text.begin(), text.end());
  return encode_raw(text, why);
}

}  // namespace

Value value_of(bool value) {
  return {value ? "1 (true)" : "0 (false)", value};
}

Value value_of(std::int64_t value) {
  return {std::to_string(value), value};
}

Value value_of(std::uint64_t value, int bytes) {
  return {std::to_string(value) + " (" + hex(value, 2 * bytes) + ')', value};
}

Value value_of(double value) {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text << value;
  return {text.str(), value};
}

Value value_of(const std::string& value) {
  return {printable(value), value};
}

Value value_of(const Bytes& bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes) text += (text.empty() ? "" : " ") + hex(byte, 2).substr(2);
  return {text, text};
}

Value decode_value(DataType type, const Bytes& bytes) {
  const std::size_t width = integer_bytes(type);
  if (width > 0 && bytes.size() == width) {
    const std::uint64_t raw = little_endian(bytes, width);
    return nkr::tools::is_signed(type) ? value_of(sign_extended(raw, width))
                                       : value_of(raw, static_cast<int>(width));
  }
  if (type == DataType::BOOLEAN && bytes.size() == 1) return value_of(bytes[0] != 0);
  if (type == DataType::REAL32 && bytes.size() == 4) {
    const auto raw = static_cast<std::uint32_t>(little_endian(bytes, 4));
    float value = 0;
    std::memcpy(&value, &raw, sizeof value);
    return value_of(static_cast<double>(value));
  }
  if (type == DataType::REAL64 && bytes.size() == 8) {
    const std::uint64_t raw = little_endian(bytes, 8);
    double value = 0;
    std::memcpy(&value, &raw, sizeof value);
    return value_of(value);
  }
  if (is_text(type)) return value_of(std::string(bytes.begin(), bytes.end()));
  return value_of(bytes);
}

Result encode_value(const ObjectEntry& object, const std::string& text, std::uint8_t node, Bytes& bytes) {
  std::string why;
  std::optional<Bytes> encoded = encode(object, text, node, why);
  if (!encoded) {
    return refusal(Cause::REFUSED, NKR_SDO_INVALID_VALUE,
                   '"' + text + "\" is no value for " + object_text(object), why);
  }
  bytes = *std::move(encoded);
  return {};
}

}  // namespace tav::host

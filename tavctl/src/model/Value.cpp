#include "model/Value.hpp"

#include <charconv>
#include <cstddef>
#include <cstring>
#include <limits>
#include <nkr/tools/EDSParser.hpp>
#include <optional>
#include <sstream>
#include <string_view>
#include <system_error>

#include "model/Format.hpp"

namespace tavctl {

using nkr::tools::DataType;
using nkr::tools::ObjectEntry;

namespace {

using Bytes = std::vector<std::uint8_t>;

/** Width in bytes of an integer type; 0 for every other type. Negative for signed ones. */
int integer_width(DataType type) {
  switch (type) {
    case DataType::INTEGER8:
      return -1;
    case DataType::INTEGER16:
      return -2;
    case DataType::INTEGER24:
      return -3;
    case DataType::INTEGER32:
      return -4;
    case DataType::INTEGER40:
      return -5;
    case DataType::INTEGER48:
      return -6;
    case DataType::INTEGER56:
      return -7;
    case DataType::INTEGER64:
      return -8;
    case DataType::UNSIGNED8:
      return 1;
    case DataType::UNSIGNED16:
      return 2;
    case DataType::UNSIGNED24:
      return 3;
    case DataType::UNSIGNED32:
      return 4;
    case DataType::UNSIGNED40:
      return 5;
    case DataType::UNSIGNED48:
      return 6;
    case DataType::UNSIGNED56:
      return 7;
    case DataType::UNSIGNED64:
      return 8;
    default:
      return 0;
  }
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

[[noreturn]] void refuse(const ObjectEntry& object, const std::string& text, const std::string& why) {
  throw Failure(ExitCode::REFUSED, '"' + text + "\" is no value for " + object_text(object), why);
}

/** The whole text as a number: an optional minus, then decimal digits or 0x and hexadecimal ones. */
struct Number {
  bool negative;
  std::uint64_t magnitude;
};

std::optional<Number> parse_number(std::string_view text) {
  const bool negative = !text.empty() && text.front() == '-';
  if (negative) text.remove_prefix(1);
  const bool hexadecimal = text.substr(0, 2) == "0x" || text.substr(0, 2) == "0X";
  if (hexadecimal) text.remove_prefix(2);
  std::uint64_t value = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value, hexadecimal ? 16 : 10);
  if (text.empty() || error != std::errc{} || stop != end) return {};
  return Number{negative && value != 0, value};
}

/** Refuses what the description's limits do not allow, before anything is sent. */
void check_limits(const ObjectEntry& object, const std::string& text, std::int64_t value, std::uint8_t node) {
  const auto low = nkr::tools::number_of(object.getLowLimit(), node);
  const auto high = nkr::tools::number_of(object.getHighLimit(), node);
  if ((low && value < *low) || (high && value > *high)) {
    refuse(object, text, "the description allows " + object.getLowLimit() + " to " + object.getHighLimit());
  }
}

Bytes encode_integer(const ObjectEntry& object, const std::string& text, int signed_width,
                     std::uint8_t node) {
  const std::optional<Number> number = parse_number(text);
  if (!number) refuse(object, text, "a whole number is needed, decimal or 0x hexadecimal");
  const bool is_signed = signed_width < 0;
  const auto width = static_cast<std::size_t>(is_signed ? -signed_width : signed_width);
  const std::uint64_t all_ones = ~std::uint64_t{0} >> (64 - 8 * width);
  const std::uint64_t largest = is_signed ? (number->negative ? all_ones / 2 + 1 : all_ones / 2) : all_ones;
  if (number->magnitude > largest || (number->negative && !is_signed)) {
    refuse(object, text, "the number does not fit " + data_type_name(object.getDataType()));
  }
  const std::uint64_t raw = number->negative ? std::uint64_t{0} - number->magnitude : number->magnitude;
  if (is_signed || raw <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
    check_limits(object, text, static_cast<std::int64_t>(raw), node);
  }
  return to_bytes(raw, width);
}

Bytes encode_boolean(const ObjectEntry& object, const std::string& text) {
  if (text == "1" || text == "true" || text == "on") return {1};
  if (text == "0" || text == "false" || text == "off") return {0};
  refuse(object, text, "a BOOLEAN is 0 or 1 (or false, true, off, on)");
}

template <class Float, class Raw>
Bytes encode_real(const ObjectEntry& object, const std::string& text) {
  Float value = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (text.empty() || error != std::errc{} || stop != end) {
    refuse(object, text, "a number is needed, with a point as decimal sign");
  }
  Raw raw = 0;
  static_assert(sizeof raw == sizeof value);
  std::memcpy(&raw, &value, sizeof raw);
  return to_bytes(raw, sizeof raw);
}

Bytes encode_raw(const ObjectEntry& object, const std::string& text) {
  std::istringstream words(text);
  Bytes bytes;
  for (std::string word; words >> word;) {
    unsigned value = 0;
    const auto [stop, error] = std::from_chars(word.data(), word.data() + word.size(), value, 16);
    if (error != std::errc{} || stop != word.data() + word.size() || value > 0xFF) {
      refuse(object, text, "bytes are needed, hexadecimal, with blanks between them: \"01 02 FF\"");
    }
    bytes.push_back(static_cast<std::uint8_t>(value));
  }
  return bytes;
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
  return {value, value};
}

Value value_of(const Bytes& bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes) text += (text.empty() ? "" : " ") + hex(byte, 2).substr(2);
  return {text, text};
}

Value decode_value(DataType type, const Bytes& bytes) {
  const int signed_width = integer_width(type);
  const auto width = static_cast<std::size_t>(signed_width < 0 ? -signed_width : signed_width);
  if (width > 0 && bytes.size() == width) {
    const std::uint64_t raw = little_endian(bytes, width);
    return signed_width < 0 ? value_of(sign_extended(raw, width)) : value_of(raw, signed_width);
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

Bytes encode_value(const ObjectEntry& object, const std::string& text, std::uint8_t node) {
  const DataType type = object.getDataType();
  const int width = integer_width(type);
  if (width != 0) return encode_integer(object, text, width, node);
  if (type == DataType::BOOLEAN) return encode_boolean(object, text);
  if (type == DataType::REAL32) return encode_real<float, std::uint32_t>(object, text);
  if (type == DataType::REAL64) return encode_real<double, std::uint64_t>(object, text);
  if (is_text(type)) return Bytes(text.begin(), text.end());
  return encode_raw(object, text);
}

}  // namespace tavctl

#include <limits>
#include <nkr/tools/ObjectValue.hpp>

#include "eds/ValueText.hpp"
#include "text/IniLines.hpp"
#include "text/RealText.hpp"

namespace nkr::tools {

namespace {

constexpr std::string_view kNodeId = "$NODEID";

/** A number as the file spells it: sign and digits apart, so that a type can judge it. */
struct Literal {
  bool negative = false;
  bool hexadecimal = false;
  std::uint64_t magnitude = 0;
};

std::optional<std::uint64_t> digits(std::string_view text, unsigned base) {
  constexpr unsigned kNone = 99;
  const auto digit_of = [](char c) {
    if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
    if (c >= 'a' && c <= 'f') return static_cast<unsigned>(c - 'a' + 10);
    if (c >= 'A' && c <= 'F') return static_cast<unsigned>(c - 'A' + 10);
    return kNone;
  };
  constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();
  std::uint64_t value = 0;
  for (const char c : text) {
    const unsigned digit = digit_of(c);
    if (digit >= base || value > (kMost - digit) / base) return std::nullopt;
    value = value * base + digit;
  }
  return text.empty() ? std::nullopt : std::optional(value);
}

std::optional<Literal> literal_of(std::string_view text) {
  Literal result;
  if (!text.empty() && (text.front() == '-' || text.front() == '+')) {
    result.negative = text.front() == '-';
    text.remove_prefix(1);
  }
  result.hexadecimal = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
  const bool octal = !result.hexadecimal && text.size() > 1 && text[0] == '0';
  const auto magnitude = result.hexadecimal ? digits(text.substr(2), 16) : digits(text, octal ? 8 : 10);
  if (!magnitude) return std::nullopt;
  result.magnitude = *magnitude;
  return result;
}

/** The sum of a text with exactly one $NODEID among its terms; it fits 32 bits. */
std::optional<std::int64_t> relative_number(std::string_view text, std::uint8_t node_id) {
  constexpr std::uint64_t kHighest = std::numeric_limits<std::uint32_t>::max();
  std::uint64_t sum = 0;
  unsigned references = 0;
  for (bool last = false; !last;) {
    const std::size_t plus = text.find('+');
    last = plus == std::string_view::npos;
    const std::string_view term = trim(text.substr(0, plus));
    if (!last) text.remove_prefix(plus + 1);
    if (equal_without_case(term, kNodeId)) {
      ++references;
      sum += node_id;
      continue;
    }
    const auto literal = literal_of(term);
    if (!literal || literal->negative || literal->magnitude > kHighest) return std::nullopt;
    sum += literal->magnitude;
    if (sum > kHighest) return std::nullopt;
  }
  if (references != 1 || sum > kHighest) return std::nullopt;
  return static_cast<std::int64_t>(sum);
}

std::optional<std::int64_t> with_sign(const Literal& literal) {
  constexpr std::uint64_t kHighest = std::numeric_limits<std::int64_t>::max();
  if (literal.negative) {
    if (literal.magnitude > kHighest + 1) return std::nullopt;
    return static_cast<std::int64_t>(0 - literal.magnitude);
  }
  if (literal.magnitude > kHighest) return std::nullopt;
  return static_cast<std::int64_t>(literal.magnitude);
}

std::uint64_t highest_pattern(unsigned bits) {
  return std::numeric_limits<std::uint64_t>::max() >> (64 - bits);
}

std::optional<std::int64_t> as_unsigned(const Literal& literal, unsigned bits) {
  if (literal.negative && literal.magnitude != 0) return std::nullopt;
  if (literal.magnitude > highest_pattern(bits)) return std::nullopt;
  return static_cast<std::int64_t>(literal.magnitude);
}

std::optional<std::int64_t> as_signed(const Literal& literal, unsigned bits) {
  const std::uint64_t highest = highest_pattern(bits - 1);
  if (literal.negative) {
    return literal.magnitude <= highest + 1 ? with_sign(literal) : std::nullopt;
  }
  if (literal.magnitude <= highest) return with_sign(literal);
  if (!literal.hexadecimal || literal.magnitude > highest_pattern(bits)) return std::nullopt;
  return static_cast<std::int64_t>(literal.magnitude | ~highest_pattern(bits));
}

}  // namespace

unsigned integer_bits(DataType type) {
  switch (type) {
    case DataType::BOOLEAN:
      return 1;
    case DataType::INTEGER8:
    case DataType::UNSIGNED8:
      return 8;
    case DataType::INTEGER16:
    case DataType::UNSIGNED16:
      return 16;
    case DataType::INTEGER24:
    case DataType::UNSIGNED24:
      return 24;
    case DataType::INTEGER32:
    case DataType::UNSIGNED32:
      return 32;
    case DataType::INTEGER40:
    case DataType::UNSIGNED40:
      return 40;
    case DataType::INTEGER48:
    case DataType::UNSIGNED48:
      return 48;
    case DataType::INTEGER56:
    case DataType::UNSIGNED56:
      return 56;
    case DataType::INTEGER64:
    case DataType::UNSIGNED64:
      return 64;
    default:
      return 0;
  }
}

bool is_signed(DataType type) {
  switch (type) {
    case DataType::INTEGER8:
    case DataType::INTEGER16:
    case DataType::INTEGER24:
    case DataType::INTEGER32:
    case DataType::INTEGER40:
    case DataType::INTEGER48:
    case DataType::INTEGER56:
    case DataType::INTEGER64:
      return true;
    default:
      return false;
  }
}

bool is_node_relative(std::string_view text) {
  return text.find('$') != std::string_view::npos && relative_number(without_comment(text), 0).has_value();
}

std::optional<std::int64_t> number_of(std::string_view text, std::uint8_t node_id) {
  text = without_comment(text);
  if (text.find('$') != std::string_view::npos) return relative_number(text, node_id);
  const auto literal = literal_of(text);
  return literal ? with_sign(*literal) : std::nullopt;
}

std::optional<std::int64_t> integer_of(std::string_view text, DataType type, std::uint8_t node_id) {
  const unsigned bits = integer_bits(type);
  if (bits == 0) return std::nullopt;
  text = without_comment(text);
  std::optional<Literal> literal;
  if (text.find('$') != std::string_view::npos) {
    const auto sum = relative_number(text, node_id);
    if (sum) literal = Literal{false, false, static_cast<std::uint64_t>(*sum)};
  } else {
    literal = literal_of(text);
  }
  if (!literal) return std::nullopt;
  return is_signed(type) ? as_signed(*literal, bits) : as_unsigned(*literal, bits);
}

std::optional<double> real_of(std::string_view text) {
  return real_in(without_comment(text));
}

Limits limits_of(const ObjectEntry::Description& object, std::uint8_t node_id) {
  Limits limits;
  if (object.low_limit) limits.low = integer_of(*object.low_limit, object.data_type, node_id);
  if (object.high_limit) limits.high = integer_of(*object.high_limit, object.data_type, node_id);
  if (!limits.low || !limits.high) return limits;
  const bool crossed = object.data_type == DataType::UNSIGNED64 ? static_cast<std::uint64_t>(*limits.low) >
                                                                      static_cast<std::uint64_t>(*limits.high)
                                                                : *limits.low > *limits.high;
  return crossed ? Limits{} : limits;
}

}  // namespace nkr::tools

#include <cstddef>
#include <nkr/can/Frame.hpp>

namespace nkr::can {
namespace {

constexpr char kHex[] = "0123456789ABCDEF";
constexpr std::uint32_t kErrorFlag = 0x20000000;
constexpr std::uint32_t kExtendedMax = 0x1FFFFFFF;
constexpr std::uint32_t kStandardMax = 0x7FF;
constexpr std::size_t kStandardDigits = 3;
constexpr std::size_t kExtendedDigits = 8;

void append_hex(std::string& text, std::uint32_t value, std::size_t digits) {
  for (std::size_t digit = digits; digit-- > 0;) text += kHex[(value >> (4 * digit)) & 0xFU];
}

/** All of `digits` as a hexadecimal number; at most 8 digits. */
std::optional<std::uint32_t> parse_hex(std::string_view digits) {
  if (digits.empty() || digits.size() > kExtendedDigits) return std::nullopt;
  std::uint32_t value = 0;
  for (const char digit : digits) {
    std::uint32_t nibble = 0;
    if (digit >= '0' && digit <= '9') {
      nibble = static_cast<std::uint32_t>(digit - '0');
    } else if (digit >= 'A' && digit <= 'F') {
      nibble = static_cast<std::uint32_t>(digit - 'A' + 10);
    } else if (digit >= 'a' && digit <= 'f') {
      nibble = static_cast<std::uint32_t>(digit - 'a' + 10);
    } else {
      return std::nullopt;
    }
    value = value << 4 | nibble;
  }
  return value;
}

bool parse_identifier(std::string_view text, Frame& frame) {
  const auto value = parse_hex(text);
  if (!value) return false;
  if (text.size() == kStandardDigits) {
    frame.id = *value;
    return frame.id <= kStandardMax;
  }
  if (text.size() != kExtendedDigits || *value > (kExtendedMax | kErrorFlag)) return false;
  frame.error = (*value & kErrorFlag) != 0;
  frame.extended = !frame.error;
  frame.id = *value & kExtendedMax;
  return true;
}

bool parse_data(std::string_view text, Frame& frame) {
  while (!text.empty()) {
    if (text.front() == '.' && frame.size > 0) text.remove_prefix(1);
    if (text.size() < 2 || frame.size == frame.data.size()) return false;
    const auto byte = parse_hex(text.substr(0, 2));
    if (!byte) return false;
    frame.data[frame.size++] = static_cast<std::uint8_t>(*byte);
    text.remove_prefix(2);
  }
  return true;
}

bool parse_remote(std::string_view text, Frame& frame) {
  frame.remote = true;
  if (text.empty()) return true;
  if (text.size() > 1 || text.front() < '0' || text.front() > '8') return false;
  frame.size = static_cast<std::uint8_t>(text.front() - '0');
  return true;
}

}  // namespace

Frame::Frame(std::uint32_t identifier, std::initializer_list<std::uint8_t> bytes) : id(identifier) {
  for (const std::uint8_t byte : bytes) {
    if (size == data.size()) break;
    data[size++] = byte;
  }
}

std::string to_string(const Frame& frame) {
  std::string text;
  const bool wide = frame.extended || frame.error;
  append_hex(text, frame.error ? frame.id | kErrorFlag : frame.id, wide ? kExtendedDigits : kStandardDigits);
  text += '#';
  if (frame.remote) {
    text += 'R';
    if (frame.size > 0) append_hex(text, frame.size, 1);
    return text;
  }
  for (std::size_t i = 0; i < frame.size && i < frame.data.size(); ++i) append_hex(text, frame.data[i], 2);
  return text;
}

std::optional<Frame> parse_frame(std::string_view text) {
  const std::size_t separator = text.find('#');
  if (separator == std::string_view::npos) return std::nullopt;
  Frame frame;
  if (!parse_identifier(text.substr(0, separator), frame)) return std::nullopt;
  const std::string_view rest = text.substr(separator + 1);
  const bool remote = !rest.empty() && (rest.front() == 'R' || rest.front() == 'r');
  const bool parsed = remote ? parse_remote(rest.substr(1), frame) : parse_data(rest, frame);
  if (!parsed) return std::nullopt;
  return frame;
}

}  // namespace nkr::can

#include <cstddef>
#include <nkr/can/Frame.hpp>

namespace nkr::can {
namespace {

constexpr char kHex[] = "0123456789ABCDEF";

void append_hex(std::string& text, std::uint32_t value, unsigned digits) {
  for (unsigned digit = digits; digit-- > 0;) text += kHex[(value >> (4 * digit)) & 0xFU];
}

}  // namespace

Frame::Frame(std::uint32_t identifier, std::initializer_list<std::uint8_t> bytes) : id(identifier) {
  for (const std::uint8_t byte : bytes) {
    if (size == data.size()) break;
    data[size++] = byte;
  }
}

std::string to_string(const Frame& frame) {
  constexpr std::uint32_t kErrorFlag = 0x20000000;
  constexpr unsigned kStandardDigits = 3;
  constexpr unsigned kExtendedDigits = 8;
  std::string text;
  const bool wide = frame.extended || frame.error;
  append_hex(text, frame.error ? frame.id | kErrorFlag : frame.id, wide ? kExtendedDigits : kStandardDigits);
  text += '#';
  if (frame.remote) return text + 'R';
  for (std::size_t i = 0; i < frame.size && i < frame.data.size(); ++i) append_hex(text, frame.data[i], 2);
  return text;
}

}  // namespace nkr::can

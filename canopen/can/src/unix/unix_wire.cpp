#include "unix/unix_wire.hpp"

#include <algorithm>

namespace nkr::can {
namespace {

constexpr std::uint8_t kVersion = 2;
constexpr std::uint8_t kLast = 1;
constexpr std::uint8_t kExtended = 1U << 0;
constexpr std::uint8_t kRemote = 1U << 1;
constexpr std::uint8_t kError = 1U << 2;
constexpr std::size_t kIdentifier = 4;
constexpr std::size_t kIdentifierBytes = 4;
constexpr std::size_t kPayload = 8;
constexpr std::size_t kPayloadBytes = 8;
constexpr std::uint32_t kStandardMax = 0x7FF;
constexpr std::uint32_t kExtendedMax = 0x1FFFFFFF;

void put(std::uint8_t* to, std::uint64_t value, std::size_t bytes) {
  for (std::size_t i = 0; i < bytes; ++i) to[i] = static_cast<std::uint8_t>(value >> (8 * i));
}

std::uint64_t get(const std::uint8_t* from, std::size_t bytes) {
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < bytes; ++i) value |= std::uint64_t{from[i]} << (8 * i);
  return value;
}

UnixBytes message_of(UnixMessage::Kind kind) {
  UnixBytes bytes{};
  bytes[0] = static_cast<std::uint8_t>(kind);
  return bytes;
}

bool all_zero(const std::uint8_t* begin, const std::uint8_t* end) {
  return std::all_of(begin, end, [](std::uint8_t byte) { return byte == 0; });
}

std::optional<UnixMessage> decode_frame(const std::uint8_t* bytes) {
  UnixMessage message;
  message.kind = UnixMessage::Kind::FRAME;
  Frame& frame = message.frame;
  frame.extended = (bytes[1] & kExtended) != 0;
  frame.remote = (bytes[1] & kRemote) != 0;
  frame.error = (bytes[1] & kError) != 0;
  frame.size = bytes[2];
  frame.id = static_cast<std::uint32_t>(get(bytes + kIdentifier, kIdentifierBytes));
  const std::uint32_t highest = frame.extended || frame.error ? kExtendedMax : kStandardMax;
  if (bytes[1] > (kExtended | kRemote | kError) || bytes[3] != 0) return std::nullopt;
  if (frame.size > frame.data.size() || frame.id > highest) return std::nullopt;
  const std::uint8_t* const data = bytes + kPayload;
  if (!all_zero(data + (frame.remote ? 0 : frame.size), data + kPayloadBytes)) return std::nullopt;
  if (!frame.remote) std::copy_n(data, frame.size, frame.data.begin());
  return message;
}

std::optional<UnixMessage> decode_filter(const std::uint8_t* bytes) {
  const std::uint8_t* const mask = bytes + kPayload;
  if (bytes[1] > kLast || bytes[2] != 0 || bytes[3] != 0) return std::nullopt;
  if (!all_zero(mask + kIdentifierBytes, mask + kPayloadBytes)) return std::nullopt;
  UnixMessage message;
  message.kind = UnixMessage::Kind::FILTER;
  message.is_last_filter = bytes[1] == kLast;
  message.filter.id = static_cast<std::uint32_t>(get(bytes + kIdentifier, kIdentifierBytes));
  message.filter.mask = static_cast<std::uint32_t>(get(mask, kIdentifierBytes));
  return message;
}

std::optional<UnixMessage> decode_welcome(const std::uint8_t* bytes) {
  if (bytes[1] != kVersion || bytes[2] != 0 || bytes[3] != 0) return std::nullopt;
  if (!all_zero(bytes + kPayload, bytes + kUnixMessageSize)) return std::nullopt;
  UnixMessage message;
  message.number = get(bytes + kIdentifier, kIdentifierBytes);
  return message;
}

std::optional<UnixMessage> decode_number(UnixMessage::Kind kind, const std::uint8_t* bytes) {
  if (!all_zero(bytes + 1, bytes + kPayload)) return std::nullopt;
  UnixMessage message;
  message.kind = kind;
  message.number = get(bytes + kPayload, kPayloadBytes);
  return message;
}

UnixBytes encode_number(UnixMessage::Kind kind, std::uint64_t number) {
  UnixBytes bytes = message_of(kind);
  put(bytes.data() + kPayload, number, kPayloadBytes);
  return bytes;
}

}  // namespace

UnixBytes encode_welcome(std::uint32_t window) {
  UnixBytes bytes = message_of(UnixMessage::Kind::WELCOME);
  bytes[1] = kVersion;
  put(bytes.data() + kIdentifier, window, kIdentifierBytes);
  return bytes;
}

UnixBytes encode_frame(const Frame& frame) {
  UnixBytes bytes = message_of(UnixMessage::Kind::FRAME);
  bytes[1] = static_cast<std::uint8_t>((frame.extended ? kExtended : 0) | (frame.remote ? kRemote : 0) |
                                       (frame.error ? kError : 0));
  bytes[2] = static_cast<std::uint8_t>(std::min<std::size_t>(frame.size, frame.data.size()));
  put(bytes.data() + kIdentifier, frame.id & (frame.extended || frame.error ? kExtendedMax : kStandardMax),
      kIdentifierBytes);
  if (!frame.remote) std::copy_n(frame.data.begin(), bytes[2], bytes.begin() + kPayload);
  return bytes;
}

UnixBytes encode_filter(const Filter& filter, bool is_last) {
  UnixBytes bytes = message_of(UnixMessage::Kind::FILTER);
  bytes[1] = is_last ? kLast : 0;
  put(bytes.data() + kIdentifier, filter.id, kIdentifierBytes);
  put(bytes.data() + kPayload, filter.mask, kIdentifierBytes);
  return bytes;
}

UnixBytes encode_mark(std::uint64_t number) {
  return encode_number(UnixMessage::Kind::MARK, number);
}

UnixBytes encode_lost(std::uint64_t count) {
  return encode_number(UnixMessage::Kind::LOST, count);
}

std::optional<UnixMessage> decode_unix_message(const std::uint8_t* bytes, std::size_t size) {
  if (size != kUnixMessageSize) return std::nullopt;
  const auto kind = static_cast<UnixMessage::Kind>(bytes[0]);
  switch (kind) {
    case UnixMessage::Kind::FRAME:
      return decode_frame(bytes);
    case UnixMessage::Kind::WELCOME:
      return decode_welcome(bytes);
    case UnixMessage::Kind::FILTER:
      return decode_filter(bytes);
    case UnixMessage::Kind::MARK:
    case UnixMessage::Kind::LOST:
      return decode_number(kind, bytes);
  }
  return std::nullopt;
}

}  // namespace nkr::can

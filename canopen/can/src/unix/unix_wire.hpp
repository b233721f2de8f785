#ifndef NKR_CAN_UNIX_UNIX_WIRE_HPP
#define NKR_CAN_UNIX_UNIX_WIRE_HPP

#include <array>
#include <cstddef>
#include <cstdint>
#include <nkr/can/Bus.hpp>
#include <optional>

namespace nkr::can {

/**
 * What travels between the listener of a unix bus and its members, one message a packet, numbers little
 * endian:
 *
 * | byte | welcome     | frame                              | filter           | mark   | lost           |
 * |------|-------------|------------------------------------|------------------|--------|----------------|
 * | 0    | 'W'         | 'F'                                | 'S'              | 'M'    | 'L'            |
 * | 1    | version (2) | bit 0 extended, 1 remote, 2 error  | 1: the last one  | 0      | 0              |
 * | 2    | 0           | number of data bytes, 0 to 8       | 0                | 0      | 0              |
 * | 3    | 0           | 0                                  | 0                | 0      | 0              |
 * | 4-7  | window      | identifier                         | identifier       | 0      | 0              |
 * | 8-15 | 0           | data                               | mask, 4 bytes; 0 | number | number of frames
 * that this member lost so far |
 *
 * The listener greets a member with a welcome. Its window is how many messages the member's socket holds at
 * least: while no more are unread, none waits in the listener. From then on the member hears every frame;
 * after the last of its filters, those that one of them lets pass. A mark comes back to the member who sent
 * it, behind all frames that were on their way to it.
 */
constexpr std::size_t kUnixMessageSize = 16;
using UnixBytes = std::array<std::uint8_t, kUnixMessageSize>;

struct UnixMessage {
  enum class Kind : std::uint8_t { WELCOME = 'W', FRAME = 'F', FILTER = 'S', MARK = 'M', LOST = 'L' };
  Kind kind = Kind::WELCOME;
  Frame frame;
  Filter filter;
  bool is_last_filter = false;
  std::uint64_t number = 0;  ///< the window, of a mark, of lost frames
};

[[nodiscard]] UnixBytes encode_welcome(std::uint32_t window);
[[nodiscard]] UnixBytes encode_frame(const Frame& frame);
[[nodiscard]] UnixBytes encode_filter(const Filter& filter, bool is_last);
[[nodiscard]] UnixBytes encode_mark(std::uint64_t number);
[[nodiscard]] UnixBytes encode_lost(std::uint64_t count);

/** Empty when the bytes are no message of this version. */
[[nodiscard]] std::optional<UnixMessage> decode_unix_message(const std::uint8_t* bytes, std::size_t size);

}  // namespace nkr::can

#endif

#ifndef NKR_CAN_UNIX_WIRE_HPP
#define NKR_CAN_UNIX_WIRE_HPP

#include <array>
#include <cstddef>
#include <cstdint>
#include <nkr/can/Frame.hpp>
#include <optional>

namespace nkr::can {

/**
 * What travels between the listener of a unix bus and its members, one message a packet, numbers little
 * endian:
 *
 * | byte | welcome     | frame                              | lost           |
 * |------|-------------|------------------------------------|----------------|
 * | 0    | 'W'         | 'F'                                | 'L'            |
 * | 1    | version (1) | bit 0 extended, 1 remote, 2 error  | 0              |
 * | 2    | 0           | number of data bytes, 0 to 8       | 0              |
 * | 3    | 0           | 0                                  | 0              |
 * | 4-7  | 0           | identifier                         | 0              |
 * | 8-15 | 0           | data                               | number of frames that this member lost so far |
 *
 * The listener greets a member with a welcome; from then on the member hears every frame.
 */
constexpr std::size_t kUnixMessageSize = 16;
using UnixBytes = std::array<std::uint8_t, kUnixMessageSize>;

struct UnixMessage {
  enum class Kind : std::uint8_t { WELCOME = 'W', FRAME = 'F', LOST = 'L' };
  Kind kind = Kind::WELCOME;
  Frame frame;
  std::uint64_t lost = 0;
};

[[nodiscard]] UnixBytes encode_welcome();
[[nodiscard]] UnixBytes encode_frame(const Frame& frame);
[[nodiscard]] UnixBytes encode_lost(std::uint64_t count);

/** Empty when the bytes are no message of this version. */
[[nodiscard]] std::optional<UnixMessage> decode_unix_message(const std::uint8_t* bytes, std::size_t size);

}  // namespace nkr::can

#endif

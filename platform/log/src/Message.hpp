#ifndef NKR_LOG_MESSAGE_HPP
#define NKR_LOG_MESSAGE_HPP

#include <nkr/log.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace nkr::log {

// The encoded form; <nkr/log_decode.h> describes it.
constexpr std::uint8_t kVersion = 1;
constexpr std::uint8_t kHeaderItem = 'H';
constexpr std::uint8_t kStrItem = 'S';
constexpr std::uint8_t kUintItem = 'U';
constexpr std::uint8_t kEndItem = 'E';

/** Bytes of one encoded message, at most: with time and level its line stays below PIPE_BUF (4096). */
constexpr std::size_t kMessageCapacity = 3072;

/** What a message under construction may take next. */
enum class MessageState : std::uint8_t { FREE, TAKEN, BEGUN, HAS_HEADER, ENDED };

}  // namespace nkr::log

struct nkr_log_msg {
  nkr_log_msg* next_free;
  nkr::log::MessageState state;
  std::size_t size;
  std::array<std::uint8_t, nkr::log::kMessageCapacity> bytes;
};

#endif

// The nine functions that the libraries here call, and nothing else. A program may define them itself, all
// nine, so nothing that a program needs besides them may stand in this file.
#include <nkr/log.h>

#include <algorithm>
#include <cstring>

#include "BufferPool.hpp"
#include "Message.hpp"
#include "Registry.hpp"

using nkr::log::BufferPool;
using nkr::log::MessageState;
using nkr::log::Registry;

namespace {

constexpr std::size_t kStrItemHead = 3;     // tag and length
constexpr std::size_t kNumberItemSize = 5;  // tag and 32 bits
constexpr std::size_t kHeaderItemSize = 9;  // tag and two numbers
constexpr std::size_t kEndItemSize = 1;
constexpr std::size_t kMaxText = nkr::log::kMessageCapacity - 512;  // leaves room for the other fields
constexpr char kCutMark[] = "...";
constexpr std::size_t kCutMarkSize = sizeof kCutMark - 1;

void put(nkr_log_msg_t& message, std::uint8_t byte) {
  message.bytes[message.size++] = byte;
}

void put_number(nkr_log_msg_t& message, std::uint32_t number) {
  for (unsigned int shift = 0; shift < 32; shift += 8)
    put(message, static_cast<std::uint8_t>(number >> shift));
}

void put_bytes(nkr_log_msg_t& message, const char* bytes, std::size_t size) {
  std::memcpy(message.bytes.data() + message.size, bytes, size);
  message.size += size;
}

/** Room for items, with the end item's kept. */
std::size_t room(const nkr_log_msg_t& message) {
  return nkr::log::kMessageCapacity - kEndItemSize - message.size;
}

bool takes_fields(const nkr_log_msg_t* message) {
  return message != nullptr && message->state == MessageState::HAS_HEADER;
}

nkr_error_t refusal(const nkr_log_msg_t* message) {
  return message == nullptr ? NKR_ERROR : NKR_INVALID_STATE;
}

}  // namespace

nkr_error_t nkr_log_is_enabled(void) {
  return Registry::is_enabled() ? NKR_OK : NKR_NOT_AVAILABLE;
}

nkr_log_msg_t* nkr_log_msg_get_new_buffer(void) {
  return BufferPool::instance().take();
}

nkr_error_t nkr_log_msg_encode_begin(nkr_log_msg_t* buffer) {
  if (buffer == nullptr || buffer->state == MessageState::FREE) return refusal(buffer);
  buffer->size = 0;
  put(*buffer, nkr::log::kVersion);
  buffer->state = MessageState::BEGUN;
  return NKR_OK;
}

nkr_error_t nkr_log_msg_encode_header(nkr_log_msg_t* buffer, uint32_t context, uint32_t level) {
  static_assert(1 + kHeaderItemSize + kEndItemSize <= nkr::log::kMessageCapacity);
  if (buffer == nullptr || buffer->state != MessageState::BEGUN) return refusal(buffer);
  put(*buffer, nkr::log::kHeaderItem);
  put_number(*buffer, context);
  put_number(*buffer, level);
  buffer->state = MessageState::HAS_HEADER;
  return NKR_OK;
}

nkr_error_t nkr_log_msg_encode_str(nkr_log_msg_t* buffer, const char* text) {
  if (text == nullptr || !takes_fields(buffer)) return text == nullptr ? NKR_ERROR : refusal(buffer);
  const std::size_t free = room(*buffer);
  if (free < kStrItemHead + kCutMarkSize) return NKR_ERROR;
  const std::size_t limit = std::min(kMaxText, free - kStrItemHead);
  const std::size_t length = std::strlen(text);
  const bool whole = length <= limit;
  const std::size_t size = whole ? length : limit;
  put(*buffer, nkr::log::kStrItem);
  put(*buffer, static_cast<std::uint8_t>(size & 0xFF));
  put(*buffer, static_cast<std::uint8_t>(size >> 8));
  put_bytes(*buffer, text, whole ? size : size - kCutMarkSize);
  if (!whole) put_bytes(*buffer, kCutMark, kCutMarkSize);
  return NKR_OK;
}

nkr_error_t nkr_log_msg_encode_uint(nkr_log_msg_t* buffer, uint32_t number) {
  if (!takes_fields(buffer)) return refusal(buffer);
  if (room(*buffer) < kNumberItemSize) return NKR_ERROR;
  put(*buffer, nkr::log::kUintItem);
  put_number(*buffer, number);
  return NKR_OK;
}

nkr_error_t nkr_log_msg_encode_end(nkr_log_msg_t* buffer) {
  if (!takes_fields(buffer)) return refusal(buffer);
  put(*buffer, nkr::log::kEndItem);
  buffer->state = MessageState::ENDED;
  return NKR_OK;
}

nkr_error_t nkr_log_send_msg(uint32_t context, uint32_t level, nkr_log_msg_t* buffer) {
  if (buffer == nullptr || buffer->state != MessageState::ENDED) return refusal(buffer);
  Registry::instance().deliver(context, level, buffer->bytes.data(), buffer->size);
  return NKR_OK;
}

void nkr_log_msg_free_buffer(nkr_log_msg_t* buffer) {
  BufferPool::instance().give_back(buffer);
}

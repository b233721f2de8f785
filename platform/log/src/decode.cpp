#include <nkr/log_decode.h>

#include "Message.hpp"

namespace {

std::size_t left(const nkr_log_reader_t& reader) {
  return static_cast<std::size_t>(reader.end - reader.next);
}

bool take_tag(nkr_log_reader_t& reader, std::uint8_t tag) {
  if (left(reader) < 1 || *reader.next != tag) return false;
  ++reader.next;
  return true;
}

bool take_number(nkr_log_reader_t& reader, std::uint32_t& number) {
  constexpr std::size_t kSize = 4;
  if (left(reader) < kSize) return false;
  number = 0;
  for (std::size_t i = 0; i < kSize; ++i) number |= static_cast<std::uint32_t>(reader.next[i]) << (8 * i);
  reader.next += kSize;
  return true;
}

bool take_text(nkr_log_reader_t& reader, nkr_log_field_t& field) {
  constexpr std::size_t kSize = 2;
  if (left(reader) < kSize) return false;
  const std::size_t size = static_cast<std::size_t>(reader.next[0] | reader.next[1] << 8);
  if (left(reader) - kSize < size) return false;
  field.kind = NKR_LOG_FIELD_STR;
  field.text = reinterpret_cast<const char*>(reader.next + kSize);
  field.text_size = size;
  reader.next += kSize + size;
  return true;
}

bool take_header(nkr_log_reader_t& reader) {
  return take_tag(reader, nkr::log::kVersion) && take_tag(reader, nkr::log::kHeaderItem) &&
         take_number(reader, reader.context) && take_number(reader, reader.level);
}

}  // namespace

nkr_error_t nkr_log_read_begin(nkr_log_reader_t* reader, const uint8_t* encoded, size_t encoded_size) {
  if (reader == nullptr || encoded == nullptr) return NKR_ERROR;
  *reader = {encoded, encoded + encoded_size, 0, 0};
  if (!take_header(*reader)) return NKR_ERROR;

  nkr_log_reader_t rest = *reader;
  nkr_log_field_t field;
  nkr_error_t result = NKR_OK;
  while (result == NKR_OK) result = nkr_log_read_next(&rest, &field);
  const bool complete = result == NKR_NOT_AVAILABLE && rest.next + 1 == rest.end;
  return complete ? NKR_OK : NKR_ERROR;
}

nkr_error_t nkr_log_read_next(nkr_log_reader_t* reader, nkr_log_field_t* field) {
  if (reader == nullptr || field == nullptr || left(*reader) < 1) return NKR_ERROR;
  *field = {};
  if (*reader->next == nkr::log::kEndItem) return NKR_NOT_AVAILABLE;
  if (take_tag(*reader, nkr::log::kStrItem)) return take_text(*reader, *field) ? NKR_OK : NKR_ERROR;
  if (take_tag(*reader, nkr::log::kUintItem)) {
    field->kind = NKR_LOG_FIELD_UINT;
    return take_number(*reader, field->number) ? NKR_OK : NKR_ERROR;
  }
  return NKR_ERROR;
}

const uint8_t* nkr_log_msg_encoded(const nkr_log_msg_t* message, size_t* size) {
  const bool ended = message != nullptr && message->state == nkr::log::MessageState::ENDED;
  if (size != nullptr) *size = ended ? message->size : 0;
  return ended ? message->bytes.data() : nullptr;
}

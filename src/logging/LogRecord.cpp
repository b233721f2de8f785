#include "LogRecord.hpp"

#include <charconv>

namespace nkr::tavcore {
namespace {

bool encode_record(nkr_log_msg_t* buffer, const LogOrigin& origin, const char* text) {
  return nkr_log_msg_encode_begin(buffer) == NKR_OK &&
         nkr_log_msg_encode_header(buffer, origin.context, origin.level) == NKR_OK &&
         nkr_log_msg_encode_str(buffer, origin.here.function) == NKR_OK &&
         nkr_log_msg_encode_uint(buffer, origin.here.line) == NKR_OK &&
         (origin.class_name == nullptr || nkr_log_msg_encode_str(buffer, origin.class_name) == NKR_OK) &&
         nkr_log_msg_encode_str(buffer, text) == NKR_OK && nkr_log_msg_encode_end(buffer) == NKR_OK;
}

}  // namespace

void send_log_record(const LogOrigin& origin, const char* text) {
  nkr_log_msg_t* const buffer = nkr_log_msg_get_new_buffer();
  if (buffer == nullptr) return;
  if (encode_record(buffer, origin, text)) {
    static_cast<void>(nkr_log_send_msg(origin.context, origin.level, buffer));
  }
  nkr_log_msg_free_buffer(buffer);
}

std::string log_text_of(float value) {
  constexpr int kDecimals = 6;
  char text[64];  // the largest float has 39 digits before the point
  const std::to_chars_result end =
      std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, kDecimals);
  return std::string(text, end.ptr);
}

}  // namespace nkr::tavcore

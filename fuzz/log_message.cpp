// Any bytes to the decoder of log messages; a message that it accepts is encoded again, to the same bytes.
#include <nkr/log_decode.h>

#include <cstdlib>
#include <cstring>
#include <string>

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

/** Whether the encoder takes the field as it is: it cuts long texts, and a text ends at its first zero. */
bool encode_again(nkr_log_msg_t* message, const nkr_log_field_t& field) {
  if (field.kind == NKR_LOG_FIELD_UINT) return nkr_log_msg_encode_uint(message, field.number) == NKR_OK;
  constexpr std::size_t kNeverCut = 500;
  const std::string text(field.text, field.text_size);
  if (text.size() > kNeverCut || text.find('\0') != std::string::npos) return false;
  return nkr_log_msg_encode_str(message, text.c_str()) == NKR_OK;
}

bool encode_all(nkr_log_msg_t* message, nkr_log_reader_t reader) {
  require(nkr_log_msg_encode_begin(message) == NKR_OK);
  require(nkr_log_msg_encode_header(message, reader.context, reader.level) == NKR_OK);
  nkr_log_field_t field;
  nkr_error_t result = nkr_log_read_next(&reader, &field);
  bool same = true;
  for (; result == NKR_OK; result = nkr_log_read_next(&reader, &field)) {
    same = same && encode_again(message, field);
  }
  require(result == NKR_NOT_AVAILABLE);  // begun well, so it ends well
  return same && nkr_log_msg_encode_end(message) == NKR_OK;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kEveryFieldFits = 2000;
  nkr_log_reader_t reader;
  if (nkr_log_read_begin(&reader, data, size) != NKR_OK) return 0;
  nkr_log_msg_t* const message = nkr_log_msg_get_new_buffer();
  require(message != nullptr);
  if (encode_all(message, reader) && size < kEveryFieldFits) {
    std::size_t encoded_size = 0;
    const std::uint8_t* const encoded = nkr_log_msg_encoded(message, &encoded_size);
    require(encoded_size == size && std::memcmp(encoded, data, size) == 0);
  }
  nkr_log_msg_free_buffer(message);
  return 0;
}

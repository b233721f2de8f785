/* The C headers, used from C. */
#include <nkr/cia402.h>
#include <nkr/log.h>
#include <nkr/log_decode.h>
#include <nkr/safety_word.h>
#include <stdio.h>
#include <string.h>

static void count(void* user, const nkr_log_record_t* record) {
  nkr_log_reader_t reader;
  if (nkr_log_read_begin(&reader, record->encoded, record->encoded_size) == NKR_OK) ++*(int*)user;
}

static int log_one(void) {
  int seen = 0;
  nkr_log_sink_t sink = 0;
  nkr_log_msg_t* buffer = 0;
  nkr_log_add_callback(count, &seen, NKR_LOG_TRACE, &sink);
  nkr_log_set_enabled(1);
  buffer = nkr_log_msg_get_new_buffer();
  nkr_log_msg_encode_begin(buffer);
  nkr_log_msg_encode_header(buffer, 1, NKR_LOG_NOTICE);
  nkr_log_msg_encode_str(buffer, "text");
  nkr_log_msg_encode_end(buffer);
  nkr_log_send_msg(1, NKR_LOG_NOTICE, buffer);
  nkr_log_msg_free_buffer(buffer);
  nkr_log_remove_sink(sink);
  return seen;
}

int main(void) {
  nkr_cia402_status_word_t word;
  int32_t function = -1;
  if (nkr_cia402_decode_status_word(0x0008, &word) != NKR_OK || !word.fault) return 1;
  if (nkr_safety_word_command_get_fct(nkr_safety_word_fct_to_dico_cmd[0], &function) != NKR_OK) return 2;
  if (function != 0) return 3;
  if (strlen(nkr_error_text(NKR_SDO_TIMED_OUT)) == 0) return 4;
  if (log_one() != 1) return 5;
  return 0;
}

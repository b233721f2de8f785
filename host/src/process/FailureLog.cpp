#include <nkr/log.h>
#include <nkr/log_decode.h>

#include <tav/host/FailureLog.hpp>

namespace tav::host {

FailureLog::FailureLog() {
  nkr_log_add_callback(&FailureLog::take, this, NKR_LOG_FAILURE, &sink_);
  was_on_ = nkr_log_is_enabled() == 1;  // asked with a sink in place: without one the answer is no
  nkr_log_set_enabled(1);
}

FailureLog::~FailureLog() {
  nkr_log_remove_sink(sink_);
  if (!was_on_) nkr_log_set_enabled(0);
}

std::string FailureLog::last() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return last_;
}

void FailureLog::take(void* self, const nkr_log_record_t* record) {
  nkr_log_reader_t reader{};
  if (nkr_log_read_begin(&reader, record->encoded, record->encoded_size) != NKR_OK) return;
  auto& log = *static_cast<FailureLog*>(self);
  const std::lock_guard<std::mutex> lock(log.mutex_);
  nkr_log_field_t field{};
  while (nkr_log_read_next(&reader, &field) == NKR_OK) {
    // The text is the last field of a record.
    if (field.kind == NKR_LOG_FIELD_STR) log.last_.assign(field.text, field.text_size);
  }
}

}  // namespace tav::host

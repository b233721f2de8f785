#include <nkr/log.h>

#include <mutex>
#include <string>
#include <tavcore/testing/Complaint.hpp>
#include <tavcore/testing/RecordingLog.hpp>
#include <utility>

struct nkr_log_msg {
  struct Field {
    bool is_number;
    std::uint32_t number;
    std::string text;
  };
  bool begun = false;
  bool ended = false;
  int strings = 0;
  std::optional<std::pair<std::uint32_t, std::uint32_t>> header;
  std::vector<Field> fields;
};

namespace tav::doubles {
namespace {

struct State {
  std::mutex mutex;
  bool alive = false;
  nkr_error_t enabled = NKR_OK;
  LogStep failing = LogStep::NONE;
  int failing_from = 1;
  std::vector<LogEntry> records;
  int enabled_questions = 0;
  int given = 0;
  int freed = 0;
  int encodings = 0;
};

State& state() {
  static State instance;
  return instance;
}

void expect(bool holds, const char* what) {
  if (!holds) complain(std::string("not so: ") + what);
}

bool fails(LogStep step, int nth = 1) {
  return state().failing == step && nth >= state().failing_from;
}

nkr_error_t encoded(LogStep step, int nth = 1) {
  const std::lock_guard<std::mutex> lock(state().mutex);
  ++state().encodings;
  return fails(step, nth) ? NKR_ERROR : NKR_OK;
}

/** Function, line, class if any, text: numbers and texts at their places, or the test fails. */
LogEntry entry_of(const nkr_log_msg& message) {
  LogEntry entry;
  const auto& fields = message.fields;
  expect(message.begun && message.ended && message.header, "a record must be begun, headed and ended");
  const bool laid_out = (fields.size() == 3 || fields.size() == 4) && !fields[0].is_number &&
                        fields[1].is_number && !fields[2].is_number && !fields.back().is_number;
  expect(laid_out, "a record is function, line, class if any, text");
  if (!laid_out || !message.header) return entry;
  entry.context = message.header->first;
  entry.level = message.header->second;
  entry.function = fields[0].text;
  entry.line = fields[1].number;
  if (fields.size() == 4) entry.class_name = fields[2].text;
  entry.text = fields.back().text;
  return entry;
}

}  // namespace

std::string line_of(const LogEntry& record) {
  return std::to_string(record.context) + " | " + std::to_string(record.level) + " | " + record.function +
         " | " + record.class_name.value_or("(no class)") + " | " + record.text;
}

std::vector<std::string> lines_of(const std::vector<LogEntry>& records) {
  std::vector<std::string> lines;
  for (const LogEntry& record : records) lines.push_back(line_of(record));
  return lines;
}

RecordingLog::RecordingLog() {
  const std::lock_guard<std::mutex> lock(state().mutex);
  expect(!state().alive, "one recording log at a time");
  State& fresh = state();
  fresh.alive = true;
  fresh.enabled = NKR_OK;
  fresh.failing = LogStep::NONE;
  fresh.records.clear();
  fresh.enabled_questions = fresh.given = fresh.freed = fresh.encodings = 0;
}

RecordingLog::~RecordingLog() {
  const std::lock_guard<std::mutex> lock(state().mutex);
  expect(state().given == state().freed, "every buffer is given back");
  state().alive = false;
}

std::vector<LogEntry> RecordingLog::records() const {
  const std::lock_guard<std::mutex> lock(state().mutex);
  return state().records;
}

void RecordingLog::clear() {
  const std::lock_guard<std::mutex> lock(state().mutex);
  state().records.clear();
  state().enabled_questions = state().encodings = 0;
  state().given -= state().freed;
  state().freed = 0;
}

void RecordingLog::answer_enabled(nkr_error_t answer) {
  const std::lock_guard<std::mutex> lock(state().mutex);
  state().enabled = answer;
}

void RecordingLog::fail(LogStep step, int nth) {
  const std::lock_guard<std::mutex> lock(state().mutex);
  state().failing = step;
  state().failing_from = nth;
}

int RecordingLog::enabled_questions() const {
  const std::lock_guard<std::mutex> lock(state().mutex);
  return state().enabled_questions;
}

int RecordingLog::buffers_given() const {
  const std::lock_guard<std::mutex> lock(state().mutex);
  return state().given;
}

int RecordingLog::buffers_freed() const {
  const std::lock_guard<std::mutex> lock(state().mutex);
  return state().freed;
}

int RecordingLog::encoding_calls() const {
  const std::lock_guard<std::mutex> lock(state().mutex);
  return state().encodings;
}

}  // namespace tav::doubles

using tav::doubles::encoded;
using tav::doubles::expect;
using tav::doubles::LogStep;
using tav::doubles::state;

nkr_error_t nkr_log_is_enabled(void) {
  const std::lock_guard<std::mutex> lock(state().mutex);
  ++state().enabled_questions;
  return state().alive ? state().enabled : 0;
}

nkr_log_msg_t* nkr_log_msg_get_new_buffer(void) {
  const std::lock_guard<std::mutex> lock(state().mutex);
  if (tav::doubles::fails(LogStep::BUFFER)) return nullptr;
  ++state().given;
  return new nkr_log_msg;
}

nkr_error_t nkr_log_msg_encode_begin(nkr_log_msg_t* buffer) {
  buffer->begun = true;
  return encoded(LogStep::BEGIN);
}

nkr_error_t nkr_log_msg_encode_header(nkr_log_msg_t* buffer, uint32_t context, uint32_t level) {
  buffer->header = {context, level};
  return encoded(LogStep::HEADER);
}

nkr_error_t nkr_log_msg_encode_str(nkr_log_msg_t* buffer, const char* text) {
  buffer->fields.push_back({false, 0, text});
  return encoded(LogStep::STRING, ++buffer->strings);
}

nkr_error_t nkr_log_msg_encode_uint(nkr_log_msg_t* buffer, uint32_t number) {
  buffer->fields.push_back({true, number, {}});
  return encoded(LogStep::NUMBER);
}

nkr_error_t nkr_log_msg_encode_end(nkr_log_msg_t* buffer) {
  buffer->ended = true;
  return encoded(LogStep::END);
}

nkr_error_t nkr_log_send_msg(uint32_t context, uint32_t level, nkr_log_msg_t* buffer) {
  const nkr_error_t result = encoded(LogStep::SEND);
  if (result != NKR_OK) return result;
  const tav::doubles::LogEntry entry = tav::doubles::entry_of(*buffer);
  expect(entry.context == context, "header and sending name the same context");
  expect(entry.level == level, "header and sending name the same level");
  const std::lock_guard<std::mutex> lock(state().mutex);
  state().records.push_back(entry);
  return NKR_OK;
}

void nkr_log_msg_free_buffer(nkr_log_msg_t* buffer) {
  const std::lock_guard<std::mutex> lock(state().mutex);
  expect(buffer != nullptr, "there is nothing to give back when no buffer was given");
  if (buffer != nullptr) ++state().freed;
  delete buffer;
}

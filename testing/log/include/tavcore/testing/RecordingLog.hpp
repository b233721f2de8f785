#ifndef TAVCORE_TESTING_RECORDINGLOG_HPP
#define TAVCORE_TESTING_RECORDINGLOG_HPP

#include <nkr/error.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tav::doubles {

/** One record as a library built it: function, line, class (where there is one) and text, in this order. */
struct LogEntry {
  std::uint32_t context = 0;
  std::uint32_t level = 0;
  std::string function;
  std::uint32_t line = 0;
  std::optional<std::string> class_name;
  std::string text;
};

/** A record as one line, without the line number of its source: what tests compare. */
[[nodiscard]] std::string line_of(const LogEntry& record);
[[nodiscard]] std::vector<std::string> lines_of(const std::vector<LogEntry>& records);

/** A step of building a record that can be told to fail. */
enum class LogStep { NONE, BUFFER, BEGIN, HEADER, STRING, NUMBER, END, SEND };

/**
 * The log of a test program: its own nine functions (<nkr/log.h>), in place of the log library's, in every
 * program that links tavcore::testing-log and names this class. Records are kept while an object of this
 * class lives; one at a time. A buffer that was not given back is complained of at the end. Serves several
 * threads.
 */
class RecordingLog {
 public:
  RecordingLog();
  ~RecordingLog();
  RecordingLog(const RecordingLog&) = delete;
  RecordingLog& operator=(const RecordingLog&) = delete;

  /** Records sent so far, in order. A record whose fields are not laid out as they must be is complained of
   * (Complaint.hpp). */
  [[nodiscard]] std::vector<LogEntry> records() const;
  void clear();

  /** What nkr_log_is_enabled() answers: NKR_OK at first. */
  void answer_enabled(nkr_error_t answer);
  void disable() { answer_enabled(0); }
  /** Makes a step answer NKR_ERROR from its n-th call in a record on (counted from 1), or give no buffer. */
  void fail(LogStep step, int nth = 1);

  /** How often it was asked whether it is enabled, and buffers given out and given back. */
  [[nodiscard]] int enabled_questions() const;
  [[nodiscard]] int buffers_given() const;
  [[nodiscard]] int buffers_freed() const;
  /** Encoding and sending calls made, whatever they answered. */
  [[nodiscard]] int encoding_calls() const;
};

}  // namespace tav::doubles

#endif

#ifndef NKR_LOG_LINE_HPP
#define NKR_LOG_LINE_HPP

#include <nkr/log_setup.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace nkr::log {

/** One line of text of bounded length, terminated; what does not fit is cut and ends in "...". No allocation.
 */
class Line {
 public:
  /** With its line feed a line is at most PIPE_BUF bytes on Linux: a pipe takes it whole or not at all. */
  static constexpr std::size_t kCapacity = 4000;

  void append(std::string_view text);
  /** Control characters are shown as escapes: a text cannot forge a second line or move the cursor. */
  void append_escaped(std::string_view text);
  void append_number(std::uint64_t number, std::size_t width = 0);

  /** Ends the line with a line feed, which always has room. */
  void finish();

  std::string_view view() const { return {text_.data(), size_}; }
  const char* c_str() const { return text_.data(); }

 private:
  static constexpr std::string_view kCutMark = "...";

  std::array<char, kCapacity + kCutMark.size() + 2> text_{};
  std::size_t size_ = 0;
  bool cut_ = false;
};

/** The fields of an encoded message as people read them: "function:line Class: text". */
void append_fields(Line& line, const std::uint8_t* encoded, std::size_t size);

/** "failure", "warning", "notice", "trace", or "level N". */
void append_level(Line& line, std::uint32_t level);

/** Local date and time with milliseconds. */
void append_time(Line& line, std::int64_t time_ns);

}  // namespace nkr::log

#endif

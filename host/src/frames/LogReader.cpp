#include <algorithm>
#include <charconv>
#include <ctime>
#include <iomanip>
#include <istream>
#include <nkr/can/candump.hpp>
#include <sstream>
#include <tav/host/LogReader.hpp>
#include <vector>

namespace tav::host {

using nkr::can::Frame;

namespace {

constexpr std::size_t kLongestLine = 1024;
constexpr std::string_view kBlank = " \t\r";

/** The words of a screen line, in order. */
class Words {
 public:
  explicit Words(std::string_view text) : text_(text) {}

  std::string_view next() {
    text_.remove_prefix(std::min(text_.find_first_not_of(kBlank), text_.size()));
    const std::string_view word = text_.substr(0, text_.find_first_of(kBlank));
    text_.remove_prefix(word.size());
    return word;
  }
  /** "(...)" in front, which may hold blanks; empty when there is none. */
  std::string_view stamp() {
    text_.remove_prefix(std::min(text_.find_first_not_of(kBlank), text_.size()));
    const std::size_t end = text_.find(')');
    if (text_.empty() || text_.front() != '(' || end == text_.npos) return {};
    const std::string_view inside = text_.substr(1, end - 1);
    text_.remove_prefix(end + 1);
    return inside;
  }

 private:
  std::string_view text_;
};

template <class Number>
bool read_number(std::string_view text, int base, Number& number) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
  return !text.empty() && error == std::errc{} && end == text.data() + text.size();
}

/** Whole seconds: a number, or a date and time ("2026-11-21 15:04:36"), which is taken as it stands. */
std::optional<std::int64_t> whole_seconds(std::string_view text) {
  constexpr std::int64_t kLatest = 9'223'372'035;  // what a 64-bit count of nanoseconds holds
  std::int64_t seconds = 0;
  if (!read_number(text, 10, seconds)) {
    std::tm date = {};
    std::istringstream stream{std::string(text)};
    if (!(stream >> std::get_time(&date, "%Y-%m-%d %H:%M:%S"))) return std::nullopt;
    seconds = ::timegm(&date);
  }
  if (seconds < 0 || seconds > kLatest) return std::nullopt;
  return seconds;
}

/** "1436509052.249713": since 1970, since the start or since the line before, as candump was asked. */
FrameTime time_of(std::string_view stamp) {
  constexpr std::size_t kMicroDigits = 6;
  const std::size_t point = stamp.find('.');
  if (point == stamp.npos || stamp.size() - point - 1 != kMicroDigits) return {};
  const std::optional<std::int64_t> seconds = whole_seconds(stamp.substr(0, point));
  std::uint32_t micros = 0;
  if (!seconds || !read_number(stamp.substr(point + 1), 10, micros)) return {};
  return std::chrono::system_clock::time_point(std::chrono::seconds(*seconds) +
                                               std::chrono::microseconds(micros));
}

/** "60A" is an 11-bit identifier, "0000060A" a 29-bit one, "20000004" the class of an error frame. */
bool read_identifier(std::string_view text, Frame& frame) {
  constexpr std::size_t kLongDigits = 8;
  constexpr std::uint32_t kLargest = 0x7FF;
  constexpr std::uint32_t kLargestExtended = 0x1FFFFFFF;
  constexpr std::uint32_t kErrorFlag = 0x20000000;
  const bool is_long = text.size() == kLongDigits;
  if ((!is_long && text.size() != 3) || !read_number(text, 16, frame.id)) return false;
  frame.error = is_long && (frame.id & kErrorFlag) != 0;
  frame.extended = is_long && !frame.error;
  if (frame.error) frame.id &= ~kErrorFlag;
  return frame.id <= (is_long ? kLargestExtended : kLargest);
}

/** "[8]": one digit; two of them mean a CAN FD frame. */
bool read_size(std::string_view text, Frame& frame) {
  if (text.size() != 3 || text.front() != '[' || text.back() != ']' || text[1] < '0' || text[1] > '8') {
    return false;
  }
  frame.size = static_cast<std::uint8_t>(text[1] - '0');
  return true;
}

bool read_data(Words& words, Frame& frame) {
  for (std::size_t i = 0; i < frame.size; ++i) {
    const std::string_view word = words.next();
    if (i == 0 && word == "remote") {
      frame.remote = true;
      return true;
    }
    if (word.size() != 2 || !read_number(word, 16, frame.data[i])) return false;
  }
  if (frame.size == 0) frame.remote = words.next() == "remote";
  return true;
}

std::optional<LoggedFrame> parse_screen_line(std::string_view line) {
  Words words(line);
  LoggedFrame logged;
  logged.when = time_of(words.stamp());
  logged.bus_name = std::string(words.next());
  std::string_view word = words.next();
  if (word == "RX" ||
      word == "TX") {  // candump -x: direction, then flags for bit rate switch and error state
    word = words.next();
    while (word == "-" || word == "B" || word == "E") word = words.next();
  }
  if (!read_identifier(word, logged.frame) || !read_size(words.next(), logged.frame)) return std::nullopt;
  if (!read_data(words, logged.frame)) return std::nullopt;
  return logged;
}

}  // namespace

std::optional<LoggedFrame> parse_candump_line(std::string_view line) {
  const std::optional<nkr::can::LogLine> logged = nkr::can::parse_log_line(line);
  if (logged) return LoggedFrame{logged->when, logged->bus_name, logged->frame};
  return parse_screen_line(line);
}

bool LogReader::next() {
  do {
    line_.clear();
    too_long_ = false;
    char byte = 0;
    bool any = false;
    while (stream_.get(byte)) {
      any = true;
      if (byte == '\n') break;
      too_long_ = line_.size() >= kLongestLine;
      if (!too_long_) line_ += byte;
    }
    if (!any) return false;
    ++number_;
  } while (line_.find_first_not_of(kBlank) == line_.npos);
  return true;
}

std::optional<LoggedFrame> LogReader::frame() const {
  return too_long_ ? std::nullopt : parse_candump_line(line_);
}

}  // namespace tav::host

#include <algorithm>
#include <cstdint>
#include <nkr/can/candump.hpp>

namespace nkr::can {
namespace {

using std::chrono::microseconds;
using std::chrono::seconds;
using std::chrono::system_clock;

constexpr std::size_t kMicrosecondDigits = 6;
constexpr std::size_t kSecondDigitsMax = 10;
constexpr std::int64_t kLatestSecond = 9'223'372'035;  ///< what a 64-bit count of nanoseconds holds

/** A decimal number of at most `digits_max` digits, all of `text`. */
std::optional<std::int64_t> parse_decimal(std::string_view text, std::size_t digits_max) {
  if (text.empty() || text.size() > digits_max) return std::nullopt;
  std::int64_t value = 0;
  for (const char digit : text) {
    if (digit < '0' || digit > '9') return std::nullopt;
    value = 10 * value + (digit - '0');
  }
  return value;
}

/** "(1436509052.249713)" */
std::optional<system_clock::time_point> parse_time(std::string_view text) {
  if (text.size() < 2 || text.front() != '(' || text.back() != ')') return std::nullopt;
  text = text.substr(1, text.size() - 2);
  const std::size_t point = text.find('.');
  if (point == std::string_view::npos || text.size() - point - 1 != kMicrosecondDigits) return std::nullopt;
  const auto whole = parse_decimal(text.substr(0, point), kSecondDigitsMax);
  const auto fraction = parse_decimal(text.substr(point + 1), kMicrosecondDigits);
  if (!whole || !fraction || *whole > kLatestSecond) return std::nullopt;
  return system_clock::time_point(seconds(*whole) + microseconds(*fraction));
}

bool is_control(char letter) {
  constexpr char kDelete = 0x7F;
  return (letter >= 0 && letter < ' ') || letter == kDelete;
}

/** The next word; `text` goes on behind it. */
std::string_view take_word(std::string_view& text) {
  constexpr std::string_view kBlank = " \t\r\n";
  text.remove_prefix(std::min(text.find_first_not_of(kBlank), text.size()));
  const std::string_view word = text.substr(0, text.find_first_of(kBlank));
  text.remove_prefix(word.size());
  return word;
}

}  // namespace

std::string to_string(const LogLine& line) {
  const auto since_epoch = std::chrono::duration_cast<microseconds>(line.when.time_since_epoch()).count();
  constexpr std::int64_t kPerSecond = 1'000'000;
  const std::int64_t when = std::max<std::int64_t>(since_epoch, 0);
  const std::string fraction = std::to_string(when % kPerSecond);
  std::string name = line.bus_name;
  std::replace_if(
      name.begin(), name.end(), [](char letter) { return letter == ' ' || is_control(letter); }, '_');
  return '(' + std::to_string(when / kPerSecond) + '.' +
         std::string(kMicrosecondDigits - fraction.size(), '0') + fraction + ") " + name + ' ' +
         to_string(line.frame);
}

std::optional<LogLine> parse_log_line(std::string_view text) {
  const auto when = parse_time(take_word(text));
  const std::string_view name = take_word(text);
  const auto frame = parse_frame(take_word(text));
  const std::string_view direction = take_word(text);
  const bool known_direction = direction.empty() || direction == "R" || direction == "T";
  const bool is_name = !name.empty() && std::none_of(name.begin(), name.end(), is_control);
  if (!when || !is_name || !frame || !known_direction || !take_word(text).empty()) return std::nullopt;
  return LogLine{*when, std::string(name), *frame};
}

}  // namespace nkr::can

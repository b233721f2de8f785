#include "model/Record.hpp"

#include <algorithm>
#include <charconv>

namespace tavctl {

std::optional<std::int64_t> integer_of(const std::string& text) {
  const bool negative = !text.empty() && text[0] == '-';
  std::size_t start = negative ? 1 : 0;
  int base = 10;
  if (text.compare(start, 2, "0x") == 0 || text.compare(start, 2, "0X") == 0) {
    base = 16;
    start += 2;
  }
  if (start >= text.size() || text[start] == '-') return std::nullopt;
  std::int64_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data() + start, end, number, base);
  if (error != std::errc{} || stop != end) return std::nullopt;
  return negative ? -number : number;
}

std::optional<double> real_of(const std::string& text) {
  double number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc{} || stop != end) return std::nullopt;
  return number;
}

std::optional<bool> flag_of(const std::string& text) {
  if (text == "1" || text == "true" || text == "on" || text == "yes") return true;
  if (text == "0" || text == "false" || text == "off" || text == "no") return false;
  return std::nullopt;
}

Assignment assignment_of(const std::string& text) {
  const std::size_t sign = text.find('=');
  if (sign == std::string::npos || sign == 0) {
    throw Failure(ExitCode::USAGE, "\"" + text + "\" sets nothing", "Write KEY=VALUE, without blanks.");
  }
  return {text.substr(0, sign), text.substr(sign + 1)};
}

std::string label_of(std::string key) {
  std::replace(key.begin(), key.end(), '_', ' ');
  if (!key.empty() && key[0] >= 'a' && key[0] <= 'z') key[0] = static_cast<char>(key[0] - 'a' + 'A');
  return key;
}

}  // namespace tavctl

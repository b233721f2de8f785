#include "text/IniLines.hpp"

#include <algorithm>

namespace nkr::tools {

namespace {

char lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

IniLine section_line(std::string_view line) {
  IniLine result;
  result.kind = IniLine::Kind::SECTION;
  const std::size_t close = line.find(']');
  result.closed = close != std::string_view::npos;
  result.name = trim(line.substr(1, result.closed ? close - 1 : close));
  if (result.closed) result.rest = trim(line.substr(close + 1));
  return result;
}

}  // namespace

std::string_view trim(std::string_view text) {
  const auto blank = [](char c) { return c == ' ' || c == '\t'; };
  while (!text.empty() && blank(text.front())) text.remove_prefix(1);
  while (!text.empty() && blank(text.back())) text.remove_suffix(1);
  return text;
}

bool equal_without_case(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  // Most files spell the names as the standard does.
  return a == b ||
         std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) { return lower(x) == lower(y); });
}

std::size_t LineReader::end_of_line(std::size_t from) {
  // The next line feed is remembered: a text of lone carriage returns would be searched anew for each line.
  if (next_line_feed_ < from || next_line_feed_ == 0) {
    next_line_feed_ = std::min(text_.find('\n', from), text_.size());
  }
  const std::size_t carriage_return = text_.substr(from, next_line_feed_ - from).find('\r');
  return carriage_return == std::string_view::npos ? next_line_feed_ : from + carriage_return;
}

bool LineReader::next(TextLine& line) {
  if (at_ >= text_.size()) return false;
  const std::size_t end = end_of_line(at_);
  std::size_t ending = end < text_.size() ? 1 : 0;
  if (ending == 1 && text_[end] == '\r' && end + 1 < text_.size() && text_[end + 1] == '\n') ending = 2;
  line.text = text_.substr(at_, end - at_);
  line.ending = text_.substr(end, ending);
  line.number = ++number_;
  at_ = end + ending;
  return true;
}

IniLine read_ini_line(std::string_view line) {
  line = trim(line);
  IniLine result;
  if (line.empty()) return result;
  if (line.front() == ';' || line.front() == '#') {
    result.kind = IniLine::Kind::COMMENT;
    return result;
  }
  if (line.front() == '[') return section_line(line);
  const std::size_t equals = line.find('=');
  if (equals == std::string_view::npos) {
    result.kind = IniLine::Kind::UNCLEAR;
    return result;
  }
  result.kind = IniLine::Kind::ENTRY;
  result.name = trim(line.substr(0, equals));
  result.value = trim(line.substr(equals + 1));
  const std::string_view value = line.substr(equals + 1);
  result.spaced = result.name.size() != equals || (!value.empty() && trim(value.substr(0, 1)).empty());
  return result;
}

}  // namespace nkr::tools

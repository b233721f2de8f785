#include "eds/DocumentSection.hpp"

#include <algorithm>

#include "text/IniLines.hpp"

namespace nkr::tools {

namespace {

constexpr std::size_t kNone = static_cast<std::size_t>(-1);

std::string_view without_end(std::string_view line) {
  return line.substr(0, line.size() - line_end_of(line).size());
}

bool is_key(const std::string& line, std::string_view key) {
  const IniLine parsed = read_ini_line(without_end(line));
  return parsed.kind == IniLine::Kind::ENTRY && equal_without_case(parsed.name, key);
}

/** The line with another value; what stands before the value and the line's end stay. */
std::string with_value(std::string_view line, std::string_view value) {
  const std::string_view end = line_end_of(line);
  const std::string_view bare = without_end(line);
  std::size_t start = bare.find('=') + 1;
  while (start < bare.size() && (bare[start] == ' ' || bare[start] == '\t')) ++start;
  // The blanks of "key= " go: they were the value's own.
  if (start == bare.size()) start = bare.find('=') + 1;
  std::string changed(bare.substr(0, start));
  changed += value;
  changed += end;
  return changed;
}

}  // namespace

std::string_view line_end_of(std::string_view line) {
  std::size_t ends = 0;
  while (ends < 2 && ends < line.size()) {
    const char c = line[line.size() - 1 - ends];
    if (c != '\r' && c != '\n') break;
    ++ends;
  }
  return line.substr(line.size() - ends);
}

void DocumentSection::append_to(std::string& text) const {
  for (const std::string& line : lines_) text += line;
}

std::size_t DocumentSection::line_of(std::string_view key) const {
  for (std::size_t i = 1; i < lines_.size(); ++i) {
    if (is_key(lines_[i], key)) return i;
  }
  return kNone;
}

std::optional<std::string_view> DocumentSection::value(std::string_view key) const {
  const std::size_t line = line_of(key);
  if (line == kNone) return std::nullopt;
  return read_ini_line(without_end(lines_[line])).value;
}

void DocumentSection::set(std::string_view key, std::string_view value, std::string_view line_end) {
  const std::size_t line = line_of(key);
  if (line == kNone) {
    insert(key, value, line_end);
  } else {
    lines_[line] = with_value(lines_[line], value);
  }
}

void DocumentSection::insert(std::string_view key, std::string_view value, std::string_view line_end) {
  // Behind the last key: blank lines and comments before the next section stay where they are.
  std::size_t before = lines_.size() - 1;
  while (before > 0 && read_ini_line(without_end(lines_[before])).kind != IniLine::Kind::ENTRY) --before;
  std::string line(key);
  line += '=';
  line += value;
  const std::string own_end(line_end_of(lines_[before]));
  if (own_end.empty()) {
    // The file's last line has no end, and its new last line has none either.
    lines_[before] += line_end;
  } else {
    line += own_end;
  }
  lines_.insert(lines_.begin() + static_cast<std::ptrdiff_t>(before) + 1, std::move(line));
}

bool DocumentSection::remove(std::string_view key) {
  const auto first = lines_.begin() + 1;
  const auto gone =
      std::remove_if(first, lines_.end(), [key](const std::string& line) { return is_key(line, key); });
  const bool found = gone != lines_.end();
  lines_.erase(gone, lines_.end());
  return found;
}

std::size_t DocumentSection::count_keys_without(std::string_view key) const {
  const auto counts = [key](const std::string& line) {
    return read_ini_line(without_end(line)).kind == IniLine::Kind::ENTRY && !is_key(line, key);
  };
  return static_cast<std::size_t>(std::count_if(lines_.begin() + 1, lines_.end(), counts));
}

void DocumentSection::end_last_line(std::string_view line_end) {
  if (!lines_.empty() && line_end_of(lines_.back()).empty()) lines_.back() += line_end;
}

}  // namespace nkr::tools

#include <charconv>
#include <istream>
#include <nkr/tools/INIText.hpp>
#include <utility>

#include "text/IniLines.hpp"
#include "text/RealText.hpp"

namespace nkr::tools {

namespace {

constexpr std::size_t kMostBytes = std::size_t{16} << 20U;

bool is_quoted(std::string_view value) {
  return !value.empty() && value.front() == '"' && value.find('"', 1) != std::string_view::npos;
}

/** A value without quotes, and without the comment behind a blank and ";" or "#". */
std::string_view plain_value(std::string_view value) {
  if (is_quoted(value)) return value.substr(1, value.find('"', 1) - 1);
  for (std::size_t at = value.find_first_of(";#"); at != std::string_view::npos;
       at = value.find_first_of(";#", at + 1)) {
    if (at == 0 || value[at - 1] == ' ' || value[at - 1] == '\t') return trim(value.substr(0, at));
  }
  return value;
}

std::optional<std::string> read_text(std::istream& stream) {
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  std::string text;
  std::string block(65536, '\0');
  while (stream.good() && text.size() <= kMostBytes) {
    stream.read(block.data(), static_cast<std::streamsize>(block.size()));
    text.append(block, 0, static_cast<std::size_t>(stream.gcount()));
  }
  if (!stream.eof() || stream.bad() || text.size() > kMostBytes) return std::nullopt;
  if (text.find('\0') != std::string::npos) return std::nullopt;
  if (text.compare(0, kByteOrderMark.size(), kByteOrderMark) == 0) text.erase(0, kByteOrderMark.size());
  return text;
}

void take_line(const TextLine& line, std::string_view& section, INIText& text) {
  const IniLine parsed = read_ini_line(line.text);
  const bool is_section = parsed.kind == IniLine::Kind::SECTION;
  if (parsed.kind == IniLine::Kind::BLANK || parsed.kind == IniLine::Kind::COMMENT) return;
  if (parsed.kind == IniLine::Kind::UNCLEAR || parsed.name.empty() || (is_section && !parsed.closed)) {
    text.unclear.push_back({std::string(trim(line.text)), line.number});
  } else if (is_section) {
    section = parsed.name;
    text.sections.push_back({std::string(section), line.number});
  } else {
    text.entries.push_back({std::string(section), std::string(parsed.name),
                            std::string(plain_value(parsed.value)), line.number});
  }
}

}  // namespace

bool INIText::read(std::istream& stream, INIText& text) {
  const auto content = read_text(stream);
  if (!content) return false;
  INIText read;
  LineReader lines(*content);
  TextLine line;
  std::string_view section;
  while (lines.next(line)) take_line(line, section, read);
  text = std::move(read);
  return true;
}

std::optional<int> ini_integer(std::string_view text) {
  const bool negative = !text.empty() && text.front() == '-';
  if (negative || (!text.empty() && text.front() == '+')) text.remove_prefix(1);
  const bool hexadecimal = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
  if (hexadecimal) text.remove_prefix(2);
  std::string digits = negative ? "-" : "";
  digits += text;
  int value = 0;
  const char* const end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, value, hexadecimal ? 16 : 10);
  const bool signs = !text.empty() && text.front() == '-';
  if (text.empty() || signs || error != std::errc() || stop != end) return std::nullopt;
  return value;
}

std::optional<double> ini_real(std::string_view text) {
  return real_in(text);
}

}  // namespace nkr::tools

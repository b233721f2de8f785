#include <charconv>
#include <istream>
#include <iterator>
#include <map>
#include <mutex>
#include <nkr/tools/INIParser.hpp>
#include <optional>
#include <shared_mutex>
#include <string_view>

#include "text/IniLines.hpp"
#include "text/RealText.hpp"

namespace nkr::tools {

namespace {

using Keys = std::map<std::string, std::string>;
using Sections = std::map<std::string, Keys>;

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

/** Reads the lines; nothing when one of them is no INI. */
std::optional<Sections> read_sections(std::string_view text) {
  Sections sections;
  std::string section;
  LineReader lines(text);
  TextLine line;
  while (lines.next(line)) {
    const IniLine parsed = read_ini_line(line.text);
    switch (parsed.kind) {
      case IniLine::Kind::BLANK:
      case IniLine::Kind::COMMENT:
        break;
      case IniLine::Kind::SECTION:
        if (!parsed.closed || parsed.name.empty()) return std::nullopt;
        section = parsed.name;
        sections.try_emplace(section);
        break;
      case IniLine::Kind::ENTRY:
        if (parsed.name.empty()) return std::nullopt;
        sections[section].try_emplace(std::string(parsed.name), plain_value(parsed.value));
        break;
      case IniLine::Kind::UNCLEAR:
        return std::nullopt;
    }
  }
  return sections;
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

std::optional<int> integer(std::string_view text) {
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

}  // namespace

struct INIParserClass::Content {
  mutable std::shared_mutex mutex;
  Sections sections;

  std::optional<std::string> find(const std::string& section, const std::string& key) const {
    const std::shared_lock lock(mutex);
    const auto keys = sections.find(section);
    if (keys == sections.end()) return std::nullopt;
    const auto value = keys->second.find(key);
    if (value == keys->second.end()) return std::nullopt;
    return value->second;
  }
};

INIParserClass::INIParserClass() : content_(std::make_unique<Content>()) {}
INIParserClass::~INIParserClass() = default;

bool INIParserClass::parse(std::istream& stream, bool replace) {
  const auto text = read_text(stream);
  if (!text) return false;
  auto sections = read_sections(*text);
  if (!sections) return false;
  const std::unique_lock lock(content_->mutex);
  if (!replace) {
    for (auto& [section, keys] : *sections) {
      keys.merge(content_->sections[section]);
    }
    sections->merge(content_->sections);
  }
  content_->sections = std::move(*sections);
  return true;
}

bool INIParserClass::getInteger(const std::string& key, int& value, const std::string& section) const {
  const auto text = content_->find(section, key);
  const auto number = text ? integer(*text) : std::nullopt;
  if (number) value = *number;
  return number.has_value();
}

bool INIParserClass::getString(const std::string& key, std::string& value, const std::string& section) const {
  auto text = content_->find(section, key);
  if (text) value = std::move(*text);
  return text.has_value();
}

bool INIParserClass::getDouble(const std::string& key, double& value, const std::string& section) const {
  const auto text = content_->find(section, key);
  const auto number = text ? real_in(*text) : std::nullopt;
  if (number) value = *number;
  return number.has_value();
}

bool INIParserClass::hasSection(const std::string& section) const {
  const std::shared_lock lock(content_->mutex);
  return content_->sections.count(section) != 0;
}

INIParserClass& INIParser::instance() {
  static INIParserClass parser;
  return parser;
}

}  // namespace nkr::tools

#include "eds/DescriptionText.hpp"

#include <algorithm>
#include <array>
#include <istream>

#include "eds/SectionName.hpp"
#include "text/IniLines.hpp"
#include "text/TextEncoding.hpp"

namespace nkr::tools {

namespace {

constexpr std::size_t kMostBytes = std::size_t{32} << 20U;
constexpr std::size_t kMostBytesOfLine = 65536;
constexpr std::size_t kCharactersOfLine = 255;  // CiA 306
constexpr char kEndOfFile = '\x1A';

struct KeyName {
  Key key;
  std::string_view name;
};

constexpr std::array kKeyNames = {
    KeyName{Key::PARAMETER_NAME, "ParameterName"},
    KeyName{Key::OBJECT_TYPE, "ObjectType"},
    KeyName{Key::DATA_TYPE, "DataType"},
    KeyName{Key::ACCESS_TYPE, "AccessType"},
    KeyName{Key::DEFAULT_VALUE, "DefaultValue"},
    KeyName{Key::PDO_MAPPING, "PDOMapping"},
    KeyName{Key::LOW_LIMIT, "LowLimit"},
    KeyName{Key::HIGH_LIMIT, "HighLimit"},
    KeyName{Key::SUB_NUMBER, "SubNumber"},
    KeyName{Key::OBJ_FLAGS, "ObjFlags"},
    KeyName{Key::PARAMETER_VALUE, "ParameterValue"},
    KeyName{Key::DENOTATION, "Denotation"},
    KeyName{Key::COMPACT_SUB_OBJ, "CompactSubObj"},
    KeyName{Key::UPLOAD_FILE, "UploadFile"},
    KeyName{Key::DOWNLOAD_FILE, "DownloadFile"},
    KeyName{Key::PARAM_REFD, "ParamRefd"},
    KeyName{Key::SRDO_MAPPING, "SRDOMapping"},
    KeyName{Key::INVERTED_SRAD, "InvertedSRAD"},
};

Key key_of(std::string_view name) {
  for (const KeyName& known : kKeyNames) {
    if (equal_without_case(known.name, name)) return known.key;
  }
  return Key::UNKNOWN;
}

bool starts_with(std::string_view text, std::string_view start) {
  return text.substr(0, start.size()) == start;
}

bool looks_like_utf16(std::string_view bytes) {
  if (starts_with(bytes, "\xFF\xFE") || starts_with(bytes, "\xFE\xFF")) return true;
  // Half of the bytes of a Latin text in UTF-16 are NUL.
  const std::string_view start = bytes.substr(0, 256);
  const auto nuls = static_cast<std::size_t>(std::count(start.begin(), start.end(), '\0'));
  return start.size() >= 4 && nuls * 5 >= start.size() * 2 && nuls * 5 <= start.size() * 3;
}

/** The text before a line that begins with an end-of-file mark of old. */
std::string_view before_end_of_file(std::string_view text, Diagnostics& diagnostics) {
  for (std::size_t at = text.find(kEndOfFile); at != std::string_view::npos;
       at = text.find(kEndOfFile, at + 1)) {
    if (at > 0 && text[at - 1] != '\n' && text[at - 1] != '\r') continue;
    if (text.find_first_not_of("\x1A\r\n\t ", at) != std::string_view::npos) {
      diagnostics.report(Problem::AFTER_END_OF_FILE, {}, {}, "the text before it");
    }
    return text.substr(0, at);
  }
  return text;
}

/** True when no line needs a closer look at its characters. Without a branch, so that it runs wide. */
bool is_plain(std::string_view text) {
  unsigned char odd = 0;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    const bool blank = (byte == '\n') | (byte == '\r') | (byte == '\t');
    odd = static_cast<unsigned char>(odd | (byte >= 0x7F) | ((byte < 0x20) & !blank));
  }
  return odd == 0;
}

class Splitter {
 public:
  Splitter(std::string_view text, Diagnostics& diagnostics)
      : text_(text), diagnostics_(diagnostics), plain_(is_plain(text)) {}

  DescriptionText split() {
    // A line of a description holds some twenty bytes.
    result_.keys.reserve(text_.size() / 24);
    LineReader lines(text_);
    TextLine line;
    while (lines.next(line)) take(line);
    return std::move(result_);
  }

 private:
  void take(TextLine line) {
    check_characters(line);
    if (line.text.size() > kMostBytesOfLine) {
      diagnostics_.report(Problem::LINE_CUT, place(line), {}, "the first 65536 bytes");
      line.text = cut_utf8(line.text, kMostBytesOfLine);
    }
    const IniLine parsed = read_ini_line(line.text);
    switch (parsed.kind) {
      case IniLine::Kind::BLANK:
      case IniLine::Kind::COMMENT:
        return;
      case IniLine::Kind::SECTION:
        open(parsed, line);
        return;
      case IniLine::Kind::ENTRY:
        add(parsed, line);
        return;
      case IniLine::Kind::UNCLEAR:
        diagnostics_.report(Problem::UNCLEAR_LINE, place(line), line.text, "nothing");
        return;
    }
  }

  void check_characters(const TextLine& line) {
    if (!plain_ && !is_utf8(line.text)) {
      diagnostics_.report(Problem::NOT_UTF8, place(line), to_utf8(line.text.substr(0, kCharactersOfLine)),
                          "windows-1252");
    }
    if (!plain_ && std::any_of(line.text.begin(), line.text.end(), is_control)) {
      diagnostics_.report(Problem::CONTROL_CHARACTER, place(line), line.text, "the text as it stands");
    }
    if (line.text.size() > kCharactersOfLine && line.text.size() <= kMostBytesOfLine) {
      diagnostics_.report(Problem::LINE_TOO_LONG, place(line), {}, "the whole line");
    }
  }

  void open(const IniLine& header, const TextLine& line) {
    Section section;
    section.name = header.name;
    section.line = static_cast<std::uint32_t>(line.number);
    section.first = result_.keys.size();
    if (header.closed) {
      classify(section, diagnostics_);
    } else {
      diagnostics_.report(Problem::UNTERMINATED_HEADER, section.place(), line.text,
                          "nothing of this section");
    }
    if (!header.rest.empty() && header.rest.front() != ';' && header.rest.front() != '#') {
      diagnostics_.report(Problem::AFTER_HEADER, section.place(), header.rest, "the section without it");
    }
    result_.sections.push_back(section);
  }

  void add(const IniLine& entry, const TextLine& line) {
    if (entry.name.empty()) {
      diagnostics_.report(Problem::EMPTY_KEY, place(line), line.text, "nothing");
      return;
    }
    if (result_.sections.empty()) {
      diagnostics_.report(Problem::OUTSIDE_SECTION, place(line), line.text, "nothing");
      return;
    }
    if (entry.spaced) diagnostics_.report(Problem::BLANK, place(line), line.text, "the line without them");
    Section& section = result_.sections.back();
    if (section.kind == SectionKind::IGNORED) return;
    const bool object = section.kind == SectionKind::OBJECT || section.kind == SectionKind::SUB;
    result_.keys.push_back({entry.name, entry.value, static_cast<std::uint32_t>(line.number),
                            object ? key_of(entry.name) : Key::UNKNOWN});
    ++section.count;
  }

  [[nodiscard]] Place place(const TextLine& line) const {
    return {line.number, result_.sections.empty() ? std::string_view() : result_.sections.back().name};
  }

  std::string_view text_;
  Diagnostics& diagnostics_;
  bool plain_;
  DescriptionText result_;
};

}  // namespace

std::string_view key_name(Key key) {
  for (const KeyName& known : kKeyNames) {
    if (known.key == key) return known.name;
  }
  return {};
}

void report_double(const KeyLine& first, const KeyLine& second, const Section& section,
                   Diagnostics& diagnostics) {
  const bool same = first.value == second.value;
  diagnostics.report(same ? Problem::DOUBLE_KEY : Problem::DIFFERENT_KEY, section.at(second), second.value,
                     "the first one");
}

void report_double(const DescriptionText& text, const Section& first, const Section& second,
                   Diagnostics& diagnostics) {
  const auto keys_of = [&text](const Section& section) { return text.keys.data() + section.first; };
  const auto same_line = [](const KeyLine& a, const KeyLine& b) {
    return equal_without_case(a.name, b.name) && a.value == b.value;
  };
  const bool same = std::equal(keys_of(first), keys_of(first) + first.count, keys_of(second),
                               keys_of(second) + second.count, same_line);
  diagnostics.report(same ? Problem::DOUBLE_SECTION : Problem::DIFFERENT_SECTION, second.place(), second.name,
                     "the first one");
}

std::optional<std::string> read_stream(std::istream& stream, Diagnostics& diagnostics) {
  constexpr std::size_t kBlock = 65536;
  std::string bytes;
  while (stream.good()) {
    const std::size_t before = bytes.size();
    bytes.resize(before + kBlock);
    stream.read(&bytes[before], static_cast<std::streamsize>(kBlock));
    bytes.resize(before + static_cast<std::size_t>(stream.gcount()));
    if (bytes.size() > kMostBytes) {
      diagnostics.report(Problem::TOO_LARGE, {});
      return std::nullopt;
    }
  }
  if (stream.bad() || !stream.eof()) {
    diagnostics.report(Problem::UNREADABLE, {});
    return std::nullopt;
  }
  return bytes;
}

std::optional<std::string_view> description_text(std::string_view bytes, Diagnostics& diagnostics) {
  if (starts_with(bytes, "\xEF\xBB\xBF")) bytes.remove_prefix(3);
  const std::size_t last = bytes.find_last_not_of('\0');
  const std::string_view text = bytes.substr(0, last == std::string_view::npos ? 0 : last + 1);
  if (looks_like_utf16(text)) {
    diagnostics.report(Problem::UTF16, {});
    return std::nullopt;
  }
  if (text.find('\0') != std::string_view::npos || (text.empty() && !bytes.empty())) {
    diagnostics.report(Problem::BINARY, {});
    return std::nullopt;
  }
  if (text.size() != bytes.size()) {
    diagnostics.report(Problem::NUL_PADDING, {}, {}, "the text before them");
  }
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  if (first != std::string_view::npos && text[first] == '<') {
    diagnostics.report(Problem::MARKUP, {});
    return std::nullopt;
  }
  return before_end_of_file(text, diagnostics);
}

std::optional<DescriptionText> split_description(std::string_view bytes, Diagnostics& diagnostics) {
  const auto text = description_text(bytes, diagnostics);
  if (!text) return std::nullopt;
  DescriptionText result = Splitter(*text, diagnostics).split();
  if (result.sections.empty()) {
    diagnostics.report(Problem::EMPTY, {});
    return std::nullopt;
  }
  return result;
}

}  // namespace nkr::tools

#ifndef NKR_TOOLS_SRC_TEXT_INILINES_HPP
#define NKR_TOOLS_SRC_TEXT_INILINES_HPP

#include <cstddef>
#include <string_view>

namespace nkr::tools {

/** Without the blanks and tabs at both ends. Other white space belongs to the text. */
[[nodiscard]] std::string_view trim(std::string_view text);

/** Equal but for the case of ASCII letters. */
[[nodiscard]] bool equal_without_case(std::string_view a, std::string_view b);

/** One line of a text: what it holds, and the bytes that end it (none at the end of the text). */
struct TextLine {
  std::string_view text;
  std::string_view ending;
  std::size_t number = 0;  ///< counted from 1
};

/** Walks over the lines of a text; CRLF, LF and a lone CR end a line. Linear in the text's length. */
class LineReader {
 public:
  explicit LineReader(std::string_view text) : text_(text) {}

  /** Takes the next line; false at the end. */
  bool next(TextLine& line);

 private:
  std::size_t end_of_line(std::size_t from);

  std::string_view text_;
  std::size_t at_ = 0;
  std::size_t next_line_feed_ = 0;
  std::size_t number_ = 0;
};

/** What a line of an INI text says. */
struct IniLine {
  enum class Kind { BLANK, COMMENT, SECTION, ENTRY, UNCLEAR };
  Kind kind = Kind::BLANK;
  std::string_view name;   ///< SECTION: its name; ENTRY: the key. Trimmed
  std::string_view value;  ///< ENTRY: what follows the first "=", trimmed
  bool closed = true;      ///< SECTION: its "]" is there
  std::string_view rest;   ///< SECTION: what follows the "]", trimmed
  bool spaced = false;     ///< ENTRY: blanks stand around the "="
};

[[nodiscard]] IniLine read_ini_line(std::string_view line);

}  // namespace nkr::tools

#endif

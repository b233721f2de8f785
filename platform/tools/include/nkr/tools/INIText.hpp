#ifndef NKR_TOOLS_INITEXT_HPP
#define NKR_TOOLS_INITEXT_HPP

#include <nkr/export.h>

#include <cstddef>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace nkr::tools {

/** An INI text line by line, read by the rules of INIParserClass, for who tells people what stands where. */
struct NKR_EXPORT INIText {
  struct Section {
    std::string name;
    std::size_t line = 0;  ///< counted from 1
  };
  struct Entry {
    std::string section;  ///< "" before the first section
    std::string key;
    std::string value;  ///< without quotes and comment
    std::size_t line = 0;
  };
  struct UnclearLine {
    std::string text;
    std::size_t line = 0;
  };

  std::vector<Section> sections;     ///< in the order of the text; one that stands twice is there twice
  std::vector<Entry> entries;        ///< in the order of the text, repeated keys too
  std::vector<UnclearLine> unclear;  ///< lines that are no INI, for which INIParserClass refuses the text

  /**
   * Reads the whole stream.
   * @return false when it is no text (a NUL byte), larger than 16 MiB, or cannot be read; `text` stays
   */
  [[nodiscard]] static bool read(std::istream& stream, INIText& text);
};

/** The whole text as an int, decimal or 0x hexadecimal, as INIParserClass::getInteger takes it. */
[[nodiscard]] NKR_EXPORT std::optional<int> ini_integer(std::string_view text);
/** The whole text as a finite number with a decimal point, as INIParserClass::getDouble takes it. */
[[nodiscard]] NKR_EXPORT std::optional<double> ini_real(std::string_view text);

}  // namespace nkr::tools

#endif

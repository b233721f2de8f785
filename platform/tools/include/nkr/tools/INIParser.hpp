#ifndef NKR_TOOLS_INIPARSER_HPP
#define NKR_TOOLS_INIPARSER_HPP

#include <nkr/export.h>

#include <iosfwd>
#include <memory>
#include <string>

namespace nkr::tools {

/**
 * Reader of an INI text: `[section]`, `key = value`, comments after `;` or `#` at the start of a line or
 * behind a blank. A value in double quotes is taken as it stands. Keys before the first section belong to
 * section "". Section and key names are compared exactly. The first of two equal keys holds. A line that is
 * none of these fails the reading. Any thread may look up, also while another parses.
 */
class NKR_EXPORT INIParserClass {
 public:
  INIParserClass();
  ~INIParserClass();
  INIParserClass(const INIParserClass&) = delete;
  INIParserClass& operator=(const INIParserClass&) = delete;

  /**
   * Reads the whole stream.
   * @param replace  true: the content is replaced; false: keys are added to it, and the new ones hold
   * @return false when the text is no INI text; the old content is kept then
   */
  [[nodiscard]] bool parse(std::istream& stream, bool replace);

  /** Writes the value and returns true when the section has the key with a whole number that an int holds. */
  [[nodiscard]] bool getInteger(const std::string& key, int& value, const std::string& section) const;
  /** Writes the value and returns true when the section has the key. */
  [[nodiscard]] bool getString(const std::string& key, std::string& value, const std::string& section) const;
  /** Writes the value and returns true when the section has the key with a number (decimal point). */
  [[nodiscard]] bool getDouble(const std::string& key, double& value, const std::string& section) const;
  /** True when the section stands in the text, with keys or without. */
  [[nodiscard]] bool hasSection(const std::string& section) const;

 private:
  struct NKR_HIDDEN Content;
  std::unique_ptr<Content> content_;
};

/** The process-wide reader. */
class NKR_EXPORT INIParser {
 public:
  static INIParserClass& instance();
};

}  // namespace nkr::tools

#endif

#ifndef NKR_TOOLS_SRC_EDS_DIAGNOSTICS_HPP
#define NKR_TOOLS_SRC_EDS_DIAGNOSTICS_HPP

#include <cstddef>
#include <cstdint>
#include <nkr/tools/Diagnostic.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace nkr::tools {

/** Everything that a description file can have wrong; severity, text and cure of each stand in one table. */
enum class Problem : std::uint8_t {
  // Nothing sound can be read.
  UNREADABLE,
  TOO_LARGE,
  EMPTY,
  UTF16,
  BINARY,
  MARKUP,
  OTHER_DIALECT,
  NO_OBJECTS,
  TOO_MANY_OBJECTS,
  // The text.
  NUL_PADDING,
  AFTER_END_OF_FILE,
  NOT_UTF8,
  CONTROL_CHARACTER,
  LINE_TOO_LONG,
  LINE_CUT,
  UNCLEAR_LINE,
  EMPTY_KEY,
  BLANK,
  OUTSIDE_SECTION,
  UNTERMINATED_HEADER,
  AFTER_HEADER,
  // Sections and keys.
  SECTION_NAME,
  INDEX_RANGE,
  SUBINDEX_RANGE,
  DOUBLE_SECTION,
  DOUBLE_KEY,
  UNKNOWN_SECTION,
  UNKNOWN_KEY,
  COMMISSIONING_SPELLING,
  MISSING_SECTION,
  // The object lists.
  LIST_ENTRY,
  LISTED_TWICE,
  LIST_COUNT,
  NOT_LISTED,
  LISTED_NOT_DESCRIBED,
  MANDATORY_OBJECT,
  // Objects.
  NO_NAME,
  NAME_TOO_LONG,
  DOUBLE_NAME,
  OBJECT_TYPE,
  DATA_TYPE,
  NO_DATA_TYPE,
  ACCESS_TYPE,
  ACCESS_CASE,
  NO_ACCESS_TYPE,
  PDO_MAPPING,
  EMPTY_VALUE,
  VALUE_UNREADABLE,
  VALUE_RANGE,
  NODE_ID_ORDER,
  INLINE_COMMENT,
  LIMIT_ON_OTHER,
  LIMITS_CROSSED,
  DEFAULT_OUTSIDE_LIMITS,
  // Arrays and records.
  ORPHAN,
  SUB_OF_VARIABLE,
  NO_SUBS,
  NO_SUB0,
  SUB_NUMBER,
  COMPACT_COUNT,
  COMPACT_TEXT,
  COMPACT_LIST_ENTRY,
  COMPACT_LIST_ALONE,
  // Numbers outside the objects.
  INFO_NUMBER,
};

/** Where something stands. */
struct Place {
  std::size_t line = 0;
  std::string_view section;
};

/** Collects what a reading has to say; bounded in number, in printable words. */
class Diagnostics {
 public:
  /** @param detail  text of the file that shows the problem  @param taken  what was taken instead */
  void report(Problem problem, Place place, std::string_view detail = {}, std::string_view taken = {});

  /** True when the file deviates from CiA 306. */
  [[nodiscard]] bool deviates() const { return deviates_; }
  [[nodiscard]] bool failed() const { return failed_; }

  /** All of them, in the order of their lines; the last says how many were left out, if any. */
  [[nodiscard]] std::vector<Diagnostic> take();

 private:
  void add(Problem problem, Place place, std::string_view detail, std::string_view taken);

  std::vector<Diagnostic> list_;
  std::vector<std::uint32_t> count_;
  std::size_t left_out_ = 0;
  bool deviates_ = false;
  bool failed_ = false;
};

}  // namespace nkr::tools

#endif

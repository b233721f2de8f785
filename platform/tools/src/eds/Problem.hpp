#ifndef NKR_TOOLS_SRC_EDS_PROBLEM_HPP
#define NKR_TOOLS_SRC_EDS_PROBLEM_HPP

#include <cstdint>
#include <string_view>

namespace nkr::tools {

/**
 * Everything that a description file can have wrong; code, severity, text and cure of each stand in one table
 * (Problem.cpp). What the reader meets comes first, what only a check looks for follows.
 */
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
  DIFFERENT_SECTION,
  DOUBLE_KEY,
  DIFFERENT_KEY,
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
  EMPTY_INFO,
  // Checks of the text.
  NOT_ASCII,
  LINE_END,
  INDENTED,
  COMMENT_AFTER_NUMBER,
  // Checks of [FileInfo], [DeviceInfo] and the other sections outside the objects.
  FILE_VERSION,
  EDS_VERSION,
  DATE,
  TIME,
  TEXT_TOO_LONG,
  IDENTITY,
  IDENTITY_OPEN,
  BAUD_RATE,
  DEVICE_FLAG,
  DEVICE_FLAG_ABSENT,
  GRANULARITY,
  OLD_KEY,
  DYNAMIC_CHANNELS,
  DUMMY_USAGE,
  COMMENT_LINES,
  OBJECT_LINKS,
  // Checks of the object lists.
  LIST_ABSENT,
  LIST_NUMBERING,
  WRONG_LIST,
  // Checks of objects.
  SECTION_SPELLING,
  KEY_NOT_USED,
  DOMAIN_TYPE,
  UNKNOWN_DATA_TYPE,
  ARRAY_TYPES,
  SUB0_TYPE,
  SUB0_VALUE,
  QUOTED_TEXT,
  NODE_ID_FORM,
  NODE_ID_RANGE,
  OBJ_FLAGS,
  COMPACT_SUB_NUMBER,
  COMPACT_LIST_COUNT,
  COMPACT_VALUE,
  // Checks of PDOs and COB-IDs.
  PDO_COUNT,
  PDO_WITHOUT_MAPPING,
  COMPACT_PDO,
  MAPPING_TARGET,
  MAPPING_DUMMY,
  MAPPING_NOT_ALLOWED,
  MAPPING_LENGTH,
  MAPPING_DIRECTION,
  MAPPING_ACCESS,
  MAPPING_BITS,
  MAPPING_COUNT,
  COB_ID_PREDEFINED,
  COB_ID_RESTRICTED,
  COB_ID_ZERO,
  COB_ID_TWICE,
  // Checks of a DCF.
  COMMISSIONED_NODE,
  COMMISSIONED_RATE,
  COMMISSIONED_NUMBER,
  COMMISSIONED_SERIAL,
  LAST_EDS,
  CONSTANT_VALUE,
  FILE_OF_OTHER,
  FILE_OUTSIDE,
  // Checks of modular devices.
  MODULE_ABSENT,
  MODULE_INFO,
  MODULE_OBJECTS,
  MODULE_EXTENSION,
  CONNECTED_MODULE,
  COUNT,
};

/** What is said of a problem. */
struct ProblemRow {
  /** What a problem means to EDSParser. */
  enum class Reading : std::uint8_t {
    ALLOWED,   ///< a strict reading takes it
    DEVIATES,  ///< a strict reading refuses the file
    FATAL,     ///< nothing sound can be read
  };
  /** How a check ranks it. */
  enum class Grade : std::uint8_t {
    ERROR,    ///< what it names is ambiguous or cannot be used
    WARNING,  ///< a deviation
    MINOR,    ///< a small deviation: a note
    ALLOWED,  ///< no deviation: a note
  };
  Problem problem;
  std::string_view code;
  Reading reading;
  Grade grade;
  std::string_view text;
  std::string_view cure;
  bool once = false;  ///< one line for the whole file says where it begins and how often it stands
};

[[nodiscard]] const ProblemRow& row_of(Problem problem);

}  // namespace nkr::tools

#endif

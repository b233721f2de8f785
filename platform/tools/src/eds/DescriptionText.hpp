#ifndef NKR_TOOLS_SRC_EDS_DESCRIPTIONTEXT_HPP
#define NKR_TOOLS_SRC_EDS_DESCRIPTIONTEXT_HPP

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "eds/Diagnostics.hpp"

namespace nkr::tools {

/** Keys that an object's section may hold (CiA 306). */
enum class Key : std::uint8_t {
  UNKNOWN,
  PARAMETER_NAME,
  OBJECT_TYPE,
  DATA_TYPE,
  ACCESS_TYPE,
  DEFAULT_VALUE,
  PARAMETER_VALUE,
  LOW_LIMIT,
  HIGH_LIMIT,
  PDO_MAPPING,
  SUB_NUMBER,
  COMPACT_SUB_OBJ,
  OBJ_FLAGS,
  DENOTATION,
  UPLOAD_FILE,
  DOWNLOAD_FILE,
  PARAM_REFD,
  SRDO_MAPPING,
  INVERTED_SRAD,
  COUNT,
};

/** A known key as CiA 306 spells it. */
[[nodiscard]] std::string_view key_name(Key key);

/** One key=value line; the texts are bytes of the file. */
struct KeyLine {
  std::string_view name;
  std::string_view value;
  std::uint32_t line = 0;
  Key key = Key::UNKNOWN;
};

/** What a section describes. */
enum class SectionKind : std::uint8_t {
  OBJECT,       ///< [IIII]
  NAMES,        ///< [IIIIName]
  VALUES,       ///< [IIIIValue]
  DENOTATIONS,  ///< [IIIIDenotation]
  LINKS,        ///< [IIIIObjectLinks]
  SUB,          ///< [IIIIsubS]
  OBJECT_LIST,  ///< [MandatoryObjects] and the like
  INFO,         ///< [DeviceInfo] and the like
  IGNORED,      ///< no sound name: its keys belong to nothing
};

/** One section: its name, and which of the key lines are its own. */
struct Section {
  SectionKind kind = SectionKind::IGNORED;
  std::uint8_t subindex = 0;
  std::uint16_t index = 0;
  std::uint32_t line = 0;
  std::size_t first = 0;
  std::size_t count = 0;
  std::string_view name;

  [[nodiscard]] Place at(const KeyLine& key) const { return {key.line, name, key.name}; }
  [[nodiscard]] Place place() const { return {line, name}; }
};

/** Sections and key lines of a description file, in the order of the file. */
struct DescriptionText {
  std::vector<Section> sections;
  std::vector<KeyLine> keys;
};

/** Reports a key that stands twice in a section, and whether the two differ. */
void report_double(const KeyLine& first, const KeyLine& second, const Section& section,
                   Diagnostics& diagnostics);
/** Reports a section that stands twice, and whether the two differ. */
void report_double(const DescriptionText& text, const Section& first, const Section& second,
                   Diagnostics& diagnostics);

/** The whole stream, or nothing when it cannot be read or is larger than any description. */
[[nodiscard]] std::optional<std::string> read_stream(std::istream& stream, Diagnostics& diagnostics);

/**
 * The text of a file's bytes: without byte-order mark, padding and what follows an end-of-file mark. A part
 * of `bytes`, or nothing when they are no text.
 */
[[nodiscard]] std::optional<std::string_view> description_text(std::string_view bytes,
                                                               Diagnostics& diagnostics);

/** Splits a file into sections and keys; nothing when it is no text of that kind. Views into `bytes`. */
[[nodiscard]] std::optional<DescriptionText> split_description(std::string_view bytes,
                                                               Diagnostics& diagnostics);

}  // namespace nkr::tools

#endif

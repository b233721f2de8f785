#ifndef NKR_TOOLS_SRC_EDS_VALUETEXT_HPP
#define NKR_TOOLS_SRC_EDS_VALUETEXT_HPP

#include <cstdint>
#include <nkr/tools/ObjectEntry.hpp>
#include <string>
#include <string_view>

namespace nkr::tools {

/**
 * What stands before a comment behind a value: before a ";", or before a blank and "#". For everything that
 * is no free text: numbers, access types.
 */
[[nodiscard]] std::string_view without_comment(std::string_view text);
/** True when a comment stands behind a value. */
[[nodiscard]] bool has_comment(std::string_view text);

/** Octets as pairs of hexadecimal digits; blanks may stand between them. */
[[nodiscard]] bool is_octets(std::string_view text);

/** A value text for a message: 0xFFFF in an INTEGER16 is "0xFFFF (-1 in an INTEGER16)". */
[[nodiscard]] std::string explained(std::string_view text, DataType type);

/** A number as the files have it: 0x8, 0x10000. */
[[nodiscard]] std::string hexadecimal(std::int64_t value);

/** Name of an integer type: "INTEGER16"; empty for any other type. */
[[nodiscard]] std::string integer_name(DataType type);

}  // namespace nkr::tools

#endif

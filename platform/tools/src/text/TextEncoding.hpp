#ifndef NKR_TOOLS_SRC_TEXT_TEXTENCODING_HPP
#define NKR_TOOLS_SRC_TEXT_TEXTENCODING_HPP

#include <cstddef>
#include <string>
#include <string_view>

namespace nkr::tools {

/** Length of the UTF-8 sequence that the text starts with; 0 when it starts with none. */
[[nodiscard]] std::size_t utf8_sequence_length(std::string_view text);
[[nodiscard]] bool is_utf8(std::string_view text);
[[nodiscard]] bool is_ascii(std::string_view text);

/** A control character of ASCII, but for the tab. */
[[nodiscard]] bool is_control(char c);

/** The text as UTF-8: kept where it is valid, else read as windows-1252. */
[[nodiscard]] std::string to_utf8(std::string_view text);
/** A UTF-8 text in windows-1252; what that code lacks becomes a question mark. */
[[nodiscard]] std::string to_windows_1252(std::string_view utf8);

/** The text for a message: valid UTF-8, everything that is no printable character escaped, cut when long. */
[[nodiscard]] std::string printable(std::string_view text);

/** The text cut to a number of bytes, never inside a UTF-8 sequence. */
[[nodiscard]] std::string_view cut_utf8(std::string_view text, std::size_t bytes);

}  // namespace nkr::tools

#endif

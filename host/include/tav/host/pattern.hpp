#ifndef TAV_HOST_PATTERN_HPP
#define TAV_HOST_PATTERN_HPP

#include <nkr/export.h>

#include <string_view>

namespace tav::host {

/** Whether `part` stands anywhere in `text`; ASCII letters are compared without case. */
[[nodiscard]] NKR_EXPORT bool contains_without_case(std::string_view text, std::string_view part);

/** Whether the whole text fits the pattern, in which `*` stands for any text and `?` for one character;
 * without case. A pattern without either fits every text that contains it. */
[[nodiscard]] NKR_EXPORT bool matches(std::string_view text, std::string_view pattern);

}  // namespace tav::host

#endif

#ifndef TAVCTL_MODEL_PATTERN_HPP
#define TAVCTL_MODEL_PATTERN_HPP

#include <string_view>

namespace tavctl {

/** Whether `part` stands anywhere in `text`; ASCII letters are compared without case. */
[[nodiscard]] bool contains_without_case(std::string_view text, std::string_view part);

/** Whether the whole text fits the pattern, in which `*` stands for any text and `?` for one character;
 * without case. A pattern without either fits every text that contains it. */
[[nodiscard]] bool matches(std::string_view text, std::string_view pattern);

}  // namespace tavctl

#endif

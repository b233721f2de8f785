#ifndef NKR_TOOLS_SRC_LINT_NUMBEREDKEYS_HPP
#define NKR_TOOLS_SRC_LINT_NUMBEREDKEYS_HPP

#include "lint/DescriptionView.hpp"

namespace nkr::tools {

/** True for a text of decimal digits alone, one at least. */
[[nodiscard]] bool all_digits(std::string_view text);

/** The keys of a section that are a word and a decimal number ("Line3", or "3" when the word is empty). */
struct NumberedKeys {
  std::size_t entries = 0;
  bool in_sequence = false;  ///< their numbers are 1, 2, 3 ...
};
[[nodiscard]] NumberedKeys numbered_keys(const DescriptionView& view, const Section& section,
                                         std::string_view word);

/** True when the numbers are 1, 2, 3 ... and the count that the section states is theirs. */
[[nodiscard]] bool is_counted(const DescriptionView& view, const Section& section, std::string_view count_key,
                              std::string_view word);

}  // namespace nkr::tools

#endif

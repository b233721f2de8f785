#ifndef TAVCTL_CLI_FORMAT_HPP
#define TAVCTL_CLI_FORMAT_HPP

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

namespace tavctl {

/** The text, filled with blanks to `width` columns and at least one blank behind it. */
[[nodiscard]] inline std::string padded(std::string_view text, std::size_t width) {
  std::string result(text);
  result.resize(std::max(width, text.size() + 1), ' ');
  return result;
}

}  // namespace tavctl

#endif

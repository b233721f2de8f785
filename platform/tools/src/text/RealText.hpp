#ifndef NKR_TOOLS_REALTEXT_HPP
#define NKR_TOOLS_REALTEXT_HPP

#include <optional>
#include <string_view>

namespace nkr::tools {

/** The whole text as a finite number with a point as decimal sign, whatever the locale; a sign may stand
 * first. */
[[nodiscard]] std::optional<double> real_in(std::string_view text);

}  // namespace nkr::tools

#endif

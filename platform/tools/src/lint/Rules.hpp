#ifndef NKR_TOOLS_SRC_LINT_RULES_HPP
#define NKR_TOOLS_SRC_LINT_RULES_HPP

#include <array>
#include <cstddef>

#include "lint/DescriptionView.hpp"

namespace nkr::tools {

/** Some of the rules, in the order in which they are looked at. */
struct RuleTable {
  const Rule* first = nullptr;
  std::size_t count = 0;

  [[nodiscard]] const Rule* begin() const { return first; }
  [[nodiscard]] const Rule* end() const { return first + count; }
};

template <std::size_t kCount>
RuleTable table_of(const std::array<Rule, kCount>& rules) {
  return {rules.data(), kCount};
}

// The rules of CiA 306 that a reader does not meet by itself, by what they are about.
[[nodiscard]] RuleTable text_rules();
[[nodiscard]] RuleTable info_rules();
[[nodiscard]] RuleTable list_rules();
[[nodiscard]] RuleTable object_rules();
[[nodiscard]] RuleTable compact_rules();
[[nodiscard]] RuleTable pdo_rules();
[[nodiscard]] RuleTable cob_id_rules();
[[nodiscard]] RuleTable commissioning_rules();
[[nodiscard]] RuleTable module_rules();

}  // namespace nkr::tools

#endif

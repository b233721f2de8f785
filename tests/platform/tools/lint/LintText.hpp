#ifndef TESTS_PLATFORM_TOOLS_LINT_LINTTEXT_HPP
#define TESTS_PLATFORM_TOOLS_LINT_LINTTEXT_HPP

#include <nkr/tools/EDSLint.hpp>
#include <sstream>
#include <string>

namespace tavtest {

/** What a check says of a text. */
inline nkr::tools::LintResult lint(const std::string& text) {
  std::istringstream stream(text);
  return nkr::tools::lint_description(stream);
}

/** Every remark as text, for a test's message. */
inline std::string all_of(const nkr::tools::LintResult& result) {
  std::string text;
  for (const auto& d : result.diagnostics) {
    text +=
        std::to_string(d.line) + " [" + d.section + "] " + d.key + ": " + d.code + ": " + d.problem + '\n';
  }
  return text;
}

}  // namespace tavtest

#endif

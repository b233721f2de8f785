#include <algorithm>
#include <nkr/tools/EDSLint.hpp>
#include <nkr/tools/EDSParser.hpp>

namespace nkr::tools {

LintResult lint_description(std::istream& stream) {
  EDSParser parser;
  LintResult result;
  result.readable = parser.parse(stream, false);
  result.diagnostics = parser.diagnostics();
  const auto is_note = [](const Diagnostic& d) { return d.severity == Diagnostic::Severity::NOTE; };
  result.conforming =
      result.readable && std::all_of(result.diagnostics.begin(), result.diagnostics.end(), is_note);
  return result;
}

}  // namespace nkr::tools

#include <nkr/tools/EDSLint.hpp>

#include "eds/DescriptionContent.hpp"
#include "lint/Rules.hpp"

namespace nkr::tools {

namespace {

void check(const DescriptionView& view, Diagnostics& diagnostics) {
  for (const auto& table : {text_rules, info_rules, list_rules, object_rules, compact_rules, pdo_rules,
                            cob_id_rules, commissioning_rules, module_rules}) {
    for (const Rule& rule : table()) rule.check(view, Findings(rule.problem, diagnostics));
  }
}

/** True when the reader reads the file. */
bool read_and_check(std::istream& stream, Diagnostics& diagnostics) {
  const auto bytes = read_stream(stream, diagnostics);
  if (!bytes) return false;
  const auto text = split_description(*bytes, diagnostics);
  if (!text) return false;
  DescriptionContent content;
  if (!read_content(*text, content, diagnostics)) return false;
  check(DescriptionView(*bytes, *text, content), diagnostics);
  return true;
}

}  // namespace

LintResult lint_description(std::istream& stream) {
  Diagnostics diagnostics(Diagnostics::Purpose::CHECK);
  LintResult result;
  result.readable = read_and_check(stream, diagnostics);
  result.conforming = result.readable && !diagnostics.broken();
  result.diagnostics = diagnostics.take();
  return result;
}

}  // namespace nkr::tools

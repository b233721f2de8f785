// How the text is written: characters, lines, comments (CiA 306, 4.1 and 4.2).
#include <nkr/tools/ObjectValue.hpp>

#include "eds/ValueText.hpp"
#include "lint/Rules.hpp"
#include "text/IniLines.hpp"
#include "text/TextEncoding.hpp"

namespace nkr::tools {

namespace {

template <typename Visit>
void for_each_line(const DescriptionView& view, Visit visit) {
  LineReader lines(view.bytes());
  TextLine line;
  while (lines.next(line)) visit(line);
}

void check_characters(const DescriptionView& view, const Findings& findings) {
  if (is_ascii(view.bytes())) return;
  for_each_line(view, [&findings](const TextLine& line) {
    const bool mark = line.number == 1 && line.text.substr(0, 3) == "\xEF\xBB\xBF";
    const std::string_view text = mark ? line.text.substr(3) : line.text;
    // Text that is no UTF-8 is told of by the reader.
    if (!is_ascii(text) && is_utf8(text)) findings.add({line.number}, text);
  });
}

void check_line_ends(const DescriptionView& view, const Findings& findings) {
  for_each_line(view, [&findings](const TextLine& line) {
    if (line.ending == "\r") findings.add({line.number});
  });
}

void check_first_column(const DescriptionView& view, const Findings& findings) {
  for_each_line(view, [&findings](const TextLine& line) {
    const std::string_view text = trim(line.text);
    const bool marked = !text.empty() && (text.front() == '[' || text.front() == ';');
    if (marked && text.front() != line.text.front()) findings.add({line.number}, line.text);
  });
}

bool is_number_with_comment(std::string_view text) {
  return has_comment(text) && number_of(text).has_value();
}

/** Numbers outside the objects; those of the objects are told of by the reader. */
void check_comments_after_numbers(const DescriptionView& view, const Findings& findings) {
  for (const Section& section : view.text().sections) {
    const bool texts =
        equal_without_case(section.name, "FileInfo") || equal_without_case(section.name, "Comments");
    const bool outside = section.kind == SectionKind::INFO || section.kind == SectionKind::OBJECT_LIST;
    if (!outside || texts) continue;
    for (const auto* line = view.begin(section); line != view.end(section); ++line) {
      // Count=0;8 of a module has two numbers.
      if (is_number_with_comment(line->value) && !equal_without_case(line->name, "Count")) {
        findings.add(section.at(*line), line->value, "the number before it");
      }
    }
  }
}

constexpr std::array kRules = {
    Rule{Problem::NOT_ASCII, check_characters},
    Rule{Problem::LINE_END, check_line_ends},
    Rule{Problem::INDENTED, check_first_column},
    Rule{Problem::COMMENT_AFTER_NUMBER, check_comments_after_numbers},
};

}  // namespace

RuleTable text_rules() {
  return table_of(kRules);
}

}  // namespace nkr::tools

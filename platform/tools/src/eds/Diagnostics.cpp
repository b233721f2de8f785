#include "eds/Diagnostics.hpp"

#include <algorithm>
#include <iterator>

#include "text/TextEncoding.hpp"

namespace nkr::tools {

namespace {

using Severity = Diagnostic::Severity;
using Reading = ProblemRow::Reading;
using Grade = ProblemRow::Grade;

// Enough to see every problem of a sound file; a hopeless one does not fill the memory.
constexpr std::size_t kMost = 1000;
constexpr std::uint32_t kMostOfOneKind = 200;

Severity severity_of_reading(Reading reading) {
  if (reading == Reading::FATAL) return Severity::ERROR;
  return reading == Reading::DEVIATES ? Severity::WARNING : Severity::NOTE;
}

Severity severity_of_grade(Grade grade) {
  if (grade == Grade::ERROR) return Severity::ERROR;
  return grade == Grade::WARNING ? Severity::WARNING : Severity::NOTE;
}

}  // namespace

Severity Diagnostics::severity_of(const ProblemRow& row) const {
  return purpose_ == Purpose::READING ? severity_of_reading(row.reading) : severity_of_grade(row.grade);
}

std::vector<Diagnostic>& Diagnostics::list_of(Severity severity) {
  return lists_[severity == Severity::ERROR ? 0 : severity == Severity::WARNING ? 1 : 2];
}

void Diagnostics::report(Problem problem, Place place, std::string_view detail, std::string_view taken) {
  const ProblemRow& row = row_of(problem);
  deviates_ = deviates_ || row.reading != Reading::ALLOWED;
  failed_ = failed_ || row.reading == Reading::FATAL;
  broken_ = broken_ || row.grade != Grade::ALLOWED;
  seen_.resize(static_cast<std::size_t>(Problem::COUNT));
  Seen& seen = seen_[static_cast<std::size_t>(problem)];
  std::vector<Diagnostic>& list = list_of(severity_of(row));
  if (++seen.count == 1) seen.first = list.size();
  if (row.once && seen.count > 1) return;
  if (seen.count > kMostOfOneKind || list.size() >= kMost) {
    ++left_out_;
    return;
  }
  list.push_back(make(row, place, detail, taken));
  list.back().severity = severity_of(row);
}

Diagnostic Diagnostics::make(const ProblemRow& row, Place place, std::string_view detail,
                             std::string_view taken) {
  Diagnostic diagnostic;
  diagnostic.deviation = row.grade != Grade::ALLOWED;
  diagnostic.code = row.code;
  diagnostic.line = place.line;
  diagnostic.section = printable(place.section);
  diagnostic.key = printable(place.key);
  diagnostic.problem = row.text;
  if (!detail.empty()) diagnostic.problem += ": " + printable(detail);
  diagnostic.taken = printable(taken);
  diagnostic.cure = row.cure;
  return diagnostic;
}

/** Tells how often the problems stand that have one line for the whole file. */
void Diagnostics::count_repetitions() {
  for (std::size_t i = 0; i < seen_.size(); ++i) {
    const ProblemRow& row = row_of(static_cast<Problem>(i));
    const Seen& seen = seen_[i];
    std::vector<Diagnostic>& list = list_of(severity_of(row));
    if (!row.once || seen.count < 2 || seen.first >= list.size()) continue;
    list[seen.first].problem += " (the first of " + std::to_string(seen.count) + ")";
  }
}

std::vector<Diagnostic> Diagnostics::take() {
  count_repetitions();
  std::vector<Diagnostic> all;
  for (std::vector<Diagnostic>& list : lists_) {
    const std::size_t room = std::min(list.size(), kMost - all.size());
    left_out_ += list.size() - room;
    std::move(list.begin(), list.begin() + static_cast<std::ptrdiff_t>(room), std::back_inserter(all));
    list.clear();
  }
  std::stable_sort(all.begin(), all.end(),
                   [](const Diagnostic& a, const Diagnostic& b) { return a.line < b.line; });
  if (left_out_ != 0) {
    Diagnostic rest;
    rest.severity = Severity::NOTE;
    rest.deviation = false;
    rest.code = "left-out";
    rest.problem = std::to_string(left_out_) + " more problems are left out";
    rest.cure = "cure the ones above first";
    all.push_back(std::move(rest));
  }
  return all;
}

}  // namespace nkr::tools

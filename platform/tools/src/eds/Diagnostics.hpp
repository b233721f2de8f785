#ifndef NKR_TOOLS_SRC_EDS_DIAGNOSTICS_HPP
#define NKR_TOOLS_SRC_EDS_DIAGNOSTICS_HPP

#include <array>
#include <cstddef>
#include <cstdint>
#include <nkr/tools/Diagnostic.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "eds/Problem.hpp"

namespace nkr::tools {

/** Where something stands, and the key that it is about. */
struct Place {
  std::size_t line = 0;
  std::string_view section = {};
  std::string_view key = {};
};

/** Collects what a reading or a check has to say; bounded in number, in printable words. */
class Diagnostics {
 public:
  /** Whose severities hold: the reader's, for whom only what is fatal is an error, or the check's. */
  enum class Purpose : std::uint8_t { READING, CHECK };
  explicit Diagnostics(Purpose purpose = Purpose::READING) : purpose_(purpose) {}

  /** @param detail  text of the file that shows the problem  @param taken  what was taken instead */
  void report(Problem problem, Place place, std::string_view detail = {}, std::string_view taken = {});

  /** True when a strict reading refuses the file. */
  [[nodiscard]] bool deviates() const { return deviates_; }
  [[nodiscard]] bool failed() const { return failed_; }
  /** True when a check found something that CiA 306 does not allow. */
  [[nodiscard]] bool broken() const { return broken_; }

  /**
   * All of them, in the order of their lines. Where they are too many the serious ones stay, and the last one
   * says how many were left out.
   */
  [[nodiscard]] std::vector<Diagnostic> take();

 private:
  static constexpr std::size_t kSeverities = 3;

  /** How often a problem was met, and which diagnostic was the first. */
  struct Seen {
    std::uint32_t count = 0;
    std::size_t first = 0;
  };

  [[nodiscard]] Diagnostic::Severity severity_of(const ProblemRow& row) const;
  [[nodiscard]] static Diagnostic make(const ProblemRow& row, Place place, std::string_view detail,
                                       std::string_view taken);
  [[nodiscard]] std::vector<Diagnostic>& list_of(Diagnostic::Severity severity);
  void count_repetitions();

  Purpose purpose_;
  std::array<std::vector<Diagnostic>, kSeverities> lists_;  // most serious first
  std::vector<Seen> seen_;
  std::size_t left_out_ = 0;
  bool deviates_ = false;
  bool failed_ = false;
  bool broken_ = false;
};

}  // namespace nkr::tools

#endif

#ifndef NKR_TOOLS_EDSLINT_HPP
#define NKR_TOOLS_EDSLINT_HPP

#include <nkr/export.h>

#include <iosfwd>
#include <nkr/tools/Diagnostic.hpp>
#include <vector>

namespace nkr::tools {

/** What a description file has wrong, line by line, with the cure of each. */
struct LintResult {
  bool readable = false;    ///< EDSParser reads it
  bool conforming = false;  ///< it keeps every rule of CiA 306: no deviation among the diagnostics
  std::vector<Diagnostic> diagnostics;  ///< by line; bounded in number, all text printable
};

/** Checks an EDS or DCF against every rule of CiA 306 that one file can keep. Opens no other file. */
[[nodiscard]] NKR_EXPORT LintResult lint_description(std::istream& stream);

}  // namespace nkr::tools

#endif

#ifndef NKR_TOOLS_EDSLINT_HPP
#define NKR_TOOLS_EDSLINT_HPP

#include <nkr/export.h>

#include <iosfwd>
#include <nkr/tools/Diagnostic.hpp>
#include <vector>

namespace nkr::tools {

/** What a description file has wrong, line by line, with the cure of each. */
struct LintResult {
  bool readable = false;                ///< EDSParser reads it
  bool conforming = false;              ///< it reads it in strict mode too: nothing but notes
  std::vector<Diagnostic> diagnostics;  ///< by line; bounded in number, all text printable
};

/** Checks an EDS or DCF against CiA 306 and what a host needs of it. Opens no other file. */
[[nodiscard]] NKR_EXPORT LintResult lint_description(std::istream& stream);

}  // namespace nkr::tools

#endif

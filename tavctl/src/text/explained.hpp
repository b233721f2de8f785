#ifndef TAVCTL_TEXT_EXPLAINED_HPP
#define TAVCTL_TEXT_EXPLAINED_HPP

#include <string>
#include <tav/host/Result.hpp>

#include "cli/Failure.hpp"
#include "text/host.hpp"

namespace tavctl {

/**
 * What the host library explains, as the end of a command: exit code, words, the tool's own hints. The one
 * place where its results become failures.
 * @param log  the last failure that the library logged, for results that say nothing else; may be empty
 */
[[nodiscard]] Failure failure_of(const Explanation& explanation, const std::string& log = {});

/** Nothing for success; else throws failure_of() it. */
void see(const Result& result);

/** What a warning says: "WARNING: ...", and below it what is known besides. */
[[nodiscard]] std::string warning_text(const Explanation& explanation);

}  // namespace tavctl

#endif

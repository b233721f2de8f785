#ifndef TAV_HOST_SRC_WORDS_REFUSAL_HPP
#define TAV_HOST_SRC_WORDS_REFUSAL_HPP

#include <string>
#include <tav/host/Result.hpp>
#include <utility>

namespace tav::host {

/** What is not done, before anything is sent: the headline, and what helps or why. */
inline Result refusal(Cause cause, nkr_error_t code, std::string headline, std::string reason = {}) {
  Explanation explanation;
  explanation.cause = cause;
  explanation.code = code;
  explanation.action = std::move(headline);
  explanation.detail = std::move(reason);
  return Result(std::move(explanation));
}

}  // namespace tav::host

#endif

#ifndef TAVCTL_COMMANDS_SESSION_SAFETY_HPP
#define TAVCTL_COMMANDS_SESSION_SAFETY_HPP

#include <optional>
#include <string>
#include <tav/host/safety_reading.hpp>

#include "commands/session/Session.hpp"
#include "text/SafetyFile.hpp"

namespace tavctl {

/** What the drive's safety functions are set to, and whether the signatures fit. Failure when a read failed.
 */
[[nodiscard]] nkr::tavcore::SafetyVerification verified_safety(
    Session& session, const std::optional<SafetyFile>& expected = {});

/** The check of that name ("SLS 3"). Failure(REFUSED) unless the drive's signature agrees. */
void see_signature(Session& session, const std::string& name);

}  // namespace tavctl

#endif

#ifndef TAVCTL_SESSION_SAFETYREADING_HPP
#define TAVCTL_SESSION_SAFETYREADING_HPP

#include <optional>
#include <string>
#include <tavcore/SafetyVerification.hpp>

#include "model/SafetyFile.hpp"
#include "session/Session.hpp"

namespace tavctl {

/** Reads every safety input and signature of the drive and computes the signatures anew. Failure when a read
 * failed. */
[[nodiscard]] nkr::tavcore::SafetyVerification read_safety(Session& session,
                                                           const std::optional<SafetyFile>& expected = {});

/** The configuration that was read, as a file holds it. */
[[nodiscard]] SafetyFile file_of(const nkr::tavcore::SafetyVerification& verification);

/** "STO 1: stored 0x90C2, computed 0x90C2", with what differs marked. */
void print_checks(Output& output, const nkr::tavcore::SafetyVerification& verification);

/** The check of that name ("SLS 3"). Failure(REFUSED) unless the drive's signature agrees. */
void see_signature(Session& session, const std::string& name);

}  // namespace tavctl

#endif

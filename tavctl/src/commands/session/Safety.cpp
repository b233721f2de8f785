#include "commands/session/Safety.hpp"

#include "cli/Progress.hpp"
#include "text/explained.hpp"

namespace tavctl {

using nkr::tavcore::SafetySignatureCheck;
using nkr::tavcore::SafetyVerification;

SafetyVerification verified_safety(Session& session, const std::optional<SafetyFile>& expected) {
  nkr::tavcore::SafetyExpectation expectation;
  if (expected) {
    expectation.configuration = expected->configuration;
    expectation.srdos = expected->srdos;
  }
  SafetyVerification verification;
  const Progress progress(session.output(), "reading the safety configuration");
  see(read_safety(session.unit(), verification, expectation));
  return verification;
}

void see_signature(Session& session, const std::string& name) {
  constexpr int kDigits = 4;
  const SafetyVerification verification = verified_safety(session);
  const SafetySignatureCheck* const check = check_named(verification, name);
  if (check == nullptr) return;
  const std::string stored = hex(check->stored, kDigits);
  session.output().fact("Signature", stored, "signature", stored);
  if (check->agrees()) return;
  throw Failure(
      ExitCode::REFUSED,
      "the signature of " + name + " in the drive is " + stored + ", its configuration asks for " +
          hex(check->computed, kDigits),
      "Give the command again: the signature could not be written. Until then the drive gives no torque.");
}

}  // namespace tavctl

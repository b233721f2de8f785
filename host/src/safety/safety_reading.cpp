#include <algorithm>
#include <tav/host/Unit.hpp>
#include <tav/host/safety_reading.hpp>
#include <tavcore/CANOpenDispatcher.hpp>

namespace tav::host {

using nkr::tavcore::SafetySignatureCheck;
using nkr::tavcore::SafetyVerification;

Result read_safety(const Unit& unit, SafetyVerification& verification,
                   const nkr::tavcore::SafetyExpectation& expectation) {
  verification = nkr::tavcore::verify_safety(*unit.dispatcher(), nkr::tavcore::all_srdos(), expectation);
  return unit.check(verification.result, "read the safety configuration: " + verification.failed_object);
}

const SafetySignatureCheck* check_named(const SafetyVerification& verification, const std::string& name) {
  const auto found = std::find_if(verification.checks.begin(), verification.checks.end(),
                                  [&](const SafetySignatureCheck& check) { return check.name == name; });
  return found == verification.checks.end() ? nullptr : &*found;
}

}  // namespace tav::host

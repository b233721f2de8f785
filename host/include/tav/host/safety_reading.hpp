#ifndef TAV_HOST_SAFETY_READING_HPP
#define TAV_HOST_SAFETY_READING_HPP

#include <nkr/export.h>

#include <string>
#include <tav/host/Result.hpp>
#include <tavcore/SafetyVerification.hpp>

namespace tav::host {

class Unit;

/** Reads every safety input and signature of the drive, and computes the signatures anew: some 400 reads, and
 * no write. Whether they fit is what `verification` says. */
NKR_EXPORT Result read_safety(const Unit& unit, nkr::tavcore::SafetyVerification& verification,
                              const nkr::tavcore::SafetyExpectation& expectation = {});

/** The check of that name ("SLS 3"); null when there is none. */
[[nodiscard]] NKR_EXPORT const nkr::tavcore::SafetySignatureCheck* check_named(
    const nkr::tavcore::SafetyVerification& verification, const std::string& name);

}  // namespace tav::host

#endif

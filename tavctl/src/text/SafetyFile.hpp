#ifndef TAVCTL_TEXT_SAFETYFILE_HPP
#define TAVCTL_TEXT_SAFETYFILE_HPP

#include <string>
#include <tavcore/SafetyVerification.hpp>
#include <tavcore/SignatureCalculator.hpp>
#include <vector>

#include "cli/Output.hpp"
#include "text/host.hpp"

namespace tavctl {

/** A safety configuration as one JSON document: what "tavctl safety show --json" prints under
 * "configuration". */
struct SafetyFile {
  nkr::tavcore::SafetyConfiguration configuration;
  std::vector<nkr::tavcore::SRDOConfiguration> srdos;
};

/** The configuration that was read, as a file holds it. */
[[nodiscard]] inline SafetyFile file_of(const nkr::tavcore::SafetyVerification& verification) {
  return {verification.configuration, verification.srdos};
}

[[nodiscard]] Json json_of(const SafetyFile& file);

/**
 * Reads a document of that form, alone or under "configuration". Every key is wanted, so that nothing is
 * taken as 0 by an oversight. Failure(CONFIGURATION) naming what is missing, of another type or out of range.
 */
[[nodiscard]] SafetyFile load_safety_file(const std::string& path);

/** Name and value of each signature, in the order of a verification. */
struct NamedSignature {
  std::string name;
  std::uint16_t value;
};
[[nodiscard]] std::vector<NamedSignature> computed_signatures(const SafetyFile& file);

}  // namespace tavctl

#endif

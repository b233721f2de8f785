#ifndef TAVCTL_SESSION_CONFIGURATIONTRANSFER_HPP
#define TAVCTL_SESSION_CONFIGURATIONTRANSFER_HPP

#include <string>
#include <vector>

#include "model/ConfigurationFile.hpp"
#include "session/Session.hpp"

namespace tavctl {

/** An object that could not be read or written. */
struct TransferFailure {
  const nkr::tools::ObjectEntry* object;
  nkr_error_t result;
};

/** What was read of the drive, and what could not be. */
struct ReadConfiguration {
  std::vector<ConfiguredValue> values;
  std::vector<TransferFailure> failures;
};
[[nodiscard]] ReadConfiguration read_configuration(Session& session);

/**
 * Writes a configuration in a safe order: PDOs and SRDOs disabled first; what is signed before its signature;
 * what enables or declares valid last. A write that fails is noted and the next one made.
 */
[[nodiscard]] std::vector<TransferFailure> write_configuration(Session& session,
                                                               const std::vector<ConfiguredValue>& values);

/** An object that holds something else than the configuration says. */
struct ConfigurationDifference {
  const nkr::tools::ObjectEntry* object;
  std::string wanted;
  std::string held;  ///< or why it could not be read
};
[[nodiscard]] std::vector<ConfigurationDifference> compare_configuration(
    Session& session, const std::vector<ConfiguredValue>& values);

}  // namespace tavctl

#endif

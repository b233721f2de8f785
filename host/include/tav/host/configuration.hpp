#ifndef TAV_HOST_CONFIGURATION_HPP
#define TAV_HOST_CONFIGURATION_HPP

#include <nkr/export.h>

#include <cstddef>
#include <functional>
#include <string>
#include <tav/host/configuration_file.hpp>
#include <vector>

namespace tav::host {

class Unit;

/** Told how far it is: objects done, and all of them. Must not throw; may be empty. */
using OnProgress = std::function<void(std::size_t done, std::size_t all)>;

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
[[nodiscard]] NKR_EXPORT ReadConfiguration read_configuration(const Unit& unit,
                                                              const OnProgress& on_progress = {});

/**
 * Writes a configuration in a safe order: PDOs and SRDOs disabled first; what is signed before its signature;
 * what enables or declares valid last. A write that fails is noted and the next one made.
 */
[[nodiscard]] NKR_EXPORT std::vector<TransferFailure> write_configuration(
    const Unit& unit, const std::vector<ConfiguredValue>& values, const OnProgress& on_progress = {});

/** An object that holds something else than the configuration says. */
struct ConfigurationDifference {
  const nkr::tools::ObjectEntry* object;
  std::string wanted;
  std::string held;  ///< or why it could not be read
};
[[nodiscard]] NKR_EXPORT std::vector<ConfigurationDifference> compare_configuration(
    const Unit& unit, const std::vector<ConfiguredValue>& values, const OnProgress& on_progress = {});

}  // namespace tav::host

#endif

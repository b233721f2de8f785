#ifndef TAVCTL_COMMANDS_SESSION_CONFIGURATION_HPP
#define TAVCTL_COMMANDS_SESSION_CONFIGURATION_HPP

#include <memory>
#include <tavcore/Config.hpp>

#include "cli/Options.hpp"

namespace tavctl {

/** Loads the configuration that the options name, or the first found in the usual places: share/tav/tav.ini
 * in the folder tavctl runs in, beside the program, as installed. Failure(CONFIGURATION) with the cause. */
[[nodiscard]] std::shared_ptr<nkr::tavcore::Config> load_configuration(const Options& options);

}  // namespace tavctl

#endif

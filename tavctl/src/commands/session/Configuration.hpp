#ifndef TAVCTL_COMMANDS_SESSION_CONFIGURATION_HPP
#define TAVCTL_COMMANDS_SESSION_CONFIGURATION_HPP

#include <tav/host/HostConfiguration.hpp>

#include "cli/Context.hpp"

namespace tavctl {

/** The configuration that the options name, or the first found in the usual places: share/tav/tav.ini in the
 * folder tavctl runs in, beside the program, as installed. Warnings are told. Failure(CONFIGURATION) with
 * every mistake of the file. */
[[nodiscard]] tav::host::HostConfiguration load_machine(const Context& context);

/** The drive of it that the options name. Failure(CONFIGURATION) when there is none, or more than one. */
[[nodiscard]] tav::host::UnitConfiguration load_configuration(const Context& context);

}  // namespace tavctl

#endif

#ifndef TAVCTL_TEXT_EMERGENCYJSON_HPP
#define TAVCTL_TEXT_EMERGENCYJSON_HPP

#include <tav/host/emergencies.hpp>

#include "cli/Json.hpp"
#include "text/host.hpp"

namespace tavctl {

/** An emergency message for programs. */
[[nodiscard]] Json emergency_json(const nkr::canopen::Emergency& emergency,
                                  const nkr::tools::EDSParser& description);

}  // namespace tavctl

#endif

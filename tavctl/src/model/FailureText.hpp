#ifndef TAVCTL_MODEL_FAILURETEXT_HPP
#define TAVCTL_MODEL_FAILURETEXT_HPP

#include <nkr/canopen/RequestFailure.hpp>
#include <string>
#include <utility>
#include <vector>

#include "cli/Output.hpp"

namespace tavctl {

/** All that the client noted of a failed request but its object and code: a label and a text a line. */
[[nodiscard]] std::vector<std::pair<std::string, std::string>> request_lines(
    const nkr::canopen::RequestFailure& request);
/** The whole record for programs. */
[[nodiscard]] Json request_json(const nkr::canopen::RequestFailure& request);

}  // namespace tavctl

#endif

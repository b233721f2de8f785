#ifndef TAVCTL_SESSION_ERRORFIELD_HPP
#define TAVCTL_SESSION_ERRORFIELD_HPP

#include <nkr/canopen/Emergency.hpp>
#include <vector>

#include "session/Session.hpp"

namespace tavctl {

/**
 * The drive's pre-defined error field (object 1003h), newest first, as emergencies: the field holds the code
 * and the first two of the vendor's bytes, and neither time nor error register. Failure when a read failed.
 */
[[nodiscard]] std::vector<nkr::canopen::Emergency> read_error_field(Session& session);

}  // namespace tavctl

#endif

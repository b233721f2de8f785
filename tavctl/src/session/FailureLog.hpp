#ifndef TAVCTL_SESSION_FAILURELOG_HPP
#define TAVCTL_SESSION_FAILURELOG_HPP

#include <tav/host/FailureLog.hpp>

namespace tavctl {

using tav::host::FailureLog;

}  // namespace tavctl

#endif

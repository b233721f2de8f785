#ifndef TAVCTL_SESSION_INTERRUPT_HPP
#define TAVCTL_SESSION_INTERRUPT_HPP

#include <tav/host/Interrupt.hpp>

namespace tavctl {

using Interrupt = tav::host::SignalInterrupt;

}  // namespace tavctl

#endif

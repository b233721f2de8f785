#ifndef TAVCTL_TEXT_HOST_HPP
#define TAVCTL_TEXT_HOST_HPP

#include <tav/host/words.hpp>

namespace tavctl {

// What the tool speaks of is what the host library speaks of.
using namespace tav::host;

}  // namespace tavctl

#endif

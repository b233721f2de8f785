#ifndef TAVCTL_SESSION_NODERESET_HPP
#define TAVCTL_SESSION_NODERESET_HPP

#include <cstdint>

#include "session/Session.hpp"

namespace tavctl {

/**
 * Resets the drive at its present node id and follows it to the id that it has after the reset: waits for its
 * boot-up message there and addresses it there from then on.
 * Failure(NO_ANSWER) when no boot-up message came in time, with the id that is addressed still.
 */
void reset_and_follow(Session& session, std::uint8_t present, std::uint8_t after);

}  // namespace tavctl

#endif

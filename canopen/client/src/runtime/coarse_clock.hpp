#ifndef NKR_CANOPEN_RUNTIME_COARSE_CLOCK_HPP
#define NKR_CANOPEN_RUNTIME_COARSE_CLOCK_HPP

#include <ctime>
#include <nkr/can/Bus.hpp>

namespace nkr::canopen {

/** The time of the kernel's last tick, at most some milliseconds old: for what is told in milliseconds, at a
 * fraction of the cost of the exact time. */
inline can::Clock::time_point coarse_now() {
  timespec now{};
  ::clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
  return can::Clock::time_point(std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec));
}

}  // namespace nkr::canopen

#endif

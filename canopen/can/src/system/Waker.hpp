#ifndef NKR_CAN_SYSTEM_WAKER_HPP
#define NKR_CAN_SYSTEM_WAKER_HPP

#include <poll.h>

#include <nkr/can/Deadline.hpp>

#include "system/Descriptor.hpp"

namespace nkr::can {

/** A flag that poll() can wait for: its descriptor is readable while it is raised. Not thread-safe by itself.
 */
class Waker {
 public:
  /** False without a descriptor: then nothing is woken. */
  bool open();
  void raise(bool raised);
  /** Below 0: none. */
  [[nodiscard]] int descriptor() const { return descriptor_.get(); }

 private:
  Descriptor descriptor_;
  bool raised_ = false;
};

/**
 * poll() until a deadline; descriptors below 0 are left out.
 * @return how many are ready; 0 when the deadline passed, below 0 when a signal came in between
 */
int poll_until(pollfd* descriptors, nfds_t count, Clock::time_point deadline);

}  // namespace nkr::can

#endif

#ifndef NKR_CAN_WAKER_HPP
#define NKR_CAN_WAKER_HPP

#include <poll.h>

#include <nkr/can/Bus.hpp>

namespace nkr::can {

/** A flag that poll() can wait for: its descriptor is readable while it is raised. Not thread-safe by itself.
 */
class Waker {
 public:
  Waker();
  ~Waker();
  Waker(const Waker&) = delete;
  Waker& operator=(const Waker&) = delete;

  void raise(bool raised);
  [[nodiscard]] int descriptor() const { return descriptor_; }

 private:
  int descriptor_;
  bool raised_ = false;
};

/**
 * poll() until a deadline; descriptors below 0 are left out.
 * @return how many are ready; 0 when the deadline passed, below 0 when a signal came in between
 */
int poll_until(pollfd* descriptors, nfds_t count, Clock::time_point deadline);

}  // namespace nkr::can

#endif

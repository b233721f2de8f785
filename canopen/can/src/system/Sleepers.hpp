#ifndef NKR_CAN_SYSTEM_SLEEPERS_HPP
#define NKR_CAN_SYSTEM_SLEEPERS_HPP

#include <mutex>
#include <nkr/can/Deadline.hpp>

namespace nkr::can {

class Waker;

/**
 * The threads that wait at a port. What wakes a thread is its own as long as it sleeps: a port needs no
 * descriptor, nor does a thread that works. A thread for which there is no descriptor looks around every few
 * milliseconds.
 */
class Sleepers {
 public:
  /**
   * Waits until the descriptor is ready for one of the events of poll(), wake() is called or the time is
   * over. The lock is of the mutex that guards this object and what is waited for; it is free meanwhile.
   * @param descriptor below 0: none
   * @return false when the time was over
   */
  bool sleep(std::unique_lock<std::mutex>& lock, int descriptor, short events, Clock::time_point until);

  /** Wakes all; with the mutex held. */
  void wake();

 private:
  struct Sleeper {
    Waker& waker;
    bool woken;
    Sleeper* next;
  };
  void leave(const Sleeper& sleeper);

  Sleeper* first_ = nullptr;
};

}  // namespace nkr::can

#endif

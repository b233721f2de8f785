#ifndef NKR_CAN_DEADLINE_HPP
#define NKR_CAN_DEADLINE_HPP

#include <nkr/export.h>

#include <chrono>
#include <nkr/time/clock.hpp>

namespace nkr::can {

using time::Clock;

using time::saturated;
using time::time_after;

/**
 * The end of a wait: a time, or a duration from now on. "Now" is when the deadline is first asked for: what
 * is there at once costs no look at the clock. One deadline made of a duration belongs to one thread.
 */
class NKR_EXPORT Deadline {
 public:
  /** At a time; the clock's epoch: nothing is waited for, its end: for ever. */
  Deadline(Clock::time_point time) : time_(time), is_fixed_(true) {}
  /** After a wait; one that the clock cannot hold lasts for ever. */
  template <class Rep, class Period>
  Deadline(std::chrono::duration<Rep, Period> wait) : wait_(saturated(wait)) {}

  /** Takes what is there, without a look at the clock. */
  static Deadline passed() { return Clock::time_point{}; }
  static Deadline never() { return Clock::time_point::max(); }

  [[nodiscard]] Clock::time_point time() const {
    if (!is_fixed_) fix();
    return time_;
  }
  [[nodiscard]] bool is_fixed() const { return is_fixed_; }
  [[nodiscard]] bool is_never() const { return is_fixed_ && time_ == Clock::time_point::max(); }
  /** Nothing is waited for. */
  [[nodiscard]] bool only_looks() const { return is_fixed_ && time_ == Clock::time_point{}; }
  /** When the wait began; only when it was given by its duration and is fixed. */
  [[nodiscard]] Clock::time_point begin() const { return begin_; }

 private:
  void fix() const {
    begin_ = time::now();
    time_ = time_after(begin_, wait_);
    is_fixed_ = true;
  }

  Clock::duration wait_{};
  mutable Clock::time_point begin_;
  mutable Clock::time_point time_;
  mutable bool is_fixed_ = false;
};

}  // namespace nkr::can

#endif

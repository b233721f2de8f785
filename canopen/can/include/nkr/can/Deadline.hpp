#ifndef NKR_CAN_DEADLINE_HPP
#define NKR_CAN_DEADLINE_HPP

#include <nkr/export.h>

#include <chrono>
#include <cstdint>
#include <ratio>
#include <type_traits>

namespace nkr::can {

using Clock = std::chrono::steady_clock;

/** A duration in the clock's unit; what that cannot hold becomes its longest, or its shortest. */
template <class Rep, class Period>
constexpr Clock::duration saturated(std::chrono::duration<Rep, Period> duration) {
  static_assert(std::ratio_greater_equal_v<Period, Clock::period>, "finer than the clock");
  using Wide = std::chrono::duration<std::common_type_t<Rep, std::int64_t>, Period>;
  if (Wide(duration) >= std::chrono::duration_cast<Wide>(Clock::duration::max()))
    return Clock::duration::max();
  if (Wide(duration) <= std::chrono::duration_cast<Wide>(Clock::duration::min()))
    return Clock::duration::min();
  return std::chrono::duration_cast<Clock::duration>(duration);
}

/** The time so long after another; the clock's end when that lies behind it, its beginning when before. */
template <class Rep, class Period>
constexpr Clock::time_point time_after(Clock::time_point begin, std::chrono::duration<Rep, Period> wait) {
  const Clock::duration exact = saturated(wait);
  if (exact > Clock::duration::zero() && begin > Clock::time_point::max() - exact)
    return Clock::time_point::max();
  if (exact < Clock::duration::zero() && begin < Clock::time_point::min() - exact)
    return Clock::time_point::min();
  return begin + exact;
}

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
    begin_ = Clock::now();
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

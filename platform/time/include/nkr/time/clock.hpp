#ifndef NKR_TIME_CLOCK_HPP
#define NKR_TIME_CLOCK_HPP

#include <nkr/export.h>

#include <chrono>
#include <cstdint>
#include <ratio>
#include <type_traits>

/** Clock, waits and threads: those of the system, or virtual ones for threads of a VirtualTime. */
namespace nkr::time {

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

/** The time for the calling thread: the system's steady clock, or its virtual one. */
[[nodiscard]] NKR_EXPORT Clock::time_point now();

/** The same, at most some milliseconds old: for what is told in milliseconds, at a fraction of the cost. */
[[nodiscard]] NKR_EXPORT Clock::time_point coarse_now();

/** The calendar's time, for records that people read. Virtual time begins on 2000-01-01, 00:00 UTC. */
[[nodiscard]] NKR_EXPORT std::chrono::system_clock::time_point calendar_now();

/** Waits until then. When that is past it lets others go on who could, and takes no time. */
NKR_EXPORT void sleep_until(Clock::time_point time);

/** Waits so long; what the clock cannot hold is for ever. */
template <class Rep, class Period>
void sleep_for(std::chrono::duration<Rep, Period> wait) {
  sleep_until(time_after(now(), wait));
}

}  // namespace nkr::time

#endif

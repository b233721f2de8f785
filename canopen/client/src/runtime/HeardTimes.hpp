#ifndef NKR_CANOPEN_RUNTIME_HEARDTIMES_HPP
#define NKR_CANOPEN_RUNTIME_HEARDTIMES_HPP

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <limits>
#include <nkr/can/Bus.hpp>

namespace nkr::canopen {

/** When each node was last heard, by any frame. Any thread, no lock. */
class HeardTimes {
 public:
  void heard(std::uint8_t node, can::Clock::time_point when) {
    times_.at(node).store(when.time_since_epoch().count(), std::memory_order_relaxed);
  }
  /** False when the node was never heard. */
  bool last(std::uint8_t node, can::Clock::time_point& when) const {
    const auto ticks = times_.at(node).load(std::memory_order_relaxed);
    if (ticks == kNever) return false;
    when = can::Clock::time_point(can::Clock::duration(ticks));
    return true;
  }
  /** The lowest id of a node that was heard; 0: none was. */
  [[nodiscard]] std::uint8_t any_node() const {
    for (std::size_t node = 1; node < times_.size(); ++node) {
      if (times_.at(node).load(std::memory_order_relaxed) != kNever) return static_cast<std::uint8_t>(node);
    }
    return 0;
  }

 private:
  using Ticks = can::Clock::duration::rep;
  static constexpr Ticks kNever = 0;
  std::array<std::atomic<Ticks>, 128> times_{};
};

/** The whole milliseconds from one time to another: none when it lies before, and the most that the number
 * holds after 49 days. */
inline std::uint32_t milliseconds_between(can::Clock::time_point from, can::Clock::time_point to) {
  constexpr std::chrono::milliseconds::rep kMost = std::numeric_limits<std::uint32_t>::max();
  const auto age = std::chrono::duration_cast<std::chrono::milliseconds>(to - from).count();
  return static_cast<std::uint32_t>(std::clamp<std::chrono::milliseconds::rep>(age, 0, kMost));
}

}  // namespace nkr::canopen

#endif

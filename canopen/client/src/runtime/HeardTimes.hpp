#ifndef NKR_CANOPEN_RUNTIME_HEARDTIMES_HPP
#define NKR_CANOPEN_RUNTIME_HEARDTIMES_HPP

#include <array>
#include <atomic>
#include <cstdint>
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

}  // namespace nkr::canopen

#endif

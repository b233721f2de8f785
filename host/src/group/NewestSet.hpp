#ifndef TAV_HOST_SRC_GROUP_NEWESTSET_HPP
#define TAV_HOST_SRC_GROUP_NEWESTSET_HPP

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <nkr/can/Deadline.hpp>
#include <vector>

namespace tav::host {

/**
 * The newest set-points of all units: any thread puts them in, one thread takes them out. Neither ever waits:
 * who writes has a slot of its own, and what is complete changes hands in one exchange.
 */
class NewestSet {
 public:
  struct Set {
    std::vector<std::int16_t> velocities;
    std::uint64_t epoch = 0;  ///< the motion that it belongs to: a stop begins another
    nkr::can::Clock::time_point at;
  };

  explicit NewestSet(std::size_t units);

  /** False when every slot is being written to. */
  bool put(const int* velocities, std::uint64_t epoch, nkr::can::Clock::time_point at);
  /** Copies what was put in since the last call, if anything was. */
  bool take(Set& set);

 private:
  static constexpr int kSlots = 16;
  static constexpr int kNone = -1;

  struct Slot {
    std::atomic<bool> is_used{false};
    Set set;
  };
  std::array<Slot, kSlots> slots_;
  std::atomic<int> newest_{kNone};
};

}  // namespace tav::host

#endif

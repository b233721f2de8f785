#ifndef NKR_CANOPEN_NMT_NODEGUARDING_HPP
#define NKR_CANOPEN_NMT_NODEGUARDING_HPP

#include <array>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <nkr/can/Bus.hpp>

#include "runtime/Timers.hpp"

namespace nkr::canopen {

/** Asks nodes for their state by remote frames, each at its guard time (CiA 301, 7.2.8.2.2). */
class NodeGuarding {
 public:
  using Duration = std::chrono::milliseconds;

  NodeGuarding(can::Port& port, Timers& timers) : port_(port), timers_(timers) {}

  /** The node is asked now, and from then on once every guard time. False without a thread. */
  bool start(std::uint8_t node, Duration guard_time);
  void stop(std::uint8_t node);

 private:
  using TimePoint = can::Clock::time_point;
  struct Node {
    Duration guard_time{};  ///< 0: not guarded
    TimePoint due = TimePoint::max();
  };

  TimePoint ask_who_is_due();

  can::Port& port_;
  Timers& timers_;
  std::mutex mutex_;
  std::array<Node, 128> nodes_;
};

}  // namespace nkr::canopen

#endif

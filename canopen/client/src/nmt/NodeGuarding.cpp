#include "nmt/NodeGuarding.hpp"

#include <algorithm>
#include <nkr/time/clock.hpp>

namespace nkr::canopen {

using can::Clock;

namespace {

constexpr std::uint32_t kErrorControlId = 0x700;

can::Frame question(std::uint32_t node) {
  can::Frame frame;
  frame.id = kErrorControlId + node;
  frame.remote = true;
  frame.size = 1;
  return frame;
}

}  // namespace

bool NodeGuarding::start(std::uint8_t node, Duration guard_time) {
  const TimePoint now = time::now();
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    nodes_.at(node) = {guard_time, now};
  }
  const bool started =
      timers_.set(Timers::Slot::NODE_GUARDING, now, [this](TimePoint /*due*/) { return ask_who_is_due(); });
  if (!started) stop(node);
  return started;
}

void NodeGuarding::stop(std::uint8_t node) {
  const std::lock_guard<std::mutex> lock(mutex_);
  nodes_.at(node) = Node();
}

/** A question that the bus cannot take at once is left out: the next one follows soon. */
NodeGuarding::TimePoint NodeGuarding::ask_who_is_due() {
  const TimePoint now = time::now();
  TimePoint next = TimePoint::max();
  for (std::size_t id = 1; id < nodes_.size(); ++id) {
    bool is_due = false;
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      Node& node = nodes_.at(id);
      is_due = node.due <= now;
      if (is_due) node.due = next_turn(node.due, can::saturated(node.guard_time));
      next = std::min(next, node.due);
    }
    if (is_due) static_cast<void>(port_.send(question(static_cast<std::uint32_t>(id)), Clock::time_point{}));
  }
  return next;
}

}  // namespace nkr::canopen

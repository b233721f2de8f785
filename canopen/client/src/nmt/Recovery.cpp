#include "nmt/Recovery.hpp"

#include <algorithm>
#include <nkr/time/clock.hpp>
#include <utility>

namespace nkr::canopen {

using can::Clock;

namespace {

constexpr std::chrono::milliseconds kFirstPause{100};
constexpr std::chrono::milliseconds kLongestPause{1000};
/** So often in a row before it is told; a node that has just started refuses one or two requests. */
constexpr int kAttempts = 4;
constexpr std::size_t kMostThreads = 8;

Clock::duration pause_after(int failures) {
  Clock::duration pause = kFirstPause;
  for (int i = 1; i < failures && pause < kLongestPause; ++i) pause *= 2;
  return std::min<Clock::duration>(pause, kLongestPause);
}

bool is_last_of_its_object(const NodeConfiguration& configuration, const ObjectValue& value) {
  constexpr std::uint32_t kObject = 0xFFFFFF00;
  const auto last = std::find_if(configuration.rbegin(), configuration.rend(), [&](const ObjectValue& other) {
    return (other.address & kObject) == (value.address & kObject);
  });
  return &*last == &value;
}

}  // namespace

bool commands_motion(canopencore::ObjectAddress address) {
  constexpr std::uint32_t kFirstAxis = 0x6000;
  constexpr std::uint32_t kBehindLastAxis = 0xA000;
  constexpr std::uint32_t kAxis = 0x800;
  const std::uint32_t index = address.index;
  if (index < kFirstAxis || index >= kBehindLastAxis) return false;
  switch (kFirstAxis + (index - kFirstAxis) % kAxis) {
    case 0x6040:  // control word
    case 0x6042:  // vl target velocity
    case 0x6060:  // mode of operation
    case 0x6071:  // target torque
    case 0x607A:  // target position
    case 0x60B0:  // position, velocity and torque offset
    case 0x60B1:
    case 0x60B2:
    case 0x60C1:  // interpolated position
    case 0x60FF:  // target velocity
      return true;
    default:
      return false;
  }
}

Recovery::~Recovery() {
  close();
  for (can::Thread& thread : threads_) thread.end();
}

void Recovery::close() {
  const std::lock_guard<std::mutex> lock(mutex_);
  closed_ = true;
  changed_.notify_all();
}

nkr_error_t Recovery::keep(std::uint8_t id, NodeConfiguration configuration) {
  Shared kept;
  if (!configuration.empty()) kept = std::make_shared<const NodeConfiguration>(std::move(configuration));
  const std::lock_guard<std::mutex> lock(mutex_);
  if (closed_) return NKR_CAN_CLOSED;
  Node& node = nodes_.at(id);
  if (kept && !has_thread_for(node)) return NKR_CAN_NO_RESOURCES;
  node.configuration.swap(kept);
  node.was_settled = node.restarted = false;
  disturb(node, node.configuration ? time::now() : TimePoint::max());
  return NKR_OK;
}

/** One for each node, up to a few; those that there are will do when the system has no more. */
bool Recovery::has_thread_for(const Node& node) {
  const auto others = std::count_if(nodes_.begin(), nodes_.end(), [&](const Node& other) {
    return &other != &node && other.configuration != nullptr;
  });
  if (threads_.size() > std::min(static_cast<std::size_t>(others), kMostThreads - 1)) return true;
  threads_.emplace_back();
  if (threads_.back().start([this] { run(); }, "nkr-recovery")) return true;
  threads_.pop_back();
  return !threads_.empty();
}

void Recovery::disturb(Node& node, TimePoint due) {
  ++node.generation;
  node.settled = false;
  node.failures = 0;
  node.due = due;
  changed_.notify_all();
}

/** Under the lock: nobody is told "recovered" before, or after, a loss that it does not belong to. */
void Recovery::tell(const Event& event) {
  const std::lock_guard<std::mutex> lock(mutex_);
  saw(event);
  events_.post(event);
}

void Recovery::saw(const Event& event) {
  if (event.kind == Event::Kind::BUS_OFF || event.kind == Event::Kind::INTERFACE_GONE) return bus_failed();
  Node& node = nodes_.at(event.node);
  if (!node.configuration) return;
  switch (event.kind) {
    case Event::Kind::BOOT_UP:
    case Event::Kind::UNEXPECTED_BOOT_UP:
      node.restarted = true;
      return disturb(node, time::now());
    case Event::Kind::HEARTBEAT_LOST:
      return disturb(node, TimePoint::max());
    case Event::Kind::HEARTBEAT_RETURNED:
      return disturb(node, time::now());
    case Event::Kind::STATE_CHANGED:  // the first sign of life, or stopped before
      if (!node.settled && node.due == TimePoint::max()) disturb(node, time::now());
      return;
    default:
      return;
  }
}

/** Its return is not always told: a node without heartbeat is silent until it is asked. */
void Recovery::bus_failed() {
  for (Node& node : nodes_) {
    if (node.configuration) disturb(node, time::now() + kFirstPause);
  }
}

/** Of those that nobody is at work on. */
std::size_t Recovery::earliest() const {
  std::size_t first = 0;  // no node's id: never due
  for (std::size_t index = 1; index < nodes_.size(); ++index) {
    if (!nodes_.at(index).served && nodes_.at(index).due < nodes_.at(first).due) first = index;
  }
  return first;
}

void Recovery::run() {
  std::unique_lock<std::mutex> lock(mutex_);
  while (!closed_) {
    const std::size_t index = earliest();
    const TimePoint due = nodes_.at(index).due;
    if (due == TimePoint::max()) {
      changed_.wait(lock);
    } else if (time::now() < due) {
      changed_.wait_until(lock, due);
    } else {
      serve(index, lock);
    }
  }
}

void Recovery::serve(std::size_t index, std::unique_lock<std::mutex>& lock) {
  const auto id = static_cast<std::uint8_t>(index);
  Node& node = nodes_.at(index);
  node.due = TimePoint::max();
  node.served = true;
  const unsigned generation = node.generation;
  const Shared configuration = node.configuration;
  const bool may_be_there = node.was_settled && !node.restarted;
  lock.unlock();
  const bool bus_is_there = access_.bus_is_there();
  const Outcome outcome = bus_is_there ? apply(id, *configuration, may_be_there) : Outcome{};
  lock.lock();
  node.served = false;
  if (node.generation != generation || closed_) return;  // it begins anew, or waits for the node's return
  if (!bus_is_there) {
    node.due = time::now() + kLongestPause / 4;
  } else if (outcome.result == NKR_OK) {
    succeeded(id, node);
  } else {
    failed(id, node, outcome);
  }
}

/** A node that did not restart usually still has it all, and may refuse to be set while it is operational. */
Recovery::Outcome Recovery::apply(std::uint8_t id, const NodeConfiguration& configuration,
                                  bool may_be_there) {
  if (may_be_there && verify(id, configuration).result == NKR_OK) return {};
  for (const ObjectValue& value : configuration) {
    const nkr_error_t result = access_.write(id, value);
    if (result != NKR_OK) return {result, value.address};
  }
  return verify(id, configuration);
}

Recovery::Outcome Recovery::verify(std::uint8_t id, const NodeConfiguration& configuration) {
  for (const ObjectValue& value : configuration) {
    if (!is_last_of_its_object(configuration, value)) continue;
    const nkr_error_t result = access_.compare(id, value);
    if (result != NKR_OK) return {result, value.address};
  }
  return {};
}

void Recovery::succeeded(std::uint8_t id, Node& node) {
  Event event;
  event.kind = node.was_settled ? Event::Kind::RECOVERED : Event::Kind::CONFIGURED;
  event.node = id;
  node.settled = node.was_settled = true;
  node.restarted = false;
  node.failures = 0;
  events_.post(event);
}

void Recovery::failed(std::uint8_t id, Node& node, const Outcome& outcome) {
  if (++node.failures < kAttempts) {
    node.due = time::now() + pause_after(node.failures);
    return;
  }
  node.failures = 0;
  Event event;
  event.kind = Event::Kind::CONFIGURATION_FAILED;
  event.node = id;
  event.result = outcome.result;
  event.address = outcome.address;
  events_.post(event);
}

}  // namespace nkr::canopen

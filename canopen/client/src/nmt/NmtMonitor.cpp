#include "nmt/NmtMonitor.hpp"

#include <algorithm>
#include <utility>

namespace nkr::canopen {
namespace {

using canopencore::NMTState;

constexpr std::uint8_t kNodeMask = 0x7F;
constexpr std::uint8_t kStateMask = 0x7F;
constexpr std::uint8_t kToggle = 0x80;  // of node guarding
constexpr std::uint8_t kBootUp = 0;

NMTState state_of(std::uint8_t code) {
  switch (const auto state = static_cast<NMTState>(code)) {
    case NMTState::STOPPED:
    case NMTState::OPERATIONAL:
    case NMTState::PRE_OPERATIONAL:
      return state;
    default:
      return NMTState::UNKNOWN;
  }
}

}  // namespace

NmtMonitor::TimePoint NmtMonitor::Node::lost_at() const {
  const Duration allowed = life_time != Duration::zero() ? life_time : timeout;
  return monitored && allowed > Duration::zero() ? can::time_after(last, allowed) : TimePoint::max();
}

NmtMonitor::TimePoint NmtMonitor::Node::due() const {
  return std::min(lost ? TimePoint::max() : lost_at(), heard ? TimePoint::max() : expected_until);
}

/** An answer with the toggle bit of the one before counts as not received (CiA 301, 7.2.8.2.2.1). */
bool NmtMonitor::Node::is_repeated(std::uint8_t toggle) {
  return life_time != Duration::zero() && std::exchange(last_toggle, toggle) == toggle;
}

NmtMonitor::NmtMonitor(Duration heartbeat_timeout, Tell tell) : tell_(std::move(tell)) {
  for (Node& node : nodes_) node.timeout = heartbeat_timeout;
}

bool NmtMonitor::arrived(const can::Frame& frame, TimePoint now) {
  if (frame.size == 0) return false;
  const auto code = static_cast<std::uint8_t>(frame.data[0] & kStateMask);
  Event event;
  event.node = frame.id & kNodeMask;
  const std::lock_guard<std::mutex> lock(mutex_);
  Node& node = nodes_.at(event.node);
  if (code != kBootUp && node.is_repeated(static_cast<std::uint8_t>(frame.data[0] & kToggle))) return false;
  node.last = now;
  bool changed = true;
  if (code == kBootUp) {
    boot_up(node, event);
  } else {
    changed = heartbeat(node, state_of(code), event);
  }
  node.heard = true;
  return changed;
}

/** A loss that was told lasts until the next heartbeat: a boot-up alone does not bring the heartbeat back. */
void NmtMonitor::boot_up(Node& node, Event event) {
  const bool surprising = !std::exchange(node.reset_commanded, false) && node.heard;
  node.state = event.state = NMTState::PRE_OPERATIONAL;
  node.booting = true;
  node.rhythm.restart();
  node.last_toggle = kNoToggle;
  event.kind = surprising ? Event::Kind::UNEXPECTED_BOOT_UP : Event::Kind::BOOT_UP;
  tell_(event);
}

bool NmtMonitor::heartbeat(Node& node, NMTState state, Event event) {
  const bool changed = !node.heard || node.state != state;
  node.state = event.state = state;
  node.monitored = true;
  node.booting = false;
  const bool returned = std::exchange(node.lost, false);
  if (returned) {
    event.kind = Event::Kind::HEARTBEAT_RETURNED;
    tell_(event);
  }
  if (changed) {
    event.kind = Event::Kind::STATE_CHANGED;
    tell_(event);
  }
  see_rhythm(node, event);
  return changed || returned;
}

/** The answers of a guarded node come when they are asked for. */
void NmtMonitor::see_rhythm(Node& node, Event event) {
  if (node.life_time != Duration::zero() || !node.rhythm.heard(node.last, node.state)) return;
  event.kind = Event::Kind::TWO_NODES;
  tell_(event);
}

void NmtMonitor::check(TimePoint now) {
  const std::lock_guard<std::mutex> lock(mutex_);
  for (std::size_t id = 1; id < nodes_.size(); ++id) {
    Node& node = nodes_.at(id);
    if (node.due() > now) continue;
    Event event;
    event.node = static_cast<std::uint8_t>(id);
    event.kind = node.heard ? Event::Kind::HEARTBEAT_LOST : Event::Kind::NEVER_HEARD;
    node.lost = node.heard;
    node.expected_until = TimePoint::max();
    tell_(event);
  }
}

NmtMonitor::TimePoint NmtMonitor::next_check() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  TimePoint next = TimePoint::max();
  for (const Node& node : nodes_) next = std::min(next, node.due());
  return next;
}

NMTState NmtMonitor::state(std::uint8_t node, TimePoint now) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  const Node& known = nodes_.at(node);
  return now > known.lost_at() ? NMTState::UNKNOWN : known.state;
}

bool NmtMonitor::is_lost(std::uint8_t node, TimePoint now, TimePoint& since) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  since = nodes_.at(node).lost_at();
  return now > since;
}

bool NmtMonitor::is_booting(std::uint8_t node, TimePoint& when) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  when = nodes_.at(node).last;
  return nodes_.at(node).booting;
}

bool NmtMonitor::is_doubled(std::uint8_t node) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return nodes_.at(node).rhythm.is_doubled();
}

void NmtMonitor::set_heartbeat_timeout(std::uint8_t node, Duration timeout) {
  const std::lock_guard<std::mutex> lock(mutex_);
  nodes_.at(node).timeout = timeout;
}

void NmtMonitor::start_guarding(std::uint8_t id, Duration life_time, TimePoint now) {
  const std::lock_guard<std::mutex> lock(mutex_);
  Node& node = nodes_.at(id);
  node.life_time = life_time;
  node.last_toggle = kNoToggle;
  if (node.heard) {
    node.monitored = true;
    node.last = now;
  } else {
    node.expected_until = can::time_after(now, life_time);
  }
}

void NmtMonitor::stop_guarding(std::uint8_t id) {
  const std::lock_guard<std::mutex> lock(mutex_);
  Node& node = nodes_.at(id);
  if (node.life_time == Duration::zero()) return;
  node.life_time = Duration::zero();
  node.monitored = node.lost = false;
  node.expected_until = TimePoint::max();
}

void NmtMonitor::expect(std::uint8_t node, TimePoint until) {
  const std::lock_guard<std::mutex> lock(mutex_);
  nodes_.at(node).expected_until = until;
}

void NmtMonitor::reset_commanded(std::uint8_t node) {
  const std::lock_guard<std::mutex> lock(mutex_);
  nodes_.at(node).reset_commanded = true;
}

}  // namespace nkr::canopen

#include "NmtMonitor.hpp"

namespace nkr::canopen {
namespace {

constexpr std::uint8_t kNodeMask = 0x7F;
constexpr std::uint8_t kStateMask = 0x7F;  // bit 7 is the toggle bit of node guarding
constexpr std::uint8_t kBootUp = 0;

canopencore::NMTState state_of(std::uint8_t code) {
  switch (const auto state = static_cast<canopencore::NMTState>(code)) {
    case canopencore::NMTState::STOPPED:
    case canopencore::NMTState::OPERATIONAL:
    case canopencore::NMTState::PRE_OPERATIONAL:
      return state;
    default:
      return canopencore::NMTState::UNKNOWN;
  }
}

}  // namespace

NmtMonitor::NmtMonitor(Duration heartbeat_timeout) {
  for (Node& node : nodes_) node.timeout = heartbeat_timeout;
}

void NmtMonitor::arrived(const can::Frame& frame, can::Clock::time_point now) {
  if (frame.size == 0) return;
  const auto code = static_cast<std::uint8_t>(frame.data[0] & kStateMask);
  const std::lock_guard<std::mutex> lock(mutex_);
  Node& node = nodes_.at(frame.id & kNodeMask);
  node.last = now;
  if (code == kBootUp) {
    node.state = canopencore::NMTState::PRE_OPERATIONAL;
  } else {
    node.state = state_of(code);
    node.monitored = true;
  }
}

canopencore::NMTState NmtMonitor::state(std::uint8_t node, can::Clock::time_point now) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  const Node& known = nodes_.at(node);
  const bool lost = known.monitored && known.timeout != Duration::zero() && now - known.last > known.timeout;
  return lost ? canopencore::NMTState::UNKNOWN : known.state;
}

void NmtMonitor::set_heartbeat_timeout(std::uint8_t node, Duration timeout) {
  const std::lock_guard<std::mutex> lock(mutex_);
  nodes_.at(node).timeout = timeout;
}

}  // namespace nkr::canopen

#include "emcy/EmergencyHistory.hpp"

#include <algorithm>
#include <nkr/time/clock.hpp>

namespace nkr::canopen {
namespace {

constexpr std::uint8_t kNodeMask = 0x7F;
constexpr std::size_t kCodeBytes = 2;
constexpr std::size_t kRegisterOffset = 2;
constexpr std::size_t kVendorOffset = 3;

}  // namespace

bool EmergencyHistory::arrived(const can::Frame& frame, Emergency& emergency) {
  if (frame.size < kCodeBytes) return false;
  emergency.node = frame.id & kNodeMask;
  emergency.code = static_cast<std::uint16_t>(frame.data[0] | frame.data[1] << 8);
  emergency.error_register = frame.data[kRegisterOffset];
  std::copy(frame.data.begin() + kVendorOffset, frame.data.end(), emergency.vendor_data.begin());
  emergency.when = time::calendar_now();
  const std::lock_guard<std::mutex> lock(mutex_);
  Node& node = nodes_[emergency.node];
  if (node.history.size() == kKept) node.history.pop_front();
  node.history.push_back(emergency);
  note_active(node, emergency);
  return true;
}

/** Which error a reset ended is not said: as long as the error register shows one, all of them are kept. */
void EmergencyHistory::note_active(Node& node, const Emergency& emergency) {
  if (emergency.is_reset()) {
    if (emergency.error_register == 0) node.active.clear();
    return;
  }
  const auto same = std::find_if(node.active.begin(), node.active.end(),
                                 [&](const Emergency& known) { return known.code == emergency.code; });
  if (same != node.active.end()) {
    node.active.erase(same);
  } else if (node.active.size() == kMostActive) {
    node.active.erase(node.active.begin());
  }
  node.active.push_back(emergency);
}

std::vector<Emergency> EmergencyHistory::of(std::uint8_t node) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto found = nodes_.find(node);
  if (found == nodes_.end()) return {};
  return {found->second.history.begin(), found->second.history.end()};
}

std::vector<Emergency> EmergencyHistory::active(std::uint8_t node) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto found = nodes_.find(node);
  return found == nodes_.end() ? std::vector<Emergency>{} : found->second.active;
}

void EmergencyHistory::node_restarted(std::uint8_t node) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto found = nodes_.find(node);
  if (found != nodes_.end()) found->second.active.clear();
}

}  // namespace nkr::canopen

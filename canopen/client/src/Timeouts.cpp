#include "Timeouts.hpp"

#include <algorithm>
#include <nkr/canopen/SdoTimeoutScope.hpp>

namespace nkr::canopen {
namespace {

constexpr std::uint16_t kStoreParameters = 0x1010;
constexpr std::uint16_t kRestoreDefaults = 0x1011;

}  // namespace

void Timeouts::set_client(Duration timeout) {
  const std::lock_guard<std::mutex> lock(mutex_);
  client_ = timeout;
}

void Timeouts::set_node(std::uint8_t node, Duration timeout) {
  const std::lock_guard<std::mutex> lock(mutex_);
  nodes_.at(node) = timeout;
}

void Timeouts::set_object(sdo::Object object, Duration timeout) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (timeout == Duration::zero()) {
    objects_.erase(object);
  } else {
    objects_[object] = timeout;
  }
}

Timeouts::Duration Timeouts::of(std::uint8_t node, sdo::Object object) const {
  if (const SdoTimeoutScope* const scope = SdoTimeoutScope::innermost()) return scope->timeout();
  const std::lock_guard<std::mutex> lock(mutex_);
  if (!objects_.empty()) {
    const auto found = objects_.find(object);
    if (found != objects_.end()) return found->second;
  }
  const Duration own = nodes_.at(node);
  const Duration usual = own == Duration::zero() ? client_ : own;
  const bool stores = object.index == kStoreParameters || object.index == kRestoreDefaults;
  return stores ? std::max(usual, store_) : usual;
}

}  // namespace nkr::canopen

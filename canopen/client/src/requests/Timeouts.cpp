#include "requests/Timeouts.hpp"

#include <algorithm>
#include <nkr/canopen/SdoTimeoutScope.hpp>

namespace nkr::canopen {
namespace {

constexpr std::uint16_t kStoreParameters = 0x1010;
constexpr std::uint16_t kRestoreDefaults = 0x1011;

}  // namespace

void Timeouts::set_client(Duration timeout) {
  client_ = timeout.count();
}

void Timeouts::set_node(std::uint8_t node, Duration timeout) {
  nodes_.at(node) = timeout.count();
}

void Timeouts::set_object(sdo::Multiplexer object, Duration timeout) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (timeout == Duration::zero()) {
    objects_.erase(object);
  } else {
    objects_[object] = timeout;
  }
  has_objects_ = !objects_.empty();
}

/** 0: the object has none of its own. */
Timeouts::Duration Timeouts::of_object(sdo::Multiplexer object) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto found = objects_.find(object);
  return found == objects_.end() ? Duration::zero() : found->second;
}

Timeouts::Duration Timeouts::of(std::uint8_t node, sdo::Multiplexer object) const {
  if (const SdoTimeoutScope* const scope = SdoTimeoutScope::innermost()) return scope->timeout();
  if (has_objects_.load()) {
    const Duration own = of_object(object);
    if (own != Duration::zero()) return own;
  }
  const Ticks of_node = nodes_.at(node).load();
  const Duration usual(of_node == 0 ? client_.load() : of_node);
  const bool stores = object.index == kStoreParameters || object.index == kRestoreDefaults;
  return stores ? std::max(usual, store_) : usual;
}

}  // namespace nkr::canopen

#include "runtime/DeferredPort.hpp"

#include <algorithm>
#include <nkr/time/clock.hpp>
#include <utility>

namespace nkr::canopen {

using can::Clock;

namespace {

/** The system tells nobody who has no socket that an interface came: look for it now and then. */
constexpr std::chrono::milliseconds kRetry{200};
/** However many requests are made, the bus is not asked more often. */
constexpr std::chrono::milliseconds kLeastDistance{50};

}  // namespace

DeferredPort::DeferredPort(can::Bus& bus, std::vector<can::Filter> filters)
    : bus_(bus), filters_(std::move(filters)) {}

nkr_error_t DeferredPort::open_now() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return try_to_open(time::now());
}

/** With the mutex held. */
nkr_error_t DeferredPort::try_to_open(Clock::time_point now) {
  if (closed_) return NKR_CAN_CLOSED;
  if (port_) return NKR_OK;
  if (tried_ != Clock::time_point{} && now - tried_ < kLeastDistance) return reason_;
  nkr_error_t result = NKR_CAN_NOT_CONNECTED;
  port_ = bus_.open(filters_, result);
  tried_ = time::now();
  if (!port_) return reason_ = result == NKR_OK ? NKR_CAN_NOT_CONNECTED : result;
  open_.store(port_.get(), std::memory_order_release);
  changed_.notify_all();
  return NKR_OK;
}

nkr_error_t DeferredPort::send(const can::Frame& frame, const can::Deadline& deadline) {
  const bool may_open = !deadline.only_looks() || open_.load(std::memory_order_acquire) != nullptr;
  const nkr_error_t result = may_open ? open() : NKR_CAN_NOT_CONNECTED;
  return result == NKR_OK ? open_.load(std::memory_order_acquire)->send(frame, deadline) : result;
}

nkr_error_t DeferredPort::receive(can::Frame& frame, const can::Deadline& deadline,
                                  std::chrono::system_clock::time_point* when) {
  if (open_.load(std::memory_order_acquire) == nullptr) {
    const nkr_error_t result = await_opening(deadline);
    if (result != NKR_OK) return result;
  }
  return open_.load(std::memory_order_acquire)->receive(frame, deadline, when);
}

nkr_error_t DeferredPort::await_opening(const can::Deadline& deadline) {
  std::unique_lock<std::mutex> lock(mutex_);
  while (true) {
    const Clock::time_point now = time::now();
    const nkr_error_t result = try_to_open(now);
    if (result == NKR_OK || result == NKR_CAN_CLOSED) return result;
    if (!std::exchange(told_, true)) return result;
    if (now >= deadline.time()) return NKR_CAN_TIMED_OUT;
    changed_.wait_until(lock, std::min(deadline.time(), now + kRetry));
  }
}

can::BusStatus DeferredPort::status() const {
  const can::Port* const port = open_.load(std::memory_order_acquire);
  if (port != nullptr) return port->status();
  can::BusStatus status;
  status.state = can::BusState::INTERFACE_GONE;
  return status;
}

void DeferredPort::close() {
  const std::lock_guard<std::mutex> lock(mutex_);
  closed_ = true;
  if (port_) port_->close();
  changed_.notify_all();
}

}  // namespace nkr::canopen

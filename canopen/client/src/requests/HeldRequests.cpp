#include "requests/HeldRequests.hpp"

#include <utility>

namespace nkr::canopen {

void HeldRequests::Place::leave() {
  const std::lock_guard<std::mutex> lock(requests_.mutex_);
  Place** link = &requests_.first_;
  while (*link != this) link = &(*link)->next_;
  *link = next_;
  --requests_.count_;
  requests_.changed_.notify_all();
}

void HeldRequests::Place::join() {
  const std::lock_guard<std::mutex> lock(requests_.mutex_);
  Place** link = &requests_.first_;
  while (*link != nullptr) link = &(*link)->next_;
  *link = this;
  joined_ = true;
  ++requests_.count_;
}

nkr_error_t HeldRequests::Place::await_turn(bool may_wait, can::Clock::time_point until) {
  std::unique_lock<std::mutex> lock(requests_.mutex_);
  const auto is_first = [this] {
    return requests_.closed_ || cancelled_ || requests_.first_of(object_) == this;
  };
  if (!may_wait && !is_first()) return NKR_CAN_WOULD_DEADLOCK;
  if (!requests_.changed_.wait_until(lock, until, is_first)) return NKR_CAN_TIMED_OUT;
  return requests_.closed_ || cancelled_ ? NKR_CAN_CLOSED : NKR_OK;
}

nkr_error_t HeldRequests::Place::listen(std::unique_ptr<can::Port> port) {
  const std::lock_guard<std::mutex> lock(requests_.mutex_);
  if (requests_.closed_ || cancelled_) return NKR_CAN_CLOSED;
  port_ = std::move(port);
  return NKR_OK;
}

nkr_error_t HeldRequests::Place::receive(can::Frame& frame, can::Clock::time_point deadline) {
  return port_->receive(frame, deadline);
}

const HeldRequests::Place* HeldRequests::first_of(sdo::Multiplexer object) const {
  const Place* place = first_;
  while (place != nullptr && place->object_ != object) place = place->next_;
  return place;
}

bool HeldRequests::finds(sdo::Multiplexer object) {
  const std::lock_guard<std::mutex> lock(mutex_);
  return first_of(object) != nullptr;
}

void HeldRequests::cancel() {
  const std::lock_guard<std::mutex> lock(mutex_);
  for (Place* place = first_; place != nullptr; place = place->next_) {
    place->cancelled_ = true;
    if (place->port_) place->port_->close();
  }
  changed_.notify_all();
}

void HeldRequests::close() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    closed_ = true;
  }
  cancel();
}

}  // namespace nkr::canopen

#include "runtime/FifoGate.hpp"

#include <nkr/time/clock.hpp>

namespace nkr::canopen {
nkr_error_t FifoGate::queue(const can::Deadline& deadline, can::Clock::time_point& since) {
  static_cast<void>(deadline.time());  // a wait of its own length begins now
  since = time::now();
  const nkr_error_t result = wait(deadline);
  if (result == NKR_OK) ++gates_entered_;
  return result;
}

nkr_error_t FifoGate::wait(const can::Deadline& deadline) {
  std::unique_lock<std::mutex> lock(mutex_);
  while (true) {
    State state = state_;
    if (state == State::CLOSED) return NKR_CAN_CLOSED;
    if (state == State::FREE) {
      if (state_.compare_exchange_strong(state, State::BUSY)) return NKR_OK;
      continue;
    }
    if (gates_entered_ > 0) return NKR_CAN_WOULD_DEADLOCK;
    if (state == State::CONTENDED || state_.compare_exchange_strong(state, State::CONTENDED)) break;
  }
  Waiter self;
  (last_ == nullptr ? first_ : last_->next) = &self;
  last_ = &self;
  return await_turn(self, deadline, lock);
}

nkr_error_t FifoGate::await_turn(Waiter& self, const can::Deadline& deadline,
                                 std::unique_lock<std::mutex>& lock) {
  const auto is_called = [&] { return self.called; };
  if (!self.turn.wait_until(lock, deadline.time(), is_called)) {
    remove(self);
    return NKR_CAN_TIMED_OUT;
  }
  return state_ == State::CLOSED ? NKR_CAN_CLOSED : NKR_OK;
}

void FifoGate::remove(Waiter& waiter) {
  Waiter* before = nullptr;
  for (Waiter* at = first_; at != &waiter; at = at->next) before = at;
  (before == nullptr ? first_ : before->next) = waiter.next;
  if (last_ == &waiter) last_ = before;
  if (first_ == nullptr) state_ = State::BUSY;
}

void FifoGate::let_next_in() {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (first_ == nullptr) {  // closed, or whoever waited went away
    State busy = State::BUSY;
    state_.compare_exchange_strong(busy, State::FREE);
    return;
  }
  call_first();
  if (first_ == nullptr) state_ = State::BUSY;
}

/** Under the lock: the waiter is on the stack of a thread that may leave at once. */
void FifoGate::call_first() {
  Waiter* const waiter = first_;
  first_ = waiter->next;
  if (first_ == nullptr) last_ = nullptr;
  waiter->called = true;
  waiter->turn.notify_one();
}

void FifoGate::close() {
  const std::lock_guard<std::mutex> lock(mutex_);
  state_ = State::CLOSED;
  while (first_ != nullptr) call_first();
}

}  // namespace nkr::canopen

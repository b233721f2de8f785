#include "runtime/FifoGate.hpp"

namespace nkr::canopen {
nkr_error_t FifoGate::queue(can::Clock::time_point& since) {
  since = can::Clock::now();
  const nkr_error_t result = wait();
  if (result == NKR_OK) ++gates_entered_;
  return result;
}

nkr_error_t FifoGate::wait() {
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
  self.turn.wait(lock, [&] { return self.called; });
  return state_ == State::CLOSED ? NKR_CAN_CLOSED : NKR_OK;
}

void FifoGate::let_next_in() {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (first_ == nullptr) return;  // closed
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

#include "FifoGate.hpp"

namespace nkr::canopen {
namespace {

/** How many gates the thread is inside: more than none only when it is called back from within a transfer. */
thread_local int gates_entered = 0;

}  // namespace

nkr_error_t FifoGate::enter() {
  std::unique_lock<std::mutex> lock(mutex_);
  if (closed_) return NKR_CAN_CLOSED;
  if (busy_) {
    if (gates_entered > 0) return NKR_CAN_WOULD_DEADLOCK;
    Waiter self;
    (last_ == nullptr ? first_ : last_->next) = &self;
    last_ = &self;
    self.turn.wait(lock, [&] { return self.called; });
    if (closed_) return NKR_CAN_CLOSED;
  }
  busy_ = true;
  ++gates_entered;
  return NKR_OK;
}

void FifoGate::leave() {
  --gates_entered;
  const std::lock_guard<std::mutex> lock(mutex_);
  busy_ = first_ != nullptr;
  if (first_ == nullptr) return;
  Waiter* const next = first_;
  first_ = next->next;
  if (first_ == nullptr) last_ = nullptr;
  next->called = true;
  next->turn.notify_one();  // under the lock: the waiter is on the stack of a thread that may leave at once
}

void FifoGate::close() {
  const std::lock_guard<std::mutex> lock(mutex_);
  closed_ = true;
  while (first_ != nullptr) {
    Waiter* const waiter = first_;
    first_ = waiter->next;
    waiter->called = true;
    waiter->turn.notify_one();
  }
  last_ = nullptr;
}

}  // namespace nkr::canopen

#include "runtime/EventQueue.hpp"

#include <utility>

namespace nkr::canopen {

EventQueue::~EventQueue() {
  close();
}

nkr_error_t EventQueue::subscribe(EventHandler handler, int& subscription) {
  if (!handler) return NKR_ERROR;
  auto shared = std::make_shared<const EventHandler>(std::move(handler));
  const std::lock_guard<std::mutex> lock(mutex_);
  if (closed_) return NKR_CAN_CLOSED;
  if (!thread_.is_started() && !thread_.start([this] { run(); }, "nkr-events")) return NKR_CAN_NO_RESOURCES;
  subscription = ++last_subscription_;
  handlers_.emplace(subscription, std::move(shared));
  return NKR_OK;
}

void EventQueue::unsubscribe(int subscription) {
  Shared removed;  // what it captured is destroyed without the lock
  std::unique_lock<std::mutex> lock(mutex_);
  const auto found = handlers_.find(subscription);
  if (found == handlers_.end()) return;
  removed = std::move(found->second);
  handlers_.erase(found);
  if (thread_.is_caller()) return;
  idle_.wait(lock, [&] { return running_ != subscription; });
}

void EventQueue::post(const Event& event) {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (closed_ || handlers_.empty() || events_.size() == kBound) return;
    events_.push_back(event);
  }
  changed_.notify_one();
}

bool EventQueue::is_own_thread() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return thread_.is_caller();
}

void EventQueue::close() {
  std::unique_lock<std::mutex> lock(mutex_);
  closed_ = true;
  events_.clear();
  changed_.notify_one();
  if (thread_.is_caller()) return;
  idle_.wait(lock, [this] { return running_ == 0; });
}

void EventQueue::run() {
  std::unique_lock<std::mutex> lock(mutex_);
  while (true) {
    changed_.wait(lock, [this] { return closed_ || !events_.empty(); });
    if (closed_) return;
    const Event event = events_.front();
    events_.pop_front();
    hand_out(event, lock);
  }
}

void EventQueue::hand_out(const Event& event, std::unique_lock<std::mutex>& lock) {
  for (auto next = handlers_.begin(); next != handlers_.end() && !closed_;) {
    running_ = next->first;
    Shared handler = next->second;
    lock.unlock();
    call(*handler, event);
    handler.reset();  // perhaps the last that holds what it captured
    lock.lock();
    next = handlers_.upper_bound(std::exchange(running_, 0));
    idle_.notify_all();
  }
}

void EventQueue::call(const EventHandler& handler, const Event& event) {
  try {
    handler(event);
  } catch (...) {
    ++thrown_;
  }
}

}  // namespace nkr::canopen

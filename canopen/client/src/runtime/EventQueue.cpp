#include "runtime/EventQueue.hpp"

#include <utility>

namespace nkr::canopen {

EventQueue::~EventQueue() {
  close();
  if (thread_.joinable()) thread_.join();
}

int EventQueue::subscribe(EventHandler handler) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (closed_) return 0;
  handlers_.emplace(++last_subscription_, std::move(handler));
  if (!thread_.joinable()) thread_ = std::thread([this] { run(); });
  return last_subscription_;
}

void EventQueue::unsubscribe(int subscription) {
  EventHandler removed;  // what it captured is destroyed without the lock
  std::unique_lock<std::mutex> lock(mutex_);
  const auto found = handlers_.find(subscription);
  if (found == handlers_.end()) return;
  removed = std::move(found->second);
  handlers_.erase(found);
  if (std::this_thread::get_id() == thread_.get_id()) return;
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
  return std::this_thread::get_id() == thread_.get_id();
}

void EventQueue::close() {
  std::unique_lock<std::mutex> lock(mutex_);
  closed_ = true;
  events_.clear();
  changed_.notify_one();
  if (std::this_thread::get_id() == thread_.get_id()) return;
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
    const EventHandler handler = next->second;
    lock.unlock();
    handler(event);
    lock.lock();
    next = handlers_.upper_bound(std::exchange(running_, 0));
    idle_.notify_all();
  }
}

}  // namespace nkr::canopen

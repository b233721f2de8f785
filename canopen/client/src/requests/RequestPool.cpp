#include "requests/RequestPool.hpp"

#include <algorithm>
#include <utility>

namespace nkr::canopen {

RequestPool::~RequestPool() {
  close(false);
  for (can::Thread& thread : threads_) thread.end();
}

nkr_error_t RequestPool::add(std::uint8_t node, Request request) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (closed_) return NKR_CAN_CLOSED;
  std::deque<Request>& queue = requests_.at(node);
  if (queue.size() >= kMostOfANode) return NKR_CAN_TX_OVERFLOW;
  if (queue.empty() && !has_thread()) return NKR_CAN_NO_RESOURCES;
  queue.push_back(std::move(request));
  ++pending_;
  if (queue.size() > 1) return NKR_OK;
  ready_.push_back(node);
  changed_.notify_one();
  return NKR_OK;
}

/** One more where all have work; those that there are will do when the system has no more. */
bool RequestPool::has_thread() {
  if (ready_.size() < waiting_ || threads_.size() == kMostThreads) return true;
  threads_.emplace_back();
  if (threads_.back().start([this] { run(); }, "nkr-requests")) return true;
  threads_.pop_back();
  return !threads_.empty();
}

void RequestPool::run() {
  std::unique_lock<std::mutex> lock(mutex_);
  while (true) {
    ++waiting_;
    changed_.wait(lock, [this] { return closed_ || !ready_.empty(); });
    --waiting_;
    if (ready_.empty()) return;
    const std::uint8_t node = ready_.front();
    ready_.pop_front();
    Request request = std::move(requests_.at(node).front());
    lock.unlock();
    make(request);
    lock.lock();
    requests_.at(node).pop_front();
    if (!requests_.at(node).empty()) ready_.push_back(node);
    if (--pending_ == 0) idle_.notify_all();
  }
}

/** Without the lock, and so ends what the request holds. */
void RequestPool::make(Request& request) {
  try {
    request();
  } catch (...) {
    ++thrown_;
  }
  request = nullptr;
}

bool RequestPool::is_own_thread() const {
  return std::any_of(threads_.begin(), threads_.end(),
                     [](const can::Thread& thread) { return thread.is_caller(); });
}

void RequestPool::close(bool waits) {
  std::unique_lock<std::mutex> lock(mutex_);
  closed_ = true;
  changed_.notify_all();
  if (waits && !is_own_thread()) idle_.wait(lock, [this] { return pending_ == 0; });
}

}  // namespace nkr::canopen

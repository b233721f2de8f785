#include "requests/RequestPool.hpp"

#include <algorithm>
#include <utility>

namespace nkr::canopen {

RequestPool::~RequestPool() {
  close(false);
  for (std::thread& thread : threads_) thread.join();
}

bool RequestPool::add(std::uint8_t node, Request request) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (closed_) return false;
  std::deque<Request>& queue = requests_.at(node);
  queue.push_back(std::move(request));
  ++pending_;
  if (queue.size() > 1) return true;
  ready_.push_back(node);
  if (ready_.size() > waiting_ && threads_.size() < kMostThreads) threads_.emplace_back([this] { run(); });
  changed_.notify_one();
  return true;
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
    request();
    request = nullptr;  // what it holds ends without the lock
    lock.lock();
    requests_.at(node).pop_front();
    if (!requests_.at(node).empty()) ready_.push_back(node);
    if (--pending_ == 0) idle_.notify_all();
  }
}

bool RequestPool::is_own_thread() const {
  return std::any_of(threads_.begin(), threads_.end(),
                     [](const std::thread& thread) { return thread.get_id() == std::this_thread::get_id(); });
}

void RequestPool::close(bool waits) {
  std::unique_lock<std::mutex> lock(mutex_);
  closed_ = true;
  changed_.notify_all();
  if (waits && !is_own_thread()) idle_.wait(lock, [this] { return pending_ == 0; });
}

}  // namespace nkr::canopen

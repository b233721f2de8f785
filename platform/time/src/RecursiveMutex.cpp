#include <nkr/time/RecursiveMutex.hpp>

namespace nkr::time {

void RecursiveMutex::lock() {
  std::unique_lock<std::mutex> lock(mutex_);
  freed_.wait(lock, [this] { return is_free_for_caller(); });
  take();
}

bool RecursiveMutex::try_lock() {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (!is_free_for_caller()) return false;
  take();
  return true;
}

/** Notifies with the lock held: who takes it next may end it. */
void RecursiveMutex::unlock() {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (--depth_ == 0) freed_.notify_one();
}

bool RecursiveMutex::is_free_for_caller() const {
  return depth_ == 0 || owner_ == std::this_thread::get_id();
}

void RecursiveMutex::take() {
  owner_ = std::this_thread::get_id();
  ++depth_;
}

}  // namespace nkr::time

#include "FrameQueue.hpp"

#include <exception>
#include <utility>

namespace nkr::can {
namespace {

constexpr std::size_t kFirstCapacity = 64;
constexpr std::size_t kCapacityBound = 16384;

}  // namespace

FrameQueue::FrameQueue() : ring_(kFirstCapacity) {}

bool FrameQueue::make_room() {
  if (count_ < ring_.size()) return true;
  if (ring_.size() == kCapacityBound) return false;
  try {
    std::vector<Frame> larger(ring_.size() * 2);
    for (std::size_t i = 0; i < count_; ++i) larger[i] = ring_[(first_ + i) & (ring_.size() - 1)];
    ring_ = std::move(larger);
  } catch (const std::exception&) {
    return false;
  }
  first_ = 0;
  return true;
}

void FrameQueue::push(const Frame& frame) {
  bool somebody_waits = false;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (closed_) return;
    if (!make_room()) {
      ++dropped_;
      return;
    }
    ring_[(first_ + count_) & (ring_.size() - 1)] = frame;
    count_.store(count_ + 1, std::memory_order_release);
    somebody_waits = waiters_ > 0;
  }
  if (somebody_waits) changed_.notify_one();
}

bool FrameQueue::take(Frame& frame, nkr_error_t& result) {
  if (closed_) {
    result = NKR_CAN_CLOSED;
    return true;
  }
  if (count_ > 0) {
    frame = ring_[first_];
    first_ = (first_ + 1) & (ring_.size() - 1);
    count_.store(count_ - 1, std::memory_order_relaxed);
    result = NKR_OK;
    return true;
  }
  if (event_ != NKR_OK) {
    result = std::exchange(event_, NKR_OK);
    has_news_ = false;
    return true;
  }
  return false;
}

nkr_error_t FrameQueue::pop(Frame& frame, const Deadline& deadline) {
  // Nothing is there: neither the lock nor the clock is needed to say so.
  if (deadline.only_looks() && count_.load(std::memory_order_acquire) == 0 &&
      !has_news_.load(std::memory_order_acquire))
    return NKR_CAN_TIMED_OUT;
  std::unique_lock<std::mutex> lock(mutex_);
  nkr_error_t result = NKR_CAN_TIMED_OUT;
  return take(frame, result) || deadline.only_looks() ? result : wait(lock, frame, deadline.time());
}

nkr_error_t FrameQueue::wait(std::unique_lock<std::mutex>& lock, Frame& frame, Clock::time_point deadline) {
  nkr_error_t result = NKR_CAN_TIMED_OUT;
  const auto done = [&] { return take(frame, result); };
  ++waiters_;
  if (deadline == Clock::time_point::max()) {
    changed_.wait(lock, done);
  } else {
    changed_.wait_until(lock, deadline, done);
  }
  --waiters_;
  return result;
}

void FrameQueue::tell(nkr_error_t event) {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    event_ = event;
    has_news_ = closed_ || event != NKR_OK;
  }
  changed_.notify_all();
}

void FrameQueue::close() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    closed_ = true;
    has_news_ = true;
  }
  changed_.notify_all();
}

std::uint64_t FrameQueue::dropped() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return dropped_;
}

}  // namespace nkr::can

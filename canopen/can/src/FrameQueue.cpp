#include "FrameQueue.hpp"

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
  std::vector<Frame> larger(ring_.size() * 2);
  for (std::size_t i = 0; i < count_; ++i) larger[i] = ring_[(first_ + i) & (ring_.size() - 1)];
  ring_ = std::move(larger);
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
    ring_[(first_ + count_++) & (ring_.size() - 1)] = frame;
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
    --count_;
    result = NKR_OK;
    return true;
  }
  if (event_ != NKR_OK) {
    result = std::exchange(event_, NKR_OK);
    return true;
  }
  return false;
}

nkr_error_t FrameQueue::pop(Frame& frame, Clock::time_point deadline) {
  std::unique_lock<std::mutex> lock(mutex_);
  nkr_error_t result = NKR_CAN_TIMED_OUT;
  if (take(frame, result)) return result;
  // Only a look at what is there: no system call, and for the epoch not even one at the clock.
  if (deadline == Clock::time_point{} || deadline <= Clock::now()) return result;
  ++waiters_;
  const auto done = [&] { return take(frame, result); };
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
  }
  changed_.notify_all();
}

void FrameQueue::close() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    closed_ = true;
  }
  changed_.notify_all();
}

std::uint64_t FrameQueue::dropped() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return dropped_;
}

}  // namespace nkr::can

#ifndef NKR_CAN_FRAME_QUEUE_HPP
#define NKR_CAN_FRAME_QUEUE_HPP

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <nkr/can/Bus.hpp>
#include <nkr/time/Condition.hpp>
#include <vector>

namespace nkr::can {

/**
 * Frames on their way to a receiver: a ring that grows to a bound and then drops the newest, as a CAN
 * controller's does. No allocation once it has grown to what its user needs.
 */
class FrameQueue {
 public:
  FrameQueue();

  void push(const Frame& frame);
  /** Waits for a frame until the deadline; results as of Port::receive. */
  nkr_error_t pop(Frame& frame, const Deadline& deadline);
  /** One receiver is told `event` when the frames before it are taken; NKR_OK takes back what nobody heard
   * yet. */
  void tell(nkr_error_t event);
  void close();
  [[nodiscard]] std::uint64_t dropped() const;

 private:
  bool make_room();
  bool take(Frame& frame, nkr_error_t& result);
  nkr_error_t wait(std::unique_lock<std::mutex>& lock, Frame& frame, Clock::time_point deadline);

  mutable std::mutex mutex_;
  time::Condition changed_;
  std::vector<Frame> ring_;
  std::size_t first_ = 0;
  std::atomic<std::size_t> count_{0};  ///< changed under the mutex
  std::size_t waiters_ = 0;
  std::uint64_t dropped_ = 0;
  nkr_error_t event_ = NKR_OK;
  bool closed_ = false;
  std::atomic<bool> has_news_{false};  ///< an event, or the end
};

}  // namespace nkr::can

#endif

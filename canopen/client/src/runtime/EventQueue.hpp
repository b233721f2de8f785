#ifndef NKR_CANOPEN_RUNTIME_EVENTQUEUE_HPP
#define NKR_CANOPEN_RUNTIME_EVENTQUEUE_HPP

#include <nkr/error.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <nkr/can/Thread.hpp>
#include <nkr/canopen/Event.hpp>
#include <nkr/time/Condition.hpp>

namespace nkr::canopen {

/**
 * Hands events to the application on a thread of its own, so that neither the reception of frames nor the
 * host's heartbeat waits for what the application does. No lock is held while a handler runs, or while what
 * it captured is destroyed.
 */
class EventQueue {
 public:
  EventQueue() = default;
  ~EventQueue();
  EventQueue(const EventQueue&) = delete;
  EventQueue& operator=(const EventQueue&) = delete;

  /** The thread starts with the first handler. NKR_OK and a positive number; NKR_CAN_CLOSED; NKR_ERROR for an
   * empty handler; NKR_CAN_NO_RESOURCES without a thread. */
  nkr_error_t subscribe(EventHandler handler, int& subscription);
  /** When it returns, the handler runs no more (unless it is called from inside a handler). */
  void unsubscribe(int subscription);
  void post(const Event& event);
  /** Whether it is called from inside a handler. */
  [[nodiscard]] bool is_own_thread() const;
  /** How often a handler ended by throwing. */
  [[nodiscard]] std::uint64_t thrown() const { return thrown_; }
  /** No more events are handed out; waits for a handler that runs (unless it is called from inside one). */
  void close();

 private:
  static constexpr std::size_t kBound = 16384;
  using Shared = std::shared_ptr<const EventHandler>;

  void run();
  void hand_out(const Event& event, std::unique_lock<std::mutex>& lock);
  void call(const EventHandler& handler, const Event& event);

  mutable std::mutex mutex_;
  time::Condition changed_;
  time::Condition idle_;
  std::map<int, Shared> handlers_;
  std::deque<Event> events_;
  int last_subscription_ = 0;
  int running_ = 0;  ///< the subscription whose handler runs
  bool closed_ = false;
  std::atomic<std::uint64_t> thrown_{0};
  can::Thread thread_;
};

}  // namespace nkr::canopen

#endif

#ifndef NKR_CANOPEN_RUNTIME_EVENTQUEUE_HPP
#define NKR_CANOPEN_RUNTIME_EVENTQUEUE_HPP

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <map>
#include <mutex>
#include <nkr/canopen/Event.hpp>
#include <thread>

namespace nkr::canopen {

/**
 * Hands events to the application on a thread of its own, so that neither the reception of frames nor the
 * host's heartbeat waits for what the application does. No lock is held while a handler runs.
 */
class EventQueue {
 public:
  EventQueue() = default;
  ~EventQueue();
  EventQueue(const EventQueue&) = delete;
  EventQueue& operator=(const EventQueue&) = delete;

  /** The thread starts with the first handler. A positive number, or 0 when the queue is closed. */
  int subscribe(EventHandler handler);
  /** When it returns, the handler runs no more (unless it is called from inside a handler). */
  void unsubscribe(int subscription);
  void post(const Event& event);
  /** Whether it is called from inside a handler. */
  [[nodiscard]] bool is_own_thread() const;
  /** No more events are handed out; waits for a handler that runs (unless it is called from inside one). */
  void close();

 private:
  static constexpr std::size_t kBound = 16384;

  void run();
  void hand_out(const Event& event, std::unique_lock<std::mutex>& lock);

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::condition_variable idle_;
  std::map<int, EventHandler> handlers_;
  std::deque<Event> events_;
  int last_subscription_ = 0;
  int running_ = 0;  ///< the subscription whose handler runs
  bool closed_ = false;
  std::thread thread_;
};

}  // namespace nkr::canopen

#endif

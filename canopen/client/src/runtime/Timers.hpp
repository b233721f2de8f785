#ifndef NKR_CANOPEN_RUNTIME_TIMERS_HPP
#define NKR_CANOPEN_RUNTIME_TIMERS_HPP

#include <nkr/error.h>

#include <array>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <nkr/can/Bus.hpp>
#include <nkr/can/Thread.hpp>
#include <nkr/time/Condition.hpp>

namespace nkr::canopen {

/** A thread that does a few things when their time has come, and sleeps otherwise. No task may wait: it would
 * hold up the others. */
class Timers {
 public:
  enum class Slot : std::size_t { HOST_HEARTBEAT, SYNC, HEARTBEAT_CONSUMER, NODE_GUARDING, COUNT };
  /** Does what was due then and answers when it is due again; Clock::time_point::max(): when it is woken. */
  using Task = std::function<can::Clock::time_point(can::Clock::time_point due)>;

  Timers() = default;
  ~Timers();
  Timers(const Timers&) = delete;
  Timers& operator=(const Timers&) = delete;

  /** Does the task from `first` on, instead of what the slot did before. The thread starts when something is
   * to be done.
   * @return false, and nothing is changed, without a thread */
  bool set(Slot slot, can::Clock::time_point first, Task task);
  void cancel(Slot slot);
  /** The slot's task is due then, if it is not due earlier. False without a thread. */
  bool wake(Slot slot, can::Clock::time_point when);
  void close();

 private:
  struct Entry {
    std::shared_ptr<const Task> task;
    can::Clock::time_point due = can::Clock::time_point::max();
    unsigned generation = 0;  ///< which of the tasks that the slot had one after the other
  };

  void run();
  bool has_thread();
  void run_task(Entry& entry, std::unique_lock<std::mutex>& lock);
  Entry& earliest();

  std::mutex mutex_;
  time::Condition changed_;
  std::array<Entry, static_cast<std::size_t>(Slot::COUNT)> entries_;
  bool closed_ = false;
  can::Thread thread_;
};

/** The time of a periodic task's next turn: without drift, and without a burst after a delay. */
can::Clock::time_point next_turn(can::Clock::time_point due, can::Clock::duration period);

/** Sends every period. What the bus cannot take at once is tried again, shortly, until the next turn. */
Timers::Task periodic(can::Clock::duration period, std::function<nkr_error_t()> send);

}  // namespace nkr::canopen

#endif

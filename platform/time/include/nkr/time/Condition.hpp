#ifndef NKR_TIME_CONDITION_HPP
#define NKR_TIME_CONDITION_HPP

#include <nkr/export.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <nkr/time/clock.hpp>

namespace nkr::time {

struct Parked;

/**
 * A condition variable in the calling thread's time: what std::condition_variable is for threads of the
 * system's time, with the same rules. A thread in virtual time holds no mutex but the given one while it
 * waits.
 */
class NKR_EXPORT Condition {
 public:
  Condition() = default;
  Condition(const Condition&) = delete;
  Condition& operator=(const Condition&) = delete;

  void wait(std::unique_lock<std::mutex>& lock);
  /** False when the time came first. The end of the clock: for ever. */
  bool wait_until(std::unique_lock<std::mutex>& lock, Clock::time_point time);

  template <class Predicate>
  void wait(std::unique_lock<std::mutex>& lock, Predicate is_done) {
    while (!is_done()) wait(lock);
  }
  /** What the predicate says in the end. */
  template <class Predicate>
  bool wait_until(std::unique_lock<std::mutex>& lock, Clock::time_point time, Predicate is_done) {
    while (!is_done()) {
      if (!wait_until(lock, time)) return is_done();
    }
    return true;
  }

  /** The same with the length of the wait. */
  template <class Rep, class Period>
  bool wait_for(std::unique_lock<std::mutex>& lock, std::chrono::duration<Rep, Period> wait) {
    return wait_until(lock, time_after(now(), wait));
  }
  template <class Rep, class Period, class Predicate>
  bool wait_for(std::unique_lock<std::mutex>& lock, std::chrono::duration<Rep, Period> wait,
                Predicate is_done) {
    return wait_until(lock, time_after(now(), wait), is_done);
  }

  void notify_one() {
    real_.notify_one();
    if (parked_count_.load() != 0) unpark(1);
  }
  void notify_all() {
    real_.notify_all();
    const int parked = parked_count_.load();
    if (parked != 0) unpark(parked);
  }

 private:
  bool park(std::unique_lock<std::mutex>& lock, Clock::time_point time);
  void unpark(int count);
  void add(Parked& parked);
  void remove(Parked& parked);

  std::condition_variable real_;
  // Those in virtual time, in the order in which they came.
  std::atomic<int> parked_count_{0};
  std::mutex parked_mutex_;
  Parked* first_ = nullptr;
  Parked* last_ = nullptr;
};

}  // namespace nkr::time

#endif

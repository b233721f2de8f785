#include "runtime/Timers.hpp"

#include <algorithm>
#include <nkr/time/clock.hpp>
#include <utility>

namespace nkr::canopen {

using can::Clock;

namespace {

/** After a send that the bus could not take. */
constexpr std::chrono::microseconds kRetry{200};

}  // namespace

Timers::~Timers() {
  close();
}

bool Timers::set(Slot slot, Clock::time_point first, Task task) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (closed_) return true;
  if (first != Clock::time_point::max() && !has_thread()) return false;
  Entry& entry = entries_.at(static_cast<std::size_t>(slot));
  entry = {std::make_shared<const Task>(std::move(task)), first, entry.generation + 1};
  changed_.notify_one();
  return true;
}

bool Timers::has_thread() {
  return thread_.is_started() || thread_.start([this] { run(); }, "nkr-timers");
}

void Timers::cancel(Slot slot) {
  const std::lock_guard<std::mutex> lock(mutex_);
  Entry& entry = entries_.at(static_cast<std::size_t>(slot));
  entry = {nullptr, Clock::time_point::max(), entry.generation + 1};
}

bool Timers::wake(Slot slot, Clock::time_point when) {
  const std::lock_guard<std::mutex> lock(mutex_);
  Entry& entry = entries_.at(static_cast<std::size_t>(slot));
  if (closed_ || entry.due <= when) return true;
  if (!has_thread()) return false;
  entry.due = when;
  changed_.notify_one();
  return true;
}

void Timers::close() {
  const std::lock_guard<std::mutex> lock(mutex_);
  closed_ = true;
  changed_.notify_one();
}

Timers::Entry& Timers::earliest() {
  return *std::min_element(entries_.begin(), entries_.end(),
                           [](const Entry& a, const Entry& b) { return a.due < b.due; });
}

void Timers::run() {
  std::unique_lock<std::mutex> lock(mutex_);
  while (!closed_) {
    Entry& next = earliest();
    const Clock::time_point due = next.due;
    if (due == Clock::time_point::max()) {
      changed_.wait(lock);
      continue;
    }
    if (time::now() < due) {
      changed_.wait_until(lock, due);
      continue;
    }
    run_task(next, lock);
  }
}

void Timers::run_task(Entry& entry, std::unique_lock<std::mutex>& lock) {
  const unsigned generation = entry.generation;
  const Clock::time_point due = std::exchange(entry.due, Clock::time_point::max());
  const std::shared_ptr<const Task> task = entry.task;
  if (!task) return;
  lock.unlock();
  const Clock::time_point again = (*task)(due);
  lock.lock();
  if (entry.generation == generation) entry.due = std::min(entry.due, again);
}

Clock::time_point next_turn(Clock::time_point due, Clock::duration period) {
  const Clock::time_point now = time::now();
  const Clock::time_point next = can::time_after(due, period);
  return next > now ? next : can::time_after(now, period);
}

Timers::Task periodic(Clock::duration period, std::function<nkr_error_t()> send) {
  auto turn = std::make_shared<Clock::time_point>();
  return [period, send = std::move(send), turn = std::move(turn)](Clock::time_point due) {
    if (*turn == Clock::time_point{}) *turn = due;
    const Clock::time_point next = next_turn(*turn, period);
    const Clock::time_point again = time::now() + kRetry;
    if (send() == NKR_CAN_TX_OVERFLOW && again < next) return again;
    *turn = next;
    return next;
  };
}

}  // namespace nkr::canopen

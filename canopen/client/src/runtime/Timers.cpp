#include "runtime/Timers.hpp"

#include <algorithm>
#include <utility>

namespace nkr::canopen {

using can::Clock;

Timers::~Timers() {
  close();
  if (thread_.joinable()) thread_.join();
}

void Timers::set(Slot slot, Clock::time_point first, Task task) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (closed_) return;
  Entry& entry = entries_.at(static_cast<std::size_t>(slot));
  entry = {std::move(task), first, entry.generation + 1};
  if (first != Clock::time_point::max()) changed();
}

void Timers::changed() {
  if (!thread_.joinable()) thread_ = std::thread([this] { run(); });
  changed_.notify_one();
}

void Timers::cancel(Slot slot) {
  const std::lock_guard<std::mutex> lock(mutex_);
  Entry& entry = entries_.at(static_cast<std::size_t>(slot));
  entry = {Task(), Clock::time_point::max(), entry.generation + 1};
}

void Timers::wake(Slot slot, Clock::time_point when) {
  const std::lock_guard<std::mutex> lock(mutex_);
  Entry& entry = entries_.at(static_cast<std::size_t>(slot));
  if (closed_ || entry.due <= when) return;
  entry.due = when;
  changed();
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
    if (Clock::now() < due) {
      changed_.wait_until(lock, due);
      continue;
    }
    run_task(next, lock);
  }
}

void Timers::run_task(Entry& entry, std::unique_lock<std::mutex>& lock) {
  const unsigned generation = entry.generation;
  const Clock::time_point due = std::exchange(entry.due, Clock::time_point::max());
  const Task task = entry.task;
  if (!task) return;
  lock.unlock();
  const Clock::time_point again = task(due);
  lock.lock();
  if (entry.generation == generation) entry.due = std::min(entry.due, again);
}

Clock::time_point next_turn(Clock::time_point due, Clock::duration period) {
  const Clock::time_point now = Clock::now();
  const Clock::time_point next = due + period;
  return next > now ? next : now + period;
}

}  // namespace nkr::canopen

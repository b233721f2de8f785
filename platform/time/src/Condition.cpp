#include <nkr/time/Condition.hpp>

#include "World.hpp"

namespace nkr::time {

void Condition::wait(std::unique_lock<std::mutex>& lock) {
  if (World::current() == nullptr) {
    real_.wait(lock);
  } else {
    park(lock, Clock::time_point::max());
  }
}

bool Condition::wait_until(std::unique_lock<std::mutex>& lock, Clock::time_point time) {
  if (World::current() != nullptr) return park(lock, time);
  if (time != Clock::time_point::max()) return real_.wait_until(lock, time) == std::cv_status::no_timeout;
  real_.wait(lock);
  return true;
}

bool Condition::park(std::unique_lock<std::mutex>& lock, Clock::time_point time) {
  World& world = *World::current();
  Parked self(world);
  add(self);  // before the lock is given up: whoever changes what is waited for sees it
  lock.unlock();
  const bool notified = world.park(self, time);
  remove(self);
  lock.lock();
  return notified;
}

void Condition::unpark(int count) {
  const std::lock_guard<std::mutex> guard(parked_mutex_);
  for (; count > 0 && first_ != nullptr; --count) {
    Parked& parked = *first_;
    first_ = parked.next;
    if (first_ == nullptr) last_ = nullptr;
    parked.is_listed = false;
    --parked_count_;
    if (!parked.world.notify(parked)) ++count;  // its time had come: the notification is another's
  }
}

void Condition::add(Parked& parked) {
  const std::lock_guard<std::mutex> guard(parked_mutex_);
  (last_ == nullptr ? first_ : last_->next) = &parked;
  last_ = &parked;
  parked.is_listed = true;
  ++parked_count_;
}

/** One whose time came is still in the list; and whoever notifies has to be done with it. */
void Condition::remove(Parked& parked) {
  const std::lock_guard<std::mutex> guard(parked_mutex_);
  if (!parked.is_listed) return;
  Parked* before = nullptr;
  for (Parked* at = first_; at != &parked; at = at->next) before = at;
  (before == nullptr ? first_ : before->next) = parked.next;
  if (last_ == &parked) last_ = before;
  --parked_count_;
}

}  // namespace nkr::time

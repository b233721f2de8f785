#include "World.hpp"

#include <algorithm>
#include <cstdio>

namespace nkr::time {
namespace {

thread_local World* world_of_this_thread = nullptr;

/** Of the system's time: in virtual time all of what is due happens in less. */
constexpr std::chrono::seconds kStandstill{10};

}  // namespace

World::World(std::uint64_t seed)
    : now_(beginning().time_since_epoch().count()), shuffles_(seed != 0), chance_(seed) {}

World* World::current() {
  return world_of_this_thread;
}

void World::set_current(World* world) {
  world_of_this_thread = world;
}

/** Not the clock's epoch, which as a deadline means that nothing is waited for. */
Clock::time_point World::beginning() {
  return Clock::time_point(std::chrono::hours(1));
}

bool World::park(Parked& self, Clock::time_point due) {
  Lock lock(mutex_);
  if (!self.is_ready) {  // it may have been notified already, by a thread of another time
    if (due <= now()) return self.was_notified;
    self.due = due;
    self.number = ++parked_so_far_;
    if (due != Clock::time_point::max()) timed_.insert(&self);
  }
  give_turn_away();
  await_turn(self, lock);
  return self.was_notified;
}

void World::notify(Parked& parked) {
  const Lock lock(mutex_);
  if (parked.is_ready) return;
  timed_.erase(&parked);
  parked.was_notified = true;
  parked.is_ready = true;
  ready_.push_back(&parked);
  if (turn_is_free_) give_turn_away();
}

void World::announce(Parked& newcomer) {
  const Lock lock(mutex_);
  newcomer.is_ready = true;
  ready_.push_back(&newcomer);
}

void World::withdraw(Parked& newcomer) {
  const Lock lock(mutex_);
  ready_.erase(std::remove(ready_.begin(), ready_.end(), &newcomer), ready_.end());
}

void World::begin(Parked& newcomer) {
  set_current(this);
  Lock lock(mutex_);
  await_turn(newcomer, lock);
}

void World::leave() {
  set_current(nullptr);
  const Lock lock(mutex_);
  give_turn_away();
}

/** With the mutex held. */
void World::give_turn_away() {
  Parked* const next = next_in_turn();
  turn_is_free_ = next == nullptr;
  if (next == nullptr) return;
  ++switches_;
  next->has_turn = true;
  next->turn.notify_one();
}

/** Who could go on goes on; when nobody could, the time jumps to whoever is due first. */
Parked* World::next_in_turn() {
  if (ready_.empty() && !timed_.empty()) {
    Parked* const due = *timed_.begin();
    timed_.erase(timed_.begin());
    now_ = std::max(now(), due->due).time_since_epoch().count();
    due->is_ready = true;
    return due;
  }
  if (ready_.empty()) return nullptr;
  const std::size_t place = shuffles_ ? chance_() % ready_.size() : 0;
  Parked* const next = ready_[place];
  ready_.erase(ready_.begin() + static_cast<std::ptrdiff_t>(place));
  return next;
}

void World::await_turn(Parked& self, Lock& lock) {
  while (!self.has_turn) {
    const std::uint64_t before = switches_;
    if (self.turn.wait_for(lock, kStandstill) == std::cv_status::timeout && !self.has_turn)
      report_standstill(before);
  }
}

/** Once: whoever looks for the reason finds it on standard error; nothing else can be done here. */
void World::report_standstill(std::uint64_t switches) {
  if (switches != switches_ || has_reported_) return;
  has_reported_ = true;
  const char* const reason =
      turn_is_free_ ? "all threads wait, and nothing is due: a deadlock, or a wait for the world outside"
                    : "one thread holds up all others: it computes, or waits for the world outside";
  std::fprintf(stderr, "virtual time stands still: %s\n", reason);
}

}  // namespace nkr::time

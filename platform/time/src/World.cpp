#include "World.hpp"

#include <pthread.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace nkr::time {
namespace {

thread_local World* world_of_this_thread = nullptr;
thread_local const char* name_of_this_thread = "a thread of the program";

/** A standstill is seen in so many looks: a stopped process or a debugger's halt is one of them at most. */
constexpr int kLooks = 10;

/** Who waits asks for the time some times in a turn; who asks so often does not wait. */
constexpr std::uint64_t kAsksInATurn = 100;

/** Beyond it, a paced time is not waited for exactly. */
constexpr double kLongestSleep = 1e9;

clockid_t clock_of_this_thread() {
  clockid_t clock{};
  ::pthread_getcpuclockid(::pthread_self(), &clock);
  return clock;
}

/** Zero when the thread has ended. */
Clock::duration processor_time(clockid_t clock) {
  timespec used{};
  if (::clock_gettime(clock, &used) != 0) return Clock::duration::zero();
  return std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec);
}

std::string seconds_text(Clock::duration duration) {
  char text[40];
  std::snprintf(text, sizeof text, "+%.6f s", std::chrono::duration<double>(duration).count());
  return text;
}

}  // namespace

Parked::Parked(World& home) : Parked(home, name_of_this_thread) {}

void name_this_thread(const char* name) {
  name_of_this_thread = name;
}

/** For how long nobody has followed anybody, as one who waits for his turn sees it. */
struct World::Quiet {
  int looks = 0;
  std::uint64_t switches = 0;
  Clock::duration processor_time{};
};

World::World(VirtualTime::Settings settings)
    : settings_(std::move(settings)),
      now_(beginning().time_since_epoch().count()),
      running_(name_of_this_thread),
      running_clock_(clock_of_this_thread()),
      chance_(settings_.seed) {}

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

Clock::time_point World::ask() {
  if (++asked_at_this_time_ / kAsksInATurn >= settings_.turns_at_one_time) {
    Lock lock(mutex_);
    asked_at_this_time_ = 0;
    stop(lock, "a thread asks for the time over and over without waiting");
  }
  return now();
}

bool World::park(Parked& self, Clock::time_point due) {
  Lock lock(mutex_);
  count_turn(lock);
  if (!self.is_ready) {  // it may have been notified already, by a thread of another time
    if (due <= now()) {
      self.is_ready = true;  // no notification finds it any more
      return false;
    }
    self.due = due;
    if (due == Clock::time_point::max()) {
      idle_.append(self);
    } else {
      timed_.insert_by_due(self);
    }
  }
  give_turn_away();
  await_turn(self, lock);
  return self.was_notified;
}

void World::yield(Parked& self) {
  Lock lock(mutex_);
  count_turn(lock);
  self.is_ready = true;
  ready_.append(self);
  give_turn_away();
  await_turn(self, lock);
}

bool World::notify(Parked& parked) {
  const Lock lock(mutex_);
  if (parked.is_ready) return false;
  if (parked.list != nullptr) parked.list->remove(parked);
  parked.was_notified = true;
  parked.is_ready = true;
  ready_.append(parked);
  if (!turn_is_free_) return true;
  if (is_paced()) pass_to(timed_.is_empty() ? paced_now() : std::min(paced_now(), timed_.first()->due));
  give_turn_away();
  return true;
}

void World::announce(Parked& newcomer) {
  const Lock lock(mutex_);
  newcomer.is_ready = true;
  ready_.append(newcomer);
}

void World::withdraw(Parked& newcomer) {
  const Lock lock(mutex_);
  if (newcomer.list != nullptr) newcomer.list->remove(newcomer);
}

void World::begin(Parked& newcomer) {
  set_current(this);
  name_this_thread(newcomer.name);
  Lock lock(mutex_);
  await_turn(newcomer, lock);
}

void World::leave() {
  set_current(nullptr);
  const Lock lock(mutex_);
  give_turn_away();
}

void World::leave_alone() {
  {
    const Lock lock(mutex_);
    was_left_ = true;
  }
  leave();
}

void World::count_turn(Lock& lock) {
  if (++turns_at_this_time_ < settings_.turns_at_one_time) return;
  turns_at_this_time_ = 0;
  stop(lock, "the threads follow each other without end, and nobody waits for a later time");
}

/** With the mutex held. */
void World::give_turn_away() {
  Parked* const next = next_in_turn();
  turn_is_free_ = next == nullptr;
  running_ = next == nullptr ? nullptr : next->name;
  if (next == nullptr) return;
  ++switches_;
  next->has_turn = true;
  next->turn.notify_one();
}

/** Who could go on goes on; when nobody could, the time jumps to whoever is due first. */
Parked* World::next_in_turn() {
  if (ready_.is_empty()) {
    Parked* const due = timed_.first();
    if (due == nullptr) return nullptr;
    if (is_paced() && paced_now() < due->due) {
      due->turn.notify_one();  // it watches the system's clock
      return nullptr;
    }
    pass_to(due->due);
    do {  // which of them is first is a matter of chance, too
      Parked& now_due = *timed_.first();
      timed_.remove(now_due);
      now_due.is_ready = true;
      ready_.append(now_due);
    } while (settings_.seed != 0 && !timed_.is_empty() && timed_.first()->due <= now());
  }
  Parked* const next = ready_.at(settings_.seed == 0 ? 0 : chance_() % ready_.size());
  ready_.remove(*next);
  return next;
}

void World::pass_to(Clock::time_point time) {
  if (time <= now()) return;
  now_ = time.time_since_epoch().count();
  turns_at_this_time_ = 0;
  asked_at_this_time_ = 0;
}

void World::await_turn(Parked& self, Lock& lock) {
  Quiet quiet;
  while (!self.has_turn) {
    if (sleeps_to_its_time(self, lock)) continue;
    if (self.turn.wait_for(lock, settings_.patience / kLooks) == std::cv_status::timeout && !self.has_turn)
      look_at_standstill(quiet, lock);
  }
  running_clock_ = clock_of_this_thread();
}

/** The part of paced time between the clock and who is due first: that one waits for it in person. */
bool World::sleeps_to_its_time(Parked& self, Lock& lock) {
  if (!is_paced() || !turn_is_free_ || timed_.first() != &self) return false;
  self.turn.wait_until(lock, system_time_of(self.due));
  if (!self.has_turn && turn_is_free_) give_turn_away();
  return true;
}

Clock::time_point World::paced_now() const {
  const std::chrono::duration<double> real = Clock::now() - began_;
  return beginning() + std::chrono::duration_cast<Clock::duration>(real * settings_.pace);
}

/** Rounded up: the time has come then. */
Clock::time_point World::system_time_of(Clock::time_point due) const {
  const std::chrono::duration<double> virtual_time = due - beginning();
  const double wait = std::min(virtual_time.count() / settings_.pace, kLongestSleep);
  return began_ + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(wait)) +
         std::chrono::microseconds(1);
}

/**
 * A wait of all without anything due ends by the world outside or never. Who holds up the others computes, or
 * waits outside: the latter is told and endured, the former is measured by his own processor time, so that a
 * busy machine does not look like a busy loop.
 */
void World::look_at_standstill(Quiet& quiet, Lock& lock) {
  const Clock::duration used = processor_time(running_clock_);
  if (quiet.looks == 0 || quiet.switches != switches_) quiet = {0, switches_, used};
  if (++quiet.looks <= kLooks || (turn_is_free_ && is_paced() && !timed_.is_empty())) return;
  const Clock::duration computed = used - quiet.processor_time;
  const char* reason = nullptr;
  if (turn_is_free_) {
    if (was_left_) return;  // who left may still notify
    reason = "all threads wait, and nothing is due: a deadlock, or a wait for the world outside";
  } else if (computed >= settings_.patience) {
    reason = "one thread computes without end, and holds up all others";
  } else {
    if (computed < settings_.patience / 2 && std::exchange(warned_at_, switches_) != switches_)
      std::fputs(describe("one thread holds up all others: it waits for the world outside?").c_str(), stderr);
    return;
  }
  if (std::exchange(stopped_at_, switches_) != switches_) stop(lock, reason);
}

/** Without the mutex: whoever is told may notify. */
void World::stop(Lock& lock, const char* reason) {
  const std::string report = describe(reason);
  lock.unlock();
  if (!settings_.on_standstill) {
    std::fputs(report.c_str(), stderr);
    std::abort();
  }
  settings_.on_standstill(report);
  lock.lock();
}

std::string World::describe(const char* reason) const {
  const auto since_beginning = [](Clock::time_point time) { return seconds_text(time - beginning()); };
  std::string report =
      "virtual time stands still at " + since_beginning(now()) + ": " + std::string(reason) + "\n";
  if (running_ != nullptr) report += "  " + std::string(running_) + ": runs\n";
  for (const Parked* at = ready_.first(); at != nullptr; at = at->later)
    report += "  " + std::string(at->name) + ": waits for its turn\n";
  for (const Parked* at = timed_.first(); at != nullptr; at = at->later)
    report += "  " + std::string(at->name) + ": waits until " + since_beginning(at->due) + "\n";
  for (const Parked* at = idle_.first(); at != nullptr; at = at->later)
    report += "  " + std::string(at->name) + ": waits for a notification\n";
  return report;
}

}  // namespace nkr::time

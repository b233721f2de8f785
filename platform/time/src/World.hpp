#ifndef NKR_TIME_SRC_WORLD_HPP
#define NKR_TIME_SRC_WORLD_HPP

#include <time.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <nkr/time/VirtualTime.hpp>
#include <nkr/time/clock.hpp>
#include <random>
#include <string>

#include "ParkedList.hpp"

namespace nkr::time {

class World;

/** A thread in virtual time that does not run: it waits for a notification, a time, or its turn. */
struct Parked {
  Parked(World& home, const char* name_of_thread) : world(home), name(name_of_thread) {}
  explicit Parked(World& home);
  Parked(const Parked&) = delete;
  Parked& operator=(const Parked&) = delete;

  World& world;
  const char* const name;
  // Under the world's mutex:
  std::condition_variable turn;
  Clock::time_point due = Clock::time_point::max();
  bool is_ready = false;  ///< waits for its turn alone
  bool has_turn = false;
  bool was_notified = false;
  ParkedList* list = nullptr;
  Parked* earlier = nullptr;
  Parked* later = nullptr;
  // Under the condition's:
  Parked* next = nullptr;
  bool is_listed = false;
};

/**
 * A virtual time: whose turn it is, who could go on, and when those are due who wait for a time. Nothing in
 * it allocates, so that no wait can fail.
 */
class World : public std::enable_shared_from_this<World> {
 public:
  explicit World(VirtualTime::Settings settings);
  World(const World&) = delete;
  World& operator=(const World&) = delete;

  /** That of the calling thread; null in the system's time. */
  static World* current();
  static void set_current(World* world);

  [[nodiscard]] Clock::time_point now() const { return Clock::time_point(Clock::duration(now_.load())); }
  /** The same, from a thread in it: who asks for ever without waiting is stopped. */
  [[nodiscard]] Clock::time_point ask();
  [[nodiscard]] std::uint64_t switches() const { return switches_; }
  static Clock::time_point beginning();

  /** Gives the turn away until a notification, or until then. False when the time came first. */
  bool park(Parked& self, Clock::time_point due);
  /** Lets those go on who could, before the time passes. */
  void yield(Parked& self);
  /** From any thread: the parked one may go on. False when it could already. */
  bool notify(Parked& parked);

  /** A new thread takes its place among those who could go on, before it runs. */
  void announce(Parked& newcomer);
  /** It will not come. */
  void withdraw(Parked& newcomer);
  /** On the new thread: waits for its first turn. */
  void begin(Parked& newcomer);
  /** On a thread that ends: gives its turn away for good. */
  void leave();
  /** The same on the thread that made it, which is no part of it any more. */
  void leave_alone();

 private:
  using Lock = std::unique_lock<std::mutex>;
  struct Quiet;

  void count_turn(Lock& lock);
  void give_turn_away();
  Parked* next_in_turn();
  void pass_to(Clock::time_point time);
  void await_turn(Parked& self, Lock& lock);

  [[nodiscard]] bool is_paced() const { return settings_.pace > 0; }
  [[nodiscard]] Clock::time_point paced_now() const;
  [[nodiscard]] Clock::time_point system_time_of(Clock::time_point due) const;
  bool sleeps_to_its_time(Parked& self, Lock& lock);

  void look_at_standstill(Quiet& quiet, Lock& lock);
  void stop(Lock& lock, const char* reason);
  [[nodiscard]] std::string describe(const char* reason) const;

  const VirtualTime::Settings settings_;
  const Clock::time_point began_ = Clock::now();
  std::mutex mutex_;
  std::atomic<Clock::rep> now_;
  ParkedList timed_;           ///< by what is due first
  ParkedList ready_;           ///< in the order in which they became it
  ParkedList idle_;            ///< wait for a notification alone
  bool turn_is_free_ = false;  ///< nobody could go on: the next who is notified does
  const char* running_;
  clockid_t running_clock_{};  ///< of the processor time of who runs
  std::atomic<std::uint64_t> switches_{0};
  std::uint64_t turns_at_this_time_ = 0;
  std::uint64_t asked_at_this_time_ = 0;
  std::uint64_t stopped_at_ = UINT64_MAX;  ///< the number of switches at the last report
  std::uint64_t warned_at_ = UINT64_MAX;
  bool was_left_ = false;
  std::mt19937_64 chance_;
};

/** For reports: a literal. */
void name_this_thread(const char* name);

}  // namespace nkr::time

#endif

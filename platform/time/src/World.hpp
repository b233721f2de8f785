#ifndef NKR_TIME_SRC_WORLD_HPP
#define NKR_TIME_SRC_WORLD_HPP

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <nkr/time/clock.hpp>
#include <random>
#include <set>

namespace nkr::time {

class World;

/** A thread in virtual time that does not run: it waits for a notification, a time, or its turn. */
struct Parked {
  explicit Parked(World& home) : world(home) {}
  Parked(const Parked&) = delete;
  Parked& operator=(const Parked&) = delete;

  World& world;
  // Under the world's mutex:
  std::condition_variable turn;
  Clock::time_point due = Clock::time_point::max();
  std::uint64_t number = 0;  ///< in the order of parking
  bool is_ready = false;     ///< waits for its turn alone
  bool has_turn = false;
  bool was_notified = false;
  // Under the condition's:
  Parked* next = nullptr;
  bool is_listed = false;
};

/** A virtual time: whose turn it is, who could go on, and when those are due who wait for a time. */
class World {
 public:
  explicit World(std::uint64_t seed);
  World(const World&) = delete;
  World& operator=(const World&) = delete;

  /** That of the calling thread; null in the system's time. */
  static World* current();
  static void set_current(World* world);

  [[nodiscard]] Clock::time_point now() const { return Clock::time_point(Clock::duration(now_.load())); }
  [[nodiscard]] std::uint64_t switches() const { return switches_; }
  static Clock::time_point beginning();

  /** Gives the turn away until a notification, or until then. False when the time came first. */
  bool park(Parked& self, Clock::time_point due);
  /** From any thread: the parked one may go on. */
  void notify(Parked& parked);

  /** A new thread takes its place among those who could go on, before it runs. */
  void announce(Parked& newcomer);
  /** It will not come. */
  void withdraw(Parked& newcomer);
  /** On the new thread: waits for its first turn. */
  void begin(Parked& newcomer);
  /** On a thread that ends: gives its turn away for good. */
  void leave();

 private:
  using Lock = std::unique_lock<std::mutex>;
  struct Earlier {
    bool operator()(const Parked* a, const Parked* b) const {
      return a->due != b->due ? a->due < b->due : a->number < b->number;
    }
  };

  void give_turn_away();
  Parked* next_in_turn();
  void await_turn(Parked& self, Lock& lock);
  void report_standstill(std::uint64_t switches);

  std::mutex mutex_;
  std::atomic<Clock::rep> now_;
  std::set<Parked*, Earlier> timed_;
  std::deque<Parked*> ready_;
  bool turn_is_free_ = false;  ///< nobody could go on: the next who is notified does
  std::uint64_t parked_so_far_ = 0;
  std::atomic<std::uint64_t> switches_{0};
  bool has_reported_ = false;
  const bool shuffles_;
  std::mt19937_64 chance_;
};

}  // namespace nkr::time

#endif

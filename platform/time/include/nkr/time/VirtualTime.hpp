#ifndef NKR_TIME_VIRTUALTIME_HPP
#define NKR_TIME_VIRTUALTIME_HPP

#include <nkr/export.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <nkr/time/clock.hpp>
#include <string>

namespace nkr::time {

class World;

/**
 * Time that passes only while all who live in it wait, and then jumps to the next thing that is due: a
 * program of threads, buses inside the process, clients and drives runs as fast as the processor allows, and
 * on every run alike.
 *
 * The thread that makes it lives in it until it ends, and so do all that are started by nkr::time::Thread
 * from inside. One of them runs at a time; what is due at the same time runs in the order in which it was
 * asked for. Computing takes no time. What belongs to the world outside (sockets, terminals, other processes,
 * a std::thread's join) is not waited for in virtual time: a thread that does so holds up all others. Several
 * virtual times may exist in one process, each in threads of its own.
 */
class NKR_EXPORT VirtualTime {
 public:
  /** How it passes, and what becomes of a program that does not let it. */
  struct Settings {
    /** 0: the threads that could go on do so in turn; else in an order of chance that this number decides, to
     * find what depends on it. */
    std::uint64_t seed = 0;
    /** So many times as fast as the system's time; 0: as fast as the processor allows. */
    double pace = 0;
    /** For so long of the system's time nothing happens before a standstill is reported. */
    std::chrono::milliseconds patience{10'000};
    /** So many waits without the time passing are a loop that does not end. */
    std::uint64_t turns_at_one_time = 1'000'000;
    /**
     * Is told, on any thread in this time, when all threads wait and nothing is due, when they follow each
     * other without end, and when one computes or asks for the time without end: the reason, and each thread
     * with what it waits for. Without it the report goes to standard error, and the program is aborted.
     */
    std::function<void(const std::string& report)> on_standstill;
  };

  /** @param seed as in the settings */
  explicit VirtualTime(std::uint64_t seed = 0);
  explicit VirtualTime(Settings settings);
  /** On the thread that made it. Threads that were not waited for go on in it without this one. */
  ~VirtualTime();
  VirtualTime(const VirtualTime&) = delete;
  VirtualTime& operator=(const VirtualTime&) = delete;

  /** How long it has lasted. Any thread. */
  [[nodiscard]] Clock::duration elapsed() const;
  /** How often one thread followed another so far. */
  [[nodiscard]] std::uint64_t switches() const;
  /** Whether the calling thread lives in a virtual time. */
  [[nodiscard]] static bool is_here();

 private:
  std::shared_ptr<World> world_;
  World* around_;
};

}  // namespace nkr::time

#endif

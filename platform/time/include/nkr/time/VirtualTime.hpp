#ifndef NKR_TIME_VIRTUALTIME_HPP
#define NKR_TIME_VIRTUALTIME_HPP

#include <nkr/export.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <nkr/time/clock.hpp>

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
  /** @param seed 0: the threads that could go on do so in turn; else in an order of chance that this number
   *  decides, to find what depends on it */
  explicit VirtualTime(std::uint64_t seed = 0);
  /** The threads that were started in it have to have ended. */
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
  std::unique_ptr<World> world_;
};

}  // namespace nkr::time

#endif

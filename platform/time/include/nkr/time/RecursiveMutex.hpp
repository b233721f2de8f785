#ifndef NKR_TIME_RECURSIVEMUTEX_HPP
#define NKR_TIME_RECURSIVEMUTEX_HPP

#include <nkr/export.h>

#include <mutex>
#include <nkr/time/Condition.hpp>
#include <thread>

namespace nkr::time {

/**
 * A recursive mutex whose owner may wait while it holds it: who wants it meanwhile waits in the same time,
 * where one of the system's would hold up the owner, too.
 */
class NKR_EXPORT RecursiveMutex {
 public:
  RecursiveMutex() = default;
  RecursiveMutex(const RecursiveMutex&) = delete;
  RecursiveMutex& operator=(const RecursiveMutex&) = delete;

  void lock();
  [[nodiscard]] bool try_lock();
  void unlock();

 private:
  [[nodiscard]] bool is_free_for_caller() const;
  void take();

  std::mutex mutex_;  ///< of what follows
  Condition freed_;
  std::thread::id owner_;
  unsigned depth_ = 0;
};

}  // namespace nkr::time

#endif

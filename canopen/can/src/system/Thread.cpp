#include <pthread.h>
#include <signal.h>

#include <atomic>
#include <exception>
#include <nkr/can/Thread.hpp>
#include <utility>

namespace nkr::can {
namespace {

std::atomic<int> allowed_starts{-1};

bool may_start() {
  int left = allowed_starts.load();
  while (left > 0 && !allowed_starts.compare_exchange_weak(left, left - 1)) continue;
  return left != 0;
}

/** A thread starts with the mask of its creator. Signals of the thread's own faults stay what they are. */
class BlockedSignals {
 public:
  BlockedSignals() {
    sigset_t all;
    ::sigfillset(&all);
    for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGPROF})
      ::sigdelset(&all, fault);
    ::pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~BlockedSignals() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  BlockedSignals(const BlockedSignals&) = delete;
  BlockedSignals& operator=(const BlockedSignals&) = delete;

 private:
  sigset_t before_{};
};

}  // namespace

bool Thread::start(std::function<void()> body) {
  if (!may_start()) return false;
  const BlockedSignals blocked;
  try {
    thread_ = std::thread([run = std::move(body)] {
      try {
        run();
      } catch (...) {
        // The program goes on without this thread: nothing that a bus or a handler does may end it.
      }
    });
  } catch (const std::exception&) {
    return false;
  }
  return true;
}

void Thread::end() {
  if (!thread_.joinable()) return;
  if (is_caller()) {
    thread_.detach();
  } else {
    thread_.join();
  }
}

void Thread::allow(int starts) {
  allowed_starts = starts;
}

}  // namespace nkr::can

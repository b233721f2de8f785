#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <exception>
#include <memory>
#include <mutex>
#include <nkr/time/Condition.hpp>
#include <nkr/time/Thread.hpp>
#include <utility>

#include "World.hpp"

namespace nkr::time {
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

/** What a thread and whoever waits for its end have in common. */
struct Thread::Ending {
  Ending(World& world, const char* name) : beginning(world, name) {}

  void await() {
    std::unique_lock<std::mutex> lock(mutex);
    changed.wait(lock, [this] { return has_ended; });
  }

  void tell() {
    {
      const std::lock_guard<std::mutex> lock(mutex);
      has_ended = true;
    }
    changed.notify_all();
  }

  Parked beginning;
  std::mutex mutex;
  Condition changed;
  bool has_ended = false;
};

namespace {

void run_guarded(const std::function<void()>& body, const char* name) {
  ::pthread_setname_np(::pthread_self(), name);
  try {
    body();
  } catch (...) {
    // The program goes on without this thread: nothing that a bus or a handler does may end it.
  }
}

}  // namespace

bool Thread::start(std::function<void()> body, const char* name) {
  if (!may_start()) return false;
  process_ = ::getpid();
  const BlockedSignals blocked;
  World* const here = World::current();
  try {
    if (here == nullptr) {
      thread_ = std::thread([run = std::move(body), name] { run_guarded(run, name); });
      return true;
    }
    ending_ = std::make_shared<Ending>(*here, name);
    here->announce(ending_->beginning);
    // It keeps its world: a thread that goes on alone may outlive the VirtualTime.
    thread_ = std::thread(
        [world = here->shared_from_this(), ending = ending_, run = std::move(body), name]() mutable {
          world->begin(ending->beginning);
          run_guarded(run, name);
          run = nullptr;  // what it captured ends in its time
          ending->tell();
          world->leave();
        });
  } catch (const std::exception&) {
    if (ending_) here->withdraw(ending_->beginning);
    ending_.reset();
    return false;
  }
  return true;
}

void Thread::end() {
  if (!thread_.joinable()) return;
  if (::getpid() != process_) {  // a forked child has no such thread: nothing to wait for, nothing to end
    static_cast<void>(std::make_unique<std::thread>(std::move(thread_)).release());
  } else if (is_caller()) {
    thread_.detach();
  } else {
    if (ending_) ending_->await();  // in the caller's time
    thread_.join();
  }
  ending_.reset();
}

void Thread::allow(int starts) {
  allowed_starts = starts;
}

}  // namespace nkr::time

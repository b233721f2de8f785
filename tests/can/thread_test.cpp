#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>

#include <future>
#include <nkr/can/Thread.hpp>
#include <stdexcept>

namespace nkr::can::test {
namespace {

TEST(Thread, TakesNoneOfTheProgramsSignals) {
  std::promise<sigset_t> told;
  Thread thread;
  ASSERT_TRUE(thread.start([&] {
    sigset_t blocked;
    ::pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    told.set_value(blocked);
  }));
  const sigset_t blocked = told.get_future().get();
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGUSR1, SIGALRM, SIGCHLD, SIGWINCH})
    EXPECT_EQ(::sigismember(&blocked, signal), 1) << signal;
  EXPECT_EQ(::sigismember(&blocked, SIGSEGV), 0) << "its own faults are";
  sigset_t own;
  ::pthread_sigmask(SIG_SETMASK, nullptr, &own);
  EXPECT_EQ(::sigismember(&own, SIGINT), 0) << "the starter's are as before";
}

TEST(Thread, ThatThrowsEndsAlone) {
  Thread thread;
  ASSERT_TRUE(thread.start([] { throw std::runtime_error("on a thread"); }));
  thread.end();
}

TEST(Thread, ThatCannotStartLeavesTheSignalsAsTheyWere) {
  Thread::allow(0);
  Thread thread;
  EXPECT_FALSE(thread.start([] {}));
  Thread::allow(-1);
  EXPECT_FALSE(thread.is_started());
  sigset_t own;
  ::pthread_sigmask(SIG_SETMASK, nullptr, &own);
  EXPECT_EQ(::sigismember(&own, SIGINT), 0);
  EXPECT_TRUE(thread.start([] {}));
}

TEST(Thread, MayEndItself) {
  std::promise<void> ended;
  auto* thread = new Thread;
  std::promise<void> started;
  ASSERT_TRUE(thread->start([&] {
    started.get_future().wait();
    EXPECT_TRUE(thread->is_caller());
    delete thread;
    ended.set_value();
  }));
  EXPECT_FALSE(thread->is_caller());
  started.set_value();
  ended.get_future().wait();
}

}  // namespace
}  // namespace nkr::can::test

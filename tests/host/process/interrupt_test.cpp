// The program's request to end.
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <tav/host/Interrupt.hpp>
#include <thread>

namespace tests::host {
namespace {

using namespace std::chrono_literals;
using tav::host::Interrupt;
using tav::host::SignalInterrupt;

TEST(InterruptTest, LetsAWaitRunOutWhenNobodyAsks) {
  const Interrupt interrupt;
  EXPECT_TRUE(interrupt.wait_for(20ms));
  EXPECT_FALSE(interrupt.requested());
}

TEST(InterruptTest, EndsAWaitOfAnotherThread) {
  Interrupt interrupt;
  std::thread asking([&] { interrupt.request(); });
  EXPECT_FALSE(interrupt.wait_for(std::chrono::hours(24 * 365)));
  asking.join();
  EXPECT_FALSE(interrupt.wait_for(std::chrono::hours(1))) << "every wait from now on";
}

TEST(InterruptTest, CanBeTakenBack) {
  Interrupt interrupt;
  interrupt.request();
  interrupt.clear();
  EXPECT_TRUE(interrupt.wait_for(1ms));
}

TEST(InterruptTest, ComesFromSignals) {
  SignalInterrupt interrupt;
  ASSERT_EQ(::raise(SIGTERM), 0);
  EXPECT_TRUE(interrupt.requested());
}

TEST(InterruptTest, GivesTheSignalsBack) {
  struct sigaction before = {};
  ASSERT_EQ(::sigaction(SIGTERM, nullptr, &before), 0);
  { const SignalInterrupt interrupt; }
  struct sigaction after = {};
  ASSERT_EQ(::sigaction(SIGTERM, nullptr, &after), 0);
  EXPECT_EQ(before.sa_handler, after.sa_handler);
}

TEST(InterruptTest, LeavesAnIgnoredHangUpIgnored) {
  struct sigaction ignore = {};
  struct sigaction before = {};
  ignore.sa_handler = SIG_IGN;
  ASSERT_EQ(::sigaction(SIGHUP, &ignore, &before), 0);
  {
    const SignalInterrupt interrupt;
    ASSERT_EQ(::raise(SIGHUP), 0);
    EXPECT_FALSE(interrupt.requested());
  }
  ASSERT_EQ(::sigaction(SIGHUP, &before, nullptr), 0);
}

}  // namespace
}  // namespace tests::host

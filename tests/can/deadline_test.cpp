#include <gtest/gtest.h>

#include <chrono>
#include <nkr/can/Deadline.hpp>
#include <thread>

namespace nkr::can::test {
namespace {

using namespace std::chrono_literals;

TEST(Deadline, BeginsWhenItIsFirstAskedFor) {
  const Deadline deadline(50ms);
  EXPECT_FALSE(deadline.is_fixed());
  std::this_thread::sleep_for(30ms);
  const auto before = Clock::now();
  EXPECT_GE(deadline.time(), before + 50ms);
  EXPECT_GE(deadline.begin(), before);
  EXPECT_EQ(deadline.time(), deadline.time());
}

TEST(Deadline, OfATimeIsThatTime) {
  const auto time = Clock::now() + 1h;
  const Deadline deadline = time;
  EXPECT_TRUE(deadline.is_fixed());
  EXPECT_EQ(deadline.time(), time);
  EXPECT_FALSE(deadline.only_looks());
}

TEST(Deadline, KnowsWhetherToWaitAtAll) {
  EXPECT_TRUE(Deadline::passed().only_looks());
  EXPECT_FALSE(Deadline(0ms).only_looks());
  EXPECT_EQ(Deadline::never().time(), Clock::time_point::max());
  EXPECT_TRUE(Deadline::never().is_never());
}

TEST(Deadline, OfTheLongestDurationIsTheClocksEnd) {
  EXPECT_EQ(Deadline(std::chrono::hours::max()).time(), Clock::time_point::max());
  EXPECT_EQ(Deadline(std::chrono::milliseconds::max()).time(), Clock::time_point::max());
  EXPECT_EQ(Deadline(Clock::duration::max()).time(), Clock::time_point::max());
}

TEST(Deadline, OfANegativeDurationHasPassed) {
  EXPECT_LT(Deadline(-1ms).time(), Clock::now());
  EXPECT_LT(Deadline(std::chrono::milliseconds::min()).time(), Clock::now());
}

TEST(Saturated, IsExactWhereTheClockCanHoldIt) {
  EXPECT_EQ(saturated(1500ms), Clock::duration(1500000000));
  EXPECT_EQ(saturated(std::chrono::duration<std::int8_t, std::milli>(-128)), Clock::duration(-128000000));
  EXPECT_EQ(saturated(std::chrono::milliseconds::max()), Clock::duration::max());
  EXPECT_EQ(saturated(std::chrono::milliseconds::min()), Clock::duration::min());
}

TEST(TimeAfter, StaysWithinTheClock) {
  const Clock::time_point late = Clock::time_point::max() - 1s;
  EXPECT_EQ(time_after(late, 999ms), late + 999ms);
  EXPECT_EQ(time_after(late, 2s), Clock::time_point::max());
  EXPECT_EQ(time_after(Clock::time_point::min(), -1s), Clock::time_point::min());
}

}  // namespace
}  // namespace nkr::can::test

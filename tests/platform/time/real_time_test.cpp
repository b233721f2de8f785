// Outside of any virtual time the clock is the system's, and so are the waits.
#include <gtest/gtest.h>

#include <chrono>
#include <nkr/time/Condition.hpp>
#include <nkr/time/VirtualTime.hpp>
#include <nkr/time/clock.hpp>

namespace tests::time {
namespace {

using namespace std::chrono_literals;
using nkr::time::Clock;

TEST(RealTime, IsTheSteadyClock) {
  const auto before = Clock::now();
  const auto now = nkr::time::now();
  EXPECT_LE(before, now);
  EXPECT_LE(now, Clock::now());
  EXPECT_FALSE(nkr::time::VirtualTime::is_here());
}

TEST(RealTime, TheCoarseTimeIsNearIt) {
  const auto distance = nkr::time::now() - nkr::time::coarse_now();
  EXPECT_GE(distance, 0ms);
  EXPECT_LT(distance, 10s);
}

TEST(RealTime, SleepingTakesIt) {
  const auto begin = Clock::now();
  nkr::time::sleep_for(20ms);
  EXPECT_GE(Clock::now() - begin, 20ms);
  nkr::time::sleep_until(begin);
}

TEST(RealTime, AWaitEndsWithItsDeadline) {
  nkr::time::Condition condition;
  std::mutex mutex;
  std::unique_lock<std::mutex> lock(mutex);
  const auto begin = Clock::now();
  EXPECT_FALSE(condition.wait_until(lock, begin + 20ms, [] { return false; }));
  EXPECT_GE(Clock::now() - begin, 20ms);
  EXPECT_TRUE(lock.owns_lock());
}

TEST(Saturated, WhatTheClockCannotHoldIsItsEnd) {
  EXPECT_EQ(nkr::time::saturated(std::chrono::hours::max()), Clock::duration::max());
  EXPECT_EQ(nkr::time::time_after(Clock::time_point::max(), 1s), Clock::time_point::max());
  EXPECT_EQ(nkr::time::time_after(Clock::time_point(2s), -1s), Clock::time_point(1s));
}

}  // namespace
}  // namespace tests::time

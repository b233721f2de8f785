// In virtual time nothing but waiting takes time, one thread runs at a time, and every run is like the other.
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <mutex>
#include <nkr/time/Condition.hpp>
#include <nkr/time/Thread.hpp>
#include <nkr/time/VirtualTime.hpp>
#include <nkr/time/clock.hpp>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace tests::time {
namespace {

using namespace std::chrono_literals;
using nkr::time::Clock;
using nkr::time::Condition;
using nkr::time::Thread;
using nkr::time::VirtualTime;

/** Who says something when, in the order in which it is said. */
class Diary {
 public:
  explicit Diary(const VirtualTime& time) : time_(time) {}
  void note(const std::string& text) {
    lines_.push_back(
        std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(time_.elapsed()).count()) + " " +
        text);
  }
  [[nodiscard]] const std::vector<std::string>& lines() const { return lines_; }

 private:
  const VirtualTime& time_;
  std::vector<std::string> lines_;
};

TEST(VirtualTime, AYearOfSleepTakesAYearOfItAndNoneOfTheSystems) {
  const VirtualTime time;
  const auto begin = nkr::time::now();
  for (int day = 0; day < 365; ++day) nkr::time::sleep_for(24h);
  EXPECT_EQ(nkr::time::now() - begin, 365 * 24h);
  EXPECT_EQ(time.elapsed(), 365 * 24h);
}

TEST(VirtualTime, BeginsAtTheTurnOfTheMillenniumWithoutReachingTheClocksEpoch) {
  const VirtualTime time;
  EXPECT_GT(nkr::time::now(), Clock::time_point{});
  EXPECT_EQ(nkr::time::coarse_now(), nkr::time::now());
  nkr::time::sleep_for(90s);
  EXPECT_EQ(std::chrono::system_clock::to_time_t(nkr::time::calendar_now()), 946684800 + 90);
}

TEST(VirtualTime, WhatIsPastIsNotWaitedFor) {
  const VirtualTime time;
  nkr::time::sleep_for(-1s);
  nkr::time::sleep_until(nkr::time::now());
  std::mutex mutex;
  Condition condition;
  std::unique_lock<std::mutex> lock(mutex);
  EXPECT_FALSE(condition.wait_until(lock, nkr::time::now() - 1s));
  EXPECT_EQ(time.elapsed(), 0ms);
}

TEST(VirtualTime, AWaitLastsExactlyToItsDeadline) {
  const VirtualTime time;
  std::mutex mutex;
  Condition condition;
  std::unique_lock<std::mutex> lock(mutex);
  EXPECT_FALSE(condition.wait_until(lock, nkr::time::now() + 1500us, [] { return false; }));
  EXPECT_EQ(time.elapsed(), 1500us);
  EXPECT_FALSE(condition.wait_for(lock, 500us, [] { return false; }));
  EXPECT_EQ(time.elapsed(), 2ms);
}

TEST(VirtualTime, ThreadsTakeTurnsByWhatIsDueFirst) {
  const VirtualTime time;
  Diary diary(time);
  Thread slow;
  Thread quick;
  ASSERT_TRUE(slow.start([&] {
    for (int i = 0; i < 2; ++i) {
      nkr::time::sleep_for(30ms);
      diary.note("slow");
    }
  }));
  ASSERT_TRUE(quick.start([&] {
    for (int i = 0; i < 3; ++i) {
      nkr::time::sleep_for(20ms);
      diary.note("quick");
    }
  }));
  slow.end();
  quick.end();
  // At 60 ms both are due: the slow one asked for it first, at 30 ms.
  EXPECT_EQ(diary.lines(),
            (std::vector<std::string>{"20 quick", "30 slow", "40 quick", "60 slow", "60 quick"}));
}

TEST(VirtualTime, WhoIsNotifiedGoesOnBeforeTheTimePasses) {
  const VirtualTime time;
  Diary diary(time);
  std::mutex mutex;
  Condition condition;
  bool told = false;
  Thread waiting;
  ASSERT_TRUE(waiting.start([&] {
    std::unique_lock<std::mutex> lock(mutex);
    EXPECT_TRUE(condition.wait_until(lock, nkr::time::now() + 1h, [&] { return told; }));
    diary.note("told");
  }));
  nkr::time::sleep_for(5ms);
  {
    const std::lock_guard<std::mutex> lock(mutex);
    told = true;
  }
  condition.notify_one();
  nkr::time::sleep_for(1ms);
  diary.note("later");
  waiting.end();
  EXPECT_EQ(diary.lines(), (std::vector<std::string>{"5 told", "6 later"}));
}

TEST(VirtualTime, ManyWaitTheLongWayInNoTime) {
  const VirtualTime time;
  std::vector<Thread> threads(50);
  int rounds = 0;
  for (Thread& thread : threads) {
    ASSERT_TRUE(thread.start([&] {
      for (int i = 0; i < 100; ++i) {
        nkr::time::sleep_for(10ms);
        ++rounds;  // no lock: one runs at a time
      }
    }));
  }
  for (Thread& thread : threads) thread.end();
  EXPECT_EQ(rounds, 5000);
  EXPECT_EQ(time.elapsed(), 1s);
  EXPECT_GE(time.switches(), 5000U);
}

std::string order_of_chance(std::uint64_t seed) {
  const VirtualTime time(seed);
  std::string order;
  std::vector<Thread> threads(6);
  for (std::size_t i = 0; i < threads.size(); ++i)
    EXPECT_TRUE(threads[i].start([&order, i] { order += static_cast<char>('a' + i); }));
  for (Thread& thread : threads) thread.end();
  return order;
}

TEST(VirtualTime, RunsInTurnUnlessASeedShufflesItAndThenThatDecides) {
  EXPECT_EQ(order_of_chance(0), "abcdef");
  std::set<std::string> orders;
  for (std::uint64_t seed = 1; seed <= 10; ++seed) {
    EXPECT_EQ(order_of_chance(seed), order_of_chance(seed));
    orders.insert(order_of_chance(seed));
  }
  EXPECT_GT(orders.size(), 3U);
}

TEST(VirtualTime, SeveralExistSideBySide) {
  const auto live = [](std::chrono::hours wait) {
    const VirtualTime time;
    nkr::time::sleep_for(wait);
    return time.elapsed();
  };
  auto one = std::async(std::launch::async, live, 1h);
  auto other = std::async(std::launch::async, live, 1000h);
  EXPECT_EQ(one.get(), 1h);
  EXPECT_EQ(other.get(), 1000h);
  EXPECT_FALSE(VirtualTime::is_here());
}

std::string order_of_those_due_at_once(std::uint64_t seed) {
  const VirtualTime time(seed);
  std::string order;
  std::vector<Thread> threads(6);
  const auto due = nkr::time::now() + 1s;
  for (std::size_t i = 0; i < threads.size(); ++i) {
    EXPECT_TRUE(threads[i].start([&order, due, i] {
      nkr::time::sleep_until(due - std::chrono::milliseconds(10 * i));  // they ask one after the other
      nkr::time::sleep_until(due);
      order += static_cast<char>('a' + i);
    }));
  }
  for (Thread& thread : threads) thread.end();
  return order;
}

TEST(VirtualTime, ASeedShufflesThoseToWhomTheSameTimeComes) {
  EXPECT_EQ(order_of_those_due_at_once(0), "afedcb");
  std::set<std::string> orders;
  for (std::uint64_t seed = 1; seed <= 10; ++seed) {
    EXPECT_EQ(order_of_those_due_at_once(seed), order_of_those_due_at_once(seed));
    orders.insert(order_of_those_due_at_once(seed));
  }
  EXPECT_GT(orders.size(), 3U);
}

TEST(VirtualTime, ASleepOfNoLengthLetsOthersGoOn) {
  const VirtualTime time;
  bool was_there = false;
  Thread other;
  ASSERT_TRUE(other.start([&] { was_there = true; }));
  while (!was_there) nkr::time::sleep_for(0s);
  other.end();
  EXPECT_EQ(time.elapsed(), 0ms);
}

TEST(VirtualTime, PassesAtAPaceWhenItIsGivenOne) {
  VirtualTime::Settings settings;
  settings.pace = 20;
  const auto begin = Clock::now();
  const VirtualTime time(settings);
  Thread other;
  ASSERT_TRUE(other.start([] {
    for (int i = 0; i < 10; ++i) nkr::time::sleep_for(70ms);
  }));
  for (int i = 0; i < 10; ++i) nkr::time::sleep_for(100ms);
  other.end();
  EXPECT_EQ(time.elapsed(), 1s);
  EXPECT_GE(Clock::now() - begin, 50ms) << "a second, twenty times as fast";
}

TEST(VirtualTime, AtAPaceTheWorldOutsideIsHeardBetweenWhatIsDue) {
  std::mutex mutex;
  Condition condition;
  bool called = false;
  VirtualTime::Settings settings;
  settings.pace = 1;
  const VirtualTime time(settings);
  std::thread outside([&] {
    std::this_thread::sleep_for(30ms);
    const std::lock_guard<std::mutex> lock(mutex);
    called = true;
    condition.notify_all();
  });
  Thread late;
  ASSERT_TRUE(late.start([] { nkr::time::sleep_for(300ms); }));
  {
    std::unique_lock<std::mutex> lock(mutex);
    EXPECT_TRUE(condition.wait_for(lock, 1h, [&] { return called; })) << "not the hour's end";
  }
  EXPECT_GE(time.elapsed(), 30ms) << "the time passed meanwhile";
  late.end();
  outside.join();
}

TEST(VirtualTime, AThreadThatGoesOnAloneMayOutliveIt) {
  std::mutex mutex;
  Condition condition;
  bool may_end = false;
  bool has_ended = false;
  {
    const VirtualTime time;
    auto alone = std::make_shared<Thread>();
    ASSERT_TRUE(alone->start([&, self = alone]() mutable {
      self.reset();  // the last one to know it: now nobody waits for its end
      std::unique_lock<std::mutex> lock(mutex);
      condition.wait(lock, [&] { return may_end; });
      has_ended = true;
      condition.notify_all();
    }));
    alone.reset();
    nkr::time::sleep_for(1s);
  }
  std::unique_lock<std::mutex> lock(mutex);
  may_end = true;
  condition.notify_all();
  condition.wait(lock, [&] { return has_ended; });
}

TEST(VirtualTime, AThreadMayBeWaitedForAfterIt) {
  Thread thread;
  int rounds = 0;
  {
    const VirtualTime time;
    ASSERT_TRUE(thread.start([&] {
      for (int i = 0; i < 10; ++i) {
        nkr::time::sleep_for(1h);
        ++rounds;
      }
    }));
  }
  thread.end();
  EXPECT_EQ(rounds, 10);
}

TEST(VirtualTime, OneWithinAnotherGivesItBack) {
  const VirtualTime around;
  nkr::time::sleep_for(1h);
  {
    const VirtualTime within;
    nkr::time::sleep_for(5h);
    EXPECT_EQ(within.elapsed(), 5h);
  }
  ASSERT_TRUE(VirtualTime::is_here());
  nkr::time::sleep_for(1h);
  EXPECT_EQ(around.elapsed(), 2h);
}

TEST(VirtualTime, AThreadThatCannotStartLeavesNoTrace) {
  const VirtualTime time;
  Thread::allow(0);
  Thread thread;
  EXPECT_FALSE(thread.start([] {}));
  Thread::allow(-1);
  nkr::time::sleep_for(1s);
  EXPECT_EQ(time.elapsed(), 1s);
}

}  // namespace
}  // namespace tests::time

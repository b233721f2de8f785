// A program that does not let its virtual time pass is told so, with each thread and what it waits for.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <nkr/time/Condition.hpp>
#include <nkr/time/Thread.hpp>
#include <nkr/time/VirtualTime.hpp>
#include <string>

namespace tests::time {
namespace {

using namespace std::chrono_literals;
using nkr::time::Condition;
using nkr::time::Thread;
using nkr::time::VirtualTime;

/** A flag that the report of a standstill raises, so that what stands still goes on. */
class Standstill : public testing::Test {
 protected:
  VirtualTime::Settings settings() {
    VirtualTime::Settings settings;
    settings.patience = 100ms;
    settings.turns_at_one_time = 10'000;
    settings.on_standstill = [this](const std::string& text) {
      {
        const std::lock_guard<std::mutex> lock(mutex_);
        report_ = text;
      }
      is_over_ = true;
      changed_.notify_all();
    };
    return settings;
  }
  void await_its_end() {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return is_over(); });
  }
  [[nodiscard]] bool is_over() const { return is_over_; }
  std::string report() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return report_;
  }
  testing::AssertionResult tells(const std::string& text) {
    if (report().find(text) != std::string::npos) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "no \"" << text << "\" in: " << report();
  }

 private:
  std::mutex mutex_;
  Condition changed_;
  std::atomic<bool> is_over_{false};
  std::string report_;
};

TEST_F(Standstill, AllWaitAndNothingIsDue) {
  const VirtualTime time(settings());
  nkr::time::sleep_for(1500ms);
  Thread other;
  ASSERT_TRUE(other.start([&] { await_its_end(); }, "other"));
  await_its_end();
  other.end();
  EXPECT_TRUE(tells("stands still at +1.500000 s: all threads wait, and nothing is due"));
  EXPECT_TRUE(tells("\n  other: waits for a notification\n"));
  EXPECT_TRUE(tells("\n  a thread of the program: waits for a notification\n"));
}

TEST_F(Standstill, ThreadsThatFollowEachOtherWithoutEnd) {
  const VirtualTime time(settings());
  std::mutex mutex;
  Condition condition;
  int turn = 0;
  const auto play = [&](int me) {
    while (!is_over()) {
      std::unique_lock<std::mutex> lock(mutex);
      condition.wait(lock, [&] { return turn == me || is_over(); });
      turn = 1 - me;
      condition.notify_all();
    }
  };
  Thread sleeper;
  ASSERT_TRUE(sleeper.start([] { nkr::time::sleep_for(2s); }, "sleeper"));
  Thread other;
  ASSERT_TRUE(other.start([&] { play(1); }, "other"));
  play(0);
  other.end();
  sleeper.end();
  EXPECT_TRUE(tells("follow each other without end"));
  EXPECT_TRUE(tells("\n  sleeper: waits until +2.000000 s\n"));
}

TEST_F(Standstill, ALoopThatSleepsNotAtAll) {
  const VirtualTime time(settings());
  while (!is_over()) nkr::time::sleep_for(0s);
  EXPECT_TRUE(tells("\n  a thread of the program: runs\n"));
}

TEST_F(Standstill, ALoopThatWaitsForTheTimeWithoutLettingItPass) {
  const VirtualTime time(settings());
  const auto end = nkr::time::now() + 1s;
  while (nkr::time::now() < end && !is_over()) continue;
  EXPECT_TRUE(tells("asks for the time over and over"));
}

TEST_F(Standstill, AThreadThatComputesWithoutEnd) {
  const VirtualTime time(settings());
  Thread other;
  ASSERT_TRUE(other.start([] { nkr::time::sleep_for(1s); }, "other"));
  nkr::time::sleep_for(1ms);
  while (!is_over()) continue;
  other.end();
  EXPECT_TRUE(tells("one thread computes without end"));
  EXPECT_TRUE(tells("\n  other: waits until +1.000000 s\n"));
}

/** What has no handler ends, so that a CI does not hang. */
TEST(StandstillDeathTest, EndsTheProgramWithTheReport) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto wait_for_nothing = [] {
    VirtualTime::Settings settings;
    settings.patience = 100ms;
    const VirtualTime time(settings);
    std::mutex mutex;
    Condition condition;
    std::unique_lock<std::mutex> lock(mutex);
    condition.wait(lock, [] { return false; });
  };
  EXPECT_DEATH(wait_for_nothing(), "all threads wait, and nothing is due");
}

}  // namespace
}  // namespace tests::time

// A condition wakes who waits for it, in the system's time and in a virtual one, and from one into the other.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <nkr/time/Condition.hpp>
#include <nkr/time/Thread.hpp>
#include <nkr/time/VirtualTime.hpp>
#include <string>
#include <thread>

namespace tests::time {
namespace {

using namespace std::chrono_literals;
using nkr::time::Clock;
using nkr::time::Condition;
using nkr::time::Thread;
using nkr::time::VirtualTime;

/** A number that threads wait for. */
class Counter {
 public:
  void raise() {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      ++count_;
    }
    changed_.notify_all();
  }
  void await(int count) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [&] { return count_ >= count; });
  }

 private:
  std::mutex mutex_;
  Condition changed_;
  int count_ = 0;
};

class ConditionIn : public testing::TestWithParam<bool> {
 protected:
  std::unique_ptr<VirtualTime> virtual_time_ = GetParam() ? std::make_unique<VirtualTime>() : nullptr;
};

TEST_P(ConditionIn, ANotificationWakesWhoWaits) {
  Counter asked;
  Counter answered;
  Thread other;
  ASSERT_TRUE(other.start([&] {
    for (int i = 1; i <= 100; ++i) {
      asked.await(i);
      answered.raise();
    }
  }));
  for (int i = 1; i <= 100; ++i) {
    asked.raise();
    answered.await(i);
  }
  other.end();
}

TEST_P(ConditionIn, NotifyOneWakesOneOfThemAtLeastAndNotifyAllTheRest) {
  std::mutex mutex;
  Condition condition;
  int tickets = 0;
  std::atomic<int> served{0};
  std::array<Thread, 5> threads;
  for (Thread& thread : threads) {
    ASSERT_TRUE(thread.start([&] {
      std::unique_lock<std::mutex> lock(mutex);
      condition.wait(lock, [&] { return tickets > 0; });
      --tickets;
      ++served;
    }));
  }
  const auto hand_out = [&](int count) {
    const std::lock_guard<std::mutex> lock(mutex);
    tickets += count;
  };
  hand_out(1);
  condition.notify_one();
  while (served < 1) nkr::time::sleep_for(1ms);
  EXPECT_EQ(served, 1);
  hand_out(4);
  condition.notify_all();
  for (Thread& thread : threads) thread.end();
  EXPECT_EQ(served, 5);
}

TEST_P(ConditionIn, ItMayEndAsSoonAsWhoWaitedIsAwake) {
  for (int i = 0; i < 200; ++i) {
    std::mutex mutex;
    bool called = false;
    auto condition = std::make_unique<Condition>();
    Thread caller;
    ASSERT_TRUE(caller.start([&] {
      const std::lock_guard<std::mutex> lock(mutex);
      called = true;
      condition->notify_one();
    }));
    {
      std::unique_lock<std::mutex> lock(mutex);
      condition->wait(lock, [&] { return called; });
    }
    condition.reset();
    caller.end();
  }
}

INSTANTIATE_TEST_SUITE_P(Times, ConditionIn, testing::Bool(), [](const testing::TestParamInfo<bool>& chosen) {
  return std::string(chosen.param ? "VirtualTime" : "RealTime");
});

TEST(Condition, AThreadOfTheSystemsTimeWakesOneInVirtualTime) {
  Counter counter;
  std::thread outside([&] {
    std::this_thread::sleep_for(20ms);
    counter.raise();
  });
  {
    const VirtualTime virtual_time;
    counter.await(1);
    EXPECT_EQ(virtual_time.elapsed(), 0ms) << "nothing was due";
  }
  outside.join();
}

/** A notification that comes while a wait ends by its deadline meets nobody, and leaves nothing behind. */
TEST(Condition, AThreadOfTheSystemsTimeMayNotifyAsADeadlineComes) {
  Condition condition;
  std::mutex mutex;
  std::atomic<bool> is_over{false};
  std::thread outside([&] {
    while (!is_over) condition.notify_all();
  });
  [&] {
    const VirtualTime virtual_time;
    for (int i = 0; i < 20'000; ++i) {
      std::unique_lock<std::mutex> lock(mutex);
      const auto due = nkr::time::now() + std::chrono::microseconds(i % 2);
      if (!condition.wait_until(lock, due)) {
        ASSERT_GE(nkr::time::now(), due) << "neither called nor due";
      }
    }
  }();
  is_over = true;
  outside.join();
}

/** At the same instant one is called and another's wait ends by itself, in any order. */
void call_as_a_deadline_comes(std::uint64_t seed) {
  const VirtualTime virtual_time(seed);
  Condition condition;
  std::mutex mutex;
  bool called = false;
  const auto due = nkr::time::now() + 1s;
  Thread hasty;
  Thread patient;
  ASSERT_TRUE(hasty.start([&] {
    std::unique_lock<std::mutex> lock(mutex);
    EXPECT_FALSE(condition.wait_until(lock, due));
  }));
  nkr::time::sleep_for(1ms);  // it comes first, and is the first to be notified
  ASSERT_TRUE(patient.start([&] {
    std::unique_lock<std::mutex> lock(mutex);
    condition.wait_until(lock, due + 1s, [&] { return called; });
  }));
  nkr::time::sleep_until(due);
  {
    const std::lock_guard<std::mutex> lock(mutex);
    called = true;
  }
  condition.notify_one();
  hasty.end();
  patient.end();
  EXPECT_EQ(virtual_time.elapsed(), 1s) << "seed " << seed;
}

TEST(Condition, ANotificationIsNotLostOnWhoseTimeHasCome) {
  for (std::uint64_t seed = 1; seed <= 10; ++seed) call_as_a_deadline_comes(seed);
}

}  // namespace
}  // namespace tests::time

// A recursive mutex may be held while its owner waits, in virtual time, too.
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <mutex>
#include <nkr/time/RecursiveMutex.hpp>
#include <nkr/time/Thread.hpp>
#include <nkr/time/VirtualTime.hpp>
#include <nkr/time/clock.hpp>
#include <string>

namespace tests::time {
namespace {

using namespace std::chrono_literals;
using nkr::time::RecursiveMutex;
using nkr::time::Thread;
using nkr::time::VirtualTime;

class RecursiveMutexIn : public testing::TestWithParam<bool> {
 protected:
  std::unique_ptr<VirtualTime> virtual_time_ = GetParam() ? std::make_unique<VirtualTime>() : nullptr;
  RecursiveMutex mutex_;
};

TEST_P(RecursiveMutexIn, IsHeldByOneThread) {
  int sum = 0;
  const auto add = [&] {
    for (int i = 0; i < 1000; ++i) {
      const std::lock_guard<RecursiveMutex> outer(mutex_);
      const std::lock_guard<RecursiveMutex> inner(mutex_);
      ++sum;
    }
  };
  Thread other;
  ASSERT_TRUE(other.start(add));
  add();
  other.end();
  EXPECT_EQ(sum, 2000);
}

TEST_P(RecursiveMutexIn, WhoWantsItWaitsForAnOwnerThatWaits) {
  Thread other;
  std::string order;
  {
    const std::lock_guard<RecursiveMutex> lock(mutex_);
    ASSERT_TRUE(other.start([&] {
      EXPECT_FALSE(mutex_.try_lock());
      const std::lock_guard<RecursiveMutex> later(mutex_);
      order += "other";
    }));
    nkr::time::sleep_for(50ms);
    order += "owner ";
  }
  other.end();
  EXPECT_EQ(order, "owner other");
}

INSTANTIATE_TEST_SUITE_P(Times, RecursiveMutexIn, testing::Bool(),
                         [](const testing::TestParamInfo<bool>& chosen) {
                           return std::string(chosen.param ? "VirtualTime" : "RealTime");
                         });

}  // namespace
}  // namespace tests::time

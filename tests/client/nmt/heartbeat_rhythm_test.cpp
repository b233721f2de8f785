// Two nodes with one id, by their heartbeats alone; and one node that beats badly.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "nmt/HeartbeatRhythm.hpp"

namespace tests::client {
namespace {

using nkr::canopen::HeartbeatRhythm;
using nkr::canopencore::NMTState;
using namespace std::chrono_literals;
using Microseconds = std::chrono::microseconds;

struct Beat {
  Microseconds when;
  NMTState state = NMTState::OPERATIONAL;
};
using Beats = std::vector<Beat>;

/** Heartbeats with a period, each late by something between nothing and `jitter`. */
Beats producer(Microseconds begin, Microseconds period, int count, Microseconds jitter = 0us,
               NMTState state = NMTState::OPERATIONAL) {
  std::mt19937 random(7);
  std::uniform_int_distribution<long> late(0, jitter.count());
  Beats beats;
  for (int i = 0; i < count; ++i) beats.push_back({begin + i * period + Microseconds(late(random)), state});
  return beats;
}

/** In the order in which a bus carries them. */
Beats together(Beats one, const Beats& other) {
  one.insert(one.end(), other.begin(), other.end());
  std::stable_sort(one.begin(), one.end(), [](const Beat& a, const Beat& b) { return a.when < b.when; });
  return one;
}

/** How often two producers are told of. */
int told(HeartbeatRhythm& rhythm, const Beats& beats) {
  int times = 0;
  for (const Beat& beat : beats) {
    times += rhythm.heard(HeartbeatRhythm::TimePoint(1h + beat.when), beat.state) ? 1 : 0;
  }
  return times;
}

int told(const Beats& beats) {
  HeartbeatRhythm rhythm;
  return told(rhythm, beats);
}

TEST(HeartbeatRhythmTest, OfOneProducerIsOne) {
  EXPECT_EQ(told(producer(0ms, 100ms, 1000)), 0);
}

TEST(HeartbeatRhythmTest, OfOneProducerIsOneHoweverLateEachHeartbeatIs) {
  for (const Microseconds jitter : {5ms, 20ms, 50ms, 80ms, 100ms}) {
    EXPECT_EQ(told(producer(0ms, 100ms, 20000, jitter)), 0) << jitter.count();
  }
}

TEST(HeartbeatRhythmTest, OfOneProducerThatBecomesFasterIsOne) {
  for (const Microseconds period : {80ms, 60ms, 50ms, 30ms, 10ms}) {
    for (const Microseconds jitter : {0ms, 5ms, 10ms}) {
      HeartbeatRhythm rhythm;
      EXPECT_EQ(told(rhythm, producer(0ms, 100ms, 50)), 0);
      EXPECT_EQ(told(rhythm, producer(5000ms, period, 5000, jitter)), 0)
          << period.count() << ' ' << jitter.count();
    }
  }
}

TEST(HeartbeatRhythmTest, OfOneProducerThatIsReadInHeapsIsOne) {
  Beats beats = producer(0ms, 100ms, 2000);
  for (std::size_t i = 50; i < beats.size(); ++i) {  // the reader is away for 1.7 s of every 4 s
    const Microseconds into = beats[i].when % 4s;
    if (into < 1700ms) beats[i].when += 1700ms - into + Microseconds(30 * (into / 100ms));
  }
  EXPECT_EQ(told(beats), 0);
}

TEST(HeartbeatRhythmTest, OfOneProducerWhoseStateChangesNowAndThenIsOne) {
  Beats beats = producer(0ms, 100ms, 100);
  for (std::size_t i = 0; i < beats.size(); i += 10) beats[i].state = NMTState::PRE_OPERATIONAL;
  EXPECT_EQ(told(beats), 0);
}

TEST(HeartbeatRhythmTest, OfASecondProducerThatComesIsTwo) {
  for (const Microseconds behind : {1ms, 10ms, 25ms, 35ms, 65ms, 90ms}) {
    EXPECT_EQ(told(together(producer(0ms, 100ms, 100), producer(3000ms + behind, 100ms, 50))), 1)
        << behind.count();
  }
}

TEST(HeartbeatRhythmTest, OfASecondProducerWithAnotherPeriodIsTwo) {
  EXPECT_EQ(told(together(producer(0ms, 100ms, 200), producer(3020ms, 150ms, 100))), 1);
  EXPECT_EQ(told(together(producer(0ms, 200ms, 200), producer(6035ms, 170ms, 100))), 1);
}

TEST(HeartbeatRhythmTest, OfTwoProducersThatWereThereFromTheBeginningIsTwo) {
  for (const Microseconds jitter : {0ms, 3ms}) {
    EXPECT_EQ(told(together(producer(0ms, 100ms, 50, jitter), producer(12ms, 100ms, 50, jitter))), 1);
  }
}

TEST(HeartbeatRhythmTest, OfTwoProducersInDifferentStatesIsTwo) {
  const Beats other = producer(50ms, 100ms, 50, 0ms, NMTState::PRE_OPERATIONAL);
  EXPECT_EQ(told(together(producer(0ms, 100ms, 50), other)), 1);
}

TEST(HeartbeatRhythmTest, IsOfOneAgainWhenTheOtherIsGone) {
  HeartbeatRhythm rhythm;
  EXPECT_EQ(told(rhythm, together(producer(0ms, 100ms, 50), producer(12ms, 100ms, 50))), 1);
  EXPECT_TRUE(rhythm.is_doubled());
  EXPECT_EQ(told(rhythm, producer(5000ms, 100ms, 100)), 0);
  EXPECT_FALSE(rhythm.is_doubled());
  EXPECT_EQ(told(rhythm, together(producer(15000ms, 100ms, 50), producer(15012ms, 100ms, 50))), 1);
}

TEST(HeartbeatRhythmTest, BeginsAnewWithABootUp) {
  HeartbeatRhythm rhythm;
  EXPECT_EQ(told(rhythm, together(producer(0ms, 100ms, 50), producer(12ms, 100ms, 50))), 1);
  rhythm.restart();
  EXPECT_FALSE(rhythm.is_doubled());
}

}  // namespace
}  // namespace tests::client

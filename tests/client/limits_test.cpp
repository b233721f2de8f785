// The largest, smallest and negative times of the interface.
#include <chrono>
#include <cstdint>
#include <limits>
#include <string>

#include "client/ClientFixture.hpp"
#include "client/EventLog.hpp"
#include "runtime/HeardTimes.hpp"
#include "support/futures.hpp"

namespace tests::client {
namespace {

using nkr::can::Clock;
using nkr::canopen::Client;
using nkr::canopen::Event;
using nkr::canopencore::NMTState;
using namespace std::chrono_literals;
using Kind = Event::Kind;

constexpr auto kForever = std::chrono::milliseconds::max();
constexpr auto kBeforeAll = std::chrono::milliseconds::min();

class Limits : public ClientTest {
 protected:
  /** The answer comes after some time. */
  nkr_error_t read_slow_answer() {
    Thread slow([this, before = node.requests().size()] {
      ASSERT_TRUE(node.wait_for_requests(before + 1));
      nkr::time::sleep_for(100ms);
      node.reply("4B 41 60 00 37 02 00 00");
    });
    std::uint16_t value = 0;
    const nkr_error_t result = client.getValue(kNode, 0x60410010, value);
    slow.join();
    return result;
  }
  std::size_t frames_in_200_ms(std::uint32_t id) {
    nkr_error_t result = NKR_ERROR;
    const auto tap = bus->open({{id, 0x7FF}}, result);
    std::size_t count = 0;
    const auto end = nkr::time::now() + 200ms;
    nkr::can::Frame frame;
    while (tap->receive(frame, end) == NKR_OK) ++count;
    return count;
  }
};

TEST_F(Limits, TheLongestTimeOutWaits) {
  client.setTimeout(kForever);
  EXPECT_EQ(read_slow_answer(), NKR_OK);
  client.setTimeout(60ms);
  static_cast<void>(client.setNodeTimeout(kNode, kForever));
  EXPECT_EQ(read_slow_answer(), NKR_OK);
  static_cast<void>(client.setNodeTimeout(kNode, 0ms));
  client.setObjectTimeout({0x6041, 0}, kForever);
  EXPECT_EQ(read_slow_answer(), NKR_OK);
  client.setObjectTimeout({0x6041, 0}, 0ms);
  const nkr::canopen::SdoTimeoutScope scope(kForever);
  EXPECT_EQ(read_slow_answer(), NKR_OK);
}

TEST_F(Limits, ATimeOutOfNothingOrLessTakesWhatIsThereAtOnce) {
  node.on("40 41 60 00 00 00 00 00", {"4B 41 60 00 37 02 00 00"});
  for (const auto timeout : {0ms, -1ms, kBeforeAll}) {
    client.setTimeout(timeout);
    std::uint16_t value = 0;
    EXPECT_EQ(client.getValue(kNode, 0x60410010, value), NKR_OK) << "on this bus the answer is there at once";
    EXPECT_EQ(client.getValue(11, 0x60410010, value), NKR_SDO_TIMED_OUT);
  }
}

TEST_F(Limits, TheLongestGraceTimeHoldsUpItsObjectAlone) {
  nkr::canopen::ClientOptions options = short_times();
  options.late_reply_grace = kForever;
  Client patient(bus, options);
  std::uint16_t value = 0;
  ASSERT_EQ(patient.getValue(kNode, 0x60410010, value), NKR_SDO_TIMED_OUT);
  node.on("40 00 20 00 00 00 00 00", {"4B 00 20 00 01 00 00 00"});
  EXPECT_EQ(patient.getValue(kNode, 0x20000010, value), NKR_OK);
}

TEST_F(Limits, TheLongestHeartbeatPeriodIsOneBeat) {
  Thread starter([this] {
    nkr::time::sleep_for(20ms);
    EXPECT_EQ(client.startHeartbeat(1, kForever), NKR_OK);
  });
  EXPECT_EQ(frames_in_200_ms(0x701), 1U);
  starter.join();
}

TEST_F(Limits, TheLongestSyncPeriodIsOneSync) {
  Thread starter([this] {
    nkr::time::sleep_for(20ms);
    EXPECT_EQ(client.startSync(std::chrono::microseconds::max()), NKR_OK);
  });
  EXPECT_EQ(frames_in_200_ms(0x080), 1U);
  starter.join();
}

TEST_F(Limits, AHeartbeatThatMayBeSilentForeverIsNotLost) {
  EventLog log(client);
  for (const auto timeout : {kForever, 0ms, kBeforeAll}) {
    ASSERT_EQ(client.setHeartbeatTimeout(kNode, timeout), NKR_OK);
    node.send(0x70A, "05");
    node.send(0x70A, "04");
    log.wait_for(Kind::STATE_CHANGED);
    nkr::time::sleep_for(30ms);
    EXPECT_EQ(log.count(Kind::HEARTBEAT_LOST), 0U);
  }
}

TEST_F(Limits, WhatIsExpectedForeverIsNotMissed) {
  EventLog log(client);
  ASSERT_EQ(client.expectNode(11, kForever), NKR_OK);
  ASSERT_EQ(client.startNodeGuarding(12, kForever, std::numeric_limits<unsigned>::max()), NKR_OK);
  ASSERT_EQ(client.expectNode(13, 1ms), NKR_OK);
  EXPECT_EQ(log.wait_for(Kind::NEVER_HEARD).node, 13);
  EXPECT_EQ(log.count(Kind::NEVER_HEARD), 1U);
}

TEST(SilenceInMilliseconds, IsTheMostThatTheNumberHoldsAfter49Days) {
  const Clock::time_point heard{1h};
  EXPECT_EQ(nkr::canopen::milliseconds_between(heard, heard + 1500ms), 1500U);
  EXPECT_EQ(nkr::canopen::milliseconds_between(heard, heard + 24h * 49), 4'233'600'000U);
  EXPECT_EQ(nkr::canopen::milliseconds_between(heard, heard + 24h * 50), 4'294'967'295U);
  EXPECT_EQ(nkr::canopen::milliseconds_between(heard, heard - 1ms), 0U);
}

}  // namespace
}  // namespace tests::client

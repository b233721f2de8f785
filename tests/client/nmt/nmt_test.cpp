#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "client/ClientFixture.hpp"
#include "nmt/NmtMonitor.hpp"
#include "support/futures.hpp"

namespace tests::client {
namespace {

using nkr::can::Clock;
using nkr::canopencore::NMTCommand;
using nkr::canopencore::NMTState;
using namespace std::chrono_literals;

class Nmt : public ClientTest {
 protected:
  NMTState state() {
    NMTState value{};
    EXPECT_EQ(client.getNMTState(kNode, value), NKR_OK);
    return value;
  }
  /** Frames reach the client's own thread: its view follows a moment later. */
  NMTState state_becomes(NMTState wanted) {
    const auto deadline = nkr::time::now() + 10s;
    while (state() != wanted && nkr::time::now() < deadline) nkr::time::sleep_for(1ms);
    return state();
  }
  std::string sent() {
    nkr::can::Frame frame;
    if (tap->receive(frame, nkr::time::now()) != NKR_OK) return "nothing";
    return nkr::can::to_string(frame);
  }

  nkr_error_t result = NKR_ERROR;
  std::unique_ptr<nkr::can::Port> tap = bus->open({{0x000, 0x7FF}, {0x080, 0x7FF}}, result);
};

TEST_F(Nmt, EveryCommandIsOneFrame) {
  EXPECT_EQ(client.setNMTState(kNode, NMTCommand::START_REMOTE_NODE), NKR_OK);
  EXPECT_EQ(sent(), "000#010A");
  EXPECT_EQ(client.setNMTState(kNode, NMTCommand::STOP_REMOTE_NODE), NKR_OK);
  EXPECT_EQ(sent(), "000#020A");
  EXPECT_EQ(client.setNMTState(kNode, NMTCommand::ENTER_PRE_OPERATIONAL), NKR_OK);
  EXPECT_EQ(sent(), "000#800A");
  EXPECT_EQ(client.setNMTState(kNode, NMTCommand::RESET_NODE), NKR_OK);
  EXPECT_EQ(sent(), "000#810A");
  EXPECT_EQ(client.setNMTState(kNode, NMTCommand::RESET_COMMUNICATION), NKR_OK);
  EXPECT_EQ(sent(), "000#820A");
}

TEST_F(Nmt, ABroadcastIsACallOfItsOwn) {
  EXPECT_EQ(client.broadcastNMTCommand(NMTCommand::START_REMOTE_NODE), NKR_OK);
  EXPECT_EQ(sent(), "000#0100");
}

TEST_F(Nmt, CommandsThatTheStandardDoesNotDefineAreNotSent) {
  for (const std::uint32_t command : {0U, 3U, 0x101U}) {
    EXPECT_EQ(client.setNMTState(kNode, static_cast<NMTCommand>(command)), NKR_ERROR);
    EXPECT_EQ(client.broadcastNMTCommand(static_cast<NMTCommand>(command)), NKR_ERROR);
  }
  EXPECT_EQ(sent(), "nothing");
}

TEST_F(Nmt, SyncIsAFrameWithoutData) {
  EXPECT_EQ(client.sendSync(), NKR_OK);
  EXPECT_EQ(sent(), "080#");
}

TEST_F(Nmt, ANodeNeverHeardIsUnknown) {
  EXPECT_EQ(state(), NMTState::UNKNOWN);
  std::uint32_t age = 0;
  EXPECT_EQ(client.getTimeSinceHeard(kNode, age), NKR_NOT_AVAILABLE);
}

TEST_F(Nmt, ABootUpMeansPreOperational) {
  node.send(0x70A, "00");
  EXPECT_EQ(state_becomes(NMTState::PRE_OPERATIONAL), NMTState::PRE_OPERATIONAL);
  EXPECT_EQ(static_cast<std::uint32_t>(state()), 127U);
}

TEST_F(Nmt, HeartbeatsTellTheState) {
  node.send(0x70A, "05");
  EXPECT_EQ(state_becomes(NMTState::OPERATIONAL), NMTState::OPERATIONAL);
  node.send(0x70A, "04");
  EXPECT_EQ(state_becomes(NMTState::STOPPED), NMTState::STOPPED);
  node.send(0x70A, "7F");
  EXPECT_EQ(state_becomes(NMTState::PRE_OPERATIONAL), NMTState::PRE_OPERATIONAL);
  node.send(0x70A, "85");
  EXPECT_EQ(state_becomes(NMTState::OPERATIONAL), NMTState::OPERATIONAL) << "bit 7 is node guarding's toggle";
}

TEST_F(Nmt, OtherNodesHeartbeatsAndEmptyFramesSayNothing) {
  node.send(0x70A, "05");
  EXPECT_EQ(state_becomes(NMTState::OPERATIONAL), NMTState::OPERATIONAL);
  node.send(0x70B, "04");
  node.send(0x70A, "");
  NMTState other{};
  while (client.getNMTState(11, other) == NKR_OK && other != NMTState::STOPPED) nkr::time::sleep_for(0s);
  EXPECT_EQ(state(), NMTState::OPERATIONAL);
}

TEST_F(Nmt, ALostHeartbeatIsUnknownAndItsReturnIsKnown) {
  static_cast<void>(client.setHeartbeatTimeout(kNode, 150ms));
  node.send(0x70A, "05");
  EXPECT_EQ(state_becomes(NMTState::OPERATIONAL), NMTState::OPERATIONAL);
  EXPECT_EQ(state_becomes(NMTState::UNKNOWN), NMTState::UNKNOWN);
  node.send(0x70A, "7F");
  EXPECT_EQ(state_becomes(NMTState::PRE_OPERATIONAL), NMTState::PRE_OPERATIONAL);
}

TEST_F(Nmt, MonitoringStartsWithTheFirstHeartbeatNotWithTheBootUp) {
  static_cast<void>(client.setHeartbeatTimeout(kNode, 20ms));
  node.send(0x70A, "00");
  EXPECT_EQ(state_becomes(NMTState::PRE_OPERATIONAL), NMTState::PRE_OPERATIONAL);
  nkr::time::sleep_for(60ms);
  EXPECT_EQ(state(), NMTState::PRE_OPERATIONAL);
}

TEST_F(Nmt, TheTimeSinceANodeWasHeardCountsItsReplies) {
  node.on("40 41 60 00 00 00 00 00", {"4B 41 60 00 37 02 00 00"});
  std::uint16_t value = 0;
  ASSERT_EQ(client.getValue(kNode, 0x60410010, value), NKR_OK);
  nkr::time::sleep_for(30ms);
  std::uint32_t age = 0;
  EXPECT_EQ(client.getTimeSinceHeard(kNode, age), NKR_OK);
  EXPECT_GE(age, 25U);
  EXPECT_LT(age, 10000U);
}

/** One thread finds that the heartbeat stayed away, another one that it is back. */
TEST(HeartbeatEvents, TellOfTwoNodesWithOneIdAndOfNoneThatIsGuarded) {
  constexpr std::uint8_t kNode = 10;
  using nkr::canopen::Event;
  std::vector<Event> told;
  nkr::canopen::NmtMonitor monitor(0ms, [&](const Event& event) { told.push_back(event); });
  const auto beats = [&](std::uint8_t node) {
    for (int i = 0; i < 20; ++i) {
      const Clock::time_point at = Clock::time_point(1h) + i * 100ms;
      monitor.arrived({0x700U + node, {0x05}}, at);
      monitor.arrived({0x700U + node, {0x05}}, at + 3ms);
    }
  };
  beats(kNode);
  EXPECT_TRUE(monitor.is_doubled(kNode));
  ASSERT_EQ(told.size(), 2U);
  EXPECT_EQ(told[1].kind, Event::Kind::TWO_NODES);
  EXPECT_EQ(told[1].node, kNode);
  monitor.start_guarding(11, 10s, Clock::time_point(1h));
  beats(11);
  EXPECT_FALSE(monitor.is_doubled(11));
}

TEST(HeartbeatEvents, OfLossAndReturnAlternateWhicheverThreadFindsThem) {
  using Kind = nkr::canopen::Event::Kind;
  std::vector<Kind> told;  // the monitor tells one after the other
  nkr::canopen::NmtMonitor monitor(1ms, [&](const nkr::canopen::Event& event) {
    if (event.kind == Kind::STATE_CHANGED) return;
    const auto size = told.size();
    std::this_thread::yield();
    told.push_back(event.kind);
    EXPECT_EQ(told.size(), size + 1) << "while one is told no other is";
  });
  const nkr::can::Clock::time_point begin{std::chrono::hours(1)};
  std::atomic<bool> stop{false};
  Thread checker([&] {
    for (int i = 0; !stop; ++i) monitor.check(begin + std::chrono::milliseconds(2 * i));
  });
  for (int i = 0; i < 20000; ++i) monitor.arrived({0x70A, {5}}, begin + std::chrono::milliseconds(2 * i));
  stop = true;
  checker.join();
  for (std::size_t i = 0; i < told.size(); ++i)
    ASSERT_EQ(told[i], i % 2 == 0 ? Kind::HEARTBEAT_LOST : Kind::HEARTBEAT_RETURNED) << i;
}

}  // namespace
}  // namespace tests::client

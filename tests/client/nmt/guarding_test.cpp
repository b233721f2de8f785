// Node guarding (CiA 301, 7.2.8.2.2): the host asks by remote frames, the node answers with state and toggle
// bit.
#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "client/ClientFixture.hpp"
#include "client/EventLog.hpp"
#include "nmt/NmtMonitor.hpp"

namespace tests::client {
namespace {

using nkr::can::Clock;
using nkr::can::Frame;
using nkr::canopen::Event;
using nkr::canopencore::NMTState;
using namespace std::chrono_literals;
using Kind = Event::Kind;

/** A node that answers to its guard, as CiA 301 says. */
class GuardedNode {
 public:
  GuardedNode(nkr::can::InProcessBus& bus, std::uint8_t id) : id_(0x700U + id) {
    nkr_error_t result = NKR_ERROR;
    sender_ = bus.open({{0x7FF, 0x7FF}}, result);
    port_ = bus.open_handler(
        {{id_, 0x7FF}}, [this](const Frame& frame) { asked(frame); }, result);
  }
  void fall_silent() { silent_ = true; }
  void speak_again() { silent_ = false; }
  void enter(std::uint8_t state) { state_ = state; }
  void keep_toggle() { toggles_ = false; }
  [[nodiscard]] int questions() const { return questions_; }
  [[nodiscard]] std::string last_question() const { return last_question_; }

 private:
  void asked(const Frame& frame) {
    if (!frame.remote) return;
    last_question_ = to_string(frame);
    ++questions_;
    if (silent_) return;
    send(static_cast<std::uint8_t>(state_ | toggle_));
    if (toggles_) toggle_ ^= 0x80;
  }
  void send(std::uint8_t byte) { static_cast<void>(sender_->send({id_, {byte}}, Clock::time_point::max())); }

  const std::uint32_t id_;
  std::atomic<std::uint8_t> state_{0x7F};
  std::atomic<std::uint8_t> toggle_{0};
  std::atomic<bool> silent_{false};
  std::atomic<bool> toggles_{true};
  std::atomic<int> questions_{0};
  std::string last_question_;  ///< of the timers' thread, until the client is closed
  std::unique_ptr<nkr::can::Port> sender_;
  std::unique_ptr<nkr::can::Port> port_;
};

class Guarding : public ClientTest {
 protected:
  ~Guarding() override { client.close(); }
  NMTState state_becomes(NMTState wanted) {
    NMTState state{};
    const auto deadline = nkr::time::now() + 20s;
    while (client.getNMTState(kNode, state) == NKR_OK && state != wanted && nkr::time::now() < deadline)
      nkr::time::sleep_for(1ms);
    return state;
  }
  GuardedNode guarded{*bus, kNode};
  EventLog log{client};
};

TEST_F(Guarding, TheNodeIsAskedByRemoteFramesOnceEveryGuardTime) {
  const auto start = nkr::time::now();
  ASSERT_EQ(client.startNodeGuarding(kNode, 30ms, 3), NKR_OK);
  while (guarded.questions() < 4) nkr::time::sleep_for(1ms);
  EXPECT_GE(nkr::time::now() - start, 70ms);
  ASSERT_EQ(client.stopNodeGuarding(kNode), NKR_OK);
  client.close();
  EXPECT_EQ(guarded.last_question(), "70A#R1");
}

TEST_F(Guarding, TheAnswersTellTheState) {
  ASSERT_EQ(client.startNodeGuarding(kNode, 20ms, 500), NKR_OK);
  EXPECT_EQ(state_becomes(NMTState::PRE_OPERATIONAL), NMTState::PRE_OPERATIONAL);
  guarded.enter(5);
  EXPECT_EQ(state_becomes(NMTState::OPERATIONAL), NMTState::OPERATIONAL);
  guarded.enter(4);
  EXPECT_EQ(state_becomes(NMTState::STOPPED), NMTState::STOPPED);
  EXPECT_EQ(log.count(Kind::HEARTBEAT_LOST), 0U);
}

TEST_F(Guarding, ANodeThatFallsSilentIsLostAfterItsLifeTimeAndReturns) {
  ASSERT_EQ(client.startNodeGuarding(kNode, 20ms, 3), NKR_OK);
  log.wait_for(Kind::STATE_CHANGED);
  const auto start = nkr::time::now();
  guarded.fall_silent();
  EXPECT_EQ(log.wait_for(Kind::HEARTBEAT_LOST).node, kNode);
  EXPECT_GE(nkr::time::now() - start, 30ms) << "the life time is 60 ms, some of it may be over";
  EXPECT_EQ(state_becomes(NMTState::UNKNOWN), NMTState::UNKNOWN);
  nkr::time::sleep_for(150ms);
  EXPECT_EQ(log.count(Kind::HEARTBEAT_LOST), 1U) << "told once";
  guarded.speak_again();
  EXPECT_EQ(log.wait_for(Kind::HEARTBEAT_RETURNED).state, NMTState::PRE_OPERATIONAL);
}

TEST_F(Guarding, AnAnswerWithTheToggleBitOfTheOneBeforeIsNone) {
  ASSERT_EQ(client.startNodeGuarding(kNode, 20ms, 3), NKR_OK);
  log.wait_for(Kind::STATE_CHANGED);
  guarded.keep_toggle();
  log.wait_for(Kind::HEARTBEAT_LOST);
}

/** What the monitor makes of answers, without clock and bus. */
TEST(GuardedNodes, AToggleBitThatStandsStillCountsUntilTheBootUp) {
  nkr::canopen::NmtMonitor monitor(1s, [](const Event&) {});
  const auto now = nkr::time::now();
  const auto answer = [&](std::uint8_t byte) {
    return monitor.arrived({0x70A, {byte}}, now) ? monitor.state(10, now) : NMTState::UNKNOWN;
  };
  monitor.start_guarding(10, 1s, now);
  EXPECT_EQ(answer(0x7F), NMTState::PRE_OPERATIONAL);
  EXPECT_EQ(answer(0x05), NMTState::UNKNOWN) << "not received: the toggle bit is as before";
  EXPECT_EQ(answer(0x85), NMTState::OPERATIONAL);
  EXPECT_EQ(answer(0x84), NMTState::UNKNOWN);
  EXPECT_EQ(answer(0x04), NMTState::STOPPED);
  EXPECT_EQ(answer(0x00), NMTState::PRE_OPERATIONAL) << "a boot-up";
  EXPECT_EQ(answer(0x05), NMTState::OPERATIONAL) << "the first answer after it may have any";
  monitor.stop_guarding(10);
  EXPECT_EQ(answer(0x04), NMTState::STOPPED) << "a heartbeat has no toggle bit";
}

TEST_F(Guarding, ANodeThatNeverAnswersWasNeverHeard) {
  guarded.fall_silent();
  ASSERT_EQ(client.startNodeGuarding(kNode, 20ms, 2), NKR_OK);
  EXPECT_EQ(log.wait_for(Kind::NEVER_HEARD).node, kNode);
  guarded.speak_again();
  log.wait_for(Kind::STATE_CHANGED);
  guarded.fall_silent();
  log.wait_for(Kind::HEARTBEAT_LOST);
}

TEST_F(Guarding, WhenItEndsNobodyIsAskedOrMissed) {
  ASSERT_EQ(client.startNodeGuarding(kNode, 20ms, 5), NKR_OK);
  log.wait_for(Kind::STATE_CHANGED);
  ASSERT_EQ(client.stopNodeGuarding(kNode), NKR_OK);
  nkr::time::sleep_for(40ms);
  const int before = guarded.questions();
  log.forget();
  nkr::time::sleep_for(200ms);
  EXPECT_EQ(guarded.questions(), before);
  EXPECT_EQ(log.count(Kind::HEARTBEAT_LOST), 0U);
}

TEST_F(Guarding, SeveralNodesAreAskedEachInItsOwnTime) {
  GuardedNode other(*bus, 11);
  ASSERT_EQ(client.startNodeGuarding(kNode, 200ms, 3), NKR_OK);
  ASSERT_EQ(client.startNodeGuarding(11, 10ms, 3), NKR_OK);
  while (other.questions() < 12) nkr::time::sleep_for(1ms);
  EXPECT_GE(guarded.questions(), 1);
  EXPECT_LT(guarded.questions(), other.questions());
  client.close();
}

TEST_F(Guarding, ArgumentsAreChecked) {
  EXPECT_EQ(client.startNodeGuarding(0, 20ms, 3), NKR_CAN_INVALID_NODE);
  EXPECT_EQ(client.startNodeGuarding(kNode, 0ms, 3), NKR_ERROR);
  EXPECT_EQ(client.startNodeGuarding(kNode, 20ms, 0), NKR_ERROR);
  EXPECT_EQ(client.stopNodeGuarding(128), NKR_CAN_INVALID_NODE);
  EXPECT_EQ(client.stopNodeGuarding(kNode), NKR_OK) << "that it is not guarded is what was wanted";
}

}  // namespace
}  // namespace tests::client

#include <algorithm>
#include <cstdint>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "client/BusDouble.hpp"
#include "client/ClientFixture.hpp"
#include "support/futures.hpp"

namespace tests::client {
namespace {

using nkr::can::Clock;
using nkr::canopen::Event;
using nkr::canopencore::NMTCommand;
using nkr::canopencore::NMTState;
using namespace std::chrono_literals;
using Kind = Event::Kind;

class Events : public ClientTest {
 protected:
  Events() {
    client.subscribe([this](const Event& event) {
      const std::lock_guard<std::mutex> lock(mutex_);
      seen_.push_back(event);
      changed_.notify_all();
    });
  }
  ~Events() override { client.close(); }

  /** The first event of that kind; the test fails when it does not come. */
  Event wait_for(Kind kind) {
    std::unique_lock<std::mutex> lock(mutex_);
    const auto is_it = [&](const Event& event) { return event.kind == kind; };
    const bool came =
        changed_.wait_for(lock, 20s, [&] { return std::any_of(seen_.begin(), seen_.end(), is_it); });
    EXPECT_TRUE(came) << to_string(kind);
    return came ? *std::find_if(seen_.begin(), seen_.end(), is_it) : Event();
  }
  std::size_t count(Kind kind) {
    const std::lock_guard<std::mutex> lock(mutex_);
    return static_cast<std::size_t>(
        std::count_if(seen_.begin(), seen_.end(), [&](const Event& event) { return event.kind == kind; }));
  }
  void forget() {
    const std::lock_guard<std::mutex> lock(mutex_);
    seen_.clear();
  }

 private:
  std::mutex mutex_;
  nkr::time::Condition changed_;
  std::vector<Event> seen_;
};

TEST_F(Events, TheFirstBootUpIsNoSurprise) {
  node.send(0x70A, "00");
  const Event event = wait_for(Kind::BOOT_UP);
  EXPECT_EQ(event.node, kNode);
  EXPECT_EQ(event.state, NMTState::PRE_OPERATIONAL);
  EXPECT_EQ(count(Kind::UNEXPECTED_BOOT_UP), 0U);
}

TEST_F(Events, ABootUpOfANodeThatWasThereIsUnexpected) {
  node.send(0x70A, "05");
  node.send(0x70A, "00");
  EXPECT_EQ(wait_for(Kind::UNEXPECTED_BOOT_UP).node, kNode);
}

TEST_F(Events, ABootUpAfterOurOwnResetIsExpectedOnce) {
  node.send(0x70A, "05");
  wait_for(Kind::STATE_CHANGED);
  static_cast<void>(client.setNMTState(kNode, NMTCommand::RESET_NODE));
  node.send(0x70A, "00");
  wait_for(Kind::BOOT_UP);
  EXPECT_EQ(count(Kind::UNEXPECTED_BOOT_UP), 0U);
  node.send(0x70A, "00");
  wait_for(Kind::UNEXPECTED_BOOT_UP);
}

TEST_F(Events, ABroadcastResetExpectsEveryNodesBootUp) {
  node.send(0x70A, "05");
  wait_for(Kind::STATE_CHANGED);
  static_cast<void>(client.broadcastNMTCommand(NMTCommand::RESET_COMMUNICATION));
  node.send(0x70A, "00");
  wait_for(Kind::BOOT_UP);
  EXPECT_EQ(count(Kind::UNEXPECTED_BOOT_UP), 0U);
}

TEST_F(Events, ALostHeartbeatIsToldOnceAndItsReturnToo) {
  static_cast<void>(client.setHeartbeatTimeout(kNode, 50ms));
  node.send(0x70A, "05");
  EXPECT_EQ(wait_for(Kind::HEARTBEAT_LOST).node, kNode);
  nkr::time::sleep_for(150ms);
  EXPECT_EQ(count(Kind::HEARTBEAT_LOST), 1U);
  node.send(0x70A, "05");
  EXPECT_EQ(wait_for(Kind::HEARTBEAT_RETURNED).state, NMTState::OPERATIONAL);
  EXPECT_EQ(count(Kind::STATE_CHANGED), 1U) << "the same state as before is no change";
}

TEST_F(Events, ANodeThatIsExpectedAndNeverHeardIsTold) {
  EXPECT_EQ(client.expectNode(0, 1ms), NKR_CAN_INVALID_NODE);
  EXPECT_EQ(client.expectNode(11, 30ms), NKR_OK);
  EXPECT_EQ(wait_for(Kind::NEVER_HEARD).node, 11);
}

TEST_F(Events, ANodeThatIsHeardInTimeIsNotMissed) {
  static_cast<void>(client.expectNode(kNode, 150ms));
  static_cast<void>(client.expectNode(11, 200ms));
  node.send(0x70A, "00");
  EXPECT_EQ(wait_for(Kind::NEVER_HEARD).node, 11);
  EXPECT_EQ(count(Kind::NEVER_HEARD), 1U);
}

TEST_F(Events, ANodeThatAnswersRequestsIsNotMissedForItsMissingHeartbeat) {
  static_cast<void>(client.expectNode(kNode, 150ms));
  static_cast<void>(client.expectNode(11, 200ms));
  node.on("40 41 60 00 00 00 00 00", {"4B 41 60 00 37 02 00 00"});
  std::uint16_t value = 0;
  EXPECT_EQ(client.getValue(kNode, 0x60410010, value), NKR_OK);
  EXPECT_EQ(wait_for(Kind::NEVER_HEARD).node, 11);
  EXPECT_EQ(count(Kind::NEVER_HEARD), 1U);
}

TEST_F(Events, AnEmergencyIsToldAndKept) {
  node.send(0x08A, "10 23 02 01 02 03 04 05");
  const Event event = wait_for(Kind::EMERGENCY);
  EXPECT_EQ(event.node, kNode);
  EXPECT_EQ(event.emergency.code, 0x2310);
  EXPECT_EQ(event.emergency.error_register, 0x02);
  EXPECT_EQ(event.emergency.vendor_data, (std::array<std::uint8_t, 5>{1, 2, 3, 4, 5}));
  EXPECT_EQ(client.getEmergencies(kNode).size(), 1U);
  EXPECT_EQ(client.getEmergencies(11).size(), 0U);
}

TEST_F(Events, ErrorsAreActiveUntilTheNodeHasNoneLeft) {
  node.send(0x08A, "10 23 02 00 00 00 00 00");
  node.send(0x08A, "10 43 0A 00 00 00 00 00");
  node.send(0x08A, "10 23 0A 00 00 00 00 00");
  node.send(0x08A, "00 00 08 00 00 00 00 00");
  node.send(0x70A, "7F");
  wait_for(Kind::STATE_CHANGED);
  const auto active = client.getActiveEmergencies(kNode);
  ASSERT_EQ(active.size(), 2U) << "each code once; the error register still shows an error";
  EXPECT_EQ(active.front().code, 0x4310);
  EXPECT_EQ(active.back().code, 0x2310);
  node.send(0x08A, "00 00 00 00 00 00 00 00");
  node.send(0x70A, "05");
  while (count(Kind::STATE_CHANGED) < 2) nkr::time::sleep_for(1ms);
  EXPECT_EQ(client.getActiveEmergencies(kNode).size(), 0U);
  EXPECT_EQ(client.getEmergencies(kNode).size(), 5U);
}

TEST_F(Events, ARestartEndsWhatWasActive) {
  node.send(0x08A, "10 23 02 00 00 00 00 00");
  node.send(0x70A, "00");
  wait_for(Kind::BOOT_UP);
  EXPECT_EQ(client.getActiveEmergencies(kNode).size(), 0U);
}

TEST_F(Events, AShortEmergencyIsToldWithWhatItHas) {
  node.send(0x08A, "10 23 02 01");
  const Event event = wait_for(Kind::EMERGENCY);
  EXPECT_EQ(event.emergency.code, 0x2310);
  EXPECT_EQ(event.emergency.error_register, 0x02);
  EXPECT_EQ(event.emergency.vendor_data, (std::array<std::uint8_t, 5>{1, 0, 0, 0, 0}));
  node.send(0x08A, "10 43");
  node.send(0x70A, "00");
  wait_for(Kind::BOOT_UP);
  ASSERT_EQ(client.getEmergencies(kNode).size(), 2U);
  EXPECT_EQ(client.getEmergencies(kNode).back().code, 0x4310);
}

TEST_F(Events, FramesTooShortForAnEmergencyAreNone) {
  node.send(0x08A, "10");
  node.send(0x70A, "00");
  wait_for(Kind::BOOT_UP);
  EXPECT_EQ(count(Kind::EMERGENCY), 0U);
}

TEST_F(Events, TheBusItselfIsTold) {
  bus->set_state(nkr::can::BusState::BUS_OFF);
  EXPECT_EQ(wait_for(Kind::BUS_OFF).node, 0);
  bus->set_state(nkr::can::BusState::ERROR_ACTIVE);
  node.send(0x70A, "05");
  wait_for(Kind::BUS_RETURNED);
}

TEST_F(Events, HandlersGoOnAfterTheLossOfTheInterface) {
  bus->set_state(nkr::can::BusState::INTERFACE_GONE);
  wait_for(Kind::INTERFACE_GONE);
  bus->set_state(nkr::can::BusState::ERROR_ACTIVE);
  node.send(0x08A, "10 23 02 00 00 00 00 00");
  EXPECT_EQ(wait_for(Kind::EMERGENCY).emergency.code, 0x2310);
  EXPECT_EQ(count(Kind::BUS_RETURNED), 1U);
}

TEST_F(Events, AnIdleClientUsesNoProcessorTime) {
  static_cast<void>(client.setHeartbeatTimeout(kNode, 30s));
  node.send(0x70A, "05");
  wait_for(Kind::STATE_CHANGED);
  const std::uint64_t before = virtual_time.switches();
  nkr::time::sleep_for(20s);
  EXPECT_LE(virtual_time.switches() - before, 2U) << "nobody but the sleeper was awake";
}

TEST_F(Events, AHandlerMayCallTheClient) {
  node.on("40 41 60 00 00 00 00 00", {"4B 41 60 00 37 02 00 00"});
  Promise<std::uint16_t> read;
  client.subscribe([&](const Event&) {
    std::uint16_t value = 0;
    EXPECT_EQ(client.getValue(kNode, 0x60410010, value), NKR_OK);
    read.set_value(value);
  });
  node.send(0x70A, "00");
  auto value = read.get_future();
  ASSERT_EQ(value.wait_for(20s), std::future_status::ready);
  EXPECT_EQ(value.get(), 0x0237);
  client.close();
}

TEST_F(Events, AHandlerMayUnsubscribeItselfAndCloseTheClient) {
  Signal closed;
  int self = 0;
  self = client.subscribe([&](const Event&) {
    client.unsubscribe(self);
    client.close();
    closed.set_value();
  });
  node.send(0x70A, "00");
  EXPECT_EQ(closed.get_future().wait_for(20s), std::future_status::ready);
  client.close();
}

TEST_F(Events, AHandlerRunsNoMoreWhenUnsubscribeReturned) {
  std::atomic<int> calls{0};
  const int subscription = client.subscribe([&](const Event&) { ++calls; });
  node.send(0x70A, "05");
  wait_for(Kind::STATE_CHANGED);
  client.unsubscribe(subscription);
  const int before = calls;
  node.send(0x70A, "04");
  while (count(Kind::STATE_CHANGED) < 2) nkr::time::sleep_for(1ms);
  EXPECT_EQ(calls, before);
}

TEST_F(Events, ASlowHandlerHoldsUpNeitherHeartbeatsNorReception) {
  Signal release;
  client.subscribe([&](const Event&) { release.get_future().get(); });
  node.send(0x70A, "05");
  wait_for(Kind::STATE_CHANGED);
  nkr_error_t result = NKR_ERROR;
  const auto tap = bus->open({{0x77F, 0x7FF}}, result);
  EXPECT_EQ(client.startHeartbeat(0x7F, 10ms), NKR_OK);
  nkr::can::Frame frame;
  for (int i = 0; i < 3; ++i) EXPECT_EQ(tap->receive(frame, nkr::time::now() + 20s), NKR_OK);
  node.send(0x70A, "04");
  NMTState state{};
  const auto deadline = nkr::time::now() + 20s;
  while (client.getNMTState(kNode, state) == NKR_OK && state != NMTState::STOPPED &&
         nkr::time::now() < deadline)
    nkr::time::sleep_for(1ms);
  EXPECT_EQ(state, NMTState::STOPPED);
  release.set_value();
  client.close();
}

TEST_F(Events, AnEmptyHandlerIsRefused) {
  EXPECT_EQ(client.subscribe(nkr::canopen::EventHandler()), 0);
  nkr::canopen::Subscription subscription;
  EXPECT_EQ(client.subscribe(nkr::canopen::EventHandler(), subscription), NKR_ERROR);
}

TEST_F(Events, WhatAHandlerThrowsIsCountedAndTheOthersAreCalled) {
  nkr::canopen::Subscription first;
  ASSERT_EQ(client.subscribe([](const Event&) { throw std::runtime_error("of the application"); }, first),
            NKR_OK);
  Signal called;
  nkr::canopen::Subscription second;
  ASSERT_EQ(client.subscribe([&](const Event&) { called.set_value(); }, second), NKR_OK);
  node.send(0x70A, "00");
  ASSERT_EQ(called.get_future().wait_for(20s), std::future_status::ready);
  EXPECT_EQ(client.getHandlerExceptions(), 1U);
  client.close();
}

TEST_F(Events, ASubscriptionEndsWithItsOwner) {
  std::atomic<int> calls{0};
  {
    nkr::canopen::Subscription moved;
    {
      nkr::canopen::Subscription subscription;
      ASSERT_EQ(client.subscribe([&](const Event&) { ++calls; }, subscription), NKR_OK);
      moved = std::move(subscription);
    }
    node.send(0x70A, "05");
    wait_for(Kind::STATE_CHANGED);
    while (calls < 1) nkr::time::sleep_for(1ms);
  }
  node.send(0x70A, "04");
  while (count(Kind::STATE_CHANGED) < 2) nkr::time::sleep_for(1ms);
  EXPECT_EQ(calls, 1);
}

TEST_F(Events, ASubscriptionMayOutliveTheClient) {
  nkr::canopen::Subscription subscription;
  {
    nkr::canopen::Client shorter(bus);
    ASSERT_EQ(shorter.subscribe([](const Event&) {}, subscription), NKR_OK);
  }
  subscription.end();
}

/** What a handler captured may be anything: here it ends another handler's stay. */
TEST_F(Events, AHandlersCaptureMayUnsubscribeAnotherOneWhenItIsDestroyed) {
  struct Ends {
    nkr::canopen::Client& client;
    int other;
    Signal& ended;
    ~Ends() {
      client.unsubscribe(other);
      ended.set_value();
    }
  };
  const int other = client.subscribe([](const Event&) {});
  Signal ended;
  auto self = std::make_shared<std::atomic<int>>(0);
  *self = client.subscribe([this, self, ends = std::shared_ptr<Ends>(new Ends{client, other, ended})](
                               const Event&) { client.unsubscribe(*self); });
  node.send(0x70A, "00");
  EXPECT_EQ(ended.get_future().wait_for(20s), std::future_status::ready);
}

TEST_F(Events, OfMoreThan256ErrorsTheLastOnesAreActive) {
  const auto two_digits = [](int value) { return tests::hex_of({0, {static_cast<std::uint8_t>(value)}}); };
  for (int high = 0x10; high < 0x20; ++high) {
    for (int low = 0; low < 0x40; ++low)
      node.send(0x08A, two_digits(low) + " " + two_digits(high) + " 01 00 00 00 00 00");
  }
  node.send(0x70A, "05");
  wait_for(Kind::STATE_CHANGED);
  const auto active = client.getActiveEmergencies(kNode);
  ASSERT_EQ(active.size(), 256U);
  EXPECT_EQ(active.front().code, 0x1C00);
  EXPECT_EQ(active.back().code, 0x1F3F);
}

class Producers : public ClientTest {
 protected:
  std::string next() {
    nkr::can::Frame frame;
    return tap->receive(frame, nkr::time::now() + 20s) == NKR_OK ? nkr::can::to_string(frame) : "nothing";
  }
  nkr_error_t result = NKR_ERROR;
  std::unique_ptr<nkr::can::Port> tap = bus->open({{0x701, 0x7FF}, {0x080, 0x7FF}}, result);
};

TEST_F(Producers, TheHostsHeartbeatSaysOperationalAtItsPeriod) {
  const auto start = nkr::time::now();
  EXPECT_EQ(client.startHeartbeat(1, 30ms), NKR_OK);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(next(), "701#05");
  EXPECT_GE(nkr::time::now() - start, 70ms);
  client.stopHeartbeat();
}

TEST_F(Producers, TheHostsHeartbeatStartsByTheOptionsAndEndsWithTheClient) {
  nkr::canopen::ClientOptions options;
  options.host_node_id = 1;
  options.host_heartbeat_period = 10ms;
  nkr::canopen::Client host(bus, options);
  EXPECT_EQ(next(), "701#05");
  EXPECT_EQ(next(), "701#05");
  host.close();
  nkr::can::Frame frame;
  while (tap->receive(frame, nkr::time::now() + 100ms) == NKR_OK) continue;
  EXPECT_EQ(tap->receive(frame, nkr::time::now() + 100ms), NKR_CAN_TIMED_OUT);
}

TEST_F(Producers, ArgumentsAreChecked) {
  EXPECT_EQ(client.startHeartbeat(0, 10ms), NKR_CAN_INVALID_NODE);
  EXPECT_EQ(client.startHeartbeat(128, 10ms), NKR_CAN_INVALID_NODE);
  EXPECT_EQ(client.startHeartbeat(1, 0ms), NKR_ERROR);
  EXPECT_EQ(client.startSync(0us), NKR_ERROR);
}

TEST_F(Producers, SyncIsSentAtItsPeriodUntilStopped) {
  EXPECT_EQ(client.startSync(10ms), NKR_OK);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(next(), "080#");
  client.stopSync();
}

TEST_F(Producers, SyncCountsFrom1ToItsOverflow) {
  nkr::canopen::ClientOptions options;
  options.sync_counter_overflow = 3;
  nkr::canopen::Client counting(bus, options);
  for (const char* const frame : {"080#01", "080#02", "080#03", "080#01"}) {
    EXPECT_EQ(counting.sendSync(), NKR_OK);
    EXPECT_EQ(next(), frame);
  }
}

TEST_F(Producers, AHeartbeatThatTheBusHasNoRoomForHoldsUpNoSync) {
  std::atomic<bool> full{true};
  const auto crowded = std::make_shared<BusDouble>(
      bus, [&full](const nkr::can::Frame& frame) { return full && frame.id == 0x701; });
  nkr::canopen::Client host(crowded);
  ASSERT_EQ(host.startHeartbeat(1, 60s), NKR_OK);
  ASSERT_EQ(host.startSync(10ms), NKR_OK);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(next(), "080#");
  full = false;
  std::string beat = next();
  while (beat == "080#") beat = next();
  EXPECT_EQ(beat, "701#05") << "it is tried again, long before the next one is due";
  host.close();
}

TEST_F(Producers, ASyncThatTheBusHasNoRoomForHoldsUpNoHeartbeat) {
  const auto crowded =
      std::make_shared<BusDouble>(bus, [](const nkr::can::Frame& frame) { return frame.id == 0x080; });
  nkr::canopen::Client host(crowded);
  ASSERT_EQ(host.startSync(60s), NKR_OK);
  ASSERT_EQ(host.startHeartbeat(1, 10ms), NKR_OK);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(next(), "701#05");
  host.close();
}

TEST_F(Producers, ASyncThatWasNotSentDoesNotCount) {
  std::atomic<bool> full{false};
  const auto crowded =
      std::make_shared<BusDouble>(bus, [&full](const nkr::can::Frame&) { return full.load(); });
  nkr::canopen::ClientOptions options;
  options.sync_counter_overflow = 5;
  options.sdo_timeout = 10ms;
  nkr::canopen::Client counting(crowded, options);
  EXPECT_EQ(counting.sendSync(), NKR_OK);
  full = true;
  EXPECT_EQ(counting.sendSync(), NKR_CAN_TX_OVERFLOW);
  full = false;
  EXPECT_EQ(counting.sendSync(), NKR_OK);
  EXPECT_EQ(next(), "080#01");
  EXPECT_EQ(next(), "080#02");
}

}  // namespace
}  // namespace tests::client

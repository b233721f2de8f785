#include <cstdint>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "client/ClientFixture.hpp"
#include "client/EventLog.hpp"
#include "requests/Diagnosis.hpp"
#include "support/futures.hpp"

namespace tests::client {
namespace {

using nkr::can::BusState;
using nkr::can::Clock;
using nkr::canopen::Event;
using nkr::canopen::FailureCause;
using nkr::canopen::RequestFailure;
using nkr::canopencore::NMTState;
using namespace std::chrono_literals;

class Failure : public ClientTest {
 protected:
  RequestFailure read_fails() {
    std::uint16_t value = 0;
    EXPECT_NE(client.getValue(kNode, 0x60410010, value), NKR_OK);
    RequestFailure failure;
    EXPECT_EQ(client.getLastFailure(kNode, failure), NKR_OK);
    return failure;
  }
  void heard(std::uint8_t id, NMTState state) {
    NMTState seen{};
    const auto deadline = nkr::time::now() + 20s;
    while (client.getNMTState(id, seen) == NKR_OK && seen != state && nkr::time::now() < deadline)
      nkr::time::sleep_for(1ms);
    ASSERT_EQ(seen, state);
  }
};

TEST_F(Failure, NoneIsKnownBeforeOneHappened) {
  RequestFailure failure;
  std::string text;
  EXPECT_EQ(client.getLastFailure(kNode, failure), NKR_NOT_AVAILABLE);
  EXPECT_EQ(client.getLastFailureText(kNode, text), NKR_NOT_AVAILABLE);
  EXPECT_EQ(client.getLastFailure(0, failure), NKR_CAN_INVALID_NODE);
}

TEST_F(Failure, TheRecordSaysWhatWasAskedAndHowLongItTook) {
  const RequestFailure failure = read_fails();
  EXPECT_EQ(failure.node, kNode);
  EXPECT_EQ(failure.address, 0x60410000U);
  EXPECT_FALSE(failure.was_write);
  EXPECT_EQ(failure.code, NKR_SDO_TIMED_OUT);
  EXPECT_GE(failure.elapsed, 60ms);
  EXPECT_EQ(failure.attempts, 1U);
  EXPECT_EQ(failure.bus_name, "virtual");
  EXPECT_FALSE(failure.last_heard.has_value());
}

TEST_F(Failure, AttemptsCountFailuresOfOneObjectInARow) {
  node.on("40 41 60 00 00 00 00 00", {"80 41 60 00 00 00 02 06"});
  EXPECT_EQ(read_fails().attempts, 1U);
  EXPECT_EQ(read_fails().attempts, 2U);
  node.on("40 41 60 00 00 00 00 00", {"4B 41 60 00 01 00 00 00"});
  node.on("40 41 60 00 00 00 00 00", {"80 41 60 00 00 00 02 06"});
  EXPECT_EQ(read_fails().attempts, 3U) << "the first row of answers is used up by this one";
  std::uint16_t value = 0;
  EXPECT_EQ(client.getValue(kNode, 0x60410010, value), NKR_OK);
  EXPECT_EQ(read_fails().attempts, 1U);
}

TEST_F(Failure, AWriteIsToldAsOne) {
  node.on("2B 41 60 00 01 00 00 00", {"80 41 60 00 02 00 01 06"});
  EXPECT_EQ(client.setValue(kNode, 0x60410010, std::uint16_t{1}), NKR_SDO_READ_ONLY);
  RequestFailure failure;
  ASSERT_EQ(client.getLastFailure(kNode, failure), NKR_OK);
  EXPECT_TRUE(failure.was_write);
  EXPECT_EQ(failure.cause, FailureCause::REFUSED_BY_NODE);
}

TEST_F(Failure, ANodeThatWasNeverHeardOnASilentBus) {
  EXPECT_EQ(read_fails().cause, FailureCause::NEVER_HEARD);
}

TEST_F(Failure, ANodeWithAnotherIdIsNamed) {
  node.send(0x70B, "05");
  heard(11, NMTState::OPERATIONAL);
  const RequestFailure failure = read_fails();
  EXPECT_EQ(failure.cause, FailureCause::OTHER_ID_HEARD);
  EXPECT_EQ(failure.other_node, 11);
}

TEST_F(Failure, ANodeWhoseHeartbeatStayedAway) {
  static_cast<void>(client.setHeartbeatTimeout(kNode, 10ms));
  node.send(0x70A, "05");
  std::uint32_t age = 0;
  while (client.getTimeSinceHeard(kNode, age) != NKR_OK) nkr::time::sleep_for(1ms);
  nkr::time::sleep_for(20ms);
  const RequestFailure failure = read_fails();
  EXPECT_EQ(failure.cause, FailureCause::HEARD_THEN_LOST);
  ASSERT_TRUE(failure.last_heard.has_value());
  EXPECT_GE(*failure.last_heard, 20ms);
}

TEST_F(Failure, ANodeWithoutHeartbeatWhoseOtherFramesComeDidNotFallSilent) {
  EventLog events(client);
  static_cast<void>(client.setHeartbeatTimeout(kNode, 10ms));
  node.send(0x70A, "05");
  events.wait_for(Event::Kind::HEARTBEAT_LOST);
  nkr::time::sleep_for(1ms);
  node.send(0x08A, "00 10 01 00 00 00 00 00");
  events.wait_for(Event::Kind::EMERGENCY);
  const RequestFailure failure = read_fails();
  EXPECT_EQ(failure.cause, FailureCause::SILENT_SDO_SERVER);
  EXPECT_TRUE(failure.heartbeat_lost);
  EXPECT_EQ(to_string(failure).find("lost power"), std::string::npos) << to_string(failure);
  EXPECT_NE(to_string(failure).find("its heartbeat stays away"), std::string::npos) << to_string(failure);
}

TEST_F(Failure, AStoppedNodeServesNoSdo) {
  node.send(0x70A, "04");
  heard(kNode, NMTState::STOPPED);
  const RequestFailure failure = read_fails();
  EXPECT_EQ(failure.cause, FailureCause::STOPPED);
  EXPECT_EQ(failure.nmt_state, NMTState::STOPPED);
}

TEST_F(Failure, ANodeThatHasJustStarted) {
  node.send(0x70A, "00");
  heard(kNode, NMTState::PRE_OPERATIONAL);
  EXPECT_EQ(read_fails().cause, FailureCause::BOOTING);
}

TEST_F(Failure, ANodeThatAnswersOtherObjectsOnly) {
  node.on("40 00 10 00 00 00 00 00", {"43 00 10 00 92 01 02 00"});
  std::uint32_t type = 0;
  ASSERT_EQ(client.getValue(kNode, 0x10000020, type), NKR_OK);
  EXPECT_EQ(read_fails().cause, FailureCause::ANSWERS_OTHER_OBJECTS);
}

TEST_F(Failure, ANodeThatIsAliveAndAnswersNothing) {
  node.send(0x70A, "05");
  heard(kNode, NMTState::OPERATIONAL);
  EXPECT_EQ(read_fails().cause, FailureCause::SILENT_SDO_SERVER);
}

TEST_F(Failure, ABusThatIsOffAndAnInterfaceThatIsGone) {
  bus->set_state(BusState::BUS_OFF);
  const RequestFailure off = read_fails();
  EXPECT_EQ(off.cause, FailureCause::BUS_OFF);
  EXPECT_EQ(off.bus.state, BusState::BUS_OFF);
  bus->set_state(BusState::INTERFACE_GONE);
  EXPECT_EQ(read_fails().cause, FailureCause::NO_INTERFACE);
}

TEST_F(Failure, AClientWithoutBus) {
  nkr::canopen::Client lonely(nullptr);
  std::uint16_t value = 0;
  ASSERT_EQ(lonely.getValue(kNode, 0x60410010, value), NKR_CAN_NOT_CONNECTED);
  RequestFailure failure;
  ASSERT_EQ(lonely.getLastFailure(kNode, failure), NKR_OK);
  EXPECT_EQ(failure.cause, FailureCause::NO_INTERFACE);
}

TEST_F(Failure, AnAnswerThatDoesNotFit) {
  node.on("40 41 60 00 00 00 00 00", {"43 41 60 00 01 00 00 00"});
  EXPECT_EQ(read_fails().cause, FailureCause::WRONG_ANSWER);
}

TEST_F(Failure, TheTextNamesTheObjectByTheApplicationsResolver) {
  client.setObjectNameResolver([this](std::uint8_t id, std::uint32_t address) {
    std::string nested;
    EXPECT_EQ(client.getLastFailureText(11, nested), NKR_NOT_AVAILABLE) << "no lock is held here";
    return id == kNode && address == 0x60410000 ? "statusword" : "";
  });
  node.on("40 41 60 00 00 00 00 00", {"80 41 60 00 00 00 02 06"});
  EXPECT_EQ(read_fails().object_name, "statusword");
  std::string text;
  ASSERT_EQ(client.getLastFailureText(kNode, text), NKR_OK);
  for (const char* const part : {"Reading 0x6041:00 (statusword) of node 10", "0x06020000",
                                 "does not exist in the object dictionary", "virtual: error active"})
    EXPECT_NE(text.find(part), std::string::npos) << part << " in: " << text;
}

TEST_F(Failure, TheLastFramesHangOnTheRecord) {
  const RequestFailure failure = read_fails();
  ASSERT_TRUE(failure.frames);
  ASSERT_GE(failure.frames->size(), 2U);
  EXPECT_EQ(to_string(failure.frames->front().frame), "60A#4041600000000000");
  EXPECT_EQ(to_string(failure.frames->back().frame), "60A#8041600000000405");
}

TEST_F(Failure, TheLastFramesAreWrittenAsALogAtAnyTime) {
  node.on("40 41 60 00 00 00 00 00", {"4B 41 60 00 37 02 00 00"});
  std::uint16_t value = 0;
  ASSERT_EQ(client.getValue(kNode, 0x60410010, value), NKR_OK);
  std::ostringstream log;
  client.writeFrames(log);
  const auto request = log.str().find(" virtual 60A#4041600000000000");
  const auto reply = log.str().find(" virtual 58A#4B41600037020000");
  EXPECT_NE(request, std::string::npos) << log.str();
  EXPECT_NE(reply, std::string::npos) << log.str();
  EXPECT_LT(request, reply);
}

TEST_F(Failure, NoFramesAreKeptWhenNotWanted) {
  nkr::canopen::ClientOptions options = short_times();
  options.frame_history = 0;
  nkr::canopen::Client forgetful(bus, options);
  std::uint16_t value = 0;
  ASSERT_EQ(forgetful.getValue(kNode, 0x60410010, value), NKR_SDO_TIMED_OUT);
  RequestFailure failure;
  ASSERT_EQ(forgetful.getLastFailure(kNode, failure), NKR_OK);
  EXPECT_FALSE(failure.frames);
  std::ostringstream log;
  forgetful.writeFrames(log);
  EXPECT_EQ(log.str(), "");
}

TEST_F(Failure, IsThatOfTheCallingThread) {
  node.on("40 41 60 00 00 00 00 00", {"80 41 60 00 00 00 02 06"});
  node.on("40 42 60 00 00 00 00 00", {"80 42 60 00 22 00 00 08"});
  read_fails();
  Thread other([this] {
    RequestFailure failure;
    EXPECT_EQ(client.getLastFailure(kNode, failure), NKR_NOT_AVAILABLE) << "nothing has failed here";
    std::uint16_t value = 0;
    EXPECT_EQ(client.getValue(kNode, 0x60420010, value), NKR_SDO_DEVICE_STATE);
    ASSERT_EQ(client.getLastFailure(kNode, failure), NKR_OK);
    EXPECT_EQ(failure.address, 0x60420000U);
  });
  other.join();
  RequestFailure failure;
  ASSERT_EQ(client.getLastFailure(kNode, failure), NKR_OK);
  EXPECT_EQ(failure.address, 0x60410000U);
}

TEST_F(Failure, IsThatOfTheClientThatIsAsked) {
  read_fails();
  nkr::canopen::Client other(bus, short_times());
  RequestFailure failure;
  EXPECT_EQ(other.getLastFailure(kNode, failure), NKR_NOT_AVAILABLE);
}

TEST_F(Failure, AResolverThatThrowsLeavesTheObjectWithoutAName) {
  client.setObjectNameResolver(
      [](std::uint8_t, std::uint32_t) -> std::string { throw std::runtime_error("of the application"); });
  EXPECT_EQ(read_fails().object_name, "");
  EXPECT_EQ(client.getHandlerExceptions(), 1U);
}

TEST(LikelyCause, WhatExplainsMostComesFirst) {
  RequestFailure failure;
  failure.code = NKR_SDO_TIMED_OUT;
  nkr::canopen::Circumstances circumstances;
  failure.last_heard = 5ms;
  failure.nmt_state = NMTState::STOPPED;
  circumstances.answered_other_requests = true;
  EXPECT_EQ(likely_cause(failure, circumstances), FailureCause::STOPPED);
  circumstances.fell_silent = true;
  EXPECT_EQ(likely_cause(failure, circumstances), FailureCause::HEARD_THEN_LOST);
  failure.bus.state = BusState::BUS_OFF;
  EXPECT_EQ(likely_cause(failure, circumstances), FailureCause::BUS_OFF);
  failure.bus.state = BusState::INTERFACE_GONE;
  EXPECT_EQ(likely_cause(failure, circumstances), FailureCause::NO_INTERFACE);
  circumstances.by_node = true;
  EXPECT_EQ(likely_cause(failure, circumstances), FailureCause::REFUSED_BY_NODE);
}

TEST(LikelyCause, ALongSilenceWithoutHeartbeatIsALoss) {
  RequestFailure failure;
  failure.code = NKR_SDO_TIMED_OUT;
  failure.last_heard = 60s;
  EXPECT_EQ(likely_cause(failure, {}), FailureCause::HEARD_THEN_LOST);
}

TEST(LikelyCause, AFullQueueAndAClosedClientSpeakForThemselves) {
  RequestFailure failure;
  failure.code = NKR_CAN_TX_OVERFLOW;
  EXPECT_EQ(likely_cause(failure, {}), FailureCause::SEND_QUEUE_FULL);
  failure.code = NKR_CAN_CLOSED;
  EXPECT_EQ(likely_cause(failure, {}), FailureCause::CLOSED);
}

}  // namespace
}  // namespace tests::client

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "client/ClientFixture.hpp"
#include "support/futures.hpp"

namespace tests::client {
namespace {

using nkr::can::Clock;
using namespace std::chrono_literals;
using Requests = std::vector<std::string>;

const std::string kRead = "40 41 60 00 00 00 00 00";
const std::string kReply = "4B 41 60 00 37 02 00 00";
const std::string kTimeOutAbort = "80 41 60 00 00 00 04 05";

class Sdo : public ClientTest {
 protected:
  nkr_error_t read() { return client.getValue(kNode, 0x60410010, value); }
  nkr_error_t read_other() {
    std::uint16_t other = 0;
    return client.getValue(kNode, 0x20000000, other);
  }
  void other_object_answers() { node.on("40 00 20 00 00 00 00 00", {"4B 00 20 00 01 00 00 00"}); }

  std::uint16_t value = 0;
};

TEST_F(Sdo, AnAbortIsReturnedAsItStandsAndLeavesTheValue) {
  value = 7;
  node.on(kRead, {"80 41 60 00 00 00 02 06"});
  EXPECT_EQ(read(), 0x06020000);
  EXPECT_EQ(value, 7);
  EXPECT_EQ(node.requests(), Requests{kRead}) << "an abort is not answered";
}

TEST_F(Sdo, AnAbortCodeOfTheDevicesOwnIsReturnedAsItStands) {
  node.on(kRead, {"80 41 60 00 EF BE AD DE"});
  EXPECT_EQ(static_cast<std::uint32_t>(read()), 0xDEADBEEF);
}

TEST_F(Sdo, AbortCodesThatWouldReadAsOurOwnResultsAreGeneralErrors) {
  for (const char* const code : {"00", "01", "04", "05", "06"}) {
    node.on(kRead, {"80 41 60 00 " + std::string(code) + " 00 00 00"});
    EXPECT_EQ(read(), 0x08000000) << code;
  }
  node.on(kRead, {"80 41 60 00 FF FF FF 04"});
  node.on(kRead, {"80 41 60 00 00 00 00 05"});
  read();
  EXPECT_EQ(read(), 0x08000000);
  EXPECT_EQ(read(), 0x05000000) << "the first abort code";
}

TEST_F(Sdo, AShortAbortIsAGeneralError) {
  node.on(kRead, {"80 41 60 00 00 00"});
  EXPECT_EQ(read(), 0x08000000);
}

TEST_F(Sdo, AnAbortOfADownloadIsReturned) {
  node.on("2B 41 60 00 01 00 00 00", {"80 41 60 00 02 00 01 06"});
  EXPECT_EQ(client.setValue(kNode, 0x60410010, std::uint16_t{1}), 0x06010002);
}

TEST_F(Sdo, AnAbortThatNamesNoObjectIsTaken) {
  node.on(kRead, {"80 00 00 00 01 00 04 05"});
  node.on("2B 41 60 00 01 00 00 00", {"80 00 00 00 22 00 00 08"});
  EXPECT_EQ(client.setValue(kNode, 0x60410010, std::uint16_t{1}), NKR_SDO_DEVICE_STATE);
  EXPECT_EQ(read(), NKR_SDO_UNKNOWN_COMMAND);
}

TEST_F(Sdo, AnAbortAfterTheTransferIsNotTakenForTheNextAnswer) {
  node.on(kRead, {kReply, "80 41 60 00 00 00 04 05"});
  node.on(kRead, {"4B 41 60 00 08 00 00 00"});
  EXPECT_EQ(read(), NKR_OK);
  EXPECT_EQ(read(), NKR_OK);
  EXPECT_EQ(value, 8);
}

TEST_F(Sdo, ALastSegmentMayBeEmpty) {
  node.on(kRead, {"41 41 60 00 07 00 00 00"});
  node.on("60 00 00 00 00 00 00 00", {"00 54 61 76 20 64 72 69"});
  node.on("70 00 00 00 00 00 00 00", {"1F 00 00 00 00 00 00 00"});
  std::string text;
  EXPECT_EQ(client.getValue(kNode, 0x60410000, text), NKR_OK);
  EXPECT_EQ(text, "Tav dri");
}

TEST_F(Sdo, ShortAnswersToADownloadAreUnderstood) {
  node.on("21 41 60 00 09 00 00 00", {"60 41 60 00"});
  node.on("00 54 61 76 20 64 72 69", {"20"});
  node.on("1B 76 65 00 00 00 00 00", {"30"});
  EXPECT_EQ(client.setValue(kNode, 0x60410000, std::string("Tav drive")), NKR_OK);
}

TEST_F(Sdo, RepliesAboutOtherObjectsAreDropped) {
  node.on(kRead, {"4B 42 60 00 11 11 00 00", "4B 41 61 00 22 22 00 00", "4B 41 60 01 33 33 00 00",
                  "80 41 60 01 00 00 02 06", kReply});
  EXPECT_EQ(read(), NKR_OK);
  EXPECT_EQ(value, 0x0237);
}

TEST_F(Sdo, RepliesTooShortToNameAnObjectAreDropped) {
  node.on(kRead, {"", "4B", "4B 41 60", kReply});
  EXPECT_EQ(read(), NKR_OK);
  EXPECT_EQ(value, 0x0237);
}

TEST_F(Sdo, ASegmentThatNobodyAskedForIsDropped) {
  node.on(kRead, {"01 41 60 00 99 99 00 00", "20 41 60 00 00 00 00 00", kReply});
  EXPECT_EQ(read(), NKR_OK);
  EXPECT_EQ(value, 0x0237);
}

TEST_F(Sdo, AReplyOfTheWrongKindIsAborted) {
  node.on(kRead, {"60 41 60 00 00 00 00 00"});
  EXPECT_EQ(read(), NKR_SDO_UNKNOWN_COMMAND);
  EXPECT_EQ(node.requests().back(), "80 41 60 00 01 00 04 05");
}

TEST_F(Sdo, ADoubledReplyIsNotTakenForTheNextOne) {
  node.on(kRead, {kReply, kReply});
  node.on(kRead, {"4B 41 60 00 08 00 00 00"});
  EXPECT_EQ(read(), NKR_OK);
  EXPECT_EQ(read(), NKR_OK);
  EXPECT_EQ(value, 8);
}

TEST_F(Sdo, AWrongToggleInAnUploadIsAborted) {
  node.on(kRead, {"41 41 60 00 09 00 00 00"});
  node.on("60 00 00 00 00 00 00 00", {"00 54 61 76 20 64 72 69"});
  node.on("70 00 00 00 00 00 00 00", {"0B 76 65 00 00 00 00 00"});
  std::string text = "before";
  EXPECT_EQ(client.getValue(kNode, 0x60410000, text), NKR_SDO_TOGGLE_BIT);
  EXPECT_EQ(text, "before");
  EXPECT_EQ(node.requests().back(), "80 41 60 00 00 00 03 05");
}

TEST_F(Sdo, AWrongToggleInADownloadIsAborted) {
  node.on("21 41 60 00 05 00 00 00", {"60 41 60 00 00 00 00 00"});
  node.on("05 41 42 43 44 45 00 00", {"30 00 00 00 00 00 00 00"});
  EXPECT_EQ(client.setValue(kNode, 0x60410000, std::string("ABCDE")), NKR_SDO_TOGGLE_BIT);
  EXPECT_EQ(node.requests().back(), "80 41 60 00 00 00 03 05");
}

TEST_F(Sdo, ASegmentedUploadMayStateNoSize) {
  node.on(kRead, {"40 41 60 00 00 00 00 00"});
  node.on("60 00 00 00 00 00 00 00", {"0B 76 65 00 00 00 00 00"});
  std::string text;
  EXPECT_EQ(client.getValue(kNode, 0x60410000, text), NKR_OK);
  EXPECT_EQ(text, "ve");
}

TEST_F(Sdo, ADoubledFirstReplyDoesNotDisturbTheSegments) {
  node.on(kRead, {"41 41 60 00 02 00 00 00", "41 41 60 00 02 00 00 00"});
  node.on("60 00 00 00 00 00 00 00", {"0B 76 65 00 00 00 00 00"});
  std::string text;
  EXPECT_EQ(client.getValue(kNode, 0x60410000, text), NKR_OK);
  EXPECT_EQ(text, "ve");
}

TEST_F(Sdo, AnAbortAmidSegmentsEndsTheTransfer) {
  node.on(kRead, {"41 41 60 00 09 00 00 00"});
  node.on("60 00 00 00 00 00 00 00", {"80 42 60 00 00 00 00 08", "80 41 60 00 24 00 00 08"});
  std::string text;
  EXPECT_EQ(client.getValue(kNode, 0x60410000, text), NKR_SDO_NO_DATA);
}

TEST_F(Sdo, AServerThatSendsEmptySegmentsForeverIsStopped) {
  node.on(kRead, {"41 41 60 00 09 00 00 00"});
  node.on("60 00 00 00 00 00 00 00", {"0E 00 00 00 00 00 00 00"});
  std::string text;
  EXPECT_EQ(client.getValue(kNode, 0x60410000, text), NKR_SDO_GENERAL);
  EXPECT_EQ(node.requests().back(), "80 41 60 00 00 00 00 08");
}

TEST_F(Sdo, AMissingReplyTimesOutAndIsAbortedOnTheBus) {
  const auto start = nkr::time::now();
  EXPECT_EQ(read(), NKR_SDO_TIMED_OUT);
  EXPECT_GE(nkr::time::now() - start, 60ms);
  EXPECT_EQ(node.requests(), (Requests{kRead, kTimeOutAbort}));
}

TEST_F(Sdo, ADownloadWithoutAnswerIsSentOnce) {
  EXPECT_EQ(client.setValue(kNode, 0x60410010, std::uint16_t{1}), NKR_SDO_TIMED_OUT);
  EXPECT_EQ(node.requests(), (Requests{"2B 41 60 00 01 00 00 00", kTimeOutAbort}));
}

TEST_F(Sdo, ALateReplyIsNotTakenForTheNextRequestsAnswer) {
  ASSERT_EQ(read(), NKR_SDO_TIMED_OUT);
  node.reply("4B 41 60 00 99 99 00 00");
  node.on(kRead, {kReply});
  EXPECT_EQ(read(), NKR_OK);
  EXPECT_EQ(value, 0x0237);
}

TEST_F(Sdo, AnObjectThatTimedOutIsAskedAgainOnlyAfterTheGraceTime) {
  ASSERT_EQ(read(), NKR_SDO_TIMED_OUT);
  node.on(kRead, {kReply});
  const auto start = nkr::time::now();
  EXPECT_EQ(read(), NKR_OK);
  EXPECT_GE(nkr::time::now() - start, 100ms) << "the grace time is 120 ms";
}

TEST_F(Sdo, AnObjectThatTimedOutIsAskedAgainAsSoonAsItsLateReplyCame) {
  nkr::canopen::ClientOptions options = short_times();
  options.late_reply_grace = 30s;
  nkr::canopen::Client patient(bus, options);
  ASSERT_EQ(patient.getValue(kNode, 0x60410010, value), NKR_SDO_TIMED_OUT);
  node.on(kRead, {kReply});
  Thread late([this] {
    nkr::time::sleep_for(50ms);
    node.reply("4B 41 60 00 99 99 00 00");
  });
  const auto start = nkr::time::now();
  EXPECT_EQ(patient.getValue(kNode, 0x60410010, value), NKR_OK);
  EXPECT_LT(nkr::time::now() - start, 20s);
  EXPECT_EQ(value, 0x0237);
  late.join();
}

TEST_F(Sdo, OtherObjectsAreNotHeldUpByALateReply) {
  nkr::canopen::ClientOptions options = short_times();
  options.late_reply_grace = 30s;
  nkr::canopen::Client patient(bus, options);
  ASSERT_EQ(patient.getValue(kNode, 0x60410010, value), NKR_SDO_TIMED_OUT);
  node.on("40 00 20 00 00 00 00 00", {"4B 41 60 00 99 99 00 00", "4B 00 20 00 01 00 00 00"});
  const auto start = nkr::time::now();
  EXPECT_EQ(patient.getValue(kNode, 0x20000000, value), NKR_OK);
  EXPECT_EQ(value, 1);
  node.on(kRead, {kReply});
  EXPECT_EQ(patient.getValue(kNode, 0x60410010, value), NKR_OK) << "its late reply came meanwhile";
  EXPECT_LT(nkr::time::now() - start, 20s);
}

TEST_F(Sdo, WhoWaitsForALateReplyHoldsUpNobodyElse) {
  nkr::canopen::ClientOptions options = short_times();
  options.late_reply_grace = 30s;
  nkr::canopen::Client patient(bus, options);
  ASSERT_EQ(patient.getValue(kNode, 0x60410010, value), NKR_SDO_TIMED_OUT);
  std::uint16_t held = 0;
  auto waiting = in_background([&] { return patient.getValue(kNode, 0x60410010, held); });
  nkr::time::sleep_for(50ms);  // it waits for the late answer now
  node.on("40 00 20 00 00 00 00 00", {"4B 00 20 00 01 00 00 00"});
  const auto start = nkr::time::now();
  for (int i = 0; i < 20; ++i) EXPECT_EQ(patient.getValue(kNode, 0x20000000, value), NKR_OK);
  EXPECT_LT(nkr::time::now() - start, 20s);
  EXPECT_EQ(waiting.wait_for(0ms), std::future_status::timeout);
  node.on(kRead, {kReply});
  node.reply("4B 41 60 00 99 99 00 00");
  ASSERT_EQ(waiting.wait_for(20s), std::future_status::ready);
  EXPECT_EQ(waiting.get(), NKR_OK);
  EXPECT_EQ(held, 0x0237);
}

TEST_F(Sdo, WhatWaitsForALateReplyIsSentInTheOrderInWhichItCame) {
  nkr::canopen::ClientOptions options = short_times();
  options.late_reply_grace = 30s;
  nkr::canopen::Client patient(bus, options);
  ASSERT_EQ(patient.setValue(kNode, 0x60410010, std::uint16_t{9}), NKR_SDO_TIMED_OUT);
  std::vector<Future<nkr_error_t>> waiting;
  for (std::uint16_t i = 1; i <= 3; ++i) {
    node.on("2B 41 60 00 0" + std::to_string(i) + " 00 00 00", {"60 41 60 00 00 00 00 00"});
    waiting.push_back(in_background([&patient, i] { return patient.setValue(kNode, 0x60410010, i); }));
    nkr::time::sleep_for(50ms);
  }
  node.reply("60 41 60 00 00 00 00 00");
  for (auto& result : waiting) EXPECT_EQ(result.get(), NKR_OK);
  const Requests sent = node.requests();
  ASSERT_EQ(sent.size(), 5U) << "one that timed out, its abort, and three";
  for (std::size_t i = 1; i <= 3; ++i) EXPECT_EQ(sent[i + 1][13], static_cast<char>('0' + i)) << sent[i + 1];
}

TEST_F(Sdo, ALateSegmentIsNotTakenForOneOfTheNextTransfer) {
  node.on(kRead, {"41 41 60 00 09 00 00 00"});
  std::string text;
  ASSERT_EQ(client.getValue(kNode, 0x60410000, text), NKR_SDO_TIMED_OUT);
  node.on("40 08 10 00 00 00 00 00", {"41 08 10 00 03 00 00 00"});
  node.on("60 00 00 00 00 00 00 00", {"09 54 61 76 00 00 00 00"});
  Thread late([this] {
    ASSERT_TRUE(node.wait_for_requests(4));
    node.reply("0B 58 59 00 00 00 00 00");  // "XY", of the first transfer
  });
  EXPECT_EQ(client.getValue(kNode, 0x10080000, text), NKR_OK);
  late.join();
  EXPECT_EQ(text, "Tav");
}

TEST_F(Sdo, DoubledSegmentsDoNotDisturbAnUpload) {
  const auto twice = [](const std::string& reply) { return std::vector<std::string>{reply, reply}; };
  node.on(kRead, twice("41 41 60 00 10 00 00 00"));
  node.on("60 00 00 00 00 00 00 00", twice("00 54 61 76 20 64 72 69"));
  node.on("60 00 00 00 00 00 00 00", twice("0B 74 77 00 00 00 00 00"));
  node.on("70 00 00 00 00 00 00 00", twice("10 76 65 2C 20 6E 6F 2E"));
  std::string text;
  EXPECT_EQ(client.getValue(kNode, 0x60410000, text), NKR_OK);
  EXPECT_EQ(text, "Tav drive, no.tw");
}

TEST_F(Sdo, DoubledAnswersDoNotDisturbADownload) {
  node.on("21 41 60 00 09 00 00 00", {"60 41 60 00 00 00 00 00", "60 41 60 00 00 00 00 00"});
  node.on("00 54 61 76 20 64 72 69", {"20 00 00 00 00 00 00 00", "20 00 00 00 00 00 00 00"});
  node.on("1B 76 65 00 00 00 00 00", {"30 00 00 00 00 00 00 00"});
  EXPECT_EQ(client.setValue(kNode, 0x60410000, std::string("Tav drive")), NKR_OK);
}

TEST_F(Sdo, AServerWhoseToggleStandsStillIsAborted) {
  node.on("21 41 60 00 09 00 00 00", {"60 41 60 00 00 00 00 00"});
  node.on("00 54 61 76 20 64 72 69", {"20 00 00 00 00 00 00 00"});
  node.on("1B 76 65 00 00 00 00 00", {"20 00 00 00 00 00 00 00"});
  EXPECT_EQ(client.setValue(kNode, 0x60410000, std::string("Tav drive")), NKR_SDO_TOGGLE_BIT);
  EXPECT_EQ(node.requests().back(), "80 41 60 00 00 00 03 05");
}

TEST_F(Sdo, AServersOwnTimeOutAbortOwesNoLateReply) {
  nkr::canopen::ClientOptions options = short_times();
  options.late_reply_grace = 30s;
  nkr::canopen::Client patient(bus, options);
  node.on(kRead, {"80 41 60 00 00 00 04 05"});
  node.on(kRead, {kReply});
  const auto start = nkr::time::now();
  EXPECT_EQ(patient.getValue(kNode, 0x60410010, value), NKR_SDO_TIMED_OUT);
  EXPECT_EQ(patient.getValue(kNode, 0x60410010, value), NKR_OK);
  EXPECT_LT(nkr::time::now() - start, 20s);
}

TEST_F(Sdo, ATimeOutAmidSegmentsIsAborted) {
  node.on(kRead, {"41 41 60 00 09 00 00 00"});
  std::string text;
  EXPECT_EQ(client.getValue(kNode, 0x60410000, text), NKR_SDO_TIMED_OUT);
  EXPECT_EQ(node.requests(), (Requests{kRead, "60 00 00 00 00 00 00 00", kTimeOutAbort}));
  other_object_answers();
  EXPECT_EQ(read_other(), NKR_OK);
}

TEST_F(Sdo, StrayFramesDoNotProlongTheWait) {
  std::atomic<bool> stop{false};
  Thread babbler([&] {
    while (!stop) {
      node.reply("4B 42 60 00 11 11 00 00");
      nkr::time::sleep_for(1ms);
    }
  });
  const auto start = nkr::time::now();
  EXPECT_EQ(read(), NKR_SDO_TIMED_OUT);
  EXPECT_LT(nkr::time::now() - start, 10s);
  stop = true;
  babbler.join();
}

TEST_F(Sdo, NodeIdsOutside1To127AreRefusedAndNothingIsSent) {
  nkr_error_t result = NKR_ERROR;
  const auto tap = bus->open({}, result);
  for (const std::uint8_t id : {std::uint8_t{0}, std::uint8_t{128}, std::uint8_t{255}}) {
    EXPECT_EQ(client.getValue(id, 0x60410010, value), NKR_CAN_INVALID_NODE);
    EXPECT_EQ(client.setValue(id, 0x60410010, value), NKR_CAN_INVALID_NODE);
    nkr::canopencore::NMTState state{};
    EXPECT_EQ(client.getNMTState(id, state), NKR_CAN_INVALID_NODE);
    EXPECT_EQ(client.setNMTState(id, nkr::canopencore::NMTCommand::START_REMOTE_NODE), NKR_CAN_INVALID_NODE);
    nkr::canopenservice::TavOut out{};
    EXPECT_EQ(client.sync({id, 0x60410010, 0x60640020, 0x606C0020, 0, false}, out), NKR_CAN_INVALID_NODE);
    std::vector<std::uint8_t> bytes;
    EXPECT_EQ(client.getBytes(id, 0x60410010, bytes), NKR_CAN_INVALID_NODE);
    EXPECT_EQ(client.setBytes(id, 0x60410010, bytes), NKR_CAN_INVALID_NODE);
  }
  nkr::can::Frame frame;
  EXPECT_EQ(tap->receive(frame, nkr::time::now()), NKR_CAN_TIMED_OUT) << nkr::can::to_string(frame);
}

TEST_F(Sdo, TheNodesTimeOutHoldsForItAlone) {
  EXPECT_EQ(client.setNodeTimeout(kNode, 30s), NKR_OK);
  EXPECT_EQ(client.setNodeTimeout(0, 30s), NKR_CAN_INVALID_NODE);
  const auto start = nkr::time::now();
  EXPECT_EQ(client.getValue(11, 0x60410010, value), NKR_SDO_TIMED_OUT);
  EXPECT_LT(nkr::time::now() - start, 20s);
  Thread slow([this] {
    ASSERT_TRUE(node.wait_for_requests(1));
    nkr::time::sleep_for(150ms);
    node.reply(kReply);
  });
  EXPECT_EQ(read(), NKR_OK);
  slow.join();
}

TEST_F(Sdo, TheObjectsTimeOutGoesBeforeTheNodes) {
  static_cast<void>(client.setNodeTimeout(kNode, 30s));
  client.setObjectTimeout({0x6041, 0}, 40ms);
  const auto start = nkr::time::now();
  EXPECT_EQ(read(), NKR_SDO_TIMED_OUT);
  EXPECT_LT(nkr::time::now() - start, 20s);
}

TEST_F(Sdo, AScopeHoldsForItsThreadAndGoesBeforeAll) {
  client.setObjectTimeout({0x6041, 0}, 30s);
  const auto start = nkr::time::now();
  {
    const nkr::canopen::SdoTimeoutScope outer(30s);
    const nkr::canopen::SdoTimeoutScope inner(30ms);
    EXPECT_EQ(read(), NKR_SDO_TIMED_OUT);
    EXPECT_EQ(nkr::canopen::SdoTimeoutScope::innermost(), &inner);
    Thread([] { EXPECT_EQ(nkr::canopen::SdoTimeoutScope::innermost(), nullptr); }).join();
  }
  EXPECT_LT(nkr::time::now() - start, 20s);
  EXPECT_EQ(nkr::canopen::SdoTimeoutScope::innermost(), nullptr);
}

TEST_F(Sdo, StoringParametersMayTakeSeconds) {
  Thread slow([this] {
    ASSERT_TRUE(node.wait_for_requests(1));
    nkr::time::sleep_for(200ms);
    node.reply("60 10 10 01 00 00 00 00");
  });
  EXPECT_EQ(client.setValue(kNode, 0x10100100, std::uint32_t{0x65766173}), NKR_OK);
  slow.join();
}

TEST_F(Sdo, WithoutABusEveryRequestSaysSo) {
  nkr::canopen::Client lonely(nullptr);
  EXPECT_FALSE(lonely.isInitialized());
  EXPECT_EQ(lonely.getValue(kNode, 0x60410010, value), NKR_CAN_NOT_CONNECTED);
  EXPECT_EQ(lonely.sendSync(), NKR_CAN_NOT_CONNECTED);
  lonely.close();
}

TEST_F(Sdo, WhatTheBusRefusesIsReturned) {
  bus->set_state(nkr::can::BusState::BUS_OFF);
  EXPECT_EQ(read(), NKR_CAN_BUS_OFF);
  bus->set_state(nkr::can::BusState::INTERFACE_GONE);
  EXPECT_EQ(read(), NKR_CAN_INTERFACE_GONE);
  bus->set_state(nkr::can::BusState::ERROR_ACTIVE);
  node.on(kRead, {kReply});
  EXPECT_EQ(read(), NKR_OK) << "the client goes on when the bus is back";
}

TEST_F(Sdo, ABusThatFailsDuringTheWaitEndsItAtOnce) {
  client.setTimeout(30s);
  Thread failure([this] {
    ASSERT_TRUE(node.wait_for_requests(1));
    bus->set_state(nkr::can::BusState::BUS_OFF);
  });
  const auto start = nkr::time::now();
  EXPECT_EQ(read(), NKR_CAN_BUS_OFF);
  EXPECT_LT(nkr::time::now() - start, 20s);
  failure.join();
}

}  // namespace
}  // namespace tests::client

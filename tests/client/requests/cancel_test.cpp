// Requests that the application ends.
#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "client/ClientFixture.hpp"
#include "support/futures.hpp"

namespace tests::client {
namespace {

using nkr::canopen::Client;
using namespace std::chrono_literals;

const std::string kRead = "40 41 60 00 00 00 00 00";
const std::string kAbort = "80 41 60 00 00 00 00 08";

class Cancel : public ClientTest {
 protected:
  Cancel() { client.setTimeout(60s); }
  Future<nkr_error_t> read(std::uint32_t address = 0x60410000) {
    return in_background([this, address] {
      std::string text;
      return client.getValue(kNode, address, text);
    });
  }
};

TEST_F(Cancel, ARunningReadEndsAndItsServerIsToldSo) {
  node.on(kRead, {"41 41 60 00 09 00 00 00"});
  auto reading = read();
  ASSERT_TRUE(node.wait_for_requests(2));  // amid its segments
  client.cancelRequests();
  EXPECT_EQ(reading.get(), NKR_CAN_CANCELLED);
  ASSERT_TRUE(node.wait_for_requests(3));
  EXPECT_EQ(node.requests().back(), kAbort);
}

TEST_F(Cancel, ThoseToOneNodeLeaveThoseToOthers) {
  ScriptedNode other(*bus, 11);
  auto reading = read();
  auto beside = in_background([this] {
    std::uint16_t value = 0;
    return client.getValue(11, 0x60410010, value);
  });
  ASSERT_TRUE(node.wait_for_requests(1));
  ASSERT_TRUE(other.wait_for_requests(1));
  client.cancelRequests(0);
  client.cancelRequests(kNode);
  EXPECT_EQ(reading.get(), NKR_CAN_CANCELLED);
  other.send(0x58B, "4B 41 60 00 01 00 00 00");
  EXPECT_EQ(beside.get(), NKR_OK);
}

TEST_F(Cancel, SoEndThoseThatWaitForTheirTurn) {
  auto first = read();
  ASSERT_TRUE(node.wait_for_requests(1));
  std::vector<Future<nkr_error_t>> waiting;
  for (int i = 0; i < 3; ++i) waiting.push_back(read(0x20000000));
  std::atomic<int> told{0};
  for (int i = 0; i < 3; ++i)
    ASSERT_EQ(client.readLater(kNode, {0x2001, 0},
                               [&](nkr_error_t result, const std::vector<std::uint8_t>&) {
                                 EXPECT_EQ(result, NKR_CAN_CANCELLED);
                                 ++told;
                               }),
              NKR_OK);
  nkr::time::sleep_for(50ms);  // they wait now
  client.cancelRequests();
  EXPECT_EQ(first.get(), NKR_CAN_CANCELLED);
  for (auto& one : waiting) EXPECT_EQ(one.get(), NKR_CAN_CANCELLED);
  while (told < 3) nkr::time::sleep_for(1ms);
  ASSERT_TRUE(node.wait_for_requests(2));
  EXPECT_EQ(node.requests(), (std::vector<std::string>{kRead, kAbort}));
}

TEST_F(Cancel, SoEndsOneThatWaitsForALateReply) {
  nkr::canopen::ClientOptions options = short_times();
  options.late_reply_grace = 60s;
  Client patient(bus, options);
  std::uint16_t value = 0;
  ASSERT_EQ(patient.getValue(kNode, 0x60410010, value), NKR_SDO_TIMED_OUT);
  auto waiting = in_background([&] {
    std::uint16_t other = 0;
    return patient.getValue(kNode, 0x60410010, other);
  });
  nkr::time::sleep_for(50ms);
  patient.cancelRequests();
  EXPECT_EQ(waiting.get(), NKR_CAN_CANCELLED);
}

TEST_F(Cancel, LaterRequestsAreMadeAsUsual) {
  auto reading = read();
  ASSERT_TRUE(node.wait_for_requests(1));
  client.cancelRequests();
  ASSERT_EQ(reading.get(), NKR_CAN_CANCELLED);
  node.on("40 00 20 00 00 00 00 00", {"4B 00 20 00 01 00 00 00"});
  std::uint16_t value = 0;
  EXPECT_EQ(client.getValue(kNode, 0x20000010, value), NKR_OK);
  EXPECT_EQ(value, 1);
}

TEST_F(Cancel, TheAnswerThatMayStillComeIsNotTakenForTheNext) {
  auto reading = read();
  ASSERT_TRUE(node.wait_for_requests(1));
  client.cancelRequests();
  ASSERT_EQ(reading.get(), NKR_CAN_CANCELLED);
  Thread late([this] {
    nkr::time::sleep_for(30ms);
    node.reply("4B 41 60 00 99 99 00 00");
  });
  node.on(kRead, {"4B 41 60 00 37 02 00 00"});
  std::uint16_t value = 0;
  EXPECT_EQ(client.getValue(kNode, 0x60410010, value), NKR_OK);
  EXPECT_EQ(value, 0x0237);
  late.join();
}

TEST_F(Cancel, WithNothingUnderWayNothingHappens) {
  client.cancelRequests();
  node.on(kRead, {"4B 41 60 00 37 02 00 00"});
  std::uint16_t value = 0;
  EXPECT_EQ(client.getValue(kNode, 0x60410010, value), NKR_OK);
  EXPECT_EQ(node.requests(), std::vector<std::string>{kRead});
  Client(nullptr).cancelRequests();
}

TEST_F(Cancel, TheRecordSaysThatItWasCancelled) {
  Promise<nkr::canopen::FailureCause> cause;
  Thread caller([&] {
    std::uint16_t value = 0;
    EXPECT_EQ(client.getValue(kNode, 0x60410010, value), NKR_CAN_CANCELLED);
    nkr::canopen::RequestFailure failure;
    EXPECT_EQ(client.getLastFailure(kNode, failure), NKR_OK);
    cause.set_value(failure.cause);
  });
  ASSERT_TRUE(node.wait_for_requests(1));
  client.cancelRequests();
  EXPECT_EQ(cause.get_future().get(), nkr::canopen::FailureCause::CANCELLED);
  caller.join();
}

TEST_F(Cancel, AClientThatIsClosedTellsTheServersThatAreAtWork) {
  auto reading = read();
  ASSERT_TRUE(node.wait_for_requests(1));
  client.close();
  EXPECT_EQ(reading.get(), NKR_CAN_CLOSED);
  ASSERT_TRUE(node.wait_for_requests(2));
  EXPECT_EQ(node.requests().back(), kAbort);
}

}  // namespace
}  // namespace tests::client

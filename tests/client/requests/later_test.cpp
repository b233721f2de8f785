// Requests that nobody waits for.
#include <atomic>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "client/ClientFixture.hpp"
#include "support/futures.hpp"

namespace tests::client {
namespace {

using nkr::can::Clock;
using nkr::can::Frame;
using namespace std::chrono_literals;
using Bytes = std::vector<std::uint8_t>;
using Requests = std::vector<std::string>;

constexpr nkr::canopencore::ObjectAddress kStatusWord{0x6041, 0, 16};
/** getBytes asks for a block; an ordinary answer is one to that, too. */
const std::string kRead = "A4 41 60 00 7F 3F 00 00";
const std::string kReply = "4B 41 60 00 37 02 00 00";

class Later : public ClientTest {
 protected:
  ~Later() override { client.close(); }

  struct Answer {
    nkr_error_t result;
    Bytes value;
  };
  using Answers = std::shared_ptr<Promise<Answer>>;

  Future<Answer> read(std::uint8_t id) {
    const Answers answer = std::make_shared<Promise<Answer>>();
    EXPECT_EQ(client.readLater(id, kStatusWord,
                               [answer](nkr_error_t result, Bytes value) {
                                 answer->set_value({result, std::move(value)});
                               }),
              NKR_OK);
    return answer->get_future();
  }
  static Answer of(Future<Answer>& future) {
    EXPECT_EQ(future.wait_for(20s), std::future_status::ready);
    return future.get();
  }
};

TEST_F(Later, AReadTellsTheBytes) {
  node.on(kRead, {kReply});
  auto answer = read(kNode);
  const Answer got = of(answer);
  EXPECT_EQ(got.result, NKR_OK);
  EXPECT_EQ(got.value, (Bytes{0x37, 0x02}));
}

TEST_F(Later, AWriteTellsItsResult) {
  node.on("2B 42 60 00 64 00 00 00", {"80 42 60 00 22 00 00 08"});
  Promise<nkr_error_t> told;
  ASSERT_EQ(
      client.writeLater(kNode, {0x6042, 0}, {0x64, 0}, [&](nkr_error_t result) { told.set_value(result); }),
      NKR_OK);
  auto result = told.get_future();
  ASSERT_EQ(result.wait_for(20s), std::future_status::ready);
  EXPECT_EQ(result.get(), NKR_SDO_DEVICE_STATE);
}

TEST_F(Later, ThoseToOneNodeAreMadeInOrder) {
  Requests wanted;
  std::atomic<int> told{0};
  for (int i = 1; i <= 9; ++i) {
    const auto byte = static_cast<std::uint8_t>(i);
    wanted.push_back("2F 42 60 00 0" + std::to_string(i) + " 00 00 00");
    node.on(wanted.back(), {"60 42 60 00 00 00 00 00"});
    ASSERT_EQ(client.writeLater(kNode, {0x6042, 0}, {byte}, [&](nkr_error_t) { ++told; }), NKR_OK);
  }
  while (told < 9) nkr::time::sleep_for(1ms);
  EXPECT_EQ(node.requests(), wanted);
}

TEST_F(Later, NodesThatAreSilentHoldUpNoOther) {
  client.setTimeout(30s);
  node.on(kRead, {kReply});
  std::vector<Future<Answer>> silent;
  for (std::uint8_t id = 20; id < 28; ++id) silent.push_back(read(id));
  auto answer = read(kNode);
  EXPECT_EQ(of(answer).result, NKR_OK);
  client.close();
  for (auto& one : silent) EXPECT_EQ(of(one).result, NKR_CAN_CLOSED);
}

TEST_F(Later, AllNodesOfABusAreAskedAtOnce) {
  nkr_error_t result = NKR_ERROR;
  const auto sender = bus->open({{0x7FF, 0x7FF}}, result);
  const auto all = bus->open_handler(
      {{0x600, 0x780}},
      [&](const Frame& request) {
        static_cast<void>(
            sender->send({request.id - 0x80, {0x4F, 0x41, 0x60, 0, static_cast<std::uint8_t>(request.id)}},
                         Clock::time_point::max()));
      },
      result);
  std::vector<Future<Answer>> answers;
  for (std::uint8_t id = 11; id <= 127; ++id) answers.push_back(read(id));
  for (std::size_t i = 0; i < answers.size(); ++i) {
    const Answer answer = of(answers[i]);
    EXPECT_EQ(answer.result, NKR_OK);
    EXPECT_EQ(answer.value, Bytes{static_cast<std::uint8_t>(0x600 + 11 + i)});
  }
}

TEST_F(Later, AHandlerMayCallTheClientAndAskForMore) {
  node.on(kRead, {kReply});
  node.on("40 41 60 00 00 00 00 00", {kReply});
  Promise<std::uint16_t> told;
  ASSERT_EQ(client.readLater(kNode, kStatusWord,
                             [&](nkr_error_t, const Bytes&) {
                               static_cast<void>(
                                   client.readLater(kNode, kStatusWord, [&](nkr_error_t, const Bytes&) {
                                     std::uint16_t value = 0;
                                     EXPECT_EQ(client.getValue(kNode, kStatusWord, value), NKR_OK);
                                     told.set_value(value);
                                   }));
                             }),
            NKR_OK);
  auto value = told.get_future();
  ASSERT_EQ(value.wait_for(20s), std::future_status::ready);
  EXPECT_EQ(value.get(), 0x0237);
}

TEST_F(Later, AHandlerMayCloseTheClient) {
  node.on(kRead, {kReply});
  Signal closed;
  ASSERT_EQ(client.readLater(kNode, kStatusWord,
                             [&](nkr_error_t, const Bytes&) {
                               client.close();
                               closed.set_value();
                             }),
            NKR_OK);
  EXPECT_EQ(closed.get_future().wait_for(20s), std::future_status::ready);
}

TEST_F(Later, ClosingAnswersAllThatIsQueuedOnce) {
  client.setTimeout(30s);
  std::atomic<int> told{0};
  for (int i = 0; i < 50; ++i) {
    ASSERT_EQ(client.readLater(kNode, kStatusWord,
                               [&](nkr_error_t result, const Bytes&) {
                                 EXPECT_EQ(result, NKR_CAN_CLOSED);
                                 ++told;
                               }),
              NKR_OK);
  }
  ASSERT_TRUE(node.wait_for_requests(1));
  client.close();
  EXPECT_EQ(told.load(), 50);
  EXPECT_EQ(client.readLater(kNode, kStatusWord, [](nkr_error_t, const Bytes&) {}), NKR_CAN_CLOSED);
}

TEST_F(Later, TheCallersTimeOutScopeHolds) {
  client.setTimeout(60s);
  const nkr::canopen::SdoTimeoutScope scope(30ms);
  auto answer = read(kNode);
  EXPECT_EQ(of(answer).result, NKR_SDO_TIMED_OUT);
}

TEST_F(Later, ArgumentsAreChecked) {
  const auto read = [](nkr_error_t, const Bytes&) {};
  const auto written = [](nkr_error_t) {};
  EXPECT_EQ(client.readLater(0, kStatusWord, read), NKR_CAN_INVALID_NODE);
  EXPECT_EQ(client.writeLater(128, kStatusWord, {1}, written), NKR_CAN_INVALID_NODE);
  nkr::canopen::Client lonely(nullptr);
  EXPECT_EQ(lonely.readLater(kNode, kStatusWord, read), NKR_CAN_NOT_CONNECTED);
}

TEST_F(Later, EmptyHandlersAreRefused) {
  using nkr::canopen::Client;
  EXPECT_EQ(client.readLater(kNode, kStatusWord, Client::ReadHandler()), NKR_ERROR);
  EXPECT_EQ(client.readLater(kNode, kStatusWord, Client::ReadReportHandler()), NKR_ERROR);
  EXPECT_EQ(client.writeLater(kNode, kStatusWord, {1}, Client::WriteHandler()), NKR_ERROR);
  EXPECT_EQ(client.writeLater(kNode, kStatusWord, {1}, Client::WriteReportHandler()), NKR_ERROR);
  EXPECT_EQ(node.requests(), Requests{});
}

TEST_F(Later, WhatAHandlerThrowsIsCountedAndEndsNothing) {
  node.on(kRead, {kReply});
  ASSERT_EQ(
      client.readLater(kNode, kStatusWord,
                       [](nkr_error_t, const Bytes&) { throw std::runtime_error("of the application"); }),
      NKR_OK);
  auto answer = read(kNode);
  EXPECT_EQ(of(answer).result, NKR_OK);
  EXPECT_EQ(client.getHandlerExceptions(), 1U);
}

TEST_F(Later, AHandlerCanGetWhatIsKnownOfAFailure) {
  node.on(kRead, {"80 41 60 00 00 00 02 06"});
  Promise<nkr::canopen::RequestFailure> told;
  ASSERT_EQ(client.readLater(kNode, kStatusWord,
                             [&](nkr_error_t, const Bytes&, const nkr::canopen::RequestFailure* failure) {
                               told.set_value(failure != nullptr ? *failure : nkr::canopen::RequestFailure());
                             }),
            NKR_OK);
  auto failure = told.get_future();
  ASSERT_EQ(failure.wait_for(20s), std::future_status::ready);
  EXPECT_EQ(failure.get().code, NKR_SDO_NO_OBJECT);
  node.on("2B 42 60 00 64 00 00 00", {"60 42 60 00 00 00 00 00"});
  Promise<bool> written;
  ASSERT_EQ(client.writeLater(kNode, {0x6042, 0}, {0x64, 0},
                              [&](nkr_error_t result, const nkr::canopen::RequestFailure* none) {
                                written.set_value(result == NKR_OK && none == nullptr);
                              }),
            NKR_OK);
  EXPECT_TRUE(written.get_future().get());
}

TEST_F(Later, NoMoreThan1024WaitForANodeThatIsSilent) {
  client.setTimeout(60s);
  nkr_error_t result = NKR_OK;
  int taken = 0;
  for (; result == NKR_OK && taken < 5000; ++taken)
    result = client.readLater(kNode, kStatusWord, [](nkr_error_t, const Bytes&) {});
  EXPECT_EQ(result, NKR_CAN_TX_OVERFLOW);
  EXPECT_EQ(taken - 1, 1024) << "the one under way included";
  EXPECT_EQ(client.readLater(11, kStatusWord, [](nkr_error_t, const Bytes&) {}), NKR_OK)
      << "another node's requests are not held up";
}

}  // namespace
}  // namespace tests::client

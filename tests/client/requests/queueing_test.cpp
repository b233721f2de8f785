#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "client/ClientFixture.hpp"
#include "support/futures.hpp"

namespace tests::client {
namespace {

using nkr::can::Clock;
using nkr::can::Frame;
using nkr::can::InProcessBus;
using nkr::canopen::Client;
using namespace std::chrono_literals;

class Threads : public ClientTest {};

TEST_F(Threads, RequestsToOneNodeAreMadeInTheOrderInWhichTheyCame) {
  client.setTimeout(30s);
  constexpr int kCallers = 4;
  std::vector<Thread> callers;
  for (int i = 0; i < kCallers; ++i) {
    callers.emplace_back([this, i] {
      std::uint8_t value = 0;
      const auto address = 0x20000000U + (static_cast<std::uint32_t>(i) << 8);
      EXPECT_EQ(client.getValue(kNode, address, value), NKR_OK);
    });
    ASSERT_TRUE(node.wait_for_requests(1));
    nkr::time::sleep_for(30ms);  // the next one shall come after this one waits
  }
  for (int i = 0; i < kCallers; ++i) {
    ASSERT_TRUE(node.wait_for_requests(static_cast<std::size_t>(i) + 1));
    const std::string object = "00 20 0" + std::to_string(i);
    EXPECT_EQ(node.requests().back(), "40 " + object + " 00 00 00 00");
    node.reply("4F " + object + " 01 00 00 00");
  }
  for (Thread& caller : callers) caller.join();
}

TEST_F(Threads, ATimeOutCoversTheWaitForOthers) {
  auto slow = in_background([this] {
    const nkr::canopen::SdoTimeoutScope patient(60s);
    std::uint16_t value = 0;
    return client.getValue(kNode, 0x20000000, value);
  });
  ASSERT_TRUE(node.wait_for_requests(1));
  std::uint16_t value = 0;
  const auto start = nkr::time::now();
  EXPECT_EQ(client.getValue(kNode, 0x60410010, value), NKR_SDO_TIMED_OUT);
  EXPECT_LT(nkr::time::now() - start, 20s);
  EXPECT_EQ(node.requests().size(), 1U) << "it was not sent";
  nkr::canopen::RequestFailure failure;
  ASSERT_EQ(client.getLastFailure(kNode, failure), NKR_OK);
  EXPECT_EQ(failure.cause, nkr::canopen::FailureCause::WAITED_FOR_OTHERS);
  EXPECT_GE(failure.elapsed, 60ms);
  node.reply("4B 00 20 00 01 00 00 00");
  EXPECT_EQ(slow.get(), NKR_OK);
}

TEST_F(Threads, WhoGoesAwayUnservedLeavesTheQueueInOrder) {
  client.setTimeout(60s);
  const auto read = [this](std::uint32_t object, std::chrono::milliseconds timeout) {
    return in_background([this, object, timeout] {
      const nkr::canopen::SdoTimeoutScope scope(timeout);
      std::uint8_t value = 0;
      return client.getValue(kNode, object << 8, value);
    });
  };
  for (int round = 0; round < 3; ++round) {
    auto first = read(0x200001, 60s);
    ASSERT_TRUE(node.wait_for_requests(2U * static_cast<unsigned>(round) + 1));
    auto impatient = read(0x200002, 30ms);
    nkr::time::sleep_for(10ms);
    auto last = read(0x200003, 60s);
    auto impatient_too = read(0x200004, 30ms);
    EXPECT_EQ(impatient.get(), NKR_SDO_TIMED_OUT);
    EXPECT_EQ(impatient_too.get(), NKR_SDO_TIMED_OUT);
    node.reply("4F 00 20 01 01 00 00 00");
    EXPECT_EQ(first.get(), NKR_OK);
    ASSERT_TRUE(node.wait_for_requests(2U * static_cast<unsigned>(round) + 2));
    node.reply("4F 00 20 03 01 00 00 00");
    EXPECT_EQ(last.get(), NKR_OK);
  }
}

TEST_F(Threads, WhenNoMoreLateAnswersCanBeRememberedTheNodeIsHeldUp) {
  nkr::canopen::ClientOptions options = short_times();
  options.sdo_timeout = 20ms;
  options.late_reply_grace = 60s;
  Client patient(bus, options);
  std::uint8_t value = 0;
  for (std::uint32_t object = 0; object < 16; ++object)
    ASSERT_EQ(patient.getValue(kNode, 0x20000000U | object << 8, value), NKR_SDO_TIMED_OUT);
  auto next = in_background([&] {
    std::uint8_t read = 0;
    return patient.getValue(kNode, 0x20001100, read);
  });
  nkr::time::sleep_for(100ms);
  EXPECT_EQ(node.requests().size(), 32U) << "16 requests and their aborts";
  patient.cancelRequests();
  EXPECT_EQ(next.get(), NKR_CAN_CANCELLED);
}

TEST_F(Threads, ANodeThatIsSilentDoesNotHoldUpOthers) {
  static_cast<void>(client.setNodeTimeout(11, 30s));
  node.on("40 41 60 00 00 00 00 00", {"4B 41 60 00 37 02 00 00"});
  auto silent = in_background([this] {
    std::uint16_t value = 0;
    return client.getValue(11, 0x60410010, value);
  });
  std::uint16_t value = 0;
  for (int i = 0; i < 50; ++i) EXPECT_EQ(client.getValue(kNode, 0x60410010, value), NKR_OK);
  EXPECT_EQ(silent.wait_for(0ms), std::future_status::timeout);
  client.close();
  EXPECT_EQ(silent.get(), NKR_CAN_CLOSED);
}

TEST_F(Threads, ClosingWakesEveryWaiter) {
  client.setTimeout(60s);
  std::vector<Future<nkr_error_t>> waiting;
  for (int i = 0; i < 4; ++i) {
    waiting.push_back(in_background([this] {
      std::uint16_t value = 0;
      return client.getValue(kNode, 0x60410010, value);
    }));
  }
  ASSERT_TRUE(node.wait_for_requests(1));
  client.close();
  for (auto& result : waiting) {
    ASSERT_EQ(result.wait_for(30s), std::future_status::ready);
    EXPECT_EQ(result.get(), NKR_CAN_CLOSED);
  }
  std::uint16_t value = 0;
  EXPECT_EQ(client.getValue(kNode, 0x60410010, value), NKR_CAN_CLOSED);
  EXPECT_EQ(client.sendSync(), NKR_CAN_CLOSED);
  EXPECT_FALSE(client.isInitialized());
}

TEST_F(Threads, ClosingWakesWhoWaitsForALateReply) {
  nkr::canopen::ClientOptions options = short_times();
  options.late_reply_grace = 60s;
  Client patient(bus, options);
  std::uint16_t value = 0;
  ASSERT_EQ(patient.getValue(kNode, 0x60410010, value), NKR_SDO_TIMED_OUT);
  auto waiting = in_background([&] {
    std::uint16_t other = 0;
    return patient.getValue(kNode, 0x60410010, other);
  });
  nkr::time::sleep_for(30ms);
  patient.close();
  EXPECT_EQ(waiting.get(), NKR_CAN_CLOSED);
}

TEST_F(Threads, ACallFromWithinARequestToTheSameNodeIsRefusedNotADeadlock) {
  nkr_error_t nested = NKR_OK;
  nkr_error_t result = NKR_ERROR;
  const auto observer = bus->open_handler(
      {{0x60A, 0x7FF}},
      [&](const Frame& frame) {
        std::uint16_t value = 0;
        if (frame.data[1] == 0x41) nested = client.getValue(kNode, 0x20000000, value);
      },
      result);
  node.on("40 41 60 00 00 00 00 00", {"4B 41 60 00 37 02 00 00"});
  std::uint16_t value = 0;
  EXPECT_EQ(client.getValue(kNode, 0x60410010, value), NKR_OK);
  EXPECT_EQ(nested, NKR_CAN_WOULD_DEADLOCK);
}

TEST_F(Threads, ACallFromWithinARequestToAnotherNodeIsServedWhenItNeedNotWait) {
  nkr_error_t nested = NKR_ERROR;
  nkr_error_t result = NKR_ERROR;
  tests::ScriptedNode other(*bus, 11);
  other.on("40 41 60 00 00 00 00 00", {"4B 41 60 00 37 02 00 00"});
  const auto observer = bus->open_handler(
      {{0x60A, 0x7FF}},
      [&](const Frame&) {
        std::uint16_t value = 0;
        nested = client.getValue(11, 0x60410010, value);
      },
      result);
  node.on("40 41 60 00 00 00 00 00", {"4B 41 60 00 37 02 00 00"});
  std::uint16_t value = 0;
  EXPECT_EQ(client.getValue(kNode, 0x60410010, value), NKR_OK);
  EXPECT_EQ(nested, NKR_OK);
}

/** Answers every expedited upload of its node with the object's address; leaves out every `silent`th. */
class EchoServer {
 public:
  EchoServer(InProcessBus& bus, std::uint8_t node, unsigned silent) : node_(node), silent_(silent) {
    nkr_error_t result = NKR_ERROR;
    port_ = bus.open_handler(
        {{0x600U + node, 0x7FF}}, [this](const Frame& frame) { answer(frame); }, result);
    sender_ = bus.open({{0x7FF, 0x7FF}}, result);
    ready_ = true;
  }

 private:
  void answer(const Frame& request) {
    if (!ready_ || request.data[0] != 0x40 || ++count_ % silent_ == 0) return;
    Frame reply = request;
    reply.id = 0x580U + node_;
    reply.data = {0x43,
                  request.data[1],
                  request.data[2],
                  request.data[3],
                  request.data[1],
                  request.data[2],
                  request.data[3],
                  node_};
    static_cast<void>(sender_->send(reply, Clock::time_point::max()));
  }

  const std::uint8_t node_;
  const unsigned silent_;
  std::atomic<bool> ready_{false};
  std::atomic<unsigned> count_{0};
  std::unique_ptr<nkr::can::Port> sender_;
  std::unique_ptr<nkr::can::Port> port_;
};

TEST(ManyThreads, GetTheAnswersToTheirOwnRequests) {
  auto bus = std::make_shared<InProcessBus>();
  constexpr std::uint8_t kNodes = 16;
  constexpr unsigned kThreads = 8;
  constexpr unsigned kReads = 60;
  std::vector<std::unique_ptr<EchoServer>> servers;
  for (std::uint8_t id = 1; id <= kNodes; ++id) servers.push_back(std::make_unique<EchoServer>(*bus, id, 97));
  nkr::canopen::ClientOptions options;
  options.sdo_timeout = 100ms;
  options.late_reply_grace = 20ms;
  Client client(bus, options);
  std::atomic<unsigned> answered{0};
  std::vector<Thread> threads;
  for (unsigned thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&, thread] {
      for (unsigned i = 0; i < kReads; ++i) {
        const auto id = static_cast<std::uint8_t>(1 + (thread + i) % kNodes);
        const std::uint32_t object = 0x200000U + (thread << 8) + i;
        std::uint32_t value = 0;
        const nkr_error_t result = client.getValue(id, object << 8, value);
        if (result == NKR_SDO_TIMED_OUT) continue;
        EXPECT_EQ(result, NKR_OK);
        const std::uint32_t expected =
            static_cast<std::uint32_t>(id) << 24 | (object & 0xFFU) << 16 | object >> 8;
        EXPECT_EQ(value, expected);
        ++answered;
      }
    });
  }
  for (Thread& thread : threads) thread.join();
  EXPECT_GT(answered.load(), kThreads * kReads / 2);
}

}  // namespace
}  // namespace tests::client

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <nkr/can/Bus.hpp>
#include <nkr/can/InProcessBus.hpp>
#include <stdexcept>
#include <thread>

#include "can/ports.hpp"

namespace nkr::can::test {
namespace {

using namespace std::chrono_literals;

std::unique_ptr<Port> open_handler(InProcessBus& bus, const std::vector<Filter>& filters,
                                   FrameHandler handler) {
  nkr_error_t result = NKR_ERROR;
  auto port = bus.open_handler(filters, std::move(handler), result);
  EXPECT_EQ(result, NKR_OK);
  return port;
}

std::vector<Frame> all_received(Port& port) {
  std::vector<Frame> frames;
  Frame frame;
  while (port.receive(frame, kNow) == NKR_OK) frames.push_back(frame);
  return frames;
}

TEST(InProcessBus, DeliversToEveryOtherPortInOrder) {
  InProcessBus bus;
  const auto sender = open_port(bus);
  const auto first = open_port(bus);
  const auto second = open_port(bus);
  const std::vector<Frame> sent{{0x601, {1}}, {0x602, {2, 3}}, {0x603, {}}};
  for (const Frame& frame : sent) EXPECT_EQ(sender->send(frame, kNow), NKR_OK);
  EXPECT_EQ(all_received(*first), sent);
  EXPECT_EQ(all_received(*second), sent);
  EXPECT_EQ(all_received(*sender), std::vector<Frame>{});
}

TEST(InProcessBus, FiltersLetPassWhatMatchesOneOfThem) {
  InProcessBus bus;
  const auto sender = open_port(bus);
  const auto filtered = open_port(bus, {{0x581, 0x7FF}, {0x700, 0x780}});
  Frame extended{0x581, {}};
  extended.extended = true;
  Frame error{0x701, {}};
  error.error = true;
  Frame remote{0x705, {}};
  remote.remote = true;
  for (const Frame& frame :
       {Frame{0x581, {1}}, Frame{0x582, {2}}, Frame{0x77F, {3}}, Frame{0x680, {4}}, extended, error, remote})
    EXPECT_EQ(sender->send(frame, kNow), NKR_OK);
  const std::vector<Frame> expected{{0x581, {1}}, {0x77F, {3}}, remote};
  EXPECT_EQ(all_received(*filtered), expected);
}

TEST(InProcessBus, PortWithoutFiltersHearsExtendedAndErrorFrames) {
  InProcessBus bus;
  const auto sender = open_port(bus);
  const auto listener = open_port(bus);
  Frame extended{0x12345678, {}};
  extended.extended = true;
  Frame error{0x40, {}};
  error.error = true;
  static_cast<void>(sender->send(extended, kNow));
  static_cast<void>(sender->send(error, kNow));
  EXPECT_EQ(all_received(*listener), (std::vector<Frame>{extended, error}));
}

TEST(InProcessBus, ReceiveTimesOutAtTheDeadline) {
  InProcessBus bus;
  const auto port = open_port(bus);
  Frame frame;
  const auto begin = Clock::now();
  EXPECT_EQ(port->receive(frame, begin + 50ms), NKR_CAN_TIMED_OUT);
  EXPECT_GE(Clock::now() - begin, 50ms);
  EXPECT_EQ(port->receive(frame, kNow), NKR_CAN_TIMED_OUT);
}

TEST(InProcessBus, AFrameWakesTheWaitingReceiver) {
  InProcessBus bus;
  const auto sender = open_port(bus);
  const auto receiver = open_port(bus);
  std::thread late([&] {
    std::this_thread::sleep_for(30ms);
    static_cast<void>(sender->send({0x123, {7}}, kNow));
  });
  Frame frame;
  EXPECT_EQ(receiver->receive(frame, kForever), NKR_OK);
  EXPECT_EQ(frame, (Frame{0x123, {7}}));
  late.join();
}

TEST(InProcessBus, CloseWakesEveryWaiterAndLaterCallsAnswerClosed) {
  InProcessBus bus;
  const auto port = open_port(bus);
  expect_close_wakes_every_receiver(*port);
}

TEST(InProcessBus, PortsKeepTheBusAlive) {
  auto bus = std::make_unique<InProcessBus>();
  const auto sender = open_port(*bus);
  const auto receiver = open_port(*bus);
  bus.reset();
  EXPECT_EQ(sender->send({0x1, {}}, kNow), NKR_OK);
  EXPECT_EQ(all_received(*receiver).size(), 1U);
}

TEST(InProcessBus, AFullPortDropsTheNewestAndCounts) {
  InProcessBus bus;
  const auto sender = open_port(bus);
  const auto slow = open_port(bus);
  constexpr std::uint32_t kKept = 16384;
  constexpr std::uint32_t kTooMany = 10;
  for (std::uint32_t i = 0; i < kKept + kTooMany; ++i)
    EXPECT_EQ(sender->send({i & 0x7FFU, {}}, kNow), NKR_OK);
  EXPECT_EQ(slow->status().dropped, kTooMany);
  const std::vector<Frame> kept = all_received(*slow);
  ASSERT_EQ(kept.size(), kKept);
  for (std::uint32_t i = 0; i < kKept; ++i) ASSERT_EQ(kept[i].id, i & 0x7FFU);
}

TEST(InProcessBusHandler, HasAnsweredWhenSendReturns) {
  InProcessBus bus;
  const auto client = open_port(bus, {{0x581}});
  std::unique_ptr<Port> server;
  server = open_handler(bus, {{0x601}}, [&](const Frame& request) {
    static_cast<void>(server->send({0x581, {request.data[0]}}, kNow));
  });
  EXPECT_EQ(client->send({0x601, {42}}, kNow), NKR_OK);
  Frame reply;
  EXPECT_EQ(client->receive(reply, kNow), NKR_OK);
  EXPECT_EQ(reply, (Frame{0x581, {42}}));
}

TEST(InProcessBusHandler, ThatThrowsDoesNotFailTheSender) {
  InProcessBus bus;
  const auto sender = open_port(bus);
  int calls = 0;
  const auto throwing = open_handler(bus, {}, [&](const Frame&) {
    ++calls;
    throw std::runtime_error("handler");
  });
  EXPECT_EQ(sender->send({1, {}}, kNow), NKR_OK);
  EXPECT_EQ(sender->send({2, {}}, kNow), NKR_OK);
  EXPECT_EQ(calls, 2);
}

TEST(InProcessBusHandler, MustNotBeEmpty) {
  InProcessBus bus;
  nkr_error_t result = NKR_OK;
  EXPECT_EQ(bus.open_handler({}, nullptr, result), nullptr);
  EXPECT_EQ(result, NKR_ERROR);
}

TEST(InProcessBusHandler, ListenersSeeTheRequestBeforeItsAnswer) {
  InProcessBus bus;
  std::unique_ptr<Port> server;
  server = open_handler(bus, {{0x601}}, [&](const Frame&) {
    static_cast<void>(server->send({0x581, {}}, kNow));
  });
  const auto listener = open_port(bus);
  const auto client = open_port(bus);
  static_cast<void>(client->send({0x601, {}}, kNow));
  EXPECT_EQ(all_received(*listener), (std::vector<Frame>{{0x601, {}}, {0x581, {}}}));
}

TEST(InProcessBusHandler, GetsWhatItsOwnSendBroughtBackAfterItReturned) {
  InProcessBus bus;
  std::vector<std::string> order;
  std::unique_ptr<Port> asking;
  std::unique_ptr<Port> answering;
  asking = open_handler(bus, {{0x1}, {0x3}}, [&](const Frame& frame) {
    order.push_back("begin " + std::to_string(frame.id));
    if (frame.id == 1) static_cast<void>(asking->send({0x2, {}}, kNow));
    order.push_back("end " + std::to_string(frame.id));
  });
  answering = open_handler(bus, {{0x2}}, [&](const Frame&) {
    static_cast<void>(answering->send({0x3, {}}, kNow));
  });
  const auto client = open_port(bus);
  static_cast<void>(client->send({0x1, {}}, kNow));
  EXPECT_EQ(order, (std::vector<std::string>{"begin 1", "end 1", "begin 3", "end 3"}));
}

TEST(InProcessBusHandler, MayCloseItsOwnPort) {
  InProcessBus bus;
  std::unique_ptr<Port> once;
  int calls = 0;
  once = open_handler(bus, {}, [&](const Frame&) {
    ++calls;
    once->close();
  });
  const auto sender = open_port(bus);
  static_cast<void>(sender->send({1, {}}, kNow));
  static_cast<void>(sender->send({2, {}}, kNow));
  EXPECT_EQ(calls, 1);
}

TEST(InProcessBusHandler, MayDestroyItsOwnPortAndTheSenders) {
  InProcessBus bus;
  std::unique_ptr<Port> once;
  std::unique_ptr<Port> sender = open_port(bus);
  int calls = 0;
  once = open_handler(bus, {}, [&](const Frame&) {
    ++calls;
    once.reset();
    sender.reset();
  });
  EXPECT_EQ(sender->send({1, {}}, kNow), NKR_OK);
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(sender, nullptr);
}

TEST(InProcessBusHandler, IsNotRunningAnyMoreWhenDestructionReturns) {
  InProcessBus bus;
  const auto sender = open_port(bus);
  std::atomic<bool> entered{false};
  std::atomic<bool> left{false};
  auto slow = open_handler(bus, {}, [&](const Frame&) {
    entered = true;
    std::this_thread::sleep_for(50ms);
    left = true;
  });
  std::thread sending([&] { static_cast<void>(sender->send({1, {}}, kNow)); });
  while (!entered) std::this_thread::yield();
  slow.reset();
  EXPECT_TRUE(left);
  sending.join();
}

TEST(InProcessBusHandler, RunsWithoutALockOfTheBus) {
  InProcessBus bus;
  const auto sender = open_port(bus);
  nkr_error_t sent = NKR_ERROR;
  const auto handler = open_handler(bus, {{0x1}}, [&](const Frame&) {
    std::thread other([&] { sent = open_port(bus)->send({0x2, {}}, kNow); });
    other.join();
  });
  static_cast<void>(sender->send({0x1, {}}, kNow));
  EXPECT_EQ(sent, NKR_OK);
}

TEST(InProcessBus, BusOffRefusesSendsAndIsToldOnce) {
  InProcessBus bus;
  const auto sender = open_port(bus);
  const auto receiver = open_port(bus);
  static_cast<void>(sender->send({0x1, {}}, kNow));
  bus.set_state(BusState::BUS_OFF);
  EXPECT_EQ(sender->send({0x2, {}}, kNow), NKR_CAN_BUS_OFF);
  Frame frame;
  EXPECT_EQ(receiver->receive(frame, kNow), NKR_OK);
  EXPECT_EQ(receiver->receive(frame, kNow), NKR_CAN_BUS_OFF);
  EXPECT_EQ(receiver->receive(frame, kNow), NKR_CAN_TIMED_OUT);
  EXPECT_EQ(receiver->status().state, BusState::BUS_OFF);
  bus.set_state(BusState::ERROR_ACTIVE);
  EXPECT_EQ(sender->send({0x3, {}}, kNow), NKR_OK);
  EXPECT_EQ(receiver->receive(frame, kNow), NKR_OK);
  EXPECT_EQ(frame.id, 0x3U);
}

TEST(InProcessBus, ALostInterfaceWakesTheWaitingReceiver) {
  InProcessBus bus;
  const auto port = open_port(bus);
  std::thread later([&] {
    std::this_thread::sleep_for(30ms);
    bus.set_state(BusState::INTERFACE_GONE);
  });
  Frame frame;
  EXPECT_EQ(port->receive(frame, kForever), NKR_CAN_INTERFACE_GONE);
  later.join();
}

TEST(InProcessBus, ManyThreadsSendWhilePortsComeAndGo) {
  InProcessBus bus;
  std::atomic<int> handled{0};
  std::unique_ptr<Port> server;
  std::atomic<Port*> answering{nullptr};
  server = open_handler(bus, {{0x600, 0x780}}, [&](const Frame& request) {
    ++handled;
    static_cast<void>(answering.load()->send({request.id - 0x80, {request.data[0], request.data[1]}}, kNow));
  });
  answering = server.get();
  constexpr int kRounds = 300;
  const auto talk = [&](std::uint32_t node) {
    const auto port = open_port(bus, {{0x580 + node}});
    for (int round = 0; round < kRounds; ++round) {
      const auto low = static_cast<std::uint8_t>(round & 0xFF);
      const auto high = static_cast<std::uint8_t>(round >> 8);
      ASSERT_EQ(port->send({0x600 + node, {low, high}}, kNow), NKR_OK);
      Frame reply;
      ASSERT_EQ(port->receive(reply, kNow), NKR_OK);
      ASSERT_EQ(reply, (Frame{0x580 + node, {low, high}}));
    }
  };
  std::atomic<bool> done{false};
  std::thread churn([&] {
    while (!done) {
      const auto queue = open_port(bus);
      const auto handler = open_handler(bus, {}, [](const Frame&) {});
    }
  });
  std::vector<std::thread> clients;
  for (std::uint32_t node = 1; node <= 4; ++node) clients.emplace_back(talk, node);
  for (std::thread& client : clients) client.join();
  done = true;
  churn.join();
  EXPECT_EQ(handled, 4 * kRounds);
}

TEST(InProcessBus, WhatIsThereAtOnceLeavesTheDeadlineOpen) {
  InProcessBus bus;
  const auto sender = open_port(bus);
  const auto receiver = open_port(bus);
  nkr::can::Deadline deadline(30ms);
  EXPECT_EQ(sender->send({0x123, {1}}, deadline), NKR_OK);
  nkr::can::Frame frame;
  std::chrono::system_clock::time_point when;
  EXPECT_EQ(receiver->receive(frame, deadline, &when), NKR_OK);
  EXPECT_EQ(to_string(frame), "123#01");
  EXPECT_NE(when, std::chrono::system_clock::time_point{});
  EXPECT_FALSE(deadline.is_fixed());
  const auto start = Clock::now();
  EXPECT_EQ(receiver->receive(frame, deadline), NKR_CAN_TIMED_OUT);
  EXPECT_GE(Clock::now() - start, 30ms);
  EXPECT_TRUE(deadline.is_fixed());
}

}  // namespace
}  // namespace nkr::can::test

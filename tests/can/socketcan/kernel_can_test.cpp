// On the kernel's own CAN stack: needs the interfaces vcan0 and vcan1, and skips without them.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <nkr/can/open_bus.hpp>
#include <thread>

#include "can/ports.hpp"
#include "can/socketcan/link.hpp"

namespace nkr::can::test {
namespace {

using namespace std::chrono_literals;

Clock::time_point soon() {
  return Clock::now() + 5s;
}

class KernelCan : public testing::Test {
 protected:
  void SetUp() override {
    nkr_error_t result = NKR_OK;
    std::string explanation;
    bus = nkr::can::open_bus("vcan0", result, explanation);
    if (bus == nullptr) GTEST_SKIP() << explanation;
  }

  std::shared_ptr<Bus> bus;
};

TEST_F(KernelCan, PassesEveryKindOfFrameInOrder) {
  const auto sender = open_port(*bus);
  const auto receiver = open_port(*bus);
  Frame extended{0x12345678, {1, 2, 3}};
  extended.extended = true;
  Frame remote{0x701, {}};
  remote.remote = true;
  const std::vector<Frame> sent{{0x60A, {0x40, 0x18, 0x10, 0x01, 0, 0, 0, 0}}, extended, remote, {0x080, {}}};
  for (const Frame& frame : sent) EXPECT_EQ(sender->send(frame, soon()), NKR_OK);
  for (const Frame& expected : sent) {
    Frame frame;
    ASSERT_EQ(receiver->receive(frame, soon()), NKR_OK);
    EXPECT_EQ(frame, expected);
  }
  Frame frame;
  EXPECT_EQ(sender->receive(frame, Clock::now() + 50ms), NKR_CAN_TIMED_OUT) << "own frames are not received";
}

TEST_F(KernelCan, FiltersInTheKernel) {
  const auto sender = open_port(*bus);
  const auto filtered = open_port(*bus, {{0x581}, {0x700, 0x780}});
  Frame extended{0x581, {}};
  extended.extended = true;
  for (const Frame& frame :
       {Frame{0x582, {}}, extended, Frame{0x680, {}}, Frame{0x581, {1}}, Frame{0x70A, {5}}})
    EXPECT_EQ(sender->send(frame, soon()), NKR_OK);
  Frame frame;
  ASSERT_EQ(filtered->receive(frame, soon()), NKR_OK);
  EXPECT_EQ(frame, (Frame{0x581, {1}}));
  ASSERT_EQ(filtered->receive(frame, soon()), NKR_OK);
  EXPECT_EQ(frame, (Frame{0x70A, {5}}));
}

TEST_F(KernelCan, StampsFramesWithTheTimeOfTheirReception) {
  const auto sender = open_port(*bus);
  const auto receiver = open_port(*bus);
  const auto before = std::chrono::system_clock::now();
  EXPECT_EQ(sender->send({0x1, {}}, soon()), NKR_OK);
  const auto after = std::chrono::system_clock::now();
  std::this_thread::sleep_for(100ms);
  Frame frame;
  std::chrono::system_clock::time_point when;
  ASSERT_EQ(receiver->receive(frame, soon(), &when), NKR_OK);
  EXPECT_GE(when, before - 20ms);
  EXPECT_LE(when, after + 20ms);
}

TEST_F(KernelCan, CloseWakesEveryWaiter) {
  const auto port = open_port(*bus, {{0x7FF}});
  expect_close_wakes_every_receiver(*port);
}

TEST_F(KernelCan, CountsWhatAPortLostWhileNobodyReceived) {
  const auto sender = open_port(*bus);
  const auto slow = open_port(*bus);
  constexpr std::uint32_t kFlood = 20000;
  for (std::uint32_t i = 0; i < kFlood; ++i) EXPECT_EQ(sender->send({i & 0x7FF, {}}, soon()), NKR_OK);
  Frame frame;
  std::uint32_t received = 0;
  while (slow->receive(frame, Clock::time_point{}) == NKR_OK) ++received;
  EXPECT_EQ(sender->send({0x7FF, {}}, soon()), NKR_OK);
  ASSERT_EQ(slow->receive(frame, soon()), NKR_OK) << "the count comes with the next frame";
  EXPECT_EQ(slow->status().dropped, kFlood - received);
}

TEST_F(KernelCan, SaysThatAnInterfaceIsDownAndHowToSetItUp) {
  if (!set_up("vcan1", false)) GTEST_SKIP() << "needs the right to set interfaces down";
  nkr_error_t result = NKR_OK;
  std::string explanation;
  EXPECT_EQ(nkr::can::open_bus("vcan1", result, explanation), nullptr);
  EXPECT_EQ(result, NKR_CAN_INTERFACE_GONE);
  EXPECT_NE(explanation.find("ip link set vcan1 up"), std::string::npos);
  set_up("vcan1", true);
}

TEST_F(KernelCan, WorksOnAfterTheInterfaceWasDown) {
  nkr_error_t result = NKR_OK;
  std::string explanation;
  const auto other = nkr::can::open_bus("vcan1", result, explanation);
  ASSERT_NE(other, nullptr) << explanation;
  const auto sender = open_port(*other);
  const auto receiver = open_port(*other, {{0x581}});
  if (!set_up("vcan1", false)) GTEST_SKIP() << "needs the right to set interfaces down";
  Frame frame;
  EXPECT_EQ(receiver->receive(frame, soon()), NKR_CAN_INTERFACE_GONE);
  EXPECT_EQ(receiver->status().state, BusState::INTERFACE_GONE);
  EXPECT_EQ(sender->send({0x581, {1}}, Clock::now() + 100ms), NKR_CAN_INTERFACE_GONE);
  EXPECT_EQ(receiver->receive(frame, Clock::now() + 100ms), NKR_CAN_TIMED_OUT) << "told once";
  set_up("vcan1", true);
  EXPECT_EQ(sender->send({0x581, {2}}, soon()), NKR_OK);
  ASSERT_EQ(receiver->receive(frame, soon()), NKR_OK);
  EXPECT_EQ(frame, (Frame{0x581, {2}}));
}

TEST_F(KernelCan, WorksOnAfterTheInterfaceWasRemovedAndCreatedAnew) {
  const std::string create = "ip link add dev vcan9 type vcan 2>/dev/null && ip link set vcan9 up";
  if (std::system(create.c_str()) != 0)
    GTEST_SKIP() << "needs the command ip and the right to create interfaces";
  nkr_error_t result = NKR_OK;
  std::string explanation;
  const auto plugged = nkr::can::open_bus("vcan9", result, explanation);
  ASSERT_NE(plugged, nullptr) << explanation;
  const auto sender = open_port(*plugged);
  const auto receiver = open_port(*plugged, {{0x581}});
  ASSERT_EQ(std::system("ip link del vcan9"), 0);
  Frame frame;
  EXPECT_EQ(receiver->receive(frame, soon()), NKR_CAN_INTERFACE_GONE);
  EXPECT_EQ(sender->send({0x581, {1}}, Clock::now() + 100ms), NKR_CAN_INTERFACE_GONE);
  std::thread later([&] {
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(std::system(create.c_str()), 0);
    while (receiver->status().state == BusState::INTERFACE_GONE) std::this_thread::sleep_for(1ms);
    EXPECT_EQ(sender->send({0x600, {2}}, soon()), NKR_OK);
    EXPECT_EQ(sender->send({0x581, {3}}, soon()), NKR_OK);
  });
  ASSERT_EQ(receiver->receive(frame, soon()), NKR_OK);
  EXPECT_EQ(frame, (Frame{0x581, {3}})) << "its filters are set anew";
  later.join();
  EXPECT_EQ(std::system("ip link del vcan9"), 0);
}

TEST_F(KernelCan, ManyRoundTripsBetweenThreads) {
  const auto server = open_port(*bus, {{0x601}});
  const auto client = open_port(*bus, {{0x581}});
  constexpr int kRounds = 500;
  std::thread serving([&] {
    Frame request;
    while (server->receive(request, kForever) == NKR_OK)
      static_cast<void>(server->send({0x581, {request.data[0]}}, soon()));
  });
  for (int round = 0; round < kRounds; ++round) {
    const auto value = static_cast<std::uint8_t>(round & 0xFF);
    ASSERT_EQ(client->send({0x601, {value}}, soon()), NKR_OK);
    Frame reply;
    ASSERT_EQ(client->receive(reply, soon()), NKR_OK);
    ASSERT_EQ(reply.data[0], value);
  }
  server->close();
  serving.join();
}

}  // namespace
}  // namespace nkr::can::test

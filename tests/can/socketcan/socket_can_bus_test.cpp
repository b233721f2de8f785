#include <gtest/gtest.h>

#include <atomic>
#include <socketcan/SocketCanBus.hpp>
#include <thread>

#include "can/ports.hpp"
#include "can/socketcan/fake_can_system.hpp"

namespace nkr::can::test {
namespace {

using namespace std::chrono_literals;

/** An error frame of the kernel: class bits as in linux/can/error.h, detail in data byte 1. */
Frame error_frame(std::uint32_t classes, std::uint8_t controller = 0, std::uint8_t tx = 0,
                  std::uint8_t rx = 0) {
  Frame frame{classes, {0, controller, 0, 0, 0, 0, tx, rx}};
  frame.error = true;
  return frame;
}

constexpr std::uint32_t kController = 0x004;
constexpr std::uint32_t kNoAcknowledge = 0x020;
constexpr std::uint32_t kBusOff = 0x040;
constexpr std::uint32_t kRestarted = 0x100;

class SocketCanBusTest : public testing::Test {
 protected:
  std::unique_ptr<Port> open(const std::vector<Filter>& filters = {{0x580, 0x780}}) {
    return open_port(bus, filters);
  }
  static nkr_error_t receive(Port& port, Frame& frame) { return port.receive(frame, kNow); }

  std::shared_ptr<FakeCanSystem> system = std::make_shared<FakeCanSystem>();
  SocketCanBus bus{"can0", system};
  Frame frame;
};

TEST_F(SocketCanBusTest, PassesFramesBothWays) {
  const auto port = open();
  const Frame request{0x601, {0x40, 0x18, 0x10, 0x01}};
  const Frame reply{0x581, {0x4F, 0x18, 0x10, 0x01}};
  EXPECT_EQ(port->send(request, kNow), NKR_OK);
  EXPECT_EQ(system->written(), std::vector<Frame>{request});
  system->arrive(reply);
  EXPECT_EQ(receive(*port, frame), NKR_OK);
  EXPECT_EQ(frame, reply);
  EXPECT_EQ(receive(*port, frame), NKR_CAN_TIMED_OUT);
}

TEST_F(SocketCanBusTest, GivesTheKernelsTimeOfReception) {
  const auto port = open();
  system->arrive({0x581, {}});
  std::chrono::system_clock::time_point when;
  EXPECT_EQ(port->receive(frame, kNow, &when), NKR_OK);
  EXPECT_EQ(when, FakeCanSystem::kArrival);
}

TEST_F(SocketCanBusTest, ErrorFramesBecomeStatesAndCounters) {
  const auto port = open();
  const auto state_after = [&](const Frame& error) {
    system->arrive(error);
    EXPECT_EQ(receive(*port, frame), NKR_CAN_TIMED_OUT);
    return port->status().state;
  };
  EXPECT_EQ(port->status().state, BusState::ERROR_ACTIVE);
  EXPECT_EQ(state_after(error_frame(kController, 0x08, 96, 3)), BusState::ERROR_WARNING);
  EXPECT_EQ(port->status().tx_errors, 96);
  EXPECT_EQ(port->status().rx_errors, 3);
  EXPECT_EQ(state_after(error_frame(kController, 0x20, 128, 3)), BusState::ERROR_PASSIVE);
  EXPECT_EQ(state_after(error_frame(kController, 0x40, 90, 0)), BusState::ERROR_ACTIVE);
  EXPECT_EQ(state_after(error_frame(kNoAcknowledge)), BusState::ERROR_ACTIVE);
  EXPECT_EQ(port->status().unacknowledged, 1U);
}

TEST_F(SocketCanBusTest, BusOffIsToldOnceAndRefusesSendsUntilTheRestart) {
  const auto port = open();
  system->arrive(error_frame(kBusOff));
  EXPECT_EQ(receive(*port, frame), NKR_CAN_BUS_OFF);
  EXPECT_EQ(receive(*port, frame), NKR_CAN_TIMED_OUT);
  EXPECT_EQ(port->status().state, BusState::BUS_OFF);
  EXPECT_EQ(port->send({0x601, {}}, Clock::now() + 10s), NKR_CAN_BUS_OFF);
  EXPECT_EQ(system->writes(), 0);
  system->arrive(error_frame(kRestarted));
  EXPECT_EQ(port->send({0x601, {}}, kNow), NKR_OK) << "nobody received meanwhile";
  EXPECT_EQ(port->status().state, BusState::ERROR_ACTIVE);
  EXPECT_EQ(port->status().restarts, 1U);
}

TEST_F(SocketCanBusTest, TrafficEndsBusOffToo) {
  const auto port = open();
  system->arrive(error_frame(kBusOff));
  EXPECT_EQ(receive(*port, frame), NKR_CAN_BUS_OFF);
  system->arrive({0x581, {1}});
  EXPECT_EQ(port->send({0x601, {}}, kNow), NKR_OK);
  EXPECT_EQ(receive(*port, frame), NKR_OK) << "what a sender read ahead is not lost";
  EXPECT_EQ(frame, (Frame{0x581, {1}}));
}

TEST_F(SocketCanBusTest, BusOffWakesTheWaitingReceiver) {
  const auto port = open();
  std::thread later([&] {
    std::this_thread::sleep_for(30ms);
    system->arrive(error_frame(kBusOff));
  });
  EXPECT_EQ(port->receive(frame, kForever), NKR_CAN_BUS_OFF);
  later.join();
}

TEST_F(SocketCanBusTest, PortsWithoutFiltersGetErrorFramesToo) {
  const auto port = open({});
  system->arrive(error_frame(kBusOff));
  EXPECT_EQ(receive(*port, frame), NKR_OK);
  EXPECT_EQ(frame, error_frame(kBusOff));
  EXPECT_EQ(receive(*port, frame), NKR_CAN_BUS_OFF);
}

TEST_F(SocketCanBusTest, AFullQueueIsWaitedOut) {
  const auto port = open();
  system->fail_writes({ENOBUFS, ENOBUFS, EINTR, EAGAIN, ENOBUFS});
  EXPECT_EQ(port->send({0x601, {1}}, Clock::now() + 10s), NKR_OK);
  EXPECT_EQ(system->written(), (std::vector<Frame>{{0x601, {1}}}));
}

TEST_F(SocketCanBusTest, AQueueThatStaysFullEndsAtTheDeadlineWithoutSpinning) {
  const auto port = open();
  system->fail_all_writes(ENOBUFS);
  const auto begin = Clock::now();
  EXPECT_EQ(port->send({0x601, {}}, begin + 200ms), NKR_CAN_TX_OVERFLOW);
  EXPECT_GE(Clock::now() - begin, 200ms);
  EXPECT_LE(system->writes(), 60) << "0.1 ms, doubled up to 5 ms: 6 attempts in 6 ms, then 200 a second";
}

TEST_F(SocketCanBusTest, ASenderInAFullQueueLearnsOfBusOff) {
  const auto port = open();
  system->fail_all_writes(ENOBUFS);
  system->arrive(error_frame(kBusOff));
  EXPECT_EQ(port->send({0x601, {}}, Clock::now() + 10s), NKR_CAN_BUS_OFF);
  EXPECT_EQ(receive(*port, frame), NKR_CAN_BUS_OFF);
}

TEST_F(SocketCanBusTest, CloseEndsAWaitInAFullQueue) {
  const auto port = open();
  system->fail_all_writes(ENOBUFS);
  std::thread later([&] {
    std::this_thread::sleep_for(30ms);
    port->close();
  });
  EXPECT_EQ(port->send({0x601, {}}, kForever), NKR_CAN_CLOSED);
  later.join();
}

TEST_F(SocketCanBusTest, CloseWakesEveryReceiver) {
  const auto port = open();
  expect_close_wakes_every_receiver(*port);
}

TEST_F(SocketCanBusTest, ALostInterfaceIsToldOnceAndWaitedForWithoutSpinning) {
  const auto port = open();
  system->set_link(LinkState::ABSENT);
  system->fail_read(ENODEV);
  EXPECT_EQ(receive(*port, frame), NKR_CAN_INTERFACE_GONE);
  const int reads = system->reads();
  EXPECT_EQ(port->receive(frame, Clock::now() + 100ms), NKR_CAN_TIMED_OUT);
  EXPECT_LE(system->reads(), reads + 5);
  EXPECT_EQ(port->status().state, BusState::INTERFACE_GONE);
  EXPECT_EQ(port->send({0x601, {}}, Clock::now() + 10s), NKR_CAN_INTERFACE_GONE);
}

TEST_F(SocketCanBusTest, AReceiverWorksOnWhenTheInterfaceIsBack) {
  const auto port = open();
  system->set_link(LinkState::ABSENT);
  system->fail_read(ENETDOWN);
  EXPECT_EQ(receive(*port, frame), NKR_CAN_INTERFACE_GONE);
  std::thread later([&] {
    std::this_thread::sleep_for(30ms);
    system->set_link(LinkState::DOWN);
    system->set_link(LinkState::UP);
    while (port->status().state == BusState::INTERFACE_GONE) std::this_thread::sleep_for(1ms);
    system->arrive({0x581, {5}});
  });
  EXPECT_EQ(port->receive(frame, kForever), NKR_OK);
  EXPECT_EQ(frame, (Frame{0x581, {5}}));
  EXPECT_EQ(system->binds(), 2) << "a socket whose interface was removed is bound anew";
  later.join();
}

TEST_F(SocketCanBusTest, ASenderFindsTheInterfaceGoneAndBack) {
  const auto port = open();
  system->set_link(LinkState::DOWN);
  system->fail_writes({ENETDOWN});
  EXPECT_EQ(port->send({0x601, {1}}, kNow), NKR_CAN_INTERFACE_GONE);
  EXPECT_EQ(port->send({0x601, {2}}, kNow), NKR_CAN_INTERFACE_GONE);
  system->set_link(LinkState::UP);
  EXPECT_EQ(port->send({0x601, {3}}, kNow), NKR_OK);
  EXPECT_EQ(system->written(), (std::vector<Frame>{{0x601, {3}}}));
  EXPECT_EQ(receive(*port, frame), NKR_CAN_INTERFACE_GONE) << "the receiver is told as well";
  EXPECT_EQ(receive(*port, frame), NKR_CAN_TIMED_OUT);
}

TEST_F(SocketCanBusTest, AnInterfaceThatIsBackBeforeItsLossWasReadWorksOn) {
  const auto port = open();
  system->set_link(LinkState::UP);
  system->fail_read(ENETDOWN);
  EXPECT_EQ(receive(*port, frame), NKR_CAN_INTERFACE_GONE);
  EXPECT_EQ(port->status().state, BusState::ERROR_ACTIVE);
  EXPECT_EQ(port->send({0x601, {}}, kNow), NKR_OK);
}

TEST_F(SocketCanBusTest, CountsWhatTheSocketLost) {
  const auto port = open();
  system->arrive({0x581, {}}, 12);
  EXPECT_EQ(receive(*port, frame), NKR_OK);
  EXPECT_EQ(port->status().dropped, 12U);
}

TEST_F(SocketCanBusTest, NamesTheCommandThatHelps) {
  const auto explained = [&](LinkState link, nkr_error_t expected) {
    system->set_link(link);
    std::string explanation;
    EXPECT_EQ(bus.check(explanation), expected);
    nkr_error_t result = NKR_OK;
    EXPECT_EQ(bus.open({}, result), nullptr);
    EXPECT_EQ(result, expected);
    return explanation;
  };
  EXPECT_NE(explained(LinkState::ABSENT, NKR_CAN_NO_INTERFACE).find("ip -brief link show type can"),
            std::string::npos);
  EXPECT_NE(explained(LinkState::NOT_CAN, NKR_CAN_NO_INTERFACE).find("no CAN interface"), std::string::npos);
  EXPECT_NE(explained(LinkState::DOWN, NKR_CAN_INTERFACE_GONE).find("ip link set can0 up type can bitrate"),
            std::string::npos);
}

TEST_F(SocketCanBusTest, SaysWhenTheKernelHasNoCanOrTheUserNoRight) {
  std::string explanation;
  system->fail_open(EAFNOSUPPORT);
  EXPECT_EQ(bus.check(explanation), NKR_CAN_NO_INTERFACE);
  EXPECT_NE(explanation.find("modprobe can_raw"), std::string::npos);
  system->fail_open(EPERM);
  EXPECT_EQ(bus.check(explanation), NKR_CAN_PERMISSION);
  EXPECT_NE(explanation.find("can0"), std::string::npos);
}

}  // namespace
}  // namespace nkr::can::test

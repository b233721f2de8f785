// A client on the kernel's own CAN stack, whose interface goes and comes: needs vcan1, and skips without it.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <memory>
#include <nkr/can/open_bus.hpp>
#include <nkr/canopen/Client.hpp>
#include <string>
#include <thread>

#include "can/socketcan/link.hpp"
#include "client/EventLog.hpp"

namespace tests::client {
namespace {

using nkr::can::Clock;
using nkr::can::Frame;
using nkr::can::test::set_up;
using nkr::canopen::Client;
using nkr::canopen::Event;
using nkr::canopen::object_value;
using namespace std::chrono_literals;

constexpr char kInterface[] = "vcan1";
constexpr std::uint8_t kNode = 10;
constexpr nkr::canopencore::ObjectAddress kPeriod{0x1006, 0, 32};

/** A node whose every object is the same number. */
class Device {
 public:
  explicit Device(nkr::can::Bus& bus) {
    nkr_error_t result = NKR_ERROR;
    port_ = bus.open({{0x600U + kNode, 0x7FF}}, result);
    EXPECT_EQ(result, NKR_OK);
    thread_ = std::thread([this] { run(); });
  }
  ~Device() {
    port_->close();
    thread_.join();
  }
  Device(const Device&) = delete;
  Device& operator=(const Device&) = delete;
  [[nodiscard]] int writes() const { return writes_; }

 private:
  void run() {
    Frame request;
    nkr_error_t result = NKR_OK;
    while (result != NKR_CAN_CLOSED) {
      result = port_->receive(request, Clock::time_point::max());
      if (result == NKR_OK) answer(request);
    }
  }
  void answer(const Frame& request) {
    Frame reply{0x580U + kNode, {0x43, request.data[1], request.data[2], request.data[3], 0, 0, 0, 0}};
    if (request.data[0] == 0x23) {
      ++writes_;
      reply.data[0] = 0x60;
      number_ = {request.data[4], request.data[5], request.data[6], request.data[7]};
    } else if (request.data[0] == 0x40) {
      std::copy(number_.begin(), number_.end(), reply.data.begin() + 4);
    } else {
      return;
    }
    static_cast<void>(port_->send(reply, Clock::now() + 1s));
  }

  std::array<std::uint8_t, 4> number_{};
  std::atomic<int> writes_{0};
  std::unique_ptr<nkr::can::Port> port_;
  std::thread thread_;
};

class KernelClient : public testing::Test {
 protected:
  void SetUp() override {
    nkr_error_t result = NKR_OK;
    std::string explanation;
    bus = nkr::can::open_bus(kInterface, result, explanation);
    if (!bus) GTEST_SKIP() << explanation;
    if (!set_up(kInterface, true)) GTEST_SKIP() << "no right to set the interface up and down";
  }
  void TearDown() override {
    if (bus) set_up(kInterface, true);
  }
  static nkr_error_t read_within(Client& client, std::uint32_t& value, std::chrono::seconds time) {
    const auto deadline = Clock::now() + time;
    nkr_error_t result = client.getValue(kNode, kPeriod, value);
    while (result != NKR_OK && Clock::now() < deadline) {
      std::this_thread::sleep_for(20ms);
      result = client.getValue(kNode, kPeriod, value);
    }
    return result;
  }

  std::shared_ptr<nkr::can::Bus> bus;
};

TEST_F(KernelClient, BuiltWhileItsInterfaceIsDownItWorksOnceThatIsUp) {
  const Device device(*bus);
  ASSERT_TRUE(set_up(kInterface, false));
  Client client(nkr::can::make_bus(kInterface));
  EXPECT_FALSE(client.isInitialized());
  std::uint32_t value = 0;
  EXPECT_EQ(client.getValue(kNode, kPeriod, value), NKR_CAN_INTERFACE_GONE);
  ASSERT_TRUE(set_up(kInterface, true));
  EXPECT_EQ(read_within(client, value, 20s), NKR_OK);
  EXPECT_TRUE(client.isInitialized());
}

TEST_F(KernelClient, AfterTheInterfaceWasDownTheConfigurationIsReadBackAndTheClientGoesOn) {
  const Device device(*bus);
  Client client(bus);
  EventLog log(client);
  ASSERT_EQ(client.setNodeConfiguration(kNode, {object_value(kPeriod, 10000U)}), NKR_OK);
  log.wait_for(Event::Kind::CONFIGURED);
  const int writes = device.writes();
  ASSERT_TRUE(set_up(kInterface, false));
  log.wait_for(Event::Kind::INTERFACE_GONE);
  std::uint32_t value = 0;
  EXPECT_EQ(client.getValue(kNode, kPeriod, value), NKR_CAN_INTERFACE_GONE);
  EXPECT_EQ(log.count(Event::Kind::RECOVERED), 0U);
  ASSERT_TRUE(set_up(kInterface, true));
  log.wait_for(Event::Kind::RECOVERED);
  EXPECT_EQ(device.writes(), writes) << "the node has it still";
  EXPECT_EQ(client.getValue(kNode, kPeriod, value), NKR_OK);
  EXPECT_EQ(value, 10000U);
}

}  // namespace
}  // namespace tests::client

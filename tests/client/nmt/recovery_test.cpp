// What becomes of a node's configuration when the node or the bus goes and comes back.
#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "client/ClientFixture.hpp"
#include "client/EventLog.hpp"

namespace tests::client {
namespace {

using nkr::can::BusState;
using nkr::can::Clock;
using nkr::can::Frame;
using nkr::canopen::Client;
using nkr::canopen::Event;
using nkr::canopen::NodeConfiguration;
using nkr::canopen::object_value;
using namespace std::chrono_literals;
using Kind = Event::Kind;

/** A node with some objects of 4 bytes, which a restart empties: every object exists and is 0 at first. */
class Device {
 public:
  Device(nkr::can::InProcessBus& bus, std::uint8_t id) : id_(id) {
    nkr_error_t result = NKR_ERROR;
    sender_ = bus.open({{0x7FF, 0x7FF}}, result);
    port_ = bus.open_handler(
        {{0x600U + id, 0x7FF}}, [this](const Frame& frame) { received(frame); }, result);
  }

  void heartbeat(std::uint8_t state = 0x7F) { send(0x700U + id_, {state}); }
  void lose_power() {
    const std::lock_guard<std::mutex> lock(mutex_);
    objects_.clear();
  }
  void restart() {
    lose_power();
    send(0x700U + id_, {0});
  }
  void switch_off() { on_ = false; }
  void switch_on() { on_ = true; }
  /** From now on the object takes nothing, or something else. */
  void refuse(std::uint32_t object) {
    const std::lock_guard<std::mutex> lock(mutex_);
    refused_ = object;
  }
  void falsify(std::uint32_t object) {
    const std::lock_guard<std::mutex> lock(mutex_);
    falsified_ = object;
  }
  std::uint32_t at(std::uint32_t object) {
    const std::lock_guard<std::mutex> lock(mutex_);
    return objects_[object];
  }
  /** The objects written so far, in order. */
  std::vector<std::uint32_t> writes() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return writes_;
  }
  void forget_writes() {
    const std::lock_guard<std::mutex> lock(mutex_);
    writes_.clear();
  }

 private:
  void send(std::uint32_t id, std::initializer_list<std::uint8_t> bytes) {
    static_cast<void>(sender_->send({id, bytes}, Clock::time_point::max()));
  }
  void received(const Frame& request) {
    if (!on_) return;
    const auto& data = request.data;
    const std::uint32_t object = data[2] * 0x10000U + data[1] * 0x100U + data[3];
    std::unique_lock<std::mutex> lock(mutex_);
    if (data[0] == 0x40) {
      const std::uint32_t value = objects_[object];
      lock.unlock();
      return send(0x580U + id_, {0x43, data[1], data[2], data[3], byte(value, 0), byte(value, 1),
                                 byte(value, 2), byte(value, 3)});
    }
    if (data[0] != 0x23) return;
    writes_.push_back(object);
    const bool refused = object == refused_;
    if (!refused) objects_[object] = data[4] + data[5] * 0x100U + data[6] * 0x10000U + data[7] * 0x1000000U;
    if (object == falsified_) ++objects_[object];
    lock.unlock();
    if (refused) return send(0x580U + id_, {0x80, data[1], data[2], data[3], 0x22, 0, 0, 0x08});
    send(0x580U + id_, {0x60, data[1], data[2], data[3], 0, 0, 0, 0});
  }
  static std::uint8_t byte(std::uint32_t value, unsigned index) {
    return static_cast<std::uint8_t>(value >> (8 * index));
  }

  const std::uint8_t id_;
  std::atomic<bool> on_{true};
  std::mutex mutex_;
  std::map<std::uint32_t, std::uint32_t> objects_;
  std::vector<std::uint32_t> writes_;
  std::uint32_t refused_ = 0;
  std::uint32_t falsified_ = 0;
  std::unique_ptr<nkr::can::Port> sender_;
  std::unique_ptr<nkr::can::Port> port_;
};

constexpr std::uint32_t kPdoId = 0x140001;
constexpr std::uint32_t kPeriod = 0x100600;

class Recovery : public testing::Test {
 protected:
  static constexpr std::uint8_t kNode = 10;
  static nkr::canopen::ClientOptions options() {
    nkr::canopen::ClientOptions options;
    options.sdo_timeout = 60ms;
    options.late_reply_grace = 20ms;
    options.heartbeat_timeout = 0ms;
    return options;
  }
  /** A PDO switched off and on again, and a period. */
  static NodeConfiguration configuration() {
    return {object_value({0x1400, 1}, 0x8000020AU), object_value({0x1006, 0}, 10000U),
            object_value({0x1400, 1}, 0x0000020AU)};
  }
  void configure() {
    ASSERT_EQ(client.setNodeConfiguration(kNode, configuration()), NKR_OK);
    log.wait_for(Kind::CONFIGURED);
    device.heartbeat(5);
    log.wait_for(Kind::STATE_CHANGED);
    log.forget();
    device.forget_writes();
  }
  void lose_heartbeat() {
    static_cast<void>(client.setHeartbeatTimeout(kNode, 40ms));
    log.wait_for(Kind::HEARTBEAT_LOST);
    static_cast<void>(client.setHeartbeatTimeout(kNode, 0ms));
  }

  std::shared_ptr<nkr::can::InProcessBus> bus = std::make_shared<nkr::can::InProcessBus>();
  Device device{*bus, kNode};
  Client client{bus, options()};
  EventLog log{client};
};

TEST_F(Recovery, AConfigurationIsWrittenInOrderAndReadBackBeforeItIsTold) {
  ASSERT_EQ(client.setNodeConfiguration(kNode, configuration()), NKR_OK);
  EXPECT_EQ(log.wait_for(Kind::CONFIGURED).node, kNode);
  EXPECT_EQ(device.writes(), (std::vector<std::uint32_t>{kPdoId, kPeriod, kPdoId}));
  EXPECT_EQ(device.at(kPdoId), 0x20AU);
  EXPECT_EQ(device.at(kPeriod), 10000U);
  EXPECT_EQ(log.count(Kind::RECOVERED), 0U);
}

TEST_F(Recovery, AnUnexpectedRestartBringsTheConfigurationBack) {
  configure();
  device.restart();
  log.wait_for(Kind::RECOVERED);
  EXPECT_EQ(log.kinds().front(), Kind::UNEXPECTED_BOOT_UP) << "and recovered comes behind it";
  EXPECT_EQ(device.at(kPdoId), 0x20AU);
  EXPECT_EQ(device.at(kPeriod), 10000U);
}

TEST_F(Recovery, AResetByTheApplicationBringsTheConfigurationBack) {
  configure();
  ASSERT_EQ(client.setNMTState(kNode, nkr::canopencore::NMTCommand::RESET_NODE), NKR_OK);
  device.restart();
  log.wait_for(Kind::BOOT_UP);
  log.wait_for(Kind::RECOVERED);
  EXPECT_EQ(device.at(kPeriod), 10000U);
}

TEST_F(Recovery, ANodeThatReturnsWithoutItsConfigurationGetsIt) {
  configure();
  device.switch_off();
  lose_heartbeat();
  EXPECT_EQ(log.count(Kind::RECOVERED), 0U);
  device.lose_power();  // and nobody hears its boot-up
  device.switch_on();
  device.heartbeat();
  log.wait_for(Kind::HEARTBEAT_RETURNED);
  log.wait_for(Kind::RECOVERED);
  EXPECT_EQ(device.at(kPdoId), 0x20AU);
}

TEST_F(Recovery, ANodeThatReturnsWithItsConfigurationIsReadAndNotWritten) {
  configure();
  lose_heartbeat();
  device.heartbeat();
  log.wait_for(Kind::RECOVERED);
  EXPECT_EQ(device.writes().size(), 0U) << "it may be operational, and refuse";
}

TEST_F(Recovery, AfterTheLossOfTheInterfaceTheConfigurationIsReadBackFirst) {
  configure();
  bus->set_state(BusState::INTERFACE_GONE);
  log.wait_for(Kind::INTERFACE_GONE);
  EXPECT_EQ(log.count(Kind::RECOVERED), 0U);
  std::this_thread::sleep_for(150ms);
  EXPECT_EQ(log.count(Kind::RECOVERED), 0U) << "nobody can know yet";
  bus->set_state(BusState::ERROR_ACTIVE);
  log.wait_for(Kind::RECOVERED);  // also of a node without heartbeat
  std::uint32_t period = 0;
  EXPECT_EQ(client.getValue(kNode, 0x10060020, period), NKR_OK) << "the same client goes on";
  EXPECT_EQ(period, 10000U);
}

TEST_F(Recovery, RecoveredIsNotSaidOfANodeThatReadsBackAnotherValue) {
  configure();
  device.falsify(kPeriod);
  device.restart();
  const Event event = log.wait_for(Kind::CONFIGURATION_FAILED);
  EXPECT_EQ(event.node, kNode);
  EXPECT_EQ(event.result, NKR_ERROR);
  EXPECT_EQ(event.address, 0x10060000U);
  EXPECT_EQ(log.count(Kind::RECOVERED), 0U);
}

TEST_F(Recovery, WhatTheNodeRefusesIsNamed) {
  device.refuse(kPeriod);
  ASSERT_EQ(client.setNodeConfiguration(kNode, configuration()), NKR_OK);
  const Event event = log.wait_for(Kind::CONFIGURATION_FAILED);
  EXPECT_EQ(event.result, NKR_SDO_DEVICE_STATE);
  EXPECT_EQ(event.address, 0x10060000U);
  EXPECT_EQ(log.count(Kind::CONFIGURED), 0U);
  device.refuse(0);
  device.restart();
  log.wait_for(Kind::CONFIGURED);
}

TEST_F(Recovery, ANodeThatIsNotThereYetIsConfiguredWhenItComes) {
  device.switch_off();
  ASSERT_EQ(client.setNodeConfiguration(kNode, configuration()), NKR_OK);
  EXPECT_EQ(log.wait_for(Kind::CONFIGURATION_FAILED).result, NKR_SDO_TIMED_OUT);
  device.switch_on();
  device.heartbeat();
  log.wait_for(Kind::CONFIGURED);
  EXPECT_EQ(device.at(kPdoId), 0x20AU);
}

TEST_F(Recovery, ANodeThatFailsHoldsUpNoOther) {
  Device other(*bus, 11);
  device.switch_off();
  ASSERT_EQ(client.setNodeConfiguration(kNode, configuration()), NKR_OK);
  ASSERT_EQ(client.setNodeConfiguration(11, configuration()), NKR_OK);
  EXPECT_EQ(log.wait_for(Kind::CONFIGURED).node, 11);
  EXPECT_EQ(log.count(Kind::CONFIGURATION_FAILED), 0U) << "of node 10 it is told later";
}

TEST_F(Recovery, NodesAreSetUpAtOnceNotOneAfterTheOther) {
  client.setTimeout(30s);
  std::vector<std::unique_ptr<Device>> absent;
  for (std::uint8_t id = 20; id < 24; ++id) {
    absent.push_back(std::make_unique<Device>(*bus, id));
    absent.back()->switch_off();
    ASSERT_EQ(client.setNodeConfiguration(id, configuration()), NKR_OK);
  }
  std::this_thread::sleep_for(100ms);  // they are asked now, and do not answer
  ASSERT_EQ(client.setNodeConfiguration(kNode, configuration()), NKR_OK);
  EXPECT_EQ(log.wait_for(Kind::CONFIGURED).node, kNode) << "without waiting for the others' time-outs";
  client.close();
}

TEST_F(Recovery, ARestartAmidTheConfigurationBeginsItAnew) {
  device.switch_off();
  client.setTimeout(300ms);
  ASSERT_EQ(client.setNodeConfiguration(kNode, configuration()), NKR_OK);
  std::this_thread::sleep_for(50ms);  // the first request is under way
  device.switch_on();
  device.restart();
  log.wait_for(Kind::CONFIGURED);
  EXPECT_EQ(device.at(kPdoId), 0x20AU);
  EXPECT_EQ(log.count(Kind::CONFIGURATION_FAILED), 0U);
}

TEST_F(Recovery, MotionIsTheApplicationsAlone) {
  for (const nkr::canopencore::ObjectAddress address : std::vector<nkr::canopencore::ObjectAddress>{
           {0x6040, 0}, {0x6042, 0}, {0x6060, 0}, {0x60FF, 0}, {0x6842, 0}})
    EXPECT_EQ(client.setNodeConfiguration(kNode, {object_value(address, std::uint16_t{15})}), NKR_ERROR)
        << std::hex << address.index;
  nkr_error_t result = NKR_ERROR;
  const auto tap = bus->open({{0x60A, 0x7FF}, {0x000, 0x7FF}}, result);
  configure();
  device.restart();
  log.wait_for(Kind::RECOVERED);
  Frame frame;
  std::size_t frames = 0;
  for (; tap->receive(frame, Clock::now()) == NKR_OK; ++frames) {
    EXPECT_NE(frame.id, 0U) << "no NMT command";
    EXPECT_NE(frame.data[2], 0x60) << nkr::can::to_string(frame);
  }
  EXPECT_GE(frames, 10U);
}

TEST_F(Recovery, AnEmptyConfigurationEndsIt) {
  configure();
  ASSERT_EQ(client.setNodeConfiguration(kNode, {}), NKR_OK);
  device.restart();
  log.wait_for(Kind::UNEXPECTED_BOOT_UP);
  device.heartbeat(4);
  log.wait_for(Kind::STATE_CHANGED);
  EXPECT_EQ(log.count(Kind::RECOVERED), 0U);
  EXPECT_EQ(device.writes().size(), 0U);
}

TEST_F(Recovery, ArgumentsAreChecked) {
  EXPECT_EQ(client.setNodeConfiguration(0, {}), NKR_CAN_INVALID_NODE);
  EXPECT_EQ(client.setNodeConfiguration(128, {}), NKR_CAN_INVALID_NODE);
  client.close();
  EXPECT_EQ(client.setNodeConfiguration(kNode, {}), NKR_CAN_CLOSED);
  Client lonely(nullptr);
  EXPECT_EQ(lonely.setNodeConfiguration(kNode, {}), NKR_CAN_NOT_CONNECTED);
}

TEST_F(Recovery, ManyNodesThatReturnAtOnceAreAllRecovered) {
  std::vector<std::unique_ptr<Device>> devices;
  for (std::uint8_t id = 20; id < 36; ++id) {
    devices.push_back(std::make_unique<Device>(*bus, id));
    ASSERT_EQ(client.setNodeConfiguration(id, configuration()), NKR_OK);
  }
  log.wait_for(Kind::CONFIGURED, devices.size());
  for (const auto& one : devices) one->restart();
  log.wait_for(Kind::RECOVERED, devices.size());
  for (const auto& one : devices) EXPECT_EQ(one->at(kPdoId), 0x20AU);
}

/** A bus whose interface comes later. */
class LateBus : public nkr::can::Bus {
 public:
  explicit LateBus(std::shared_ptr<nkr::can::InProcessBus> bus) : bus_(std::move(bus)) {}
  void come() { there_ = true; }
  std::unique_ptr<nkr::can::Port> open(const std::vector<nkr::can::Filter>& filters,
                                       nkr_error_t& result) override {
    ++asked_;
    if (there_) return bus_->open(filters, result);
    result = NKR_CAN_NO_INTERFACE;
    return nullptr;
  }
  [[nodiscard]] std::string name() const override { return "can7"; }
  [[nodiscard]] int asked() const { return asked_; }

 private:
  std::shared_ptr<nkr::can::InProcessBus> bus_;
  std::atomic<bool> there_{false};
  std::atomic<int> asked_{0};
};

TEST_F(Recovery, AClientBuiltWithoutItsInterfaceWorksOnceThatComes) {
  const auto late = std::make_shared<LateBus>(bus);
  nkr::canopen::ClientOptions hosting = options();
  hosting.host_node_id = 1;
  hosting.host_heartbeat_period = 20ms;
  Client early(late, hosting);
  EventLog told(early);
  EXPECT_FALSE(early.isInitialized());
  std::uint32_t value = 0;
  EXPECT_EQ(early.getValue(kNode, 0x10060020, value), NKR_CAN_NO_INTERFACE);
  nkr::canopen::RequestFailure failure;
  ASSERT_EQ(early.getLastFailure(kNode, failure), NKR_OK);
  EXPECT_EQ(failure.cause, nkr::canopen::FailureCause::NO_INTERFACE);
  ASSERT_EQ(early.setNodeConfiguration(kNode, configuration()), NKR_OK);
  nkr_error_t result = NKR_ERROR;
  const auto tap = bus->open({{0x701, 0x7FF}}, result);
  late->come();
  told.wait_for(Kind::CONFIGURED);
  EXPECT_TRUE(early.isInitialized());
  EXPECT_EQ(early.getValue(kNode, 0x10060020, value), NKR_OK);
  EXPECT_EQ(value, 10000U);
  device.heartbeat();
  told.wait_for(Kind::BUS_RETURNED);
  told.wait_for(Kind::STATE_CHANGED);
  Frame frame;
  EXPECT_EQ(tap->receive(frame, Clock::now() + 20s), NKR_OK) << "the host's own heartbeat";
  early.close();
}

TEST_F(Recovery, AMissingInterfaceIsNotAskedForInABusyLoop) {
  const auto late = std::make_shared<LateBus>(bus);
  Client early(late, options());
  std::uint32_t value = 0;
  const auto end = Clock::now() + 300ms;
  while (Clock::now() < end) static_cast<void>(early.getValue(kNode, 0x10060020, value));
  EXPECT_LT(late->asked(), 100);
  early.close();
}

TEST_F(Recovery, ClosingEndsAClientWhoseInterfaceNeverCame) {
  const auto late = std::make_shared<LateBus>(bus);
  Client early(late, options());
  static_cast<void>(early.setNodeConfiguration(kNode, configuration()));
  early.close();
  std::uint32_t value = 0;
  EXPECT_EQ(early.getValue(kNode, 0x10060020, value), NKR_CAN_CLOSED);
}

}  // namespace
}  // namespace tests::client

// The client and the virtual drive on one bus: two implementations of the same protocols that share nothing
// but frames.
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <nkr/can/Bus.hpp>
#include <nkr/can/InProcessBus.hpp>
#include <nkr/canopen/Client.hpp>
#include <string>
#include <tav/drive/Runner.hpp>
#include <tav/drive/VirtualDrive.hpp>
#include <thread>
#include <vector>

namespace tests::client {
namespace {

using nkr::can::Clock;
using nkr::canopen::Event;
using nkr::canopencore::NMTCommand;
using nkr::canopencore::NMTState;
using nkr::canopenservice::TavOut;
using namespace std::chrono_literals;

class WithDrive : public testing::Test {
 protected:
  static constexpr std::uint8_t kNode = 10;

  void SetUp() override {
    client.subscribe([this](const Event& event) {
      const std::lock_guard<std::mutex> lock(mutex_);
      seen_.push_back(event.kind);
      changed_.notify_all();
    });
    tav::drive::Settings settings;
    settings.node_id = kNode;
    std::string problem;
    drive = tav::drive::VirtualDrive::from_file("share/tav/tav.eds", settings, problem);
    ASSERT_TRUE(drive) << problem;
    runner = std::make_unique<tav::drive::Runner>(*drive);
    ASSERT_EQ(runner->start(*bus), NKR_OK);
    ASSERT_TRUE(state_becomes(NMTState::PRE_OPERATIONAL));
  }
  void TearDown() override { client.close(); }

  bool state_becomes(NMTState wanted) {
    const auto deadline = Clock::now() + 20s;
    NMTState state{};
    while (client.getNMTState(kNode, state) == NKR_OK && state != wanted && Clock::now() < deadline)
      std::this_thread::sleep_for(1ms);
    return state == wanted;
  }
  bool came(Event::Kind kind) {
    std::unique_lock<std::mutex> lock(mutex_);
    return changed_.wait_for(lock, 20s, [&] {
      for (const Event::Kind seen : seen_)
        if (seen == kind) return true;
      return false;
    });
  }
  void make_operational() {
    ASSERT_EQ(client.setNMTState(kNode, NMTCommand::START_REMOTE_NODE), NKR_OK);
    ASSERT_TRUE(state_becomes(NMTState::OPERATIONAL));
  }
  /** TPDO 1 brings status word and velocity on every SYNC. */
  void map_first_tpdo() {
    ASSERT_EQ(client.setValue(kNode, 0x18000100, std::uint32_t{0xC000018A}), NKR_OK);
    ASSERT_EQ(client.setValue(kNode, 0x1A000000, std::uint8_t{0}), NKR_OK);
    ASSERT_EQ(client.setValue(kNode, 0x1A000100, std::uint32_t{0x60410010}), NKR_OK);
    ASSERT_EQ(client.setValue(kNode, 0x1A000200, std::uint32_t{0x606C0020}), NKR_OK);
    ASSERT_EQ(client.setValue(kNode, 0x1A000000, std::uint8_t{2}), NKR_OK);
    ASSERT_EQ(client.setValue(kNode, 0x18000200, std::uint8_t{1}), NKR_OK);
    ASSERT_EQ(client.setValue(kNode, 0x18000100, std::uint32_t{0x4000018A}), NKR_OK);
  }
  nkr_error_t sync(TavOut& out, std::int32_t order = 0, bool flag = false) {
    return client.sync({kNode, 0x60410010, 0x60640020, 0x606C0020, order, flag}, out);
  }

  std::shared_ptr<nkr::can::InProcessBus> bus = std::make_shared<nkr::can::InProcessBus>();
  nkr::canopen::Client client{bus};
  std::unique_ptr<tav::drive::VirtualDrive> drive;
  std::unique_ptr<tav::drive::Runner> runner;

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<Event::Kind> seen_;
};

TEST_F(WithDrive, NumbersAreReadAndWrittenBack) {
  EXPECT_EQ(client.setValue(kNode, 0x60420010, std::int16_t{-1234}), NKR_OK);
  std::int16_t velocity = 0;
  EXPECT_EQ(client.getValue(kNode, 0x60420010, velocity), NKR_OK);
  EXPECT_EQ(velocity, -1234);
  std::int64_t wide = 0;
  EXPECT_EQ(client.getValue(kNode, 0x60420010, wide), NKR_OK);
  EXPECT_EQ(wide, -1234);
  std::uint32_t vendor = 0;
  EXPECT_EQ(client.getValue(kNode, 0x10180100, vendor), NKR_OK);
  EXPECT_EQ(vendor, 2599U);
}

TEST_F(WithDrive, StringsGoInSegmentsAndShortOnesAtOnce) {
  std::string name;
  EXPECT_EQ(client.getValue(kNode, 0x10080000, name), NKR_OK);
  EXPECT_EQ(name, "TAV");
  const std::string longer = "a name that takes several segments of seven bytes each";
  EXPECT_EQ(client.setValue(kNode, 0x10080000, longer), NKR_OK);
  EXPECT_EQ(client.getValue(kNode, 0x10080000, name), NKR_OK);
  EXPECT_EQ(name, longer);
  std::vector<std::uint8_t> bytes;
  EXPECT_EQ(client.getBytes(kNode, 0x10080000, bytes), NKR_OK)
      << "by block where the drive knows it, else not";
  EXPECT_EQ(std::string(bytes.begin(), bytes.end()), longer);
}

TEST_F(WithDrive, TheDrivesAbortsComeThrough) {
  std::uint8_t byte = 0;
  EXPECT_EQ(client.getValue(kNode, 0x5FFF0000, byte), NKR_SDO_NO_OBJECT);
  EXPECT_EQ(client.getValue(kNode, 0x10187F00, byte), NKR_SDO_NO_SUBINDEX);
  EXPECT_EQ(client.setValue(kNode, 0x10180100, std::uint32_t{1}), NKR_SDO_READ_ONLY);
  EXPECT_EQ(client.getValue(kNode, 0x10180100, byte), NKR_SDO_LENGTH) << "wider than the type";
}

TEST_F(WithDrive, NmtCommandsChangeTheStateThatHeartbeatsTell) {
  make_operational();
  ASSERT_EQ(client.setNMTState(kNode, NMTCommand::STOP_REMOTE_NODE), NKR_OK);
  EXPECT_TRUE(state_becomes(NMTState::STOPPED));
  std::uint32_t vendor = 0;
  {
    const nkr::canopen::SdoTimeoutScope shortly(50ms);
    EXPECT_EQ(client.getValue(kNode, 0x10180100, vendor), NKR_SDO_TIMED_OUT);
  }
  nkr::canopen::RequestFailure failure;
  ASSERT_EQ(client.getLastFailure(kNode, failure), NKR_OK);
  EXPECT_EQ(failure.cause, nkr::canopen::FailureCause::STOPPED);
  ASSERT_EQ(client.setNMTState(kNode, NMTCommand::ENTER_PRE_OPERATIONAL), NKR_OK);
  EXPECT_TRUE(state_becomes(NMTState::PRE_OPERATIONAL));
  EXPECT_EQ(client.getValue(kNode, 0x10180100, vendor), NKR_OK);
}

TEST_F(WithDrive, AFaultIsToldAsAnEmergency) {
  drive->raise_fault(0x2310);
  ASSERT_TRUE(came(Event::Kind::EMERGENCY));
  const auto active = client.getActiveEmergencies(kNode);
  ASSERT_EQ(active.size(), 1U);
  EXPECT_EQ(active.front().code, 0x2310);
  EXPECT_NE(active.front().error_register & 0x02, 0) << "bit 1 is current";
}

TEST_F(WithDrive, ADriveThatLeavesTheBusIsLost) {
  ASSERT_EQ(client.setHeartbeatTimeout(kNode, 400ms), NKR_OK);
  make_operational();  // a heartbeat was heard, then: before the first one nothing is monitored
  runner->stop();
  EXPECT_TRUE(came(Event::Kind::HEARTBEAT_LOST));
  EXPECT_TRUE(state_becomes(NMTState::UNKNOWN));
}

TEST_F(WithDrive, SyncReadsBySdoWhatIsNotMapped) {
  TavOut out{};
  EXPECT_EQ(sync(out, 100, true), NKR_OK);
  std::int16_t velocity = 0;
  EXPECT_EQ(client.getValue(kNode, 0x60420010, velocity), NKR_OK);
  EXPECT_EQ(velocity, 100);
}

TEST_F(WithDrive, SyncTakesWhatIsMappedFromThePdosAfterIt) {
  map_first_tpdo();
  make_operational();
  std::uint16_t status_word = 0;
  ASSERT_EQ(client.getValue(kNode, 0x60410010, status_word), NKR_OK);
  nkr_error_t result = NKR_ERROR;
  const auto tap = bus->open({{0x080}, {0x18A}}, result);
  TavOut out{};
  EXPECT_EQ(sync(out), NKR_OK);
  EXPECT_EQ(out.statusWord, status_word);
  nkr::can::Frame frame;
  ASSERT_EQ(tap->receive(frame, Clock::now() + 20s), NKR_OK);
  EXPECT_EQ(to_string(frame), "080#");
  ASSERT_EQ(tap->receive(frame, Clock::now() + 20s), NKR_OK);
  EXPECT_EQ(frame.id, 0x18AU);
  EXPECT_EQ(frame.size, 6);
}

TEST_F(WithDrive, AnUnexpectedRestartIsToldAndThePdosAreLookedUpAgain) {
  map_first_tpdo();
  make_operational();
  TavOut out{};
  ASSERT_EQ(sync(out), NKR_OK);
  nkr_error_t result = NKR_ERROR;
  const auto somebody_else = bus->open({{0x7FF}}, result);
  static_cast<void>(somebody_else->send({0x000, {0x81, kNode}}, Clock::time_point::max()));
  EXPECT_TRUE(came(Event::Kind::UNEXPECTED_BOOT_UP));
  ASSERT_TRUE(state_becomes(NMTState::PRE_OPERATIONAL));
  make_operational();
  EXPECT_EQ(sync(out), NKR_OK) << "the mapping is as shipped again: everything comes by SDO";
}

TEST_F(WithDrive, ARestartedDriveGetsItsConfigurationBackAndStaysStill) {
  using nkr::canopen::object_value;
  ASSERT_EQ(
      client.setNodeConfiguration(
          kNode, {object_value({0x1800, 1}, 0xC000018AU), object_value({0x1A00, 0}, std::uint8_t{0}),
                  object_value({0x1A00, 1}, 0x60410010U), object_value({0x1A00, 2}, 0x606C0020U),
                  object_value({0x1A00, 0}, std::uint8_t{2}), object_value({0x1800, 2}, std::uint8_t{1}),
                  object_value({0x1800, 1}, 0x4000018AU), object_value({0x1017, 0}, std::uint16_t{50})}),
      NKR_OK);
  ASSERT_TRUE(came(Event::Kind::CONFIGURED));
  make_operational();
  for (const std::uint8_t control_word : {std::uint8_t{0x06}, std::uint8_t{0x07}, std::uint8_t{0x0F}})
    ASSERT_EQ(client.setValue(kNode, 0x60400010, std::uint16_t{control_word}), NKR_OK);
  nkr_error_t result = NKR_ERROR;
  const auto somebody_else = bus->open({{0x7FF}}, result);
  static_cast<void>(somebody_else->send({0x000, {0x81, kNode}}, Clock::time_point::max()));
  ASSERT_TRUE(came(Event::Kind::RECOVERED));
  std::uint32_t mapped = 0;
  EXPECT_EQ(client.getValue(kNode, 0x1A000220, mapped), NKR_OK);
  EXPECT_EQ(mapped, 0x606C0020U);
  std::uint16_t status_word = 0;
  EXPECT_EQ(client.getValue(kNode, 0x60410010, status_word), NKR_OK);
  EXPECT_NE(status_word & 0x6F, 0x27) << "not enabled again";
  make_operational();
  TavOut out{};
  EXPECT_EQ(sync(out), NKR_OK) << "by PDO again";
}

TEST_F(WithDrive, ManyThreadsShareTheDrive) {
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([this] {
      for (int i = 0; i < 50; ++i) {
        std::uint32_t vendor = 0;
        EXPECT_EQ(client.getValue(kNode, 0x10180100, vendor), NKR_OK);
        EXPECT_EQ(vendor, 2599U);
        std::string name;
        EXPECT_EQ(client.getValue(kNode, 0x10080000, name), NKR_OK);
        EXPECT_EQ(name, "TAV");
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace tests::client

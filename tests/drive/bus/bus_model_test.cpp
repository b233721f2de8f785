// A bus with a bit rate: bits, arbitration, errors and their confinement (ISO 11898-1).
#include <gtest/gtest.h>
#include <nkr/error.h>

#include <string>
#include <tav/drive/BusModel.hpp>
#include <utility>
#include <vector>

#include "drive/DriveBench.hpp"

namespace tav::drive::test {
namespace {

using nkr::can::BusState;
using nkr::can::Frame;
using std::chrono::microseconds;
using std::chrono::nanoseconds;

TEST(FrameBits, AreTheChecksumTheStuffedBitsAndTheLengthOfKnownFrames) {
  const struct {
    const char* frame;
    unsigned crc;
    unsigned stuffed;
    unsigned bits;
  } kVectors[] = {
      {"601#4041600000000000", 0x29D2, 12, 123},
      {"581#4B41600037020000", 0x377B, 9, 120},
      {"601#2B40600006000000", 0x3F76, 12, 123},
      {"581#6040600000000000", 0x1AC2, 12, 123},
      {"000#0100", 0x6197, 5, 68},
      {"701#00", 0x5058, 4, 59},
      {"701#05", 0x4D0E, 3, 58},
      {"701#7F", 0x72DE, 4, 59},
      {"080#", 0x1C05, 4, 51},
      {"001#", 0x2213, 3, 50},
      {"113#0000000000000000", 0x5DAC, 13, 124},
      {"114#FFFFFFFFFFFFFFFF", 0x0A27, 13, 124},
      {"081#1023040000000000", 0x0905, 14, 125},
      {"555#5555555555555555", 0x1B04, 1, 112},
  };
  for (const auto& vector : kVectors) {
    const FrameBits bits = frame_bits(frame_of(vector.frame));
    EXPECT_EQ(bits.crc, vector.crc) << vector.frame;
    EXPECT_EQ(bits.stuffed, vector.stuffed) << vector.frame;
    EXPECT_EQ(bits.bits, vector.bits) << vector.frame;
  }
}

class BusModelTest : public ::testing::Test {
 protected:
  void use(std::uint32_t bit_rate = 1000000, double error_probability = 0) {
    received.clear();
    bus = std::make_unique<BusModel>(BusModel::Options{bit_rate, error_probability, 3});
  }
  std::size_t add(const BusModel::NodeOptions& options = {}) {
    const std::size_t place = received.size();
    received.emplace_back();
    return bus->attach(options, [this, place](const Frame& frame, Time when) {
      received[place].emplace_back(when - Time{}, nkr::can::to_string(frame) + (frame.error ? " error" : ""));
    });
  }
  void send(std::size_t node, const std::string& frame, Time now = {}) {
    EXPECT_EQ(bus->send(node, frame_of(frame), now), NKR_OK);
  }
  void until(Duration time) { bus->advance(Time{} + time); }
  std::vector<std::string> texts(std::size_t node) {
    std::vector<std::string> all;
    for (const auto& [time, text] : received[node]) all.push_back(text);
    return all;
  }
  /** Error frames of a node: class, byte 1 and the counters. */
  std::vector<std::string> controller_reports(std::size_t node) {
    std::vector<std::string> reports;
    for (const std::string& text : texts(node)) {
      if (text.find("error") != std::string::npos) reports.push_back(text);
    }
    return reports;
  }
  std::unique_ptr<BusModel> bus;
  std::vector<std::vector<std::pair<Duration, std::string>>> received;
};

TEST_F(BusModelTest, TheLowestIdentifierIsFirstAndTheOtherExactlyOneFrameLater) {
  use();
  const std::size_t a = add();
  const std::size_t b = add();
  const std::size_t listener = add();
  send(a, "701#05");
  send(b, "080#");
  until(milliseconds(1));
  ASSERT_EQ(received[listener].size(), 2U);
  EXPECT_EQ(received[listener][0], std::pair(Duration(microseconds(48)), std::string("080#")));
  EXPECT_EQ(received[listener][1], std::pair(Duration(microseconds(51 + 55)), std::string("701#05")));
}

TEST_F(BusModelTest, AQueueInOrderKeepsAnUrgentFrameBehindOthersAndBuffersByIdentifierDoNot) {
  for (const bool fifo : {true, false}) {
    use();
    BusModel::NodeOptions options;
    options.fifo = fifo;
    const std::size_t a = add(options);
    const std::size_t listener = add();
    send(a, "701#05");
    send(a, "080#");
    until(milliseconds(1));
    EXPECT_EQ(texts(listener), fifo ? (Frames{"701#05", "080#"}) : (Frames{"080#", "701#05"}));
  }
}

TEST_F(BusModelTest, AQueueThatIsFullTakesNoMore) {
  use();
  BusModel::NodeOptions options;
  options.queue_length = 2;
  const std::size_t a = add(options);
  send(a, "080#");
  send(a, "080#");
  EXPECT_EQ(bus->send(a, frame_of("080#"), {}), NKR_CAN_TX_OVERFLOW);
}

/** Reads of the status word from a drive without turnaround, as fast as the bus lets. */
int reads_in_a_second(std::uint32_t bit_rate) {
  BusModel bus({bit_rate, 0, 1});
  int trips = 0;
  std::size_t client = 0;
  std::size_t server = 0;
  client = bus.attach({}, [&](const Frame& frame, Time when) {
    if (frame.id != 0x581) return;
    ++trips;
    EXPECT_EQ(bus.send(client, frame_of("601#4041600000000000"), when), NKR_OK);
  });
  server = bus.attach({}, [&](const Frame& frame, Time when) {
    if (frame.id == 0x601) {
      EXPECT_EQ(bus.send(server, frame_of("581#4B41600037020000"), when), NKR_OK);
    }
  });
  EXPECT_EQ(bus.send(client, frame_of("601#4041600000000000"), {}), NKR_OK);
  bus.advance(Time{} + std::chrono::seconds(1));
  return trips;
}

TEST_F(BusModelTest, ItCarriesAsManyReadsAsArithmeticGives) {
  EXPECT_NEAR(reads_in_a_second(1000000), 4115, 1);
  EXPECT_NEAR(reads_in_a_second(125000), 514, 1);
}

TEST_F(BusModelTest, ItsLoadIsTheSumOfItsBits) {
  use(500000);
  const std::size_t a = add();
  add();
  std::uint64_t bits = 0;
  for (int i = 0; i < 60; ++i) {
    const std::string frame = "18" + std::to_string(i % 10) + "#" + std::to_string(10 + i);
    bits += frame_bits(frame_of(frame)).bits;
    send(a, frame);
  }
  until(milliseconds(100));
  EXPECT_EQ(bus->bits(), bits);
  EXPECT_EQ(bus->frames(), 60U);
}

TEST_F(BusModelTest, ANodeThatIsAloneBecomesPassiveAndNeverBusOff) {
  use();
  const std::size_t alone = add();
  send(alone, "601#4041600000000000");
  until(microseconds(12 * 130 + 1));
  EXPECT_EQ(bus->status(alone).state, BusState::ERROR_WARNING);
  until(microseconds(2100));
  EXPECT_EQ(bus->status(alone).state, BusState::ERROR_PASSIVE);
  until(std::chrono::seconds(60));
  EXPECT_EQ(bus->status(alone).state, BusState::ERROR_PASSIVE);
  EXPECT_EQ(bus->status(alone).tx_errors, 128);
  EXPECT_GT(bus->status(alone).unacknowledged, 400000U);
  EXPECT_EQ(controller_reports(alone).size(), 2U);
  const std::size_t second = add();
  until(std::chrono::seconds(61));
  EXPECT_EQ(texts(second), Frames{"601#4041600000000000"});
  EXPECT_EQ(bus->status(alone).tx_errors, 127);
}

TEST_F(BusModelTest, AfterThirtyTwoFailuresItIsBusOffAndRecoversOnAnIdleBus) {
  use();
  const std::size_t a = add();
  const std::size_t listener = add();
  bus->disturb(31);
  send(a, "601#4041600000000000");
  until(milliseconds(3));
  EXPECT_EQ(texts(listener).back(), "601#4041600000000000") << "the 32nd time it went through";
  use();
  const std::size_t b = add();
  add();
  bus->disturb(32);
  send(b, "601#4041600000000000");
  until(milliseconds(10));
  EXPECT_EQ(bus->status(b).state, BusState::BUS_OFF);
  EXPECT_EQ(bus->send(b, frame_of("080#"), Time{} + milliseconds(10)), NKR_CAN_BUS_OFF);
  until(milliseconds(500));
  EXPECT_EQ(bus->status(b).state, BusState::BUS_OFF) << "until it is restarted";
  bus->restart(b, Time{} + milliseconds(500));
  until(milliseconds(500) + microseconds(1407));
  EXPECT_EQ(bus->status(b).state, BusState::BUS_OFF);
  until(milliseconds(500) + microseconds(1409));
  EXPECT_EQ(bus->status(b).state, BusState::ERROR_ACTIVE);
  EXPECT_EQ(bus->status(b).tx_errors, 0);
  EXPECT_EQ(bus->status(b).rx_errors, 0);
  EXPECT_EQ(bus->status(b).restarts, 1U);
}

TEST_F(BusModelTest, EachChangeOfTheStateIsToldOnceAsSocketCANDoes) {
  use();
  std::vector<Frame> reports;
  const std::size_t a = bus->attach({}, [&](const Frame& frame, Time) { reports.push_back(frame); });
  bus->attach({}, {});
  bus->disturb(32);
  ASSERT_EQ(bus->send(a, frame_of("601#4041600000000000"), {}), NKR_OK);
  bus->advance(Time{} + milliseconds(10));
  bus->restart(a, Time{} + milliseconds(10));
  bus->advance(Time{} + milliseconds(20));
  ASSERT_EQ(reports.size(), 4U);
  const struct {
    std::uint32_t id;
    std::uint8_t byte1;
    std::uint8_t counter;
  } kReports[] = {{0x204, 0x08, 96}, {0x204, 0x20, 128}, {0x040, 0, 0}, {0x100, 0, 0}};
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_TRUE(reports[i].error);
    EXPECT_EQ(reports[i].size, 8);
    EXPECT_EQ(reports[i].id, kReports[i].id);
    EXPECT_EQ(reports[i].data[1], kReports[i].byte1);
    EXPECT_EQ(reports[i].data[6], kReports[i].counter);
  }
}

TEST_F(BusModelTest, AMissingAcknowledgementIsToldToWhoAsks) {
  use();
  std::vector<Frame> reports;
  BusModel::NodeOptions options;
  options.tells_bus_errors = true;
  const std::size_t a = bus->attach(options, [&](const Frame& frame, Time) { reports.push_back(frame); });
  ASSERT_EQ(bus->send(a, frame_of("080#"), {}), NKR_OK);
  bus->advance(Time{} + microseconds(100));
  ASSERT_FALSE(reports.empty());
  EXPECT_EQ(reports[0].id, 0x0A8U);
  EXPECT_EQ(reports[0].data[2], 0x80);
  EXPECT_EQ(reports[0].data[3], 0x19);
}

TEST_F(BusModelTest, ErrorsOnTheWireCostTimeAndNoFrame) {
  use(1000000, 0.01);
  const std::size_t a = add();
  const std::size_t listener = add();
  for (int i = 0; i < 10000; ++i) {
    send(a, "181#" + std::to_string(1000 + i % 9000), Time{} + milliseconds(i));
    until(milliseconds(i + 1));
  }
  EXPECT_NEAR(static_cast<double>(bus->errors()), 100, 30);
  EXPECT_EQ(bus->frames(), 10000U);
  ASSERT_EQ(received[listener].size(), 10000U);
  for (int i = 0; i < 10000; ++i) {
    ASSERT_EQ(received[listener][static_cast<std::size_t>(i)].second,
              "181#" + std::to_string(1000 + i % 9000));
  }
}

TEST_F(BusModelTest, TwoNodesWithOneIdentifierAndOtherDataEndBusOff) {
  use();
  const std::size_t a = add();
  const std::size_t b = add();
  const std::size_t listener = add();
  send(a, "181#01");
  send(b, "181#02");
  until(milliseconds(20));
  EXPECT_EQ(bus->status(a).state, BusState::BUS_OFF);
  EXPECT_EQ(bus->status(b).state, BusState::BUS_OFF);
  EXPECT_EQ(bus->frames(), 0U);
  EXPECT_GT(bus->status(listener).rx_errors, 30);
}

TEST_F(BusModelTest, AnAdapterKeepsFramesInTheirOrder) {
  use();
  BusModel::NodeOptions options;
  ASSERT_TRUE(adapter_latency("usb-fs", options.latency));
  const std::size_t a = add();
  const std::size_t slow = add(options);
  for (int i = 10; i < 60; ++i) {
    send(a, "181#" + std::to_string(i), Time{} + milliseconds(i));
    until(milliseconds(i));
  }
  until(milliseconds(100));
  ASSERT_EQ(received[slow].size(), 50U);
  for (int i = 10; i < 60; ++i) {
    const auto& [time, text] = received[slow][static_cast<std::size_t>(i - 10)];
    EXPECT_EQ(text, "181#" + std::to_string(i));
    EXPECT_GE(time, milliseconds(i) + microseconds(400));
    EXPECT_LE(time, milliseconds(i) + microseconds(1100));
  }
  AdapterLatency latency;
  for (const std::string& name : adapter_profiles()) EXPECT_TRUE(adapter_latency(name, latency)) << name;
  EXPECT_FALSE(adapter_latency("wire", latency));
}

}  // namespace
}  // namespace tav::drive::test

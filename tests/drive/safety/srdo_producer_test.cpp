// Transmission of safety-relevant data objects (EN 50325-5), and the global fail-safe command.
#include <gtest/gtest.h>

#include <chrono>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "drive/DriveBench.hpp"
#include "drive/safety/ReferenceCrc.hpp"

namespace tav::drive::test {
namespace {

using std::chrono::microseconds;

/** A drive of node 10 whose SRDO 3 sends the safety status words 1 and 2 on 0x113 and 0x114, SCT 25 ms. */
class SRDOTransmission : public ::testing::Test {
 protected:
  static constexpr std::uint32_t kEntries[] = {0x66210108, 0x66210108, 0x66210208, 0x66210208};

  SRDOTransmission() : bench(as_node(10)) {
    bench.write(0x1017, 0, 0, 2);
    bench.write(0x1383, 0, 0, 1);
    ReferenceCrc crc;
    crc.feed(1, 1).feed(25, 2).feed(20, 1).feed(0x113, 4).feed(0x114, 4).feed(4, 1);
    for (std::uint8_t i = 1; i <= 4; ++i) {
      EXPECT_EQ(bench.write(0x1383, i, kEntries[i - 1], 4), 0U);
      crc.feed(i, 1).feed(kEntries[i - 1], 4);
    }
    EXPECT_EQ(bench.write(0x1383, 0, 4, 1), 0U);
    EXPECT_EQ(bench.write(0x1303, 1, 1, 1), 0U);
    EXPECT_EQ(bench.write(0x1303, 2, 25, 2), 0U);
    EXPECT_EQ(bench.write(0x1303, 3, 20, 1), 0U);
    EXPECT_EQ(bench.write(0x1303, 5, 0x113, 4), 0U);
    EXPECT_EQ(bench.write(0x1303, 6, 0x114, 4), 0U);
    EXPECT_EQ(bench.write(0x13FF, 3, crc.value(), 2), 0U);
    EXPECT_EQ(bench.write(0x13FE, 0, 0xA5, 1), 0U);
    bench.take();
    bench.drive().connect([this](const nkr::can::Frame& frame) {
      const std::string text = nkr::can::to_string(frame);
      if (text.rfind("11", 0) == 0) sent.emplace_back(now - Time{}, text);
    });
  }
  void until(Duration time) {
    while (now - Time{} < time) {
      const Time due = bench.drive().advance(now);
      now = std::min(Time{} + time, std::max(due, now + microseconds(1)));
      bench.drive().advance(now);
    }
  }
  void send(const std::string& frame) { bench.drive().receive(frame_of(frame), now); }

  DriveBench bench;
  Time now{};
  std::vector<std::pair<Duration, std::string>> sent;
};

TEST_F(SRDOTransmission, TheFirstComesHalfAMillisecondTimesTheNodeIdAfterOperationalThenOneEverySCT) {
  until(milliseconds(100));
  EXPECT_TRUE(sent.empty());
  send("000#010A");
  until(milliseconds(200));
  ASSERT_EQ(sent.size(), 8U);
  for (std::size_t pair = 0; pair < 4; ++pair) {
    const Duration plain = milliseconds(105) + static_cast<int>(pair) * milliseconds(25);
    EXPECT_EQ(sent[2 * pair].first, plain);
    EXPECT_EQ(sent[2 * pair].second.substr(0, 4), "113#");
    EXPECT_GT(sent[2 * pair + 1].first, plain);
    EXPECT_LE(sent[2 * pair + 1].first, plain + milliseconds(1));
    EXPECT_EQ(sent[2 * pair + 1].second.substr(0, 4), "114#");
  }
}

TEST_F(SRDOTransmission, TheInverseIsThatOfItsPlainFrameWhateverHappensBetween) {
  send("000#010A");
  for (int i = 1; i < 4000; ++i) {
    until(microseconds(1777) * i);
    send(i % 2 == 0 ? "60A#2F90660100000000" : "60A#2F90660101000000");  // SLS 1, whose status a word shows
  }
  ASSERT_GT(sent.size(), 500U);
  for (std::size_t i = 0; i + 1 < sent.size(); i += 2) {
    const nkr::can::Frame plain = frame_of(sent[i].second);
    const nkr::can::Frame inverse = frame_of(sent[i + 1].second);
    ASSERT_EQ(plain.id, 0x113U);
    ASSERT_EQ(inverse.id, 0x114U);
    ASSERT_EQ(plain.size, 2U);
    ASSERT_EQ(inverse.size, 2U);
    for (std::size_t byte = 0; byte < 2; ++byte) ASSERT_EQ(plain.data[byte] ^ inverse.data[byte], 0xFF);
  }
}

TEST_F(SRDOTransmission, LeavingOperationalStopsItBetweenAFrameAndItsInverse) {
  send("000#010A");
  until(microseconds(5200));
  ASSERT_EQ(sent.size(), 1U);
  send("000#800A");
  until(milliseconds(200));
  EXPECT_EQ(sent.size(), 1U);
}

TEST_F(SRDOTransmission, NothingIsSentUntilTheConfigurationIsDeclaredValid) {
  send("60A#2FFE130000000000");
  send("000#010A");
  until(milliseconds(200));
  EXPECT_TRUE(sent.empty());
}

/** The shipped description with the object of the global fail-safe command. */
std::string with_gfc() {
  return changed(shipped_description(), "13FE", "ParameterName", "Configuration valid") +
         "\n[1300]\nParameterName=Global fail-safe command "
         "parameter\nObjectType=0x7\nDataType=0x0005\nAccessType=rw\n"
         "DefaultValue=1\nPDOMapping=0\n";
}

std::string listed(const std::string& description) {
  const std::size_t list = description.find("[OptionalObjects]");
  const std::size_t number = description.find("SupportedObjects=", list) + 17;
  const std::size_t end = description.find_first_of("\r\n", number);
  const int count = std::stoi(description.substr(number, end - number)) + 1;
  std::string text = description;
  text.replace(number, end - number, std::to_string(count) + "\n" + std::to_string(count) + "=0x1300");
  return text;
}

TEST(GlobalFailSafe, TakesTheTorqueUntilTheErrorIsAcknowledged) {
  DriveBench bench(listed(with_gfc()), as_node(1));
  for (const std::uint32_t word : {0x06U, 0x07U, 0x0FU}) bench.write(0x6040, 0, word, 2);
  ASSERT_EQ(bench.drive().power_state(), PowerState::OPERATION_ENABLED);
  bench.send("001#");
  EXPECT_EQ(bench.drive().power_state(), PowerState::OPERATION_ENABLED) << "not before OPERATIONAL";
  bench.send("000#0101");
  bench.send("001#00");
  EXPECT_EQ(bench.drive().power_state(), PowerState::OPERATION_ENABLED) << "it has no data";
  bench.send("001#");
  EXPECT_EQ(bench.drive().power_state(), PowerState::SWITCH_ON_DISABLED);
  EXPECT_EQ(bench.read(0x2640), 1U);
  bench.write(0x6632, 0, 0, 1);
  bench.write(0x6632, 0, 1, 1);
  EXPECT_EQ(bench.read(0x2640), 0U);
}

TEST(GlobalFailSafe, IsNothingToADriveWithoutItsObject) {
  DriveBench bench;
  for (const std::uint32_t word : {0x06U, 0x07U, 0x0FU}) bench.write(0x6040, 0, word, 2);
  bench.send("000#0101");
  bench.send("001#");
  EXPECT_EQ(bench.drive().power_state(), PowerState::OPERATION_ENABLED);
}

TEST(SafetyLog, TellsWhenTheTorqueWasTakenAndWhy) {
  DriveBench bench;
  for (const std::uint32_t word : {0x06U, 0x07U, 0x0FU}) bench.write(0x6040, 0, word, 2);
  (void)bench.drive().take_events();
  bench.step(milliseconds(7));
  bench.write(0x6640, 0, 0, 1);
  const std::vector<Event> events = bench.drive().take_events();
  ASSERT_FALSE(events.empty());
  EXPECT_EQ(to_text(events[0], Time{}), "0.007000 s: SWITCH_ON_DISABLED (STO)");
}

}  // namespace
}  // namespace tav::drive::test

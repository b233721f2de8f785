// The drive as a whole: how it is made.
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "drive/DriveBench.hpp"

namespace tav::drive::test {
namespace {

TEST(VirtualDrive, SaysWhyADescriptionCannotBeUsed) {
  std::string problem;
  EXPECT_EQ(VirtualDrive::from_file("/nowhere/drive.eds", as_node(1), problem), nullptr);
  EXPECT_EQ(problem, "cannot open /nowhere/drive.eds");
  EXPECT_THROW(DriveBench("", as_node(1)), std::runtime_error);
  EXPECT_EQ(VirtualDrive::from_file("share/tav/tav.eds", as_node(128), problem), nullptr);
  EXPECT_EQ(problem, "the node id 128 is not one of 1 to 127");
}

TEST(VirtualDrive, TakesTheDescriptionsNodeIdWhenNoneIsGiven) {
  DriveBench bench{Settings()};
  EXPECT_EQ(bench.drive().node_id(), 10);
}

TEST(VirtualDrive, ServesEveryObjectOfTheShippedDescription) {
  DriveBench bench;
  EXPECT_EQ(bench.read(0x1018, 1), 2599U);
  EXPECT_EQ(bench.read(0x1000), 0x00020192U);
  EXPECT_EQ(bench.answer("601#4008100000000000"), "581#4708100054415600");  // "TAV"
}

TEST(AskedDrive, TellsItsValuesByName) {
  DriveBench bench;
  EXPECT_EQ(bench.drive().value("Identity Object Vendor Id"), 2599);
  bench.write(0x6042, 0, static_cast<std::uint16_t>(-100), 2);
  EXPECT_EQ(bench.drive().value("vl_target_velocity"), -100);
  EXPECT_EQ(bench.drive().value("statusword"), 0x0250) << "what the drive computes too";
  EXPECT_EQ(bench.drive().value("no such object"), std::nullopt);
  EXPECT_EQ(bench.drive().value("Manufacturer device name"), std::nullopt) << "a text";
  EXPECT_EQ(bench.drive().bytes("Manufacturer device name"), (std::vector<std::uint8_t>{'T', 'A', 'V'}));
  EXPECT_EQ(bench.drive().bytes("vl_target_velocity"), (std::vector<std::uint8_t>{0x9C, 0xFF}));
  EXPECT_EQ(bench.drive().bytes("no such object"), std::nullopt);
  EXPECT_EQ(bench.drive().value("Pre-defined error field Standard error field 1"), std::nullopt)
      << "there is no error to read";
}

TEST(AskedDrive, TellsItsStates) {
  DriveBench bench;
  EXPECT_EQ(bench.drive().nmt_state(), NMTState::PRE_OPERATIONAL);
  EXPECT_EQ(bench.drive().power_state(), PowerState::SWITCH_ON_DISABLED);
  bench.send("000#0101");
  for (const std::uint32_t word : {0x06U, 0x07U, 0x0FU}) bench.write(0x6040, 0, word, 2);
  EXPECT_EQ(bench.drive().nmt_state(), NMTState::OPERATIONAL);
  EXPECT_EQ(bench.drive().power_state(), PowerState::OPERATION_ENABLED);
  bench.drive().raise_fault(0x2310);
  EXPECT_EQ(bench.drive().power_state(), PowerState::FAULT);
}

TEST(AskedDrive, TellsWhatHappenedInItsOrderOnce) {
  using Kind = Event::Kind;
  DriveBench bench;
  static_cast<void>(bench.drive().take_events());
  bench.send("000#0101");
  bench.step(milliseconds(50));
  bench.drive().raise_fault(0x2310);
  const std::vector<Event> events = bench.drive().take_events();
  ASSERT_EQ(events.size(), 3U);
  EXPECT_EQ(events[0].kind, Kind::NMT_STATE);
  EXPECT_EQ(events[0].code, static_cast<std::uint32_t>(NMTState::OPERATIONAL));
  EXPECT_EQ(events[0].time, Time{});
  EXPECT_EQ(events[1].kind, Kind::EMERGENCY);
  EXPECT_EQ(events[1].code, 0x2310U);
  EXPECT_EQ(events[1].time, bench.now());
  EXPECT_EQ(events[2].kind, Kind::POWER_STATE);
  EXPECT_EQ(events[2].code, static_cast<std::uint32_t>(PowerState::FAULT));
  EXPECT_TRUE(bench.drive().take_events().empty());
}

TEST(AskedDrive, KeepsTheLastThousandEventsOfMany) {
  DriveBench bench;
  for (int i = 0; i < 800; ++i) {
    bench.send("000#0101");
    bench.send("000#8001");
  }
  const std::vector<Event> events = bench.drive().take_events();
  ASSERT_EQ(events.size(), 1000U);
  EXPECT_EQ(events.back().code, static_cast<std::uint32_t>(NMTState::PRE_OPERATIONAL));
}

}  // namespace
}  // namespace tav::drive::test

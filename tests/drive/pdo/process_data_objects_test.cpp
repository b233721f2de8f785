// PDOs and SYNC, frame by frame (CiA 301, 7.2.2 and 7.5.2.35 to 7.5.2.38).
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "drive/DriveBench.hpp"

namespace tav::drive::test {
namespace {

class ProcessDataTest : public ::testing::Test {
 protected:
  void SetUp() override { bench.write(0x1017, 0, 0, 2); }
  void start() {
    bench.send("000#0101");
    bench.take();
  }
  void sync() { bench.send("080#"); }
  /** TPDO 2 with these entries, on 0x2A1. */
  void map_transmit(const std::vector<std::uint32_t>& entries, std::uint32_t type) {
    EXPECT_EQ(bench.write(0x1801, 1, 0xC00002A1, 4), 0U);
    EXPECT_EQ(bench.write(0x1801, 2, type, 1), 0U);
    map(0x1A01, entries);
    EXPECT_EQ(bench.write(0x1801, 1, 0x400002A1, 4), 0U);
  }
  /** RPDO 2 with these entries, on 0x321. */
  void map_receive(const std::vector<std::uint32_t>& entries, std::uint32_t type) {
    EXPECT_EQ(bench.write(0x1401, 1, 0x80000321, 4), 0U);
    EXPECT_EQ(bench.write(0x1401, 2, type, 1), 0U);
    map(0x1601, entries);
    EXPECT_EQ(bench.write(0x1401, 1, 0x00000321, 4), 0U);
  }
  void map(std::uint16_t index, const std::vector<std::uint32_t>& entries) {
    EXPECT_EQ(bench.write(index, 0, 0, 1), 0U);
    for (std::size_t i = 0; i < entries.size(); ++i) {
      EXPECT_EQ(bench.write(index, static_cast<std::uint8_t>(i + 1), entries[i], 4), 0U);
    }
    EXPECT_EQ(bench.write(index, 0, static_cast<std::uint32_t>(entries.size()), 1), 0U);
  }
  void enable_and_turn() {
    for (const std::uint32_t word : {0x06U, 0x07U, 0x7FU}) bench.write(0x6040, 0, word, 2);
    bench.write(0x6042, 0, 1000, 2);
  }

  DriveBench bench;
};

TEST_F(ProcessDataTest, SendsAnEventDrivenPDOWhenTheNodeStartsAndOnEachChange) {
  bench.send("000#0101");
  EXPECT_EQ(bench.take(), Frames{"181#5002"}) << "switch on disabled, voltage, remote";
  bench.step(milliseconds(1000));
  EXPECT_EQ(bench.take(), Frames{});
  bench.send("601#2B40600006000000");
  EXPECT_EQ(bench.take(), (Frames{"581#6040600000000000", "181#3102"}));
  bench.send("601#2B40600006000000");
  EXPECT_EQ(bench.take(), Frames{"581#6040600000000000"}) << "no change, no PDO";
}

TEST_F(ProcessDataTest, AsShippedTheFirstRPDOTakesControlWordAndSetPoint) {
  start();
  bench.send("201#0600E803");
  EXPECT_EQ(bench.read(0x6041) & 0x6F, 0x21U);
  EXPECT_EQ(bench.read(0x6042), 1000U);
}

TEST_F(ProcessDataTest, PDOsLiveWhileOperationalOnly) {
  map_transmit({0x60410010}, 1);
  sync();
  bench.send("201#0600E803");
  EXPECT_EQ(bench.take(), Frames{});
  EXPECT_EQ(bench.read(0x6042), 0U);
  start();
  sync();
  EXPECT_EQ(bench.take(), Frames{"2A1#5002"});
  bench.send("000#8001");
  sync();
  EXPECT_EQ(bench.take(), Frames{});
}

TEST_F(ProcessDataTest, PacksValuesInTheirOrderLeastSignificantByteFirst) {
  bench.write(0x6042, 0, 0x1234, 2);
  map_transmit({0x60420010, 0x60640020, 0x60610008}, 1);
  start();
  sync();
  EXPECT_EQ(bench.take(), Frames{"2A1#34120000000002"});
}

TEST_F(ProcessDataTest, ACyclicPDOComesWithEveryNthSync) {
  map_transmit({0x60410010}, 3);
  start();
  for (int i = 0; i < 7; ++i) sync();
  EXPECT_EQ(bench.take().size(), 2U);
  sync();
  EXPECT_EQ(bench.take().size(), 0U);
  sync();
  EXPECT_EQ(bench.take().size(), 1U);
}

TEST_F(ProcessDataTest, AnAcyclicPDOComesWithASyncWhenThereIsNews) {
  map_transmit({0x60420010}, 0);
  start();
  sync();
  EXPECT_EQ(bench.take(), Frames{"2A1#0000"});
  sync();
  EXPECT_EQ(bench.take(), Frames{});
  bench.write(0x6042, 0, 5, 2);
  EXPECT_EQ(bench.take(), Frames{}) << "not before the SYNC";
  sync();
  EXPECT_EQ(bench.take(), Frames{"2A1#0500"});
}

TEST_F(ProcessDataTest, SyncFollowsItsObjectAndMayCount) {
  map_transmit({0x60420010}, 1);
  bench.write(0x1005, 0, 0x81, 4);
  start();
  sync();
  EXPECT_EQ(bench.take(), Frames{});
  bench.send("081#05");
  EXPECT_EQ(bench.take().size(), 1U);
  bench.send("081#0102");
  EXPECT_EQ(bench.take(), Frames{}) << "no SYNC has two bytes";
  EXPECT_EQ(bench.write(0x1005, 0, 0x40000080, 4), 0x06090030U) << "the drive produces no SYNC";
}

TEST_F(ProcessDataTest, ASynchronousRPDOActsWithTheNextSync) {
  map_receive({0x60420010}, 1);
  start();
  bench.send("321#0A00");
  bench.send("321#0B00");
  EXPECT_EQ(bench.read(0x6042), 0U);
  sync();
  EXPECT_EQ(bench.read(0x6042), 11U) << "the last one counts";
  bench.write(0x6042, 0, 3, 2);
  sync();
  EXPECT_EQ(bench.read(0x6042), 3U) << "and counts once";
}

TEST_F(ProcessDataTest, WhatIsSentWithASyncIsTheStateAtTheSync) {
  map_receive({0x60420010}, 1);
  map_transmit({0x60420010}, 1);
  start();
  bench.send("321#0A00");
  sync();
  EXPECT_EQ(bench.take(), Frames{"2A1#0000"});
  sync();
  EXPECT_EQ(bench.take(), Frames{"2A1#0A00"});
}

TEST_F(ProcessDataTest, TheInhibitTimeKeepsPDOsApart) {
  EXPECT_EQ(bench.write(0x1801, 1, 0x800002A1, 4), 0U);
  EXPECT_EQ(bench.write(0x1801, 3, 500, 2), 0U);  // 50 ms
  map_transmit({0x60420010}, 255);
  start();
  bench.write(0x6042, 0, 1, 2);
  bench.write(0x6042, 0, 2, 2);
  EXPECT_EQ(bench.take(), Frames{});
  bench.step(milliseconds(49));
  EXPECT_EQ(bench.take(), Frames{});
  bench.step(milliseconds(1));
  EXPECT_EQ(bench.take(), Frames{"2A1#0200"});
  EXPECT_EQ(bench.write(0x1801, 3, 0, 2), 0x08000022U) << "fixed while the PDO is valid";
}

TEST_F(ProcessDataTest, TheEventTimerSendsWithoutNews) {
  map_transmit({0x60420010}, 254);
  start();
  EXPECT_EQ(bench.write(0x1801, 5, 20, 2), 0U);
  bench.take();
  bench.step(milliseconds(100));
  EXPECT_EQ(bench.take(), Frames(5, "2A1#0000"));
}

TEST_F(ProcessDataTest, ValuesThatMoveAreSentInTheDrivesCycle) {
  map_transmit({0x606C0020}, 255);
  enable_and_turn();
  start();
  bench.step(milliseconds(100));
  const Frames frames = bench.take_events();
  EXPECT_GE(frames.size(), 10U);
  EXPECT_EQ(frames.back(), "2A1#64000000") << "100/min after 100 ms";
}

TEST_F(ProcessDataTest, MovesToAnotherIdentifierWhileItIsMadeInvalid) {
  EXPECT_EQ(bench.write(0x1800, 1, 0x4000019A, 4), 0x06090030U) << "a valid one keeps its identifier";
  EXPECT_EQ(bench.write(0x1800, 1, 0xC000019A, 4), 0U);
  EXPECT_EQ(bench.write(0x1800, 1, 0x4000019A, 4), 0U);
  bench.send("000#0101");
  EXPECT_EQ(bench.take(), Frames{"19A#5002"});
}

TEST_F(ProcessDataTest, RefusesIdentifiersThatBelongToOthers) {
  EXPECT_EQ(bench.write(0x1800, 1, 0x800001FF, 4), 0U);
  for (const std::uint32_t identifier : {0x000U, 0x07FU, 0x101U, 0x581U, 0x601U, 0x6E0U, 0x701U, 0x7FFU}) {
    EXPECT_EQ(bench.write(0x1800, 1, identifier, 4), 0x06090030U) << std::hex << identifier;
  }
  EXPECT_EQ(bench.write(0x1800, 1, 0x20000181, 4), 0x06090030U) << "29 bits";
}

TEST_F(ProcessDataTest, RefusesTransmissionTypesThatItDoesNotHave) {
  for (const std::uint32_t type : {241U, 252U, 253U}) EXPECT_EQ(bench.write(0x1800, 2, type, 1), 0x06090030U);
  for (const std::uint32_t type : {0U, 1U, 240U, 254U, 255U}) EXPECT_EQ(bench.write(0x1800, 2, type, 1), 0U);
}

TEST_F(ProcessDataTest, ChangesTheMappingOnlyInTheRightOrder) {
  EXPECT_EQ(bench.write(0x1A00, 0, 0, 1), 0x06010000U) << "the PDO is valid";
  EXPECT_EQ(bench.write(0x1800, 1, 0xC0000181, 4), 0U);
  EXPECT_EQ(bench.write(0x1A00, 1, 0x60640020, 4), 0x06010000U) << "its count is not 0";
  EXPECT_EQ(bench.write(0x1A00, 0, 0, 1), 0U);
  EXPECT_EQ(bench.write(0x1A00, 1, 0x60640020, 4), 0U);
  EXPECT_EQ(bench.write(0x1A00, 0, 1, 1), 0U);
}

TEST_F(ProcessDataTest, RefusesWhatCannotBeMapped) {
  bench.write(0x1800, 1, 0xC0000181, 4);
  bench.write(0x1A00, 0, 0, 1);
  bench.write(0x1400, 1, 0x80000201, 4);
  bench.write(0x1600, 0, 0, 1);
  EXPECT_EQ(bench.write(0x1A00, 1, 0x10180120, 4), 0x06040041U) << "not for mapping";
  EXPECT_EQ(bench.write(0x1A00, 1, 0x77770020, 4), 0x06040041U) << "not there";
  EXPECT_EQ(bench.write(0x1A00, 1, 0x60410020, 4), 0x06040041U) << "of another length";
  EXPECT_EQ(bench.write(0x1600, 1, 0x60410010, 4), 0x06040041U) << "cannot be written";
  EXPECT_EQ(bench.write(0x1A00, 0, 2, 1), 0x06040041U) << "the second entry is empty";
}

TEST_F(ProcessDataTest, RefusesMoreThanEightBytes) {
  bench.write(0x1800, 1, 0xC0000181, 4);
  bench.write(0x1A00, 0, 0, 1);
  bench.write(0x1A00, 1, 0x60640020, 4);
  bench.write(0x1A00, 2, 0x606C0020, 4);
  bench.write(0x1A00, 3, 0x60610008, 4);
  EXPECT_EQ(bench.write(0x1A00, 0, 3, 1), 0x06040042U);
  EXPECT_EQ(bench.write(0x1A00, 0, 2, 1), 0U);
}

TEST_F(ProcessDataTest, APDOWithoutEntriesMayBeValid) {
  map_transmit({}, 1);
  map_receive({}, 255);
  start();
  EXPECT_EQ(bench.read(0x1801, 1), 0x400002A1U);
  EXPECT_EQ(bench.read(0x1401, 1), 0x00000321U);
}

TEST_F(ProcessDataTest, ATPDOWithoutEntriesSendsNothing) {
  map_transmit({}, 1);
  start();
  sync();
  EXPECT_EQ(bench.take(), Frames{});
  map_transmit({}, 254);
  EXPECT_EQ(bench.write(0x1801, 5, 10, 2), 0U);
  bench.step(milliseconds(100));
  EXPECT_EQ(bench.take(), Frames{});
}

TEST_F(ProcessDataTest, AnRPDOWithoutEntriesTakesNothingAndReportsNothing) {
  map_receive({}, 255);
  start();
  bench.send("321#");
  bench.send("321#0102");
  EXPECT_EQ(bench.take(), Frames{});
  EXPECT_EQ(bench.read(0x1001), 0U);
}

TEST_F(ProcessDataTest, CanBeRemappedWhileOperational) {
  start();
  map_transmit({0x60420010}, 1);
  bench.take();
  sync();
  EXPECT_EQ(bench.take(), Frames{"2A1#0000"});
  map_transmit({0x60410010, 0x60420010}, 1);
  bench.take();
  sync();
  EXPECT_EQ(bench.take(), Frames{"2A1#50020000"});
}

TEST_F(ProcessDataTest, ReportsFramesOfTheWrongLength) {
  start();
  bench.send("201#0600E8");
  EXPECT_EQ(bench.take().at(0), "081#1082110100000000") << "0x8210, RPDO 1: not processed";
  EXPECT_EQ(bench.read(0x6041) & 0x6F, 0x40U);
  bench.take();
  bench.send("201#0600E80300");
  EXPECT_EQ(bench.take().at(0), "081#2082110100000000") << "0x8220: the rest is ignored";
  EXPECT_EQ(bench.read(0x6041) & 0x6F, 0x21U);
}

TEST_F(ProcessDataTest, ReportsAnRPDOThatStaysAway) {
  EXPECT_EQ(bench.write(0x1400, 5, 100, 2), 0U);
  start();
  bench.step(milliseconds(500));
  EXPECT_EQ(bench.take_events(), Frames{}) << "it has not begun";
  bench.send("201#06000000");
  bench.take();
  bench.step(milliseconds(100));
  EXPECT_EQ(bench.take_events().at(0), "081#5082110100000000") << "0x8250";
}

TEST_F(ProcessDataTest, AValueOutsideItsLimitsIsNotTaken) {
  map_receive({0x60600008, 0x60420010}, 255);
  start();
  bench.send("321#030700");
  EXPECT_EQ(bench.read_signed(0x6060), 2);
  EXPECT_EQ(bench.read(0x6042), 7U);
}

TEST_F(ProcessDataTest, AWrongLengthIsReportedOnceUntilARightOneComes) {
  map_receive({0x60420010}, 255);
  start();
  for (int i = 0; i < 3; ++i) bench.send("321#01");
  EXPECT_EQ(bench.take(), Frames{"081#1082110200000000"}) << "0x8210, RPDO 2";
  EXPECT_EQ(bench.read(0x1001), 0x11U);
  bench.send("321#010000");
  EXPECT_EQ(bench.take(), Frames{"081#2082110200000000"}) << "0x8220";
  EXPECT_EQ(bench.read(0x603F), 0x8220U);
  bench.send("321#010000");
  EXPECT_EQ(bench.take(), Frames{});
  bench.send("321#0100");
  EXPECT_EQ(bench.take(), Frames{"081#0000000000000000"});
  EXPECT_EQ(bench.read(0x1001), 0U);
}

TEST_F(ProcessDataTest, AWrongLengthIsForgottenWhenThePDOEnds) {
  map_receive({0x60420010}, 255);
  start();
  bench.send("321#01");
  bench.take();
  bench.send("000#8001");
  EXPECT_EQ(bench.take(), Frames{"081#0000000000000000"});
}

TEST_F(ProcessDataTest, AnRPDOThatStaysAwayIsMissedUntilItComes) {
  EXPECT_EQ(bench.write(0x1400, 5, 100, 2), 0U);
  start();
  bench.send("201#06000000");
  bench.take();
  bench.step(milliseconds(1000));
  EXPECT_EQ(bench.take_events(), Frames{"081#5082110100000000"}) << "0x8250";
  bench.send("201#06000000");
  EXPECT_EQ(bench.take_events(), Frames{"081#0000000000000000"});
}

TEST_F(ProcessDataTest, AtMovingValuesItLooksInItsCycleHoweverManyFramesCome) {
  map_transmit({0x60640020}, 255);
  enable_and_turn();
  start();
  bench.step(milliseconds(500));
  bench.take();
  for (int millisecond = 0; millisecond < 1000; ++millisecond) {
    for (int frame = 0; frame < 5; ++frame) bench.send("182#00");
    bench.read(0x6064);
    bench.step(milliseconds(1));
  }
  const Frames frames = bench.take_events();
  const auto is_position = [](const std::string& frame) { return frame.substr(0, 4) == "2A1#"; };
  EXPECT_EQ(std::count_if(frames.begin(), frames.end(), is_position), 100) << "one each 10 ms";
}

TEST_F(ProcessDataTest, WhatAFrameChangesIsSentAtOnceThoughTheMotorTurns) {
  map_transmit({0x60410010, 0x60640020}, 255);
  enable_and_turn();
  start();
  bench.step(milliseconds(503));
  bench.take();
  bench.write(0x6040, 0, 0x17F, 2);
  EXPECT_EQ(bench.take().size(), 0U) << "halt: the status word is the same";
  bench.write(0x6040, 0, 0x00, 2);
  const Frames frames = bench.take();
  ASSERT_EQ(frames.size(), 2U) << "TPDO 1 and 2";
  EXPECT_EQ(frames[1].substr(0, 8), "2A1#5002");
}

TEST_F(ProcessDataTest, TheLastLookShowsWhereTheMotorStopped) {
  map_transmit({0x60640020}, 255);
  enable_and_turn();
  start();
  bench.step(milliseconds(503));
  bench.write(0x6042, 0, 0, 2);
  bench.step(milliseconds(5000));
  const Frames frames = bench.take_events();
  const nkr::can::Frame last = frame_of(frames.back());
  const std::uint32_t shown = last.data[0] | static_cast<std::uint32_t>(last.data[1]) << 8 |
                              static_cast<std::uint32_t>(last.data[2]) << 16 |
                              static_cast<std::uint32_t>(last.data[3]) << 24;
  EXPECT_EQ(last.id, 0x2A1U);
  EXPECT_EQ(shown, bench.read(0x6064));
}

TEST_F(ProcessDataTest, TheEventTimerWaitsForTheEndOfTheInhibitTime) {
  EXPECT_EQ(bench.write(0x1801, 1, 0x800002A1, 4), 0U);
  EXPECT_EQ(bench.write(0x1801, 3, 500, 2), 0U);  // 50 ms
  EXPECT_EQ(bench.write(0x1801, 5, 20, 2), 0U);
  map_transmit({0x60420010}, 254);
  start();
  bench.step(milliseconds(49));
  EXPECT_EQ(bench.take(), Frames{});
  bench.step(milliseconds(1));
  EXPECT_EQ(bench.take(), Frames{"2A1#0000"});
  bench.step(milliseconds(500));
  EXPECT_EQ(bench.take().size(), 10U) << "every 50 ms";
}

TEST_F(ProcessDataTest, RefusesBitsOfAnIdentifierThatHaveNoMeaning) {
  EXPECT_EQ(bench.write(0x1801, 1, 0x80000AA1, 4), 0x06090030U) << "bit 11 of an identifier of 11 bits";
  EXPECT_EQ(bench.write(0x1801, 1, 0xA00002A1, 4), 0x06090030U) << "29 bits";
  EXPECT_EQ(bench.write(0x1401, 1, 0xC0000321, 4), 0x06090030U) << "bit 30 of an RPDO";
  EXPECT_EQ(bench.write(0x1801, 1, 0xC00002A1, 4), 0U) << "bit 30 of a TPDO: no remote frames";
}

TEST_F(ProcessDataTest, SyncTakesNoIdentifierThatBelongsToOthers) {
  for (const std::uint32_t identifier : {0x000U, 0x07FU, 0x101U, 0x581U, 0x601U, 0x701U}) {
    EXPECT_EQ(bench.write(0x1005, 0, identifier, 4), 0x06090030U) << std::hex << identifier;
  }
  EXPECT_EQ(bench.write(0x1005, 0, 0x00000880, 4), 0x06090030U) << "bit 11";
  EXPECT_EQ(bench.write(0x1005, 0, 0x80000081, 4), 0U) << "bit 31 has no meaning";
}

}  // namespace
}  // namespace tav::drive::test

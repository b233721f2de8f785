// Scenarios: how they are written, and what they make of the drive, frame by frame.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "drive/DriveBench.hpp"

namespace tav::drive::test {
namespace {

std::string mistake_in(const std::string& text) {
  std::istringstream stream(text);
  Scenario scenario;
  std::string problem;
  EXPECT_FALSE(read_scenario(stream, scenario, problem)) << text;
  EXPECT_TRUE(scenario.events.empty());
  return problem;
}

Scenario scenario_of(const std::string& text) {
  std::istringstream stream(text);
  Scenario scenario;
  std::string problem;
  EXPECT_TRUE(read_scenario(stream, scenario, problem)) << problem;
  return scenario;
}

TEST(ScenarioText, IsOneEventALineAtATimeOrAtAnAccessOrAtOnce) {
  const Scenario scenario = scenario_of(R"(
# what is tried out
at 1.5s fault 0x2310        # it lasts
at 250  emcy 8240
access 3 read 0x6041 reply late 50ms
access each write "Identity Object # Vendor Id" reply abort 0x08000022
silence 2s
)");
  ASSERT_EQ(scenario.events.size(), 5U);
  EXPECT_EQ(scenario.events[0].line, 3U);
  EXPECT_EQ(scenario.events[0].when.kind, Trigger::Kind::TIME);
  EXPECT_EQ(scenario.events[0].when.time, milliseconds(1500));
  EXPECT_EQ(scenario.events[0].action.kind, Action::Kind::FAULT);
  EXPECT_EQ(scenario.events[0].action.code, 0x2310U);
  EXPECT_TRUE(scenario.events[0].action.on);
  EXPECT_EQ(scenario.events[1].when.time, milliseconds(250));
  EXPECT_EQ(scenario.events[1].action.code, 8240U);
  EXPECT_EQ(scenario.events[2].when.kind, Trigger::Kind::READ);
  EXPECT_EQ(scenario.events[2].when.nth, 3U);
  EXPECT_EQ(scenario.events[2].when.object.index, 0x6041U);
  EXPECT_EQ(scenario.events[2].action.duration, milliseconds(50));
  EXPECT_EQ(scenario.events[3].when.kind, Trigger::Kind::WRITE);
  EXPECT_EQ(scenario.events[3].when.nth, 0U);
  EXPECT_EQ(scenario.events[3].when.object.name, "Identity Object # Vendor Id");
  EXPECT_EQ(scenario.events[3].action.code, 0x08000022U);
  EXPECT_EQ(scenario.events[4].when.time, milliseconds(0));
}

TEST(ScenarioText, TakesAddressesWithSubIndicesAndCarriageReturns) {
  const Scenario scenario = scenario_of("access 1 any 0x1018:0x0A reply twice\r\nset 0x6042 -100\r\n");
  ASSERT_EQ(scenario.events.size(), 2U);
  EXPECT_EQ(scenario.events[0].when.object.index, 0x1018U);
  EXPECT_EQ(scenario.events[0].when.object.subindex, 10U);
  EXPECT_EQ(scenario.events[1].action.text, "-100");
}

TEST(ScenarioText, MistakesAreNamedWithTheirLine) {
  const struct {
    const char* text;
    const char* problem;
  } kMistakes[] = {
      {"\n\nfoult 0x2310", "line 3: \"foult\" is not known"},
      {"at fault 0x2310", "line 1: \"fault\" is not a time such as 250ms or 1.5s"},
      {"at -5 reset", "\"-5\" is not a time"},
      {"at 5h reset", "\"5h\" is not a time"},
      {"at 1.5 reset", "\"1.5\" is not a time"},
      {"at 1.s reset", "\"1.s\" is not a time"},
      {"at 99999999999999999999 reset", "is not a time"},
      {"at 2147484s reset", "is not a time"},
      {"at", "a time is missing"},
      {"at 5", "what is to happen is missing"},
      {"fault", "an error code of 16 bits is missing"},
      {"fault 0x10000", "\"0x10000\" is not an error code of 16 bits"},
      {"fault 0x2310 lasting", "\"lasting\" is too much"},
      {"access 0 any * reset", "\"0\" is not the number of an access"},
      {"access 1 look * reset", "an access is a read, a write or any"},
      {"access 1 read 0x60411 reset", "\"0x60411\" is not an object"},
      {"access 1 read 0x6041:256 reset", "\"256\" is not an object"},
      {"access 1 read Statusword reset", "\"Statusword\" is not an object"},
      {"access 1 read \"Statusword reset", "a quotation mark is not closed"},
      {"access 1 read \"\" reset", "the name of an object is empty"},
      {"reply early", "a reply is not \"early\""},
      {"reply late", "a time is missing"},
      {"bus on", "a bus is off, gone or back"},
      {"sto", "sto is on (demanded) or off"},
      {"input voltage 3", "no input is called \"voltage\""},
      {"input driver hot", "\"hot\" is not a number"},
      {"set 0x6042", "a value is missing"},
  };
  for (const auto& mistake : kMistakes) {
    EXPECT_NE(mistake_in(mistake.text).find(mistake.problem), std::string::npos)
        << mistake.text << ": " << mistake_in(mistake.text);
  }
}

TEST(ScenarioText, AFileThatCannotBeReadIsNamed) {
  Scenario scenario;
  std::string problem;
  EXPECT_FALSE(read_scenario_file("/nowhere/scenario", scenario, problem));
  EXPECT_EQ(problem, "cannot open /nowhere/scenario");
}

class ScenarioTest : public ::testing::Test {
 protected:
  void play(const std::string& text) {
    std::string problem;
    EXPECT_TRUE(bench.drive().play(scenario_of(text), problem)) << problem;
  }
  std::string refusal_of(const std::string& text) {
    std::string problem;
    EXPECT_FALSE(bench.drive().play(scenario_of(text), problem));
    return problem;
  }
  std::string read_vendor() { return bench.answer("601#4018100100000000"); }

  static constexpr const char* kVendor = "581#43181001270A0000";
  DriveBench bench;
};

TEST_F(ScenarioTest, RefusesWhatTheDriveDoesNotHave) {
  EXPECT_EQ(refusal_of("\naccess 1 read \"Statuswort\" reset"), "line 2: no object is called \"Statuswort\"");
  EXPECT_EQ(refusal_of("set 0x5FFF 1"), "line 1: the drive has no such object");
  EXPECT_EQ(refusal_of("set 0x6042 40000"), "line 1: \"40000\" is no value of vl_target_velocity");
  EXPECT_EQ(refusal_of("set 0x6042 fast"), "line 1: \"fast\" is no value of vl_target_velocity");
  EXPECT_EQ(refusal_of("fault 0x2310\nset 0x5FFF 1"), "line 2: the drive has no such object");
  EXPECT_TRUE(bench.take_events().empty()) << "nothing of a refused scenario happens";
}

TEST_F(ScenarioTest, EventsHappenAtTheirTimeAndInTheirOrder) {
  play("at 300ms emcy 0x3000\nat 100ms emcy 0x1000\nat 300ms emcy 0x3001");
  bench.step(milliseconds(99));
  EXPECT_TRUE(bench.take_events().empty());
  bench.step(milliseconds(1));
  EXPECT_EQ(bench.take_events(), Frames{"081#0010000000000000"});
  bench.step(milliseconds(1000));
  EXPECT_EQ(bench.take_events(), (Frames{"081#0030000000000000", "081#0130000000000000"}));
}

TEST(Scenario, TimesCountFromPowerOnWhenItIsGivenBefore) {
  std::string problem;
  const auto drive = VirtualDrive::from_file("share/tav/tav.eds", as_node(1), problem);
  ASSERT_NE(drive, nullptr) << problem;
  Frames sent;
  drive->connect([&](const nkr::can::Frame& frame) {
    if (frame.size != 1 || frame.data[0] == 0) sent.push_back(nkr::can::to_string(frame));  // no heartbeats
  });
  ASSERT_TRUE(drive->play(scenario_of("at 100ms silence 1s\nemcy 0x1000"), problem));
  EXPECT_TRUE(sent.empty());
  const Time start = Time{} + std::chrono::hours(5);
  drive->power_on(start);
  EXPECT_EQ(sent, (Frames{"701#00", "081#0010000000000000"}));
  sent.clear();
  drive->receive(frame_of("601#4018100100000000"), start + milliseconds(99));
  EXPECT_EQ(sent, Frames{"581#43181001270A0000"});
  sent.clear();
  drive->receive(frame_of("601#4018100100000000"), start + milliseconds(100));
  EXPECT_TRUE(sent.empty());
}

TEST_F(ScenarioTest, CountsTheAccessesOfAnObjectByNameAndKind) {
  play("access 2 read \"Identity Object Vendor Id\" reply lost");
  EXPECT_EQ(read_vendor(), kVendor);
  EXPECT_EQ(bench.answer("601#4000100000000000"), "581#4300100092010200") << "another object";
  EXPECT_EQ(bench.answer("601#2318100101000000"), "581#8018100102000106") << "a write";
  EXPECT_EQ(read_vendor(), "");
  EXPECT_EQ(read_vendor(), kVendor) << "once";
}

TEST_F(ScenarioTest, EachAccessOfAnyObject) {
  play("access each any * reply twice");
  EXPECT_EQ(read_vendor(), std::string(kVendor) + " " + kVendor);
  EXPECT_EQ(bench.answer("601#2B42600064000000"), "581#6042600000000000 581#6042600000000000");
}

TEST_F(ScenarioTest, AtATimeAReplyFaultIsThatOfTheNextAccess) {
  play("reply lost");
  EXPECT_EQ(read_vendor(), "");
  EXPECT_EQ(read_vendor(), kVendor);
}

TEST_F(ScenarioTest, AWriteWhoseReplyIsLostTakesEffect) {
  play("access 1 write 0x6042 reply lost");
  EXPECT_EQ(bench.answer("601#2B42600064000000"), "");
  EXPECT_EQ(bench.read(0x6042), 100U);
}

TEST_F(ScenarioTest, ALateReplyComesAfterItsTimeAndDoesNotHoldUpOthers) {
  play("access 1 read 0x1018:1 reply late 50ms");
  EXPECT_EQ(read_vendor(), "");
  EXPECT_EQ(bench.answer("601#4000100000000000"), "581#4300100092010200");
  bench.step(milliseconds(49));
  EXPECT_TRUE(bench.take_events().empty());
  bench.step(milliseconds(1));
  EXPECT_EQ(bench.take_events(), Frames{kVendor});
}

TEST_F(ScenarioTest, AnAccessThatIsAbortedHasNoEffect) {
  play("access 1 write 0x6042 reply abort 0x08000022");
  EXPECT_EQ(bench.answer("601#2B42600064000000"), "581#8042600022000008");
  EXPECT_EQ(bench.read(0x6042), 0U);
}

TEST_F(ScenarioTest, AWrongToggleBitIsThatOfTheFirstSegment) {
  play("access 1 read 0x1018:1 reply wrong-toggle\naccess 1 write 0x1008 reply wrong-toggle");
  EXPECT_EQ(read_vendor(), "581#4118100104000000") << "in segments, although it is short";
  EXPECT_EQ(bench.answer("601#6000000000000000"), "581#17270A0000000000") << "toggle 1 instead of 0";
  EXPECT_EQ(read_vendor(), kVendor);
  EXPECT_EQ(bench.answer("601#2108100008000000"), "581#6008100000000000");
  EXPECT_EQ(bench.answer("601#0041414141414141"), "581#3000000000000000") << "toggle 1 instead of 0";
  EXPECT_EQ(bench.answer("601#1D41000000000000"), "581#3000000000000000");
}

TEST_F(ScenarioTest, AWrongIndexIsTheNextOne) {
  play("access each any * reply wrong-index");
  EXPECT_EQ(read_vendor(), "581#43191001270A0000");
  EXPECT_EQ(bench.answer("601#2B42600064000000"), "581#6043600000000000");
}

TEST_F(ScenarioTest, AWrongSizeIsOneByteMoreWhereThereIsRoom) {
  play("access each any * reply wrong-size");
  EXPECT_EQ(read_vendor(), "581#47181001270A0000") << "of four bytes: three";
  EXPECT_EQ(bench.answer("601#4041600000000000").substr(0, 12), "581#47416000") << "of two bytes: three";
  EXPECT_EQ(bench.answer("601#2B42600064000000"), "581#60426000") << "a frame of four bytes";
  EXPECT_EQ(bench.answer("601#2108100008000000"), "581#60081000");
  EXPECT_EQ(bench.answer("601#0041414141414141"), "581#2000000000000000");
  EXPECT_EQ(bench.answer("601#1D41000000000000"), "581#3000000000000000");
  EXPECT_EQ(bench.answer("601#4008100000000000"), "581#4108100009000000") << "eight bytes: nine";
}

TEST_F(ScenarioTest, AResetBeforeAnAccessLosesIt) {
  play("access 1 write 0x6042 reset");
  EXPECT_EQ(bench.answer("601#2B42600064000000"), "701#00");
  EXPECT_EQ(bench.read(0x6042), 0U);
}

TEST_F(ScenarioTest, AResetInMidTransferComesWithTheNextRequestOrInsteadOfTheOnlyAnswer) {
  play("access 1 write 0x6042 reset amid\naccess 1 write 0x1008 reset amid");
  EXPECT_EQ(bench.answer("601#2B42600064000000"), "701#00");
  EXPECT_EQ(bench.answer("601#2108100008000000"), "581#6008100000000000");
  EXPECT_EQ(bench.answer("601#0041414141414141"), "701#00");
  EXPECT_EQ(bench.answer("601#4008100000000000"), "581#4708100054415600") << "TAV, as before";
}

TEST_F(ScenarioTest, FaultsLastUntilTheyAreCleared) {
  play("fault 0x2310\nfault 0x3210");
  EXPECT_EQ(bench.take_events(), (Frames{"081#1023030000000000", "081#1032070000000000"}));
  bench.write(0x6040, 0, 0x80, 2);
  EXPECT_EQ(bench.read(0x6041) & 0x4FU, 0x08U) << "FAULT: their causes are there";
  bench.write(0x6040, 0, 0, 2);
  play("clear 0x2310");
  play("clear");
  bench.write(0x6040, 0, 0x80, 2);
  EXPECT_EQ(bench.read(0x6041) & 0x4FU, 0x40U) << "SWITCH_ON_DISABLED";
}

TEST_F(ScenarioTest, APassingFaultIsGoneWithAReset) {
  play("fault 0x2310 passing");
  bench.write(0x6040, 0, 0x80, 2);
  EXPECT_EQ(bench.read(0x6041) & 0x4FU, 0x40U);
}

TEST_F(ScenarioTest, TheSTOInputActsBesideTheCommandAndSurvivesAReset) {
  play("sto on");
  EXPECT_EQ(bench.read(0x2640), 1U);
  EXPECT_EQ(bench.read(0x6640), 1U) << "the command does not demand it";
  bench.write(0x6040, 0, 6, 2);
  EXPECT_EQ(bench.read(0x6041) & 0x4FU, 0x40U) << "it stays in SWITCH_ON_DISABLED";
  bench.send("000#8101");
  EXPECT_EQ(bench.read(0x2640), 1U);
  play("sto off");
  EXPECT_EQ(bench.read(0x2640), 0U);
}

TEST_F(ScenarioTest, ASensorKeepsTheOthersAsTheyWere) {
  play("input driver 200");
  const Frames hot = bench.take_events();
  ASSERT_FALSE(hot.empty());
  play("input phase-current 0");
  EXPECT_EQ(bench.read(0x6041) & 0x08U, 0x08U) << "still hot: still in FAULT";
  play("input battery-voltage 1000");
  EXPECT_FALSE(bench.take_events().empty()) << "under-voltage";
}

TEST_F(ScenarioTest, ASilentDriveServesAllTheSame) {
  play("silence 100ms");
  EXPECT_EQ(bench.answer("601#2B42600064000000"), "");
  bench.step(milliseconds(100));
  bench.take();
  EXPECT_EQ(bench.read(0x6042), 100U);
}

TEST_F(ScenarioTest, ObjectsTakeValues) {
  play("set 0x6042 -100\nset \"Identity Object Vendor Id\" 0x12345678\nset 0x1008 \"my drive\"");
  EXPECT_EQ(static_cast<std::int16_t>(bench.read(0x6042)), -100);
  EXPECT_EQ(bench.read(0x1018, 1), 0x12345678U) << "a client could not write it";
  EXPECT_EQ(bench.answer("601#4008100000000000"), "581#4108100008000000");
}

TEST_F(ScenarioTest, WhatTheDriveComputesTakesAValueUntilTheNodeStartsAnew) {
  play("set 0x6041 0x1234\nset \"position_value\" -5\nset 0x1003:1 0x00012310");
  EXPECT_EQ(bench.read(0x6041), 0x1234U);
  EXPECT_EQ(bench.read_signed(0x6064), -5);
  EXPECT_EQ(bench.read(0x1003, 1), 0x00012310U);
  bench.write(0x6040, 0, 0x06, 2);
  bench.step(milliseconds(1000));
  EXPECT_EQ(bench.read(0x6041), 0x1234U) << "whatever the drive does";
  bench.send("000#8101");
  EXPECT_EQ(bench.read(0x6041) & 0x6FU, 0x40U);
  EXPECT_EQ(bench.read_signed(0x6064), 0);
}

TEST_F(ScenarioTest, ValuesThatTheDriveComputesAreSentByPDOsAsTheyWereSet) {
  bench.send("000#0101");
  bench.take();
  play("set 0x6041 0x1234");
  EXPECT_EQ(bench.take(), Frames{"181#3412"});
}

TEST_F(ScenarioTest, AValueThatTheDriveNeverTakesIsAMistake) {
  Scenario scenario;
  std::string problem;
  ASSERT_TRUE(read_scenario_line("at 1s set 0x6060 1", scenario, problem));
  EXPECT_FALSE(bench.drive().play(scenario, problem));
  EXPECT_EQ(problem.find("the drive refuses \"1\" for modes_of_operation: "), 0U) << problem;
}

TEST_F(ScenarioTest, AValueThatTheDriveRefusesNowIsNamedAndTheRestHappens) {
  Scenario scenario;
  std::string problem;
  ASSERT_TRUE(read_scenario_line("set 0x605A 9", scenario, problem));
  ASSERT_TRUE(read_scenario_line("set 0x6042 77", scenario, problem));
  ASSERT_TRUE(read_scenario_line("emcy 0x8130", scenario, problem));
  EXPECT_FALSE(bench.drive().play(scenario, problem));
  EXPECT_EQ(problem.find("the drive refuses \"9\" for quick_stop_option_code: "), 0U) << problem;
  EXPECT_EQ(bench.take(), Frames{"081#3081000000000000"});
  EXPECT_EQ(bench.read(0x605A), 2U);
  EXPECT_EQ(bench.read(0x6042), 77U);
}

TEST_F(ScenarioTest, AValueThatTheDriveRefusesLaterIsAnEvent) {
  play("at 1s set 0x1800:3 100");
  static_cast<void>(bench.drive().take_events());
  bench.step(milliseconds(1000));
  const std::vector<Event> events = bench.drive().take_events();
  ASSERT_EQ(events.size(), 1U);
  EXPECT_EQ(events[0].kind, Event::Kind::REFUSED);
  EXPECT_EQ(events[0].code, 0x08000022U) << "the PDO is valid";
  EXPECT_EQ(events[0].time, bench.now());
  EXPECT_NE(events[0].text.find("\"100\""), std::string::npos) << events[0].text;
}

TEST_F(ScenarioTest, WhileTheBusIsOffTheDriveNeitherHearsNorSpeaks) {
  std::vector<nkr::can::BusState> states;
  Frames sent;
  const auto keep = [&](const nkr::can::Frame& frame) {
    if (frame.size > 1) sent.push_back(nkr::can::to_string(frame));  // no heartbeats
  };
  bench.drive().connect(keep, {[&](nkr::can::BusState state) { states.push_back(state); }, {}});
  play("access 1 read 0x1018:1 bus off 100ms");
  bench.send("601#4018100100000000");
  bench.send("601#2B42600064000000");
  EXPECT_TRUE(sent.empty());
  EXPECT_EQ(states, std::vector<nkr::can::BusState>{nkr::can::BusState::BUS_OFF});
  bench.step(milliseconds(100));
  ASSERT_EQ(states.size(), 2U);
  EXPECT_EQ(states[1], nkr::can::BusState::ERROR_ACTIVE);
  EXPECT_EQ(sent, (Frames{"081#4081110000000000", "081#0000000000000000"}))
      << "it tells that it was off the bus";
  sent.clear();
  bench.send("601#4042600000000000");
  EXPECT_EQ(sent, Frames{"581#4B42600000000000"}) << "what was written meanwhile did not reach it";
}

TEST_F(ScenarioTest, AnInterfaceThatIsGoneComesBackOnDemand) {
  play("bus gone");
  bench.step(milliseconds(60000));
  EXPECT_TRUE(bench.take().empty());
  play("bus back");
  EXPECT_EQ(read_vendor(), kVendor);
}

}  // namespace
}  // namespace tav::drive::test

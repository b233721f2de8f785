// Scenarios that act on frames, motor and supply, and what they expect of the drive.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "drive/DriveBench.hpp"

namespace tav::drive::test {
namespace {

Scenario scenario_of(const std::string& text) {
  std::istringstream stream(text);
  Scenario scenario;
  std::string problem;
  EXPECT_TRUE(read_scenario(stream, scenario, problem)) << problem;
  return scenario;
}

std::string mistakes_in(const std::string& text) {
  std::istringstream stream(text);
  Scenario scenario;
  std::string problem;
  EXPECT_FALSE(read_scenario(stream, scenario, problem)) << text;
  return problem;
}

class MachineScenarioTest : public ::testing::Test {
 protected:
  MachineScenarioTest() { use(true); }

  void use(bool real_motor, const char* timing = "ideal") {
    Settings settings = as_node(1);
    settings.mechanics = {360, 7};
    settings.logs_scenario = true;
    if (real_motor) settings.motor.emplace();
    EXPECT_TRUE(timing_profile(timing, settings.timing));
    bench = std::make_unique<DriveBench>(settings);
  }
  void play(const std::string& text) {
    std::string problem;
    EXPECT_TRUE(bench->drive().play(scenario_of(text), problem)) << problem;
  }
  std::string refusal(const std::string& text) {
    std::string problem;
    EXPECT_FALSE(bench->drive().play(scenario_of(text), problem)) << text;
    return problem;
  }
  void enable(int speed) {
    for (const std::uint32_t word : {0x06U, 0x07U, 0x7FU}) bench->write(0x6040, 0, word, 2);
    bench->write(0x6042, 0, static_cast<std::uint32_t>(speed), 2);
    bench->step(milliseconds(150));
  }
  /** How the checks ended: "passed", "failed: why", "open: why". */
  std::vector<std::string> verdicts() {
    std::vector<std::string> texts;
    for (const Verdict& verdict : bench->drive().finish_scenario()) {
      const char* const kWords[] = {"passed", "failed: ", "open: "};
      texts.push_back(kWords[static_cast<int>(verdict.kind)] + verdict.message);
    }
    return texts;
  }
  int speed() { return static_cast<int>(bench->drive().value("velocity_actual_value").value_or(0)); }
  using Texts = std::vector<std::string>;

  std::unique_ptr<DriveBench> bench;
};

// Frames.

TEST_F(MachineScenarioTest, FramesAreLostByTheirNumber) {
  play("frame 2..3 sdo-reply lose");
  EXPECT_NE(bench->answer("601#4018100100000000"), "");
  EXPECT_EQ(bench->answer("601#4018100100000000"), "");
  EXPECT_EQ(bench->answer("601#4018100100000000"), "");
  EXPECT_NE(bench->answer("601#4018100100000000"), "");
}

TEST_F(MachineScenarioTest, FramesThatComeAreLostToo) {
  play("frame 1 sdo-request lose");
  bench->answer("601#2F60600000000000");
  EXPECT_EQ(bench->read(0x6060), 2U);
}

TEST_F(MachineScenarioTest, FramesComeLateAndTwiceAndWrong) {
  play("frame 1 sdo-reply late 20ms\nframe 2 sdo-reply duplicate\nframe 3 sdo-reply corrupt 4.0");
  EXPECT_EQ(bench->answer("601#4018100100000000"), "");
  bench->step(milliseconds(19));
  EXPECT_TRUE(bench->take_events().empty());
  bench->step(milliseconds(1));
  EXPECT_EQ(bench->take_events(), Frames{"581#43181001270A0000"});
  EXPECT_EQ(bench->answer("601#4018100100000000"), "581#43181001270A0000 581#43181001270A0000");
  EXPECT_EQ(bench->answer("601#4018100100000000"), "581#43181001260A0000");
}

TEST_F(MachineScenarioTest, ALateRequestIsServedLate) {
  play("frame each sdo-request late 30ms count 1");
  EXPECT_EQ(bench->answer("601#4018100100000000"), "");
  bench->step(milliseconds(30));
  EXPECT_EQ(bench->take_events(), Frames{"581#43181001270A0000"});
}

TEST_F(MachineScenarioTest, EveryThirdFrameOrSomeByProbabilityAndSeed) {
  const auto lost = [&](const std::string& text) {
    use(true);
    play(text);
    std::string pattern;
    for (int i = 0; i < 300; ++i) pattern += bench->answer("601#4018100100000000").empty() ? '-' : '+';
    return pattern;
  };
  EXPECT_EQ(lost("frame every 3 sdo-reply lose").substr(0, 9), "++-++-++-");
  const std::string some = lost("seed 5\nframe each sdo-reply lose with 20%");
  EXPECT_NEAR(static_cast<double>(std::count(some.begin(), some.end(), '-')), 60, 25);
  EXPECT_EQ(lost("seed 5\nframe each sdo-reply lose with 20%"), some);
  EXPECT_NE(lost("seed 6\nframe each sdo-reply lose with 20%"), some);
  // Another line shifts the numbers of this one not.
  EXPECT_EQ(lost("seed 5\nframe each heartbeat lose with 50%\nframe each sdo-reply lose with 20%"), some);
}

TEST_F(MachineScenarioTest, APDOIsNamedByItsNumberWhateverItsIdentifier) {
  play("frame each tpdo1 lose until 1s");
  bench->send("000#0101");
  const Frames frames = bench->take_events();
  for (const std::string& frame : frames) EXPECT_NE(frame.substr(0, 4), "181#") << frame;
}

// Triggers.

TEST_F(MachineScenarioTest, ActsOnStatesFramesAndWhatTheMotorDoes) {
  play(
      "state OPERATION_ENABLED emcy 0x1001\nwhen velocity > 100 for 20ms emcy 0x1002\nframe 2 sync emcy "
      "0x1003\n"
      "nmt OPERATIONAL emcy 0x1004");
  bench->take();
  enable(200);
  bench->step(milliseconds(1000));
  bench->send("080#");
  bench->step(milliseconds(1));
  bench->send("080#");
  bench->send("000#0101");
  bench->step(milliseconds(1));
  Frames emergencies;
  for (const std::string& frame : bench->take()) {
    if (frame.rfind("081#", 0) == 0) emergencies.push_back(frame.substr(4, 4));
  }
  EXPECT_EQ(emergencies, (Frames{"0110", "0210", "0310", "0410"}));
}

TEST_F(MachineScenarioTest, RepeatsEverySoOften) {
  play("every 100ms until 350ms emcy 0x1001\nrepeat 3 every 1s {\n  at 500ms emcy 0x1002\n}");
  bench->step(milliseconds(3000));
  std::string codes;
  for (const std::string& frame : bench->take()) {
    if (frame.rfind("081#", 0) == 0) codes += frame[5];
  }
  EXPECT_EQ(codes,
            "111"
            "222");
}

// Motor and supply.

TEST_F(MachineScenarioTest, LoadAndSlopeChangeOverATime) {
  enable(500);
  bench->step(milliseconds(2000));
  play(
      "slope 10 over 1s\nat 2s check current > 5 and current < 7\nat 3s load 600\nat 3100ms check current > "
      "25 or velocity < 490");
  bench->step(milliseconds(3200));
  EXPECT_EQ(verdicts(), (Texts{"passed", "passed"}));
}

TEST_F(MachineScenarioTest, TheVoltageFallsOnARampUntilItIsTooLow) {
  play("voltage 10 over 2s\nexpect emcy 0x3220 within 2s");
  bench->step(milliseconds(3000));
  EXPECT_EQ(verdicts(), Texts{"passed"});
}

TEST_F(MachineScenarioTest, AStuckEncoderLetsTheMotorRunAway) {
  enable(100);
  bench->step(milliseconds(1000));
  play(
      "encoder stuck\nat 300ms check velocity < 5 and current > 10\nat 301ms encoder ok\nat 400ms check "
      "velocity > 300");
  bench->step(milliseconds(500));
  EXPECT_EQ(verdicts(), (Texts{"passed", "passed"}));
}

TEST_F(MachineScenarioTest, ALostPhaseAWornBrakeAndACutBattery) {
  enable(300);
  bench->step(milliseconds(1500));
  play(
      "brake worn 100\nslope 15\nat 100ms sto on\nexpect velocity < -100 within 3s\nat 1s brake stuck "
      "closed\n"
      "at 1900ms check velocity = 0\nat 1600ms phase lost\nat 1700ms battery open");
  bench->step(milliseconds(3000));
  EXPECT_EQ(verdicts(), (Texts{"passed", "passed"}));
}

TEST_F(MachineScenarioTest, WithoutPowerItFallsSilentItsBrakeCloses) {
  bench->write(0x1017, 0, 10, 2);
  enable(300);
  bench->step(milliseconds(1500));
  play(
      "power off\nexpect brake = 1 within 150ms\nat 1s power on\nexpect frame boot-up within 1100ms\nat 2s "
      "check position = 0");
  bench->step(milliseconds(50));
  bench->take();
  bench->step(milliseconds(900));
  EXPECT_TRUE(bench->take().empty());
  bench->step(milliseconds(1100));
  EXPECT_EQ(verdicts(), (Texts{"passed", "passed", "passed"}));
  EXPECT_EQ(bench->drive().power_state(), PowerState::SWITCH_ON_DISABLED);
}

TEST_F(MachineScenarioTest, AShortInterruptionOfThePowerIsBorne) {
  play("power off\nat 15ms power on\nnever nmt INITIALISING");
  bench->step(milliseconds(1000));
  EXPECT_EQ(verdicts(), Texts{"passed"});
}

TEST_F(MachineScenarioTest, AFlashThatFailsIsTold) {
  play("flash fails\nat 1s flash ok");
  EXPECT_EQ(bench->write(0x1010, 1, 0x65766173, 4), 0x06060000U);
  bench->step(milliseconds(1001));
  EXPECT_EQ(bench->write(0x1010, 1, 0x65766173, 4), 0U);
}

TEST_F(MachineScenarioTest, APowerCutWhileItStoresLeavesTheOldOrTheNewValues) {
  for (int cut = 0; cut < 100; ++cut) {
    use(true, "typical");
    bench->step(milliseconds(510));
    bench->send("601#2B42600000000000");
    bench->step(milliseconds(5));
    bench->send("601#2348600103000000");  // two values that belong together
    bench->step(milliseconds(5));
    bench->send("601#2B48600207000000");
    bench->step(milliseconds(5));
    bench->send("601#2310100173617665");
    play("at " + std::to_string(2 * cut) + "ms power off\nat 400ms power on");
    bench->step(milliseconds(1000));
    const auto speed = bench->drive().value("vl_velocity_acceleration vl_velocity_acceleration_delta_speed");
    const auto time = bench->drive().value("vl_velocity_acceleration vl_velocity_acceleration_delta_time");
    ASSERT_TRUE(speed && time);
    EXPECT_TRUE((*speed == 3) == (*time == 7)) << cut;
  }
}

TEST_F(MachineScenarioTest, NothingIsSaidToBeDoneThatHasNoEffect) {
  use(false);
  for (const char* const line :
       {"slope 3", "load 100", "encoder stuck", "phase lost", "battery open", "brake worn 10"}) {
    EXPECT_EQ(refusal(line),
              "line 1: on an ideal motor this has no effect (tav-drive --motor, Settings::motor)")
        << line;
  }
  EXPECT_EQ(refusal("at 1s check winding > 3"),
            "line 1: an ideal motor has no such signal (tav-drive --motor, Settings::motor)");
  EXPECT_EQ(refusal("at 1s check 0x6FFF = 3\ncheck \"nothing\" = 1"),
            "line 1: the drive has no such object\nline 2: no object is called \"nothing\"");
}

TEST_F(MachineScenarioTest, ASensorShowsAgainWhatThereIs) {
  play(
      "input battery-voltage 10000\nat 100ms input battery-voltage ok\nexpect emcy 0x3220 within 50ms\n"
      "at 200ms check \"nkr_system_error_states_status battery_uv\" = 0");
  bench->step(milliseconds(300));
  EXPECT_EQ(verdicts(), (Texts{"passed", "passed"}));
}

// Checks.

TEST_F(MachineScenarioTest, AFailedCheckSaysWhatThereWas) {
  play(
      "at 10ms expect velocity > 50 within 300ms\nexpect state FAULT within 100ms\nnever nmt "
      "PRE-OPERATIONAL\n"
      "expect frame tpdo1 within 100ms\nexpect count sync 2..3 in 100ms\nexpect 0x6060 = 2 for 50ms");
  bench->step(milliseconds(500));
  EXPECT_EQ(verdicts(), (Texts{"failed: the NMT state is PRE_OPERATIONAL", "passed",
                               "failed: the state is SWITCH_ON_DISABLED", "failed: no such frame came",
                               "failed: 0 of them came", "failed: velocity is 0"}));
}

TEST_F(MachineScenarioTest, WhatNeverHappenedIsOpen) {
  play(
      "access 1 read 0x1000 reset\nat 10s fault 0x2310\nstate FAULT emcy 0x1001\nexpect state FAULT within "
      "20s\nnever velocity > 3");
  bench->step(milliseconds(500));
  EXPECT_EQ(verdicts(), (Texts{"open: the scenario ended before", "passed", "open: it did not happen",
                               "open: it did not happen", "open: it did not happen"}));
}

TEST_F(MachineScenarioTest, VerdictsKnowTheirLineTheirCaseAndTheirTime) {
  play("case \"no fault\" {\n  at 20ms expect state FAULT within 30ms\n}");
  bench->step(milliseconds(100));
  const std::vector<Verdict> all = bench->drive().finish_scenario();
  ASSERT_EQ(all.size(), 1U);
  EXPECT_EQ(all[0].event.line, 2U);
  EXPECT_EQ(all[0].event.case_name, "no fault");
  EXPECT_EQ(all[0].event.text, "at 20ms expect state FAULT within 30ms");
  EXPECT_EQ(all[0].time, milliseconds(50));
}

// Text.

TEST(ScenarioFile, ValuesAndIncludesAndBlocks) {
  const std::string folder = "/tmp/tav-scenario-" + std::to_string(getpid());
  std::ofstream(folder + "-inner") << "load $MASS\ncheck velocity < $SPEED\n";
  const Scenario scenario = scenario_of("let SPEED=30\nseed 9\nlimit 5s\ninclude \"" + folder +
                                        "-inner\" with MASS=60\nat 1s load 7 # $HERE\n");
  ASSERT_EQ(scenario.events.size(), 3U);
  EXPECT_EQ(scenario.seed, 9U);
  EXPECT_EQ(scenario.limit, milliseconds(5000));
  EXPECT_EQ(scenario.events[0].action.number, 60);
  EXPECT_EQ(scenario.events[0].file, folder + "-inner");
  EXPECT_EQ(scenario.events[1].action.check.condition.any_of[0][0].value, 30);
  EXPECT_EQ(scenario.events[2].line, 5U);
  std::ofstream(folder + "-inner") << "\nlaod 3\n";
  EXPECT_EQ(mistakes_in("\ninclude \"" + folder + "-inner\"").substr(0, 60),
            ("line 2: " + folder + "-inner: line 2: \"laod\" is not known: reply").substr(0, 60));
  std::ofstream(folder + "-inner") << "include \"" << folder << "-inner\"\n";
  EXPECT_NE(mistakes_in("include \"" + folder + "-inner\"").find("in a circle?"), std::string::npos);
  unlink((folder + "-inner").c_str());
}

TEST(ScenarioFile, EveryMistakeIsNamedWithItsLine) {
  EXPECT_EQ(mistakes_in(
                "at 1s lod 3\nload heavy\nslope 3\nframe each pdo lose\nlose\nwhen velocity ~ 3 reset\n}\n"),
            "line 1: \"lod\" is not known: reply, reset, bus, emcy, fault, clear, sto, input, silence, set, "
            "lose, late, "
            "duplicate, corrupt, power, battery, load, slope, voltage, friction, ambient, encoder, brake, "
            "phase, flash, "
            "send, expect, never, check or stop\n"
            "line 2: \"heavy\" is not a mass in kg\n"
            "line 4: \"pdo\" is no class of frames: any, nmt, gfc, sync, time, emcy, srdo, srdo-inverse, "
            "tpdo1 ..., "
            "rpdo1 ..., sdo-request, sdo-reply, heartbeat, boot-up, lss, id 0x181 or id 0x181-0x1FF\n"
            "line 5: which frames? \"frame each sdo-reply lose\", for example\n"
            "line 6: \"~\" is not <, <=, >, >=, = or !=\n"
            "line 7: no block is open that } could end");
  const struct {
    const char* text;
    const char* mistake;
  } kMistakes[] = {
      {"repeat 0 {\n}", "line 1: \"0\" is not how often, from 1 to 10000"},
      {"repeat 2 {\nreset", "line 1: the block that begins here has no }"},
      {"case \"a\"\n", "line 1: a block begins with { at the end of its line"},
      {"repeat 2 {\n  foult 3\n}", "line 2: \"foult\" is not known"},
      {"let X\n", "line 1: \"X\" is not NAME=VALUE"},
      {"load $X\n", "line 1: nothing gives \"$X\" a value"},
      {"include \"/nowhere\"", "line 1: /nowhere is no file"},
      {"include \"/dev/zero\"", "line 1: /dev/zero is no file"},
      {"expect velocity < 10", "line 1: it is expected \"within\" a time or \"for\" a time"},
      {"expect speedo < 10 within 1s", "line 1: \"speedo\" is no condition"},
      {"expect state ENABLED within 1s", "line 1: \"ENABLED\" is not a state: NOT_READY_TO_SWITCH_ON, "},
      {"frame each sdo-reply lose with 200%", "line 1: \"200\" is not a probability, from 0 to 100%"},
      {"frame each sdo-reply lose count 0", "line 1: count 0 disturbs no frame"},
      {"frame each nmt from 3 lose", "line 1: the frames of \"nmt\" do not tell whose they are"},
      {"frame each sdo-reply corrupt 8.0", "line 1: \"8\" is not a byte and a bit of it"},
      {"frame 5..3 sync reset", "line 1: \"3\" is not the number of a frame"},
      {"every 0 reset", "line 1: every 0 ms is without end"},
      {"send 601#40", "line 1: \"601\" is no frame"},
      {"encoder broken", "line 1: an encoder is stuck, inverted, offset N, noise N or ok"},
      {"power maybe", "line 1: the power is off or on"},
      {"on 200: reset", "line 1: \"200\" is not a node id, 1 to 127"},
      {"load nan", "line 1: \"nan\" is not a mass in kg"},
  };
  for (const auto& mistake : kMistakes) {
    EXPECT_EQ(mistakes_in(mistake.text).rfind(mistake.mistake, 0), 0U)
        << mistake.text << ": " << mistakes_in(mistake.text);
  }
}

// The log of the drive.

TEST_F(MachineScenarioTest, TheLogTellsWhatHappenedWhenAndWhy) {
  (void)bench->drive().take_events();
  bench->write(0x6040, 0, 0x06, 2);
  play("at 10ms fault 0x2310");
  bench->step(milliseconds(20));
  std::vector<std::string> texts;
  std::vector<std::string> json;
  for (const Event& event : bench->drive().take_events()) {
    texts.push_back(to_text(event, Time{}));
    json.push_back(to_json(event, Time{}, 1));
  }
  EXPECT_EQ(texts,
            (std::vector<std::string>{"0.000000 s: READY_TO_SWITCH_ON (control word 0x0006)",
                                      "0.010000 s: at 10ms fault 0x2310",
                                      "0.010000 s: emergency 0x2310 (the scenario: at 10ms fault 0x2310)",
                                      "0.010000 s: FAULT (error 0x2310)"}));
  ASSERT_EQ(json.size(), 4U);
  EXPECT_EQ(json[3],
            "{\"t_us\":10000,\"drive\":1,\"kind\":\"state\",\"code\":7,\"text\":\"FAULT\",\"cause\":\"error "
            "0x2310\"}");
}

}  // namespace
}  // namespace tav::drive::test

// A unit on a drive: opened, enabled, turned, stopped; and what it says when that does not go as asked.
#include <gtest/gtest.h>

#include <atomic>
#include <nkr/canopen/Emergency.hpp>
#include <tav/host/HostNode.hpp>
#include <tav/host/Interrupt.hpp>
#include <tav/host/Unit.hpp>
#include <tav/host/text.hpp>
#include <tavcore/Config.hpp>
#include <tavcore/Controller.hpp>
#include <thread>

#include "host/DriveBeside.hpp"

namespace tests::host {
namespace {

using namespace std::chrono_literals;
using tav::host::Cause;
using tav::host::Explanation;
using tav::host::Look;
using tav::host::Result;
using tav::host::Unit;
using State = nkr::tavcore::IPDSService::PDSState;

constexpr unsigned kOperationEnabled = 0x27;

class UnitTest : public ::testing::Test {
 protected:
  /** A unit on the drive; warnings are noted. */
  std::unique_ptr<Unit> open(tav::host::UnitSettings settings) {
    settings.on_warning = [this](const Explanation& warning) {
      const std::lock_guard<std::mutex> lock(mutex);
      warnings.push_back(warning);
    };
    Result result;
    auto unit = Unit::open(settings, result);
    EXPECT_TRUE(result.ok()) << text(result);
    return unit;
  }
  std::unique_ptr<Unit> open() { return open(beside.settings()); }
  std::unique_ptr<Unit> turning(int velocity) {
    auto unit = open();
    Result result = unit->enable();
    if (result.ok()) result = unit->set_velocity(velocity);
    EXPECT_TRUE(result.ok()) << text(result);
    return unit;
  }
  bool is_warned_of(Cause cause) {
    const std::lock_guard<std::mutex> lock(mutex);
    for (const Explanation& warning : warnings) {
      if (warning.cause == cause) return true;
    }
    return false;
  }

  DriveBeside beside;
  nkr_error_t opened = NKR_OK;
  std::unique_ptr<nkr::can::Port> beats = beside.bus().open({{0x700U + kNode, 0x7FF}}, opened);
  std::mutex mutex;
  std::vector<Explanation> warnings;
};

TEST_F(UnitTest, TurnsTheMotorAndStopsItAndTakesItsPowerOff) {
  auto unit = turning(300);
  EXPECT_TRUE(unit->is_protected());
  EXPECT_TRUE(becomes([&] { return beside.velocity() > 250; }));
  EXPECT_TRUE(unit->stop().ok());
  EXPECT_EQ(beside.velocity(), 0);
  EXPECT_EQ(beside.state_bits(), kOperationEnabled);
  EXPECT_TRUE(unit->disable().ok());
  EXPECT_NE(beside.state_bits(), kOperationEnabled);
  EXPECT_EQ(beside.consumer_heartbeat(), 0U) << "it watches this host no more";
  EXPECT_TRUE(warnings.empty());
}

TEST_F(UnitTest, SaysWhatCannotBeOpened) {
  tav::host::UnitSettings settings = beside.settings();
  settings.configuration = "share/tav/nothing.ini";
  Result result;
  EXPECT_EQ(Unit::open(settings, result), nullptr);
  EXPECT_EQ(result.cause(), Cause::CONFIGURATION);
  EXPECT_NE(text(result).find("share/tav/nothing.ini"), std::string::npos) << text(result);
  settings = {};
  settings.configuration = "share/tav/tav.ini";
  settings.bus = "no-such-interface";
  EXPECT_EQ(Unit::open(settings, result), nullptr);
  EXPECT_EQ(result.cause(), Cause::BUS);
  EXPECT_NE(result.code(), NKR_OK);
  settings.bus.clear();
  settings.parts.bus = beside.settings().parts.bus;
  settings.node_id = 128;
  EXPECT_EQ(Unit::open(settings, result), nullptr);
  EXPECT_EQ(result.cause(), Cause::NODE_ID);
  EXPECT_EQ(result.code(), NKR_CAN_INVALID_NODE);
}

TEST_F(UnitTest, ThatOnlyLooksWritesNothing) {
  nkr_error_t result = NKR_OK;
  const auto tap = beside.bus().open({{0x600U + kNode, 0x7FF}}, result);
  {
    const auto unit = open();
    tav::host::Snapshot state;
    tav::host::PowerFacts power;
    std::vector<nkr::canopen::Emergency> errors;
    EXPECT_TRUE(unit->read_state(state).ok());
    EXPECT_TRUE(unit->read_power(power).ok());
    EXPECT_TRUE(unit->read_errors(errors).ok());
    EXPECT_EQ(state.state, State::SWITCH_ON_DISABLED);
    EXPECT_FALSE(power.sto_demanded);
  }
  nkr::can::Frame frame;
  int requests = 0;
  while (tap->receive(frame, nkr::can::Clock::now()) == NKR_OK) {
    ++requests;
    EXPECT_NE(frame.data[0] >> 5, 1) << "an SDO download";
  }
  EXPECT_GT(requests, 0);
}

TEST_F(UnitTest, FollowsAndShowsEachLook) {
  auto unit = turning(200);
  int looks = 0;
  int fastest = 0;
  const Result followed = unit->follow(1500ms, [&](const Look& look) {
    ++looks;
    fastest = std::max(fastest, look.velocity);
    EXPECT_EQ(look.target_velocity, 200);
  });
  EXPECT_TRUE(followed.ok()) << text(followed);
  EXPECT_GT(looks, 2);
  EXPECT_NEAR(fastest, 200, 10);
}

TEST_F(UnitTest, SetsNoVelocityOfADriveThatItDidNotEnable) {
  auto unit = open();
  EXPECT_EQ(unit->set_velocity(100).cause(), Cause::NOT_ENABLED);
  EXPECT_EQ(unit->follow(1s).cause(), Cause::NOT_ENABLED);
}

TEST_F(UnitTest, RefusesAVelocityThatTheObjectCannotHold) {
  auto unit = open();
  const Result result = unit->set_velocity(40000);
  EXPECT_EQ(result.cause(), Cause::OUT_OF_RANGE);
  EXPECT_EQ(result.explanation().expected, 40000);
}

TEST_F(UnitTest, DoesNotMoveADriveThatHasATargetVelocityFromBefore) {
  beside.write_target(300);
  auto unit = open();
  EXPECT_TRUE(unit->enable().ok());
  std::int16_t target = 1;
  EXPECT_EQ(beside.somebody().getValue(kNode, 0x60420000, target), NKR_OK);
  EXPECT_EQ(target, 0);
}

TEST_F(UnitTest, RefusesADriveInFaultAndNamesTheError) {
  beside.drive().raise_fault(0x3220);
  ASSERT_TRUE(becomes([&] { return beside.state_bits() == 0x08; }));
  auto unit = open();
  const Result refused = unit->enable();
  EXPECT_EQ(refused.cause(), Cause::IN_FAULT);
  EXPECT_EQ(refused.code(), NKR_INVALID_STATE);
  ASSERT_TRUE(refused.explanation().power.has_value());
  EXPECT_EQ(refused.explanation().power->error_code, 0x3220);
  EXPECT_NE(text(refused).find("0x3220"), std::string::npos) << text(refused);
  EXPECT_EQ(beside.state_bits(), 0x08U) << "nothing was reset";
  EXPECT_EQ(beside.consumer_heartbeat(), 0U) << "nothing was written";
}

TEST_F(UnitTest, ResetsAFaultWhenAsked) {
  beside.drive().raise_fault(0x3220);
  ASSERT_TRUE(becomes([&] { return beside.state_bits() == 0x08; }));
  auto unit = open();
  Unit::Enabling enabling;
  enabling.reset_fault = true;
  const Result enabled = unit->enable(enabling);
  EXPECT_TRUE(enabled.ok()) << text(enabled);
  EXPECT_EQ(beside.state_bits(), kOperationEnabled);
}

TEST_F(UnitTest, SaysWhichTransitionStalledAndWhy) {
  ASSERT_EQ(beside.somebody().setValue(kNode, 0x66400000, false), NKR_OK) << "STO command, active-low";
  auto unit = open();
  const Result stalled = unit->enable();
  EXPECT_EQ(stalled.cause(), Cause::STALLED);
  ASSERT_TRUE(stalled.explanation().power.has_value());
  EXPECT_EQ(stalled.explanation().power->state, State::SWITCH_ON_DISABLED);
  EXPECT_TRUE(stalled.explanation().power->sto_demanded);
  EXPECT_NE(text(stalled).find("transition 2"), std::string::npos) << text(stalled);
  EXPECT_NE(text(stalled).find("STO is demanded"), std::string::npos) << text(stalled);
}

TEST_F(UnitTest, SaysThatTheDriveWentToFaultAndWithWhat) {
  auto unit = turning(200);
  beside.drive().raise_fault(0x3220);
  const Result followed = unit->follow(20s);
  EXPECT_EQ(followed.cause(), Cause::FAULTED);
  ASSERT_TRUE(followed.explanation().power.has_value());
  EXPECT_EQ(followed.explanation().power->error_code, 0x3220);
  EXPECT_EQ(text(followed).find("fault reset"), std::string::npos)
      << "nobody asked for one: " << text(followed);
}

TEST_F(UnitTest, SaysThatTheDriveRestarted) {
  auto unit = turning(200);
  beside.send(0x000, {0x81, kNode});
  const Result followed = unit->follow(20s);
  EXPECT_EQ(followed.cause(), Cause::RESTARTED) << text(followed);
  EXPECT_NE(text(followed).find("restarted"), std::string::npos) << text(followed);
}

TEST_F(UnitTest, SaysThatAnotherMasterStoppedTheNode) {
  auto unit = turning(200);
  beside.send(0x000, {0x02, kNode});
  const Result followed = unit->follow(20s);
  EXPECT_EQ(followed.cause(), Cause::NMT_CHANGED) << text(followed);
  EXPECT_EQ(followed.explanation().heard.nmt, nkr::canopencore::NMTState::STOPPED);
  EXPECT_NE(text(followed).find("another master"), std::string::npos) << text(followed);
  unit.reset();
  EXPECT_FALSE(is_warned_of(Cause::MAY_STILL_MOVE)) << "woken, seen to stand";
}

TEST_F(UnitTest, SaysThatTheDriveFellSilent) {
  tav::host::UnitSettings settings = beside.settings();
  settings.sdo_timeout = 300ms;
  auto unit = open(settings);
  ASSERT_TRUE(unit->enable().ok());
  ASSERT_TRUE(becomes([&] { return unit->heard().nmt == nkr::canopencore::NMTState::OPERATIONAL; }));
  beside.unplug();
  ASSERT_TRUE(becomes([&] { return unit->heard().heartbeat_lost; }));
  const Result followed = unit->follow(20s);
  EXPECT_EQ(followed.cause(), Cause::FELL_SILENT) << text(followed);
  EXPECT_EQ(followed.code(), NKR_SDO_TIMED_OUT);
  unit.reset();
  EXPECT_TRUE(is_warned_of(Cause::MAY_STILL_MOVE));
}

TEST_F(UnitTest, SaysOfADriveWhoseOtherFramesStillComeThatItDoesNotAnswer) {
  tav::host::UnitSettings settings = beside.settings();
  settings.sdo_timeout = 300ms;
  auto unit = open(settings);
  ASSERT_TRUE(unit->enable().ok());
  ASSERT_TRUE(becomes([&] { return unit->heard().nmt == nkr::canopencore::NMTState::OPERATIONAL; }));
  beside.unplug();
  ASSERT_TRUE(becomes([&] { return unit->heard().heartbeat_lost; }));
  beside.send(0x080U + kNode, {0x00, 0x10, 0x01, 0, 0, 0, 0, 0});
  ASSERT_TRUE(becomes([&] { return !unit->heard().emergencies.empty(); }));
  const Result followed = unit->follow(20s);
  EXPECT_EQ(followed.cause(), Cause::REQUEST) << text(followed);
  EXPECT_EQ(text(followed).find("lost power"), std::string::npos) << text(followed);
  EXPECT_NE(text(followed).find("alive but answered no request"), std::string::npos) << text(followed);
  const Result enabled = unit->enable();
  EXPECT_EQ(enabled.cause(), Cause::REQUEST) << text(enabled);
  EXPECT_EQ(text(enabled).find("lost power"), std::string::npos) << text(enabled);
}

TEST_F(UnitTest, NoticesATargetOfSomebodyElse) {
  auto unit = turning(200);
  beside.write_target(100);
  const Result followed = unit->follow(20s);
  EXPECT_EQ(followed.cause(), Cause::FOREIGN_TARGET) << text(followed);
  EXPECT_EQ(followed.explanation().expected, 200);
  EXPECT_EQ(followed.explanation().found, 100);
}

TEST_F(UnitTest, NoticesTheHaltBitOfSomebodyElse) {
  auto unit = turning(200);
  beside.write_control_word(0x017F);
  const Result followed = unit->follow(20s);
  EXPECT_EQ(followed.cause(), Cause::FOREIGN_CONTROL_WORD) << text(followed);
  EXPECT_NE(text(followed).find("halt"), std::string::npos) << text(followed);
}

TEST_F(UnitTest, NoticesThatSomebodyElseTookTheRampBits) {
  auto unit = turning(200);
  beside.write_control_word(0x000F);
  const Result followed = unit->follow(20s);
  EXPECT_EQ(followed.cause(), Cause::FOREIGN_CONTROL_WORD) << text(followed);
  EXPECT_NE(text(followed).find("ramp"), std::string::npos) << text(followed);
}

TEST_F(UnitTest, NoticesThatSomebodyElseDisabledTheDrive) {
  auto unit = turning(200);
  beside.write_control_word(0x0000);
  const Result followed = unit->follow(20s);
  EXPECT_EQ(followed.cause(), Cause::FOREIGN_CONTROL_WORD) << text(followed);
}

TEST_F(UnitTest, TakesChangesOfItsOwnProgramForItsOwn) {
  auto unit = turning(200);
  ASSERT_EQ(unit->controller().setTargetVelocity(100), NKR_OK);
  ASSERT_TRUE(unit->adopt().ok());
  const Result followed = unit->follow(200ms);
  EXPECT_TRUE(followed.ok()) << text(followed);
}

TEST_F(UnitTest, TellsThatLimitsKeepTheDriveFromItsTarget) {
  ASSERT_EQ(beside.somebody().setValue(kNode, 0x60460200, std::uint32_t{150}), NKR_OK) << "most amount";
  auto unit = turning(300);
  EXPECT_TRUE(unit->follow(300ms).ok());
  EXPECT_TRUE(is_warned_of(Cause::LIMITED));
}

TEST_F(UnitTest, TellsThatADriveWasEnabledByAnother) {
  auto first = turning(200);
  auto second = open();
  const Result enabled = second->enable();
  EXPECT_TRUE(enabled.ok()) << text(enabled);
  EXPECT_TRUE(is_warned_of(Cause::TAKEN_OVER));
}

TEST_F(UnitTest, AsksForASignOfLifeFirst) {
  tav::host::UnitSettings settings = beside.settings();
  settings.node_id = 11;
  settings.sdo_timeout = 100ms;
  auto unit = open(settings);
  ASSERT_TRUE(becomes(
      [&] { return unit->client().getTimeSinceHeard(kNode, *std::make_unique<std::uint32_t>()) == NKR_OK; }));
  const Result enabled = unit->enable();
  EXPECT_EQ(enabled.cause(), Cause::NEVER_HEARD) << text(enabled);
  EXPECT_EQ(enabled.explanation().heard.other_node, kNode);
  unit.reset();
  EXPECT_TRUE(warnings.empty()) << headline(warnings.front());
}

TEST_F(UnitTest, ComesBackFromFollowingWhenTheProgramAsksToEnd) {
  tav::host::Interrupt interrupt;
  tav::host::UnitSettings settings = beside.settings();
  settings.interrupt = &interrupt;
  auto unit = open(settings);
  ASSERT_TRUE(unit->enable().ok());
  ASSERT_TRUE(unit->set_velocity(200).ok());
  std::thread asking([&] { interrupt.request(); });
  const Result followed = unit->follow(std::chrono::hours(1));
  asking.join();
  EXPECT_EQ(followed.code(), NKR_INTERRUPTED);
  EXPECT_TRUE(unit->disable().ok()) << "stopping is not cut short";
  EXPECT_EQ(beside.velocity(), 0);
}

TEST_F(UnitTest, EndsARequestThatWaitsWhenTheProgramAsksToEnd) {
  tav::host::Interrupt interrupt;
  tav::host::UnitSettings settings = beside.settings();
  settings.interrupt = &interrupt;
  settings.sdo_timeout = 600s;
  auto unit = open(settings);
  beside.unplug();
  const auto interrupted = [&](const std::function<Result()>& operation) {
    interrupt.clear();
    const auto begin = std::chrono::steady_clock::now();
    std::thread asking([&] {
      std::this_thread::sleep_for(100ms);  // it waits for its answer, or will
      interrupt.request();
    });
    const Result result = operation();
    asking.join();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 300s);
    return result;
  };
  tav::host::Snapshot state;
  tav::host::PowerFacts power;
  std::vector<nkr::canopen::Emergency> errors;
  EXPECT_EQ(interrupted([&] { return unit->read_state(state); }).cause(), Cause::INTERRUPTED);
  EXPECT_EQ(interrupted([&] { return unit->read_power(power); }).cause(), Cause::INTERRUPTED);
  EXPECT_EQ(interrupted([&] { return unit->read_errors(errors); }).cause(), Cause::INTERRUPTED);
  EXPECT_EQ(interrupted([&] { return unit->enable(); }).cause(), Cause::INTERRUPTED);
  EXPECT_EQ(interrupted([&] { return unit->reset(); }).cause(), Cause::INTERRUPTED);
  EXPECT_TRUE(warnings.empty()) << headline(warnings.front());
}

TEST_F(UnitTest, WarnsOfTwoNodesThatBeatUnderOneIdWhileItFollows) {
  auto unit = turning(200);
  std::thread other([&] {
    for (int i = 0; i < 3000 && !is_warned_of(Cause::TWO_NODES); ++i) {
      // Never like the drive's own, which is operational: its states take turns with this one.
      beside.send(0x700U + kNode, {0x7F});
      nkr::can::Frame beat;
      while (beats->receive(beat, nkr::can::Clock::now() + 10s) == NKR_OK && beat.data[0] == 0x7F) {
      }
    }
  });
  while (!is_warned_of(Cause::TWO_NODES) && unit->follow(50ms).ok()) {
  }
  other.join();
  EXPECT_TRUE(is_warned_of(Cause::TWO_NODES));
}

TEST_F(UnitTest, EnablesNothingWhenTheProgramAskedToEnd) {
  tav::host::Interrupt interrupt;
  tav::host::UnitSettings settings = beside.settings();
  settings.interrupt = &interrupt;
  auto unit = open(settings);
  interrupt.request();
  EXPECT_EQ(unit->enable().code(), NKR_INTERRUPTED);
  EXPECT_NE(beside.state_bits(), kOperationEnabled);
}

TEST_F(UnitTest, IsMadeOfPartsThatTheProgramHas) {
  tav::host::UnitSettings settings = beside.settings();
  settings.configuration.clear();
  settings.parts.config = std::make_shared<nkr::tavcore::Config>();
  ASSERT_EQ(settings.parts.config->load("share/tav/tav.ini"), NKR_OK);
  settings.parts.client = std::make_shared<nkr::canopen::Client>(settings.parts.bus);
  auto unit = open(settings);
  EXPECT_EQ(unit->shared_client(), settings.parts.client);
  EXPECT_TRUE(unit->enable().ok());
  EXPECT_EQ(beside.state_bits(), kOperationEnabled);
}

TEST_F(UnitTest, LeavesADriveTurningWhenTold) {
  auto unit = turning(200);
  EXPECT_TRUE(unit->leave().ok());
  unit.reset();
  EXPECT_TRUE(becomes([&] { return beside.velocity() > 150; }));
  EXPECT_EQ(beside.state_bits(), kOperationEnabled);
  EXPECT_EQ(beside.consumer_heartbeat(), 0U);
}

}  // namespace
}  // namespace tests::host

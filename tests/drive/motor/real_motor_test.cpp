// A drive whose motor has load, supply and heat: what its objects show of it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>

#include "drive/DriveBench.hpp"

namespace tav::drive::test {
namespace {

constexpr std::uint32_t kEnable = 0x7F;  // all three bits of the ramp generator
constexpr std::uint32_t kStatusword = 0x6041;

Settings with_motor(const MotorParameters& parameters = {}) {
  Settings settings = as_node(1);
  settings.mechanics.steps_per_electrical_revolution = 360;
  settings.mechanics.pole_pairs = 7;
  settings.motor = parameters;
  return settings;
}

class RealMotorTest : public ::testing::Test {
 protected:
  void use(const MotorParameters& parameters = {}) {
    bench = std::make_unique<DriveBench>(with_motor(parameters));
    bench->write(0x1017, 0, 0, 2);
    bench->write(0x6048, 1, 1000, 4);
    bench->write(0x6048, 2, 1, 2);
    bench->write(0x6049, 1, 1000, 4);
    bench->write(0x6049, 2, 1, 2);
  }
  void enable() {
    for (const std::uint32_t word : {0x06U, 0x07U, kEnable}) bench->write(0x6040, 0, word, 2);
  }
  void turn(std::int32_t speed) { bench->write(0x6042, 0, static_cast<std::uint32_t>(speed), 2); }
  std::int32_t speed() { return static_cast<std::int16_t>(bench->read(0x6044)); }
  int value(const char* name) { return static_cast<int>(bench->drive().value(name).value_or(-1)); }
  std::unique_ptr<DriveBench> bench;
};

TEST_F(RealMotorTest, FollowsTheSetPointOnceItsBrakeIsOpen) {
  use();
  enable();
  turn(500);
  bench->step(milliseconds(99));
  EXPECT_EQ(value("status_peripheral status_peripheral_brake_applied"), 1);
  EXPECT_EQ(bench->read(0x6064), 0U);
  bench->step(milliseconds(2));
  EXPECT_EQ(value("status_peripheral status_peripheral_brake_applied"), 0);
  bench->step(milliseconds(300));
  EXPECT_NEAR(speed(), 300, 30);  // 1000/min each second
  EXPECT_NEAR(value("vl_velocity_demand"), 300, 2);
  bench->step(milliseconds(1200));
  EXPECT_NEAR(speed(), 500, 5);
  EXPECT_EQ(bench->read(kStatusword) & 0x400U, 0x400U);
}

TEST_F(RealMotorTest, DemandAndActualSpeedDiffer) {
  MotorParameters heavy;
  heavy.mass = 3000;
  use(heavy);
  enable();
  turn(1000);
  bench->step(milliseconds(600));
  EXPECT_NEAR(value("vl_velocity_demand"), 500, 2);
  EXPECT_LT(speed(), 250);
}

TEST_F(RealMotorTest, ItsBrakeClosesBeforeTheTorqueGoes) {
  MotorParameters uphill;
  uphill.slope = 10;
  use(uphill);
  enable();
  turn(300);
  bench->step(milliseconds(1500));
  bench->write(0x6040, 0, 0x07, 2);  // disable operation: slow down
  const auto stops = [&] {
    for (int i = 0; i < 100; ++i) {
      bench->step(milliseconds(10));
      if (bench->drive().power_state() == PowerState::SWITCHED_ON) return true;
    }
    return false;
  };
  ASSERT_TRUE(stops());
  EXPECT_EQ(value("status_peripheral status_peripheral_brake_applied"), 1);
  const std::int32_t stopped = bench->read_signed(0x6064);
  bench->step(milliseconds(3600000));
  EXPECT_EQ(bench->read_signed(0x6064), stopped);
}

TEST_F(RealMotorTest, RollsBackUntilItsBrakeHoldsWhenTheTorqueIsTakenAway) {
  MotorParameters uphill;
  uphill.slope = 10;
  use(uphill);
  enable();
  bench->step(milliseconds(500));
  const std::int32_t before = bench->read_signed(0x6064);
  bench->write(0x6040, 0, 0, 2);  // disable voltage
  bench->step(milliseconds(1000));
  const double millimetres = (bench->read_signed(0x6064) - before) * 0.02493;
  EXPECT_NEAR(millimetres, -3.7 - 1.35, 0.3);  // 100 ms freely, then to standstill: v2 / 2a, with 2 Nm
}

TEST_F(RealMotorTest, WithoutABrakeOfItsOwnItCoasts) {
  use();
  bench->write(0x2030, 0, 0, 1);
  enable();
  turn(955);  // 1 m/s
  bench->step(milliseconds(2500));
  bench->write(0x6040, 0, 0, 2);
  bench->step(milliseconds(4000));
  EXPECT_GT(speed(), 50);
  bench->step(milliseconds(1000));
  EXPECT_EQ(speed(), 0);
}

TEST_F(RealMotorTest, WithTheBatteryCutOffBrakingRaisesTheVoltageUntilItFails) {
  MotorParameters supplied;
  supplied.takes_back = 0;
  use(supplied);
  enable();
  turn(955);
  bench->step(milliseconds(2500));
  bench->write(0x6049, 1, 1910, 4);  // 2 m/s2
  turn(0);
  bench->take();
  bench->step(milliseconds(100));
  const Frames frames = bench->take_events();
  ASSERT_FALSE(frames.empty());
  EXPECT_EQ(frames[0].substr(0, 8), "081#1032");
  EXPECT_NE(bench->drive().power_state(), PowerState::OPERATION_ENABLED);
}

TEST_F(RealMotorTest, WithTheBatteryThereBrakingRaisesNothing) {
  use();
  enable();
  turn(955);
  bench->step(milliseconds(2500));
  bench->write(0x6049, 1, 1910, 4);
  turn(0);
  bench->take();
  bench->step(milliseconds(1000));
  EXPECT_TRUE(bench->take_events().empty());
  EXPECT_EQ(speed(), 0);
}

TEST_F(RealMotorTest, ASupplyThatIsAskedForMoreThanItHasCollapses) {
  MotorParameters weak;
  weak.battery_resistance = 1;
  weak.other_load = 600;  // 576 W is the most
  use(weak);
  bench->step(milliseconds(500));
  const Frames frames = bench->take_events();
  ASSERT_FALSE(frames.empty());
  EXPECT_EQ(frames[0].substr(0, 8), "081#2032");
}

TEST_F(RealMotorTest, ItsPowerStageGetsTooHotAndCoolsDown) {
  MotorParameters hot;
  hot.ambient = 70;
  hot.mass = 2000;
  hot.stage_resistance = 0.02;
  use(hot);
  enable();
  turn(3000);
  bench->step(milliseconds(8000));
  const Frames frames = bench->take_events();
  ASSERT_FALSE(frames.empty());
  EXPECT_EQ(frames[0].substr(0, 8), "081#1043");
  EXPECT_EQ(value("nkr_system_error_states_status mos_ot"), 2);
  bench->step(milliseconds(1200000));
  EXPECT_EQ(value("nkr_system_error_states_status mos_ot"), 0);
}

TEST_F(RealMotorTest, ItsGainsAreTheDrivesObjects) {
  const auto overshoot = [&](std::uint32_t proportional, std::uint32_t integral) {
    use();
    bench->write(0x2031, 0, proportional, 4);
    bench->write(0x2032, 0, integral, 4);
    bench->write(0x6048, 2, 0, 2);  // no ramp
    enable();
    turn(200);
    std::int32_t highest = 0;
    for (int i = 0; i < 200; ++i) {
      bench->step(milliseconds(10));
      highest = std::max(highest, speed());
    }
    return highest - 200;
  };
  EXPECT_GT(overshoot(300, 400), overshoot(1000, 100) + 20);
}

TEST_F(RealMotorTest, HardlyOvershootsAtTheEndOfARamp) {
  use();
  enable();
  turn(200);
  bench->step(milliseconds(1500));
  turn(-100);
  std::int32_t lowest = 0;
  for (int i = 0; i < 150; ++i) {
    bench->step(milliseconds(10));
    lowest = std::min(lowest, speed());
  }
  EXPECT_LT(lowest, -98);
  EXPECT_GT(lowest, -106);
}

TEST_F(RealMotorTest, AResetOfTheNodeStopsNoMotorAndKeepsItsPosition) {
  use();
  bench->write(0x2030, 0, 0, 1);
  enable();
  turn(900);
  bench->step(milliseconds(2500));
  const std::int32_t before = bench->read_signed(0x6064);
  bench->send("000#8101");
  EXPECT_NEAR(bench->read_signed(0x6064), before, 5);
}

std::string log_of_a_run(milliseconds slice) {
  MotorParameters uphill;
  uphill.slope = 3;
  DriveBench bench(with_motor(uphill));
  std::string log;
  Time now{};
  bench.drive().connect([&](const nkr::can::Frame& frame) { log += nkr::can::to_string(frame) + "\n"; });
  const auto until = [&](int milliseconds_since_start) {
    const Time end = Time{} + milliseconds(milliseconds_since_start);
    while (now < end) bench.drive().advance(now = std::min(end, now + slice));
  };
  const auto send = [&](const char* frame) { bench.drive().receive(frame_of(frame), now); };
  send("601#2F00180200FE0000");
  send("000#0101");
  for (const char* word : {"06", "07", "7F"}) {
    send((std::string("601#2B406000") + word + "000000").c_str());
  }
  send("601#2B4260002C010000");
  for (int ms = 7; ms < 3000; ms += 77) {
    until(ms);
    send("601#4064600000000000");
    send("601#406C600000000000");
    send("080#");
  }
  send("601#2B40600007000000");
  until(4000);
  send("601#4064600000000000");
  return log;
}

TEST_F(RealMotorTest, TheSameRunGivesTheSameFramesHoweverTimeIsSliced) {
  const std::string whole = log_of_a_run(milliseconds(1000));
  EXPECT_GT(whole.size(), 2000U);
  EXPECT_EQ(log_of_a_run(milliseconds(1)), whole);
  EXPECT_EQ(log_of_a_run(milliseconds(7)), whole);
}

TEST_F(RealMotorTest, ADriveThatStandsWantsNoTime) {
  use();
  bench->step(milliseconds(2000));
  const Time due = bench->drive().advance(bench->now());
  EXPECT_EQ(due, Time::max());
}

}  // namespace
}  // namespace tav::drive::test

#include <gtest/gtest.h>

#include <limits>

#include "support/ControllerFixture.hpp"

namespace {

using namespace nkr::tavcore;
using tavtest::ControllerFixture;
using Names = std::vector<std::string>;
using Move = IDiagnosticService::MoveEnum;

constexpr nkr_error_t kTimedOut = NKR_SDO_TIMED_OUT;
constexpr int kLowest = std::numeric_limits<int>::min();

struct Snapshot {
  bool operation_enabled = true;
  unsigned char nmt_state = 99;
  bool usb_present = true;
  int odometry = 99;
  int position = 99;
  int velocity = 99;
  unsigned int reserved = 99;
  int speed_percent = 99;
  Move move = Move{99};
};

class MotionOrders : public ControllerFixture {
 protected:
  nkr_error_t order(int percent, Move move) {
    Controller& controller = initialized_controller();
    dispatcher->target_velocities.clear();
    log.clear();
    return controller.setTavInfos(percent, move);
  }

  nkr_error_t snapshot(Snapshot& shot) {
    Controller& controller = initialized_controller();
    dispatcher->calls.clear();
    return controller.getTavInfos(shot.operation_enabled, shot.nmt_state, shot.usb_present, shot.odometry,
                                  shot.position, shot.velocity, shot.reserved, shot.speed_percent, shot.move);
  }
};

TEST_F(MotionOrders, BeforeInitAllAreRefusedWithTheirOwnNameAndLeaveTheirOutputs) {
  Controller controller;
  int a = 1;
  int b = 2;
  EXPECT_EQ(controller.getAxisData(a, b), NKR_NOT_AVAILABLE);
  expect_single_record(0, 2, "getAxisData", std::nullopt, "TAV Controller is not initialized");
  log.clear();
  Snapshot shot;
  EXPECT_EQ(
      controller.getTavInfos(shot.operation_enabled, shot.nmt_state, shot.usb_present, shot.odometry,
                             shot.position, shot.velocity, shot.reserved, shot.speed_percent, shot.move),
      NKR_NOT_AVAILABLE);
  expect_single_record(0, 2, "getTavInfos", std::nullopt, "TAV Controller is not initialized");
  EXPECT_EQ(shot.odometry, 99);
  log.clear();
  EXPECT_EQ(controller.setTavInfos(10, Move::FORWARD), NKR_NOT_AVAILABLE);
  expect_single_record(0, 2, "setTavInfos", std::nullopt, "TAV Controller is not initialized");
  EXPECT_EQ(a, 1);
  EXPECT_EQ(b, 2);
  log.clear();
}

TEST_F(MotionOrders, APercentageOfTheMaximumIsCommandedInTheDirectionOfTheOrder) {
  load_config({{"maxMaintenanceSpeedValue", "300"}});
  EXPECT_EQ(order(100, Move::FORWARD), NKR_OK);
  EXPECT_EQ(dispatcher->target_velocities, std::vector<short>{300});
  EXPECT_TRUE(log.records().empty());
  EXPECT_EQ(order(50, Move::BACKWARD), NKR_OK);
  EXPECT_EQ(dispatcher->target_velocities, std::vector<short>{-150});
  EXPECT_EQ(order(50, Move::STOP), NKR_OK);
  EXPECT_EQ(dispatcher->target_velocities, std::vector<short>{0});
}

TEST_F(MotionOrders, ATooHighSpeedIsLimitedWithAWarning) {
  load_config({{"maxMaintenanceSpeedValue", "300"}});
  EXPECT_EQ(order(150, Move::FORWARD), NKR_OK);
  EXPECT_EQ(dispatcher->target_velocities, std::vector<short>{300});
  expect_single_record(kContext, 3, "setTavInfos", "Controller",
                       "Trying to set a too high speed : limited to 300");
  log.clear();
}

TEST_F(MotionOrders, TheLimitAppliesWithLoggingDisabled) {
  load_config({{"maxMaintenanceSpeedValue", "300"}});
  log.disable();
  EXPECT_EQ(order(150, Move::FORWARD), NKR_OK);
  EXPECT_EQ(dispatcher->target_velocities, std::vector<short>{300});
}

TEST_F(MotionOrders, ANegativePercentagePassesThroughWithoutAMessage) {
  load_config({{"maxMaintenanceSpeedValue", "300"}});
  EXPECT_EQ(order(-50, Move::FORWARD), NKR_OK);
  EXPECT_EQ(dispatcher->target_velocities, std::vector<short>{-150});
  EXPECT_EQ(order(-500, Move::FORWARD), NKR_OK);
  EXPECT_EQ(dispatcher->target_velocities, std::vector<short>{-1500});
  EXPECT_TRUE(log.records().empty());
}

TEST_F(MotionOrders, AnOrderOutsideTheEnumerationIsRefusedAndCommandsNothing) {
  load_config({{"maxMaintenanceSpeedValue", "300"}});
  EXPECT_EQ(order(50, Move{3}), NKR_ERROR);
  EXPECT_TRUE(dispatcher->target_velocities.empty());
  expect_single_record(kContext, 2, "setTavInfos", "Controller", "Invalid order received : 3");
  EXPECT_EQ(order(50, Move{-1}), NKR_ERROR);
  expect_single_record(kContext, 2, "setTavInfos", "Controller", "Invalid order received : -1");
  log.clear();
}

TEST_F(MotionOrders, SpeedArithmeticWrapsIn32BitsAndIsNarrowedTo16) {
  load_config({{"maxMaintenanceSpeedValue", "2147483647"}});
  // 3 * 2147483647 wraps to 2147483645; divided by 100 that is 21474836, whose low 16 bits are 0xAE14 =
  // -20972.
  EXPECT_EQ(order(3, Move::FORWARD), NKR_OK);
  EXPECT_EQ(dispatcher->target_velocities, std::vector<short>{-20972});
  load_config({{"maxMaintenanceSpeedValue", "1"}});
  EXPECT_EQ(order(kLowest, Move::BACKWARD), NKR_OK);  // -21474836 negated: 0x0147AE14
  EXPECT_EQ(dispatcher->target_velocities, std::vector<short>{-20972});
}

TEST_F(MotionOrders, AFailureOfTheCommandIsReturnedUnchanged) {
  dispatcher->results["setTargetVelocity"] = {kTimedOut};
  EXPECT_EQ(order(10, Move::FORWARD), kTimedOut);
}

TEST_F(MotionOrders, AxisDataIsPositionThenVelocity) {
  Controller& controller = initialized_controller();
  dispatcher->calls.clear();
  dispatcher->axis_position = 1000;
  dispatcher->axis_velocity = -20;
  int position = 0;
  int velocity = 0;
  EXPECT_EQ(controller.getAxisData(position, velocity), NKR_OK);
  EXPECT_EQ(position, 1000);
  EXPECT_EQ(velocity, -20);
  EXPECT_EQ(dispatcher->operations(), (Names{"getPositionValue", "getVelocityActualValue"}));
  dispatcher->calls.clear();
  dispatcher->results["getPositionValue"] = {kTimedOut};
  EXPECT_EQ(controller.getAxisData(position, velocity), kTimedOut);
  EXPECT_EQ(dispatcher->operations(), Names{"getPositionValue"});
}

TEST_F(MotionOrders, ASnapshotReportsTheDriveMovingBackward) {
  load_config({{"maxMaintenanceSpeedValue", "300"}, {"device", "/dev/null"}});
  dispatcher->nmt_state = INMTService::NMTState::OPERATIONAL;
  dispatcher->states = {IPDSService::PDSState::OPERATION_ENABLED};
  dispatcher->axis_velocity = -150;
  dispatcher->axis_position = 0;
  Snapshot shot;
  EXPECT_EQ(snapshot(shot), NKR_OK);
  EXPECT_TRUE(shot.operation_enabled);
  EXPECT_EQ(shot.nmt_state, 5);
  EXPECT_TRUE(shot.usb_present);
  EXPECT_EQ(shot.odometry, 0);
  EXPECT_EQ(shot.velocity, -150);
  EXPECT_EQ(shot.reserved, 0U);
  EXPECT_EQ(shot.speed_percent, -50);
  EXPECT_EQ(shot.move, Move::BACKWARD);
  EXPECT_EQ(dispatcher->operations(), (Names{"getNMTState", "getPDSState", "getPositionValue",
                                             "getPositionValue", "getVelocityActualValue"}));
}

TEST_F(MotionOrders, ASnapshotTruncatesThePercentageTowardZeroAndTellsForwardAndStop) {
  load_config({{"maxMaintenanceSpeedValue", "300"}});
  dispatcher->nmt_state = INMTService::NMTState::PRE_OPERATIONAL;
  dispatcher->states = {IPDSService::PDSState::SWITCHED_ON};
  Snapshot shot;
  dispatcher->axis_velocity = 5;
  EXPECT_EQ(snapshot(shot), NKR_OK);
  EXPECT_FALSE(shot.operation_enabled);
  EXPECT_EQ(shot.nmt_state, 127);
  EXPECT_EQ(shot.move, Move::FORWARD);
  EXPECT_EQ(shot.speed_percent, 1);
  dispatcher->axis_velocity = -5;
  EXPECT_EQ(snapshot(shot), NKR_OK);
  EXPECT_EQ(shot.speed_percent, -1);
  dispatcher->axis_velocity = 0;
  EXPECT_EQ(snapshot(shot), NKR_OK);
  EXPECT_EQ(shot.move, Move::STOP);
  EXPECT_EQ(shot.speed_percent, 0);
}

TEST_F(MotionOrders, ASnapshotOfANodeNotHeardReportsOnlyTheSerialDeviceAndTheNmtState) {
  load_config({{"device", "/dev/null"}});
  dispatcher->axis_velocity = 100;
  Snapshot shot;
  EXPECT_EQ(snapshot(shot), NKR_OK);
  EXPECT_TRUE(shot.usb_present);
  EXPECT_EQ(shot.nmt_state, 0);
  EXPECT_FALSE(shot.operation_enabled);
  EXPECT_EQ(shot.velocity, 0);
  EXPECT_EQ(shot.move, Move::STOP);
  EXPECT_EQ(dispatcher->operations(), Names{"getNMTState"});
}

TEST_F(MotionOrders, TheNmtStateIsCopiedBeforeItsResultIsTestedAndNarrowedToAByte) {
  Snapshot shot;
  dispatcher->nmt_state = INMTService::NMTState{0x105};
  dispatcher->results["getNMTState"] = {kTimedOut};
  EXPECT_EQ(snapshot(shot), kTimedOut);
  EXPECT_EQ(shot.nmt_state, 5);
  dispatcher->nmt_state = INMTService::NMTState{0x100};
  dispatcher->results["getNMTState"] = {NKR_OK};
  EXPECT_EQ(snapshot(shot), NKR_OK);
  EXPECT_EQ(shot.nmt_state, 0);
  EXPECT_EQ(dispatcher->operations(), Names{"getNMTState"});
}

TEST_F(MotionOrders, ASnapshotEndsAtTheFirstFailureAndKeepsWhatItHad) {
  dispatcher->nmt_state = INMTService::NMTState::OPERATIONAL;
  dispatcher->states = {IPDSService::PDSState::OPERATION_ENABLED};
  dispatcher->axis_position = 7;
  dispatcher->axis_velocity = 9;
  Snapshot shot;
  dispatcher->results["getVelocityActualValue"] = {kTimedOut};
  EXPECT_EQ(snapshot(shot), kTimedOut);
  EXPECT_TRUE(shot.operation_enabled);
  EXPECT_EQ(shot.position, 7);
  EXPECT_EQ(shot.speed_percent, 0);
  dispatcher->results["getPositionValue"] = {NKR_OK, kTimedOut};
  EXPECT_EQ(snapshot(shot), kTimedOut);
  EXPECT_EQ(dispatcher->operations().back(), "getPositionValue");
  dispatcher->results["getPDSState"] = {NKR_INVALID_STATE};
  EXPECT_EQ(snapshot(shot), NKR_INVALID_STATE);
  EXPECT_FALSE(shot.operation_enabled);
}

TEST_F(MotionOrders, AMaximumOf0EndsTheSnapshotAtTheDivisionWithAllEarlierOutputsSet) {
  load_config({{"maxMaintenanceSpeedValue", "0"}});
  dispatcher->nmt_state = INMTService::NMTState::OPERATIONAL;
  dispatcher->states = {IPDSService::PDSState::OPERATION_ENABLED};
  dispatcher->axis_velocity = 9;
  Snapshot shot;
  EXPECT_EQ(snapshot(shot), NKR_ERROR);
  EXPECT_EQ(shot.velocity, 9);
  EXPECT_EQ(shot.move, Move::FORWARD);
  EXPECT_EQ(shot.speed_percent, 0);
}

TEST_F(MotionOrders, PercentArithmeticWrapsIn32Bits) {
  dispatcher->nmt_state = INMTService::NMTState::OPERATIONAL;
  dispatcher->states = {IPDSService::PDSState::OPERATION_ENABLED};
  Snapshot shot;
  load_config({{"maxMaintenanceSpeedValue", "1"}});
  dispatcher->axis_velocity = 42949673;  // times 100 is 2^32 + 4
  EXPECT_EQ(snapshot(shot), NKR_OK);
  EXPECT_EQ(shot.speed_percent, 4);
  load_config({{"maxMaintenanceSpeedValue", "-1"}});
  dispatcher->axis_velocity = 536870912;  // times 100 is 25 * 2^31: the smallest number, then divided by -1
  EXPECT_EQ(snapshot(shot), NKR_OK);
  EXPECT_EQ(shot.speed_percent, kLowest);
}

}  // namespace

#include <gtest/gtest.h>

#include <chrono>

#include "support/ControllerFixture.hpp"

namespace {

using namespace nkr::tavcore;
using tavtest::ControllerFixture;
using Names = std::vector<std::string>;
using Texts = std::vector<std::pair<std::uint32_t, std::string>>;
using State = IPDSService::PDSState;

constexpr nkr_error_t kTimedOut = NKR_SDO_TIMED_OUT;

class EnablingSequence : public ControllerFixture {
 protected:
  /** Runs the sequence on a drive that answers these states in turn; the last one stays. */
  nkr_error_t enable(const std::vector<State>& states) {
    Controller& controller = initialized_controller();
    dispatcher->calls.clear();
    log.clear();
    dispatcher->states.assign(states.begin(), states.end());
    const auto begin = std::chrono::steady_clock::now();
    const nkr_error_t result = controller.enterInOperationEnabledState();
    elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin);
    return result;
  }

  /** Level and text of each record; all must carry the operation's name, the class and the context. */
  Texts texts() {
    Texts seen;
    for (const auto& record : log.records()) {
      EXPECT_EQ(record.context, static_cast<std::uint32_t>(kContext));
      EXPECT_EQ(record.function, "enterInOperationEnabledState");
      EXPECT_EQ(record.class_name, "Controller");
      EXPECT_GT(record.line, 0U);
      seen.emplace_back(record.level, record.text);
    }
    return seen;
  }

  void expect_waits(int number) const {
    EXPECT_GE(elapsed.count(), 100 * number);
    EXPECT_LT(elapsed.count(), 100 * number + 5000);
  }

  std::chrono::milliseconds elapsed{};
};

TEST_F(EnablingSequence, BeforeInitIsRefusedWithoutAClassInTheRecord) {
  Controller controller;
  EXPECT_EQ(controller.enterInOperationEnabledState(), NKR_NOT_AVAILABLE);
  expect_single_record(0, 2, "enterInOperationEnabledState", std::nullopt,
                       "TAV Controller is not initialized");
}

TEST_F(EnablingSequence, ADriveAlreadyEnabledIsAskedSixTimesAndCommandedNothing) {
  EXPECT_EQ(enable({State::OPERATION_ENABLED}), NKR_OK);
  EXPECT_EQ(dispatcher->operations(), (Names{"setNMTState", "getPDSState", "getPDSState", "getPDSState",
                                             "getPDSState", "getPDSState", "getPDSState"}));
  EXPECT_EQ(dispatcher->nmt_commands,
            std::vector<INMTService::NMTCommand>{INMTService::NMTCommand::START_REMOTE_NODE});
  EXPECT_EQ(texts(), (Texts{{4, "Check NOT_READY_TO_SWITCH_ON"},
                            {4, "Check FAULT"},
                            {4, "Check SWITCH_ON_DISABLED"},
                            {4, "Check READY_TO_SWITCH_ON"},
                            {4, "Check SWITCHED_ON"},
                            {4, "Check OPERATION_ENABLED"},
                            {4, "OPERATION_ENABLED detected"}}));
  expect_waits(1);
}

TEST_F(EnablingSequence, ADriveNotReadyIsWalkedThroughEveryStep) {
  EXPECT_EQ(enable({State::NOT_READY_TO_SWITCH_ON, State::SWITCH_ON_DISABLED, State::SWITCH_ON_DISABLED,
                    State::READY_TO_SWITCH_ON, State::SWITCHED_ON, State::OPERATION_ENABLED}),
            NKR_OK);
  EXPECT_EQ(dispatcher->operations(),
            (Names{"setNMTState", "getPDSState", "disableVoltage", "getPDSState", "getPDSState", "shutdown",
                   "getPDSState", "switchOn", "getPDSState", "enableOperation", "getPDSState"}));
  EXPECT_EQ(texts(), (Texts{{4, "Check NOT_READY_TO_SWITCH_ON"},
                            {4, "NOT_READY_TO_SWITCH_ON detected"},
                            {4, "Check FAULT"},
                            {4, "Check SWITCH_ON_DISABLED"},
                            {4, "SWITCH_ON_DISABLED detected"},
                            {4, "Check READY_TO_SWITCH_ON"},
                            {4, "READY_TO_SWITCH_ON detected"},
                            {4, "Check SWITCHED_ON"},
                            {4, "SWITCHED_ON detected"},
                            {4, "Check OPERATION_ENABLED"},
                            {4, "OPERATION_ENABLED detected"}}));
  expect_waits(5);
}

TEST_F(EnablingSequence, ADriveInFaultIsResetWithTrueThenFalseAndEnabled) {
  EXPECT_EQ(enable({State::FAULT, State::FAULT, State::SWITCH_ON_DISABLED, State::READY_TO_SWITCH_ON,
                    State::SWITCHED_ON, State::OPERATION_ENABLED}),
            NKR_OK);
  EXPECT_EQ(dispatcher->fault_resets, (std::vector<bool>{true, false}));
  EXPECT_EQ(dispatcher->operations(),
            (Names{"setNMTState", "getPDSState", "getPDSState", "faultReset", "faultReset", "getPDSState",
                   "shutdown", "getPDSState", "switchOn", "getPDSState", "enableOperation", "getPDSState"}));
  expect_waits(6);
}

TEST_F(EnablingSequence, ADriveThatStaysReadySkipsTheLastStepAndEndsInInvalidState) {
  EXPECT_EQ(enable({State::READY_TO_SWITCH_ON}), NKR_INVALID_STATE);
  EXPECT_EQ(dispatcher->operations(), (Names{"setNMTState", "getPDSState", "getPDSState", "getPDSState",
                                             "getPDSState", "switchOn", "getPDSState", "getPDSState"}));
  EXPECT_EQ(texts().back(), (Texts::value_type{2, "Not in OPERATION_ENABLED"}));
}

TEST_F(EnablingSequence, QuickStopAndFaultReactionEndInInvalidStateWithoutACommand) {
  for (const State state : {State::QUICK_STOP_ACTIVE, State::FAULT_REACTION_ACTIVE}) {
    EXPECT_EQ(enable({state}), NKR_INVALID_STATE);
    EXPECT_EQ(dispatcher->calls.size(), 7U);
    EXPECT_EQ(texts().back(), (Texts::value_type{2, "Not in OPERATION_ENABLED"}));
  }
}

TEST_F(EnablingSequence, AFailedNodeStartReturnsAtOnceWithoutAnyStateRead) {
  dispatcher->results["setNMTState"] = {kTimedOut};
  EXPECT_EQ(enable({State::SWITCH_ON_DISABLED}), kTimedOut);
  EXPECT_EQ(dispatcher->operations(), Names{"setNMTState"});
  EXPECT_EQ(texts(), (Texts{{2, "setNMTState to OPER failed !"}}));
}

TEST_F(EnablingSequence, AFailedStateReadInAnyStepEndsTheSequence) {
  const Texts checks{
      {4, "Check NOT_READY_TO_SWITCH_ON"}, {4, "Check FAULT"},       {4, "Check SWITCH_ON_DISABLED"},
      {4, "Check READY_TO_SWITCH_ON"},     {4, "Check SWITCHED_ON"}, {4, "Check OPERATION_ENABLED"}};
  for (std::size_t step = 0; step < checks.size(); ++step) {
    SCOPED_TRACE(checks[step].second);
    dispatcher->results["getPDSState"].assign(step, NKR_OK);
    dispatcher->results["getPDSState"].push_back(kTimedOut);
    EXPECT_EQ(enable({State::QUICK_STOP_ACTIVE}), kTimedOut);
    Texts expected(checks.begin(), checks.begin() + static_cast<std::ptrdiff_t>(step) + 1);
    expected.emplace_back(2, "getPDSState failed !");
    EXPECT_EQ(texts(), expected);
    EXPECT_EQ(dispatcher->calls.size(), step + 2);
  }
}

struct FailingCommand {
  const char* operation;
  std::vector<State> states;
  const char* text;
};

TEST_F(EnablingSequence, AFailedCommandEndsTheSequenceWithItsOwnCodeAndText) {
  const FailingCommand commands[] = {
      {"disableVoltage", {State::NOT_READY_TO_SWITCH_ON}, "disableVoltage failed !"},
      {"faultReset", {State::FAULT}, "faultReset failed !"},
      {"shutdown", {State::SWITCH_ON_DISABLED}, "shutdown failed !"},
      {"switchOn", {State::READY_TO_SWITCH_ON}, "switchOn failed !"},
      {"enableOperation", {State::SWITCHED_ON}, "enableOperation failed !"},
  };
  for (const FailingCommand& command : commands) {
    SCOPED_TRACE(command.operation);
    dispatcher->results.clear();
    dispatcher->results[command.operation] = {kTimedOut};
    EXPECT_EQ(enable(command.states), kTimedOut);
    EXPECT_EQ(dispatcher->operations().back(), command.operation);
    EXPECT_EQ(texts().back(), (Texts::value_type{2, command.text}));
    expect_waits(1);
  }
}

TEST_F(EnablingSequence, AFailedSecondFaultResetEndsTheSequenceToo) {
  dispatcher->results["faultReset"] = {NKR_OK, kTimedOut};
  EXPECT_EQ(enable({State::FAULT}), kTimedOut);
  EXPECT_EQ(dispatcher->fault_resets, (std::vector<bool>{true, false}));
  EXPECT_EQ(texts().back(), (Texts::value_type{2, "faultReset failed !"}));
  expect_waits(2);
}

TEST_F(EnablingSequence, AStateThatTheDriveDoesNotKnowEndsTheSequence) {
  dispatcher->results["getPDSState"] = {NKR_INVALID_STATE};
  EXPECT_EQ(enable({State::SWITCH_ON_DISABLED}), NKR_INVALID_STATE);
  EXPECT_EQ(texts().back(), (Texts::value_type{2, "getPDSState failed !"}));
}

}  // namespace

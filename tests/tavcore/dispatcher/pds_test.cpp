#include <optional>

#include "ServiceTest.hpp"

namespace tavtest {
namespace {

using nkr::tavcore::IPDSService;
using Accesses = std::vector<Access>;
using State = IPDSService::PDSState;
using Mode = IPDSService::OperationMode;
using Texts = std::vector<std::string>;

class PDSTest : public ServiceTest {
 protected:
  PDSTest() { answer("Identity Object Vendor Id", 2599U); }

  nkr_error_t state_of(unsigned statusword, State& state) {
    answer("statusword", u16(statusword));
    return dispatcher().getPDSState(state);
  }
};

/** CiA 402: which bits of the status word are looked at for a state, and what they must be. */
std::optional<State> expected_state(unsigned word) {
  const auto is = [word](unsigned mask, unsigned value) { return (word & mask) == value; };
  if (is(0x4F, 0x00)) return State::NOT_READY_TO_SWITCH_ON;
  if (is(0x4F, 0x40)) return State::SWITCH_ON_DISABLED;
  if (is(0x6F, 0x21)) return State::READY_TO_SWITCH_ON;
  if (is(0x6F, 0x23)) return State::SWITCHED_ON;
  if (is(0x6F, 0x27)) return State::OPERATION_ENABLED;
  if (is(0x6F, 0x07)) return State::QUICK_STOP_ACTIVE;
  if (is(0x4F, 0x0F)) return State::FAULT_REACTION_ACTIVE;
  if (is(0x4F, 0x08)) return State::FAULT;
  return std::nullopt;
}

TEST_F(PDSTest, EveryStatusWordIsClassifiedAsTheStandardSays) {
  log.disable();
  for (unsigned word = 0; word <= 0xFFFF; ++word) {
    State state{42};
    const nkr_error_t result = state_of(word, state);
    const std::optional<State> expected = expected_state(word);
    ASSERT_EQ(result, expected ? NKR_OK : NKR_INVALID_STATE) << std::hex << word;
    ASSERT_EQ(state, expected.value_or(State{42})) << std::hex << word;
  }
}

TEST_F(PDSTest, TheStatesHaveTheirStatusWords) {
  const std::pair<unsigned, State> table[] = {
      {0x0000, State::NOT_READY_TO_SWITCH_ON}, {0x0040, State::SWITCH_ON_DISABLED},
      {0x0021, State::READY_TO_SWITCH_ON},     {0x0023, State::SWITCHED_ON},
      {0x0027, State::OPERATION_ENABLED},      {0x0007, State::QUICK_STOP_ACTIVE},
      {0x000F, State::FAULT_REACTION_ACTIVE},  {0x0008, State::FAULT}};
  for (const auto& [word, expected] : table) {
    for (const unsigned ignored : {0x0000U, 0x0010U, 0xFF80U, 0xFF90U}) {
      State state{42};
      EXPECT_EQ(state_of(word | ignored, state), NKR_OK);
      EXPECT_EQ(state, expected) << std::hex << (word | ignored);
    }
  }
}

TEST_F(PDSTest, AWordOfNoStateLeavesTheOutputAndBothRecordsAreMade) {
  State state = State::SWITCHED_ON;
  EXPECT_EQ(state_of(0x0001, state), NKR_INVALID_STATE);
  EXPECT_EQ(state, State::SWITCHED_ON);
  EXPECT_EQ(texts(2), (Texts{" Invalid cia402 statusword 1"}));
  EXPECT_EQ(texts(5).back(), " got 3");
  EXPECT_EQ(state_of(0x0048, state), NKR_INVALID_STATE);
  EXPECT_EQ(state, State::SWITCHED_ON);
}

TEST_F(PDSTest, AStateReadByItsRepeatIsClassified) {
  fail_once("statusword");
  State state{42};
  EXPECT_EQ(state_of(0x0027, state), NKR_OK);
  EXPECT_EQ(state, State::OPERATION_ENABLED);
  EXPECT_EQ(client().accesses.size(), 2U);
}

TEST_F(PDSTest, AFailedStateIsReadTwiceAndNotMore) {
  fail("statusword");
  State state{42};
  EXPECT_EQ(dispatcher().getPDSState(state), kAbort);
  EXPECT_EQ(state, State{42});
  EXPECT_EQ(client().accesses.size(), 2U);
}

TEST_F(PDSTest, ADriveOfAnotherVendorRefusesEveryCommandSilently) {
  for (const std::uint32_t vendor : {0U, 2598U, 2600U, 0xFFFFFFFFU, 2599U + 65536U}) {
    answer("Identity Object Vendor Id", vendor);
    log.clear();
    EXPECT_EQ(dispatcher().disableVoltage(), NKR_NOT_AVAILABLE);
    EXPECT_EQ(dispatcher().shutdown(), NKR_NOT_AVAILABLE);
    EXPECT_EQ(dispatcher().quickStop(), NKR_NOT_AVAILABLE);
    EXPECT_EQ(dispatcher().switchOn(), NKR_NOT_AVAILABLE);
    EXPECT_EQ(dispatcher().enableOperation(), NKR_NOT_AVAILABLE);
    EXPECT_EQ(dispatcher().disableOperation(), NKR_NOT_AVAILABLE);
    EXPECT_EQ(dispatcher().faultReset(true), NKR_NOT_AVAILABLE);
    EXPECT_TRUE(texts(2).empty());
    EXPECT_EQ(log.records().size(), 7U) << "the records of the vendor id's reads";
  }
  EXPECT_TRUE(client().writes().empty());
  State state{42};
  EXPECT_EQ(state_of(0x0027, state), NKR_OK) << "the state can be read from any drive";
}

TEST_F(PDSTest, TheVendorIsReadAfreshBeforeEveryCommand) {
  ASSERT_EQ(dispatcher().shutdown(), NKR_OK);
  answer("Identity Object Vendor Id", 1U);
  EXPECT_EQ(dispatcher().shutdown(), NKR_NOT_AVAILABLE);
  EXPECT_EQ(client().writes().size(), 1U);
}

TEST_F(PDSTest, NoCommandIsSentWhenTheVendorNeededItsRepeat) {
  fail_once("Identity Object Vendor Id");
  EXPECT_EQ(dispatcher().enableOperation(), NKR_OK);
  EXPECT_TRUE(client().writes().empty());
}

TEST_F(PDSTest, AClearedFaultResetIsTheWordOfDisableVoltage) {
  EXPECT_EQ(dispatcher().faultReset(false), NKR_OK);
  EXPECT_EQ(dispatcher().disableVoltage(), NKR_OK);
  EXPECT_EQ(client().writes(), (Accesses{write_of("controlword", u16(0)), write_of("controlword", u16(0))}));
}

TEST_F(PDSTest, AnEncoderThatFailsIsRecordedAndNothingIsSent) {
  EXPECT_EQ(dispatcher().sendCIA402ControlWord(nullptr), NKR_ERROR);
  EXPECT_TRUE(client().writes().empty());
  ASSERT_EQ(texts(2), (Texts{"nkr_cia402_encode_control_word failed !"}));
  EXPECT_EQ(log.records().back().function, "sendCIA402ControlWord");
}

TEST_F(PDSTest, OnlyTheVelocityModeIsEverSupported) {
  answer("supported_drive_modes", 0xFFFFFFFFU);
  for (int mode = -128; mode <= 127; ++mode) {
    bool supported = mode != 2;
    EXPECT_EQ(dispatcher().isDriveModeSupported(Mode{mode}, supported), NKR_OK);
    EXPECT_EQ(supported, mode == 2) << mode;
  }
  bool supported = false;
  answer("supported_drive_modes", 0x2U);
  EXPECT_EQ(dispatcher().isDriveModeSupported(Mode::VELOCITY, supported), NKR_OK);
  EXPECT_TRUE(supported);
  answer("supported_drive_modes", 0xFFFFFFFDU);
  EXPECT_EQ(dispatcher().isDriveModeSupported(Mode::VELOCITY, supported), NKR_OK);
  EXPECT_FALSE(supported);
}

TEST_F(PDSTest, PolarityIsItsTwoBits) {
  EXPECT_EQ(dispatcher().setPolarityParameters({false, false}), NKR_OK);
  EXPECT_EQ(dispatcher().setPolarityParameters({true, true}), NKR_OK);
  EXPECT_EQ(client().accesses, (Accesses{write_of("polarity", u8(0x00)), write_of("polarity", u8(0xC0))}));
  IPDSService::PolarityParameters polarity{};
  answer("polarity", u8(0xFF));
  EXPECT_EQ(dispatcher().getPolarityParameters(polarity), NKR_OK);
  EXPECT_TRUE(polarity.velocity_polarity && polarity.position_polarity);
  answer("polarity", u8(0x3F));
  EXPECT_EQ(dispatcher().getPolarityParameters(polarity), NKR_OK);
  EXPECT_FALSE(polarity.velocity_polarity || polarity.position_polarity);
}

TEST_F(PDSTest, AnOptionCodeIsASigned16BitNumberBothWays) {
  IPDSService::QuickStopOptionCode code{};
  answer("quick_stop_option_code", i16(-1));
  EXPECT_EQ(dispatcher().getQuickStopOptionCode(code), NKR_OK);
  EXPECT_EQ(code, IPDSService::QuickStopOptionCode{-1});
  EXPECT_EQ(dispatcher().setQuickStopOptionCode(IPDSService::QuickStopOptionCode{0x1FFFE}), NKR_OK);
  EXPECT_EQ(client().writes(), (Accesses{write_of("quick_stop_option_code", i16(-2))}));
}

TEST_F(PDSTest, AFailingDisplayLeavesTheModeWritten) {
  answer("modes_of_operation", i8(2));
  fail("modes_of_operation_display");
  Mode mode{77};
  Mode display{78};
  EXPECT_EQ(dispatcher().getOperationModes(mode, display), kAbort);
  EXPECT_EQ(mode, Mode::VELOCITY);
  EXPECT_EQ(display, Mode{78});
}

TEST_F(PDSTest, TheEnablingSequenceIsNotTheDispatchersBeforeOrAfterInit) {
  DispatcherBench bench(description);
  EXPECT_EQ(bench.dispatcher->enterInOperationEnabledState(), NKR_NOT_AVAILABLE);
  EXPECT_EQ(dispatcher().enterInOperationEnabledState(), NKR_NOT_AVAILABLE);
  const std::vector<LogEntry> records = log.records();
  ASSERT_EQ(records.size(), 2U);
  for (const LogEntry& record : records) {
    EXPECT_EQ(record.context, 7U) << "with the configuration's context, not the guard's";
    EXPECT_EQ(record.text, "enterInOperationEnabledState() not implemented !");
  }
}

TEST_F(PDSTest, ACommandBeforeInitIsRefusedUnderItsOwnName) {
  DispatcherBench bench(description);
  State state{42};
  EXPECT_EQ(bench.dispatcher->getPDSState(state), NKR_NOT_AVAILABLE);
  EXPECT_EQ(bench.dispatcher->faultReset(true), NKR_NOT_AVAILABLE);
  const std::vector<LogEntry> records = log.records();
  ASSERT_EQ(records.size(), 2U);
  EXPECT_EQ(records[0].function, "getPDSState");
  EXPECT_EQ(records[1].function, "faultReset");
}

}  // namespace
}  // namespace tavtest

// Safety words, function commands and statuses.

#include <gtest/gtest.h>

#include <stdexcept>

#include "SafetyBench.hpp"
#include "support/Doubles.hpp"

namespace {

using tavtest::SafetyBench;
using Safe = nkr::tavcore::ISafeMotionService;
using ControlWord = Safe::SafetyControlWordId;
using StatusWord = Safe::SafetyStatusWordId;
using Function = Safe::SafetyFunctionId;

class SafetyWords : public testing::Test {
 protected:
  tavtest::Accesses& accesses() { return bench_.client->accesses; }
  nkr::tavcore::CANOpenDispatcher& drive() { return *bench_.dispatcher; }

  tavtest::RecordingLog log_;
  SafetyBench bench_;
};

std::vector<bool> bits_of(const Safe::SafetyWordType& w) {
  return {w.bit0, w.bit1, w.bit2, w.bit3, w.bit4, w.bit5, w.bit6, w.bit7};
}

TEST_F(SafetyWords, Bit0AndBit7AreWrittenAs0x81) {
  ASSERT_EQ(drive().setSafetyControlWord(ControlWord::CAN_1,
                                         {true, false, false, false, false, false, false, true}),
            NKR_OK);
  EXPECT_EQ(accesses(), tavtest::Accesses{bench_.write_of("Safety controlwords safety_controlword_can1",
                                                          std::uint8_t{0x81})});
}

TEST_F(SafetyWords, EachFieldIsTheBitOfItsNumber) {
  for (unsigned bit = 0; bit < 8; ++bit) {
    const auto byte = static_cast<std::uint8_t>(1U << bit);
    std::vector<bool> alone(8, false);
    alone[bit] = true;
    bench_.hold("Safety controlwords safety_controlword_can3", byte);
    bench_.hold("Safety statuswords safety_statusword_can3", byte);
    Safe::SafetyWordType control{true, true, true, true, true, true, true, true};
    Safe::SafetyWordType status{};
    ASSERT_EQ(drive().getSafetyControlWord(ControlWord::CAN_3, control), NKR_OK);
    ASSERT_EQ(drive().getSafetyStatusWord(StatusWord::CAN_3, status), NKR_OK);
    EXPECT_EQ(bits_of(control), alone);
    EXPECT_EQ(bits_of(status), alone);
    ASSERT_EQ(drive().setSafetyControlWord(ControlWord::CAN_3, control), NKR_OK);
    EXPECT_EQ(accesses().back(), bench_.write_of("Safety controlwords safety_controlword_can3", byte));
  }
}

TEST_F(SafetyWords, EachWordHasItsObject) {
  for (int word = 0; word < 8; ++word) {
    const std::string number = std::to_string(word + 1);
    Safe::SafetyWordType bits{};
    ASSERT_EQ(drive().getSafetyControlWord(ControlWord{word}, bits), NKR_OK);
    EXPECT_EQ(accesses().back(),
              bench_.read_of("Safety controlwords safety_controlword_can" + number, std::uint8_t{0}));
    ASSERT_EQ(drive().setSafetyControlWord(ControlWord{word}, bits), NKR_OK);
    EXPECT_EQ(accesses().back(),
              bench_.write_of("Safety controlwords safety_controlword_can" + number, std::uint8_t{0}));
    ASSERT_EQ(drive().getSafetyStatusWord(StatusWord{word}, bits), NKR_OK);
    EXPECT_EQ(accesses().back(),
              bench_.read_of("Safety statuswords safety_statusword_can" + number, std::uint8_t{0}));
  }
}

TEST_F(SafetyWords, TheSafeInputIsReadAndWrittenUnderTwoNames) {
  Safe::SafetyWordType bits{};
  ASSERT_EQ(drive().getSafetyControlWord(ControlWord::SAFE_INPUT, bits), NKR_OK);
  EXPECT_EQ(accesses().back(),
            bench_.read_of("Safety controlwords manufacturer safety_controlword_safein_1", std::uint8_t{0}));
  ASSERT_EQ(drive().setSafetyControlWord(ControlWord::SAFE_INPUT, bits), NKR_OK);
  EXPECT_EQ(accesses().back(),
            bench_.write_of("Safety controlwords manufacturer safety_controlword_safein", std::uint8_t{0}));
  ASSERT_EQ(drive().getSafetyStatusWord(StatusWord::SAFE_OUTPUT, bits), NKR_OK);
  EXPECT_EQ(accesses().back(),
            bench_.read_of("Safety statuswords manufacturer safety_statusword_safeout", std::uint8_t{0}));
}

TEST_F(SafetyWords, NoFunctionIsInactiveWithoutBusTraffic) {
  bool active = true;
  EXPECT_EQ(drive().getSafetyFunctionCommand(Function::NONE, active), NKR_OK);
  EXPECT_FALSE(active);
  active = true;
  EXPECT_EQ(drive().getSafetyFunctionStatus(Function::NONE, active), NKR_OK);
  EXPECT_FALSE(active);
  EXPECT_TRUE(accesses().empty());
}

TEST_F(SafetyWords, EachFunctionHasItsCommandAndItsStatus) {
  const std::vector<std::pair<std::string, std::string>> objects = {
      {"STO command", "STO status"},
      {"SBC commands SBC command 1", "SBC statuses SBC status 1"},
      {"SBC commands SBC command 2", "SBC statuses SBC status 2"},
      {"SBC commands SBC command 3", "SBC statuses SBC status 3"},
      {"SLS commands SLS command 1", "SLS statuses SLS status 1"},
      {"SLS commands SLS command 2", "SLS statuses SLS status 2"},
      {"SLS commands SLS command 3", "SLS statuses SLS status 3"},
      {"SLS commands SLS command 4", "SLS statuses SLS status 4"},
      {"SLS commands SLS command 5", "SLS statuses SLS status 5"},
      {"SLS commands SLS command 6", "SLS statuses SLS status 6"},
      {"SLS commands SLS command 7", "SLS statuses SLS status 7"},
      {"SLS commands SLS command 8", "SLS statuses SLS status 8"},
      {"SDIp commands SDIp command 1", "SDIp statuses SDIp status 1"},
      {"SDIp commands SDIp command 2", "SDIp statuses SDIp status 2"},
      {"SDIn commands SDIn command 1", "SDIn statuses SDIn status 1"},
      {"SDIn commands SDIn command 2", "SDIn statuses SDIn status 2"},
      {"Error acknowledge command", "Error acknowledge status"},
      {"Restart acknowledge command", "Restart acknowledge status"}};
  for (std::size_t i = 0; i < objects.size(); ++i) {
    const Function function{static_cast<std::int32_t>(i)};
    for (const bool held : {true, false}) {
      bool active = !held;
      bench_.hold(objects[i].first, held);
      ASSERT_EQ(drive().getSafetyFunctionCommand(function, active), NKR_OK);
      EXPECT_EQ(active, held) << "the stored bit, as it is";
      EXPECT_EQ(accesses().back(), bench_.read_of(objects[i].first, held));
      active = !held;
      bench_.hold(objects[i].second, held);
      ASSERT_EQ(drive().getSafetyFunctionStatus(function, active), NKR_OK);
      EXPECT_EQ(active, held);
      EXPECT_EQ(accesses().back(), bench_.read_of(objects[i].second, held));
    }
  }
}

TEST_F(SafetyWords, AnUnknownIdentifierThrowsOutOfRangeAndSendsNothing) {
  bool active = false;
  Safe::SafetyWordType bits{};
  for (const int unknown : {-2, 18, 0x7FFFFFFF}) {
    EXPECT_THROW((void)drive().getSafetyFunctionCommand(Function{unknown}, active), std::out_of_range);
    EXPECT_THROW((void)drive().getSafetyFunctionStatus(Function{unknown}, active), std::out_of_range);
  }
  for (const int unknown : {-1, 9, 0x7FFFFFFF}) {
    EXPECT_THROW((void)drive().getSafetyControlWord(ControlWord{unknown}, bits), std::out_of_range);
    EXPECT_THROW((void)drive().setSafetyControlWord(ControlWord{unknown}, bits), std::out_of_range);
    EXPECT_THROW((void)drive().getSafetyStatusWord(StatusWord{unknown}, bits), std::out_of_range);
  }
  EXPECT_TRUE(accesses().empty());
}

}  // namespace

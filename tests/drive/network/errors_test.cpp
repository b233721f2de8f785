// Errors: register, list, emergency messages, frame by frame (CiA 301, 7.2.7 and 7.5.2).
#include <gtest/gtest.h>

#include "drive/DriveBench.hpp"

namespace tav::drive::test {
namespace {

class ErrorsTest : public ::testing::Test {
 protected:
  void reset_fault() {
    bench.write(0x6040, 0, 0x00, 2);
    bench.write(0x6040, 0, 0x80, 2);
  }

  DriveBench bench;
};

TEST_F(ErrorsTest, ReportsAnErrorEverywhereAtOnce) {
  EXPECT_EQ(bench.read(0x1001), 0U);
  EXPECT_EQ(bench.read(0x1003), 0U);
  bench.drive().raise_fault(0x3210, false, {1, 2, 3, 4, 5});
  EXPECT_EQ(bench.take(), Frames{"081#1032050102030405"});
  EXPECT_EQ(bench.read(0x1001), 0x05U);
  EXPECT_EQ(bench.read(0x603F), 0x3210U);
  EXPECT_EQ(bench.read(0x1003), 1U);
  EXPECT_EQ(bench.read(0x1003, 1), 0x02013210U);
}

TEST_F(ErrorsTest, EachClassOfCodesHasItsBitOfTheRegister) {
  const struct {
    std::uint16_t code;
    std::uint32_t error_register;
  } kClasses[] = {{0x1000, 0x01}, {0x2310, 0x03}, {0x3220, 0x05}, {0x4310, 0x09}, {0x6320, 0x01},
                  {0x8130, 0x11}, {0x8220, 0x11}, {0x8400, 0x21}, {0x8611, 0x21}, {0xFF01, 0x81}};
  for (const auto& expected : kClasses) {
    bench.drive().raise_fault(expected.code);
    EXPECT_EQ(bench.read(0x1001), expected.error_register) << std::hex << expected.code;
    reset_fault();
    EXPECT_EQ(bench.read(0x1001), 0U);
  }
}

TEST_F(ErrorsTest, SaysThatAllIsWellOnlyWhenTheLastErrorIsGone) {
  bench.drive().raise_fault(0x3210);
  bench.drive().raise_fault(0x4310, true);
  EXPECT_EQ(bench.take(), (Frames{"081#1032050000000000", "081#10430D0000000000"}));
  reset_fault();
  EXPECT_EQ(bench.take(), Frames{}) << "one error still has its cause";
  EXPECT_EQ(bench.read(0x1001), 0x09U);
  bench.drive().clear_fault(0x4310);
  reset_fault();
  EXPECT_EQ(bench.take(), Frames{"081#0000000000000000"});
  EXPECT_EQ(bench.read(0x603F), 0U);
}

TEST_F(ErrorsTest, AnErrorThatLastsIsReportedOnce) {
  bench.drive().raise_fault(0x4310, true);
  bench.drive().raise_fault(0x4310, true);
  EXPECT_EQ(bench.take().size(), 1U);
  EXPECT_EQ(bench.read(0x1003), 1U);
}

TEST_F(ErrorsTest, TheListHasTheNewestFirstAndKeepsSixteen) {
  for (std::uint16_t i = 0; i < 20; ++i) {
    bench.drive().raise_fault(static_cast<std::uint16_t>(0x7300 + i));
    reset_fault();
  }
  EXPECT_EQ(bench.read(0x1003), 16U);
  EXPECT_EQ(bench.read(0x1003, 1), 0x7313U);
  EXPECT_EQ(bench.read(0x1003, 16), 0x7304U);
}

TEST_F(ErrorsTest, TheListIsClearedByAZeroAndByNothingElse) {
  bench.drive().raise_fault(0x7300);
  EXPECT_EQ(bench.write(0x1003, 0, 1, 1), 0x06090030U);
  EXPECT_EQ(bench.read(0x1003), 1U);
  EXPECT_EQ(bench.write(0x1003, 0, 0, 1), 0U);
  EXPECT_EQ(bench.read(0x1003), 0U);
  EXPECT_EQ(bench.answer("601#4003100100000000"), "581#8003100124000008") << "no data available";
  EXPECT_EQ(bench.read(0x1001), 0x01U) << "the error itself is still there";
}

TEST_F(ErrorsTest, EmergenciesKeepTheirDistance) {
  bench.write(0x1015, 0, 500, 2);  // 50 ms
  bench.drive().raise_fault(0x3210);
  bench.drive().raise_fault(0x4310);
  EXPECT_EQ(bench.take(), Frames{"081#1032050000000000"});
  bench.step(milliseconds(49));
  EXPECT_EQ(bench.take(), Frames{});
  bench.step(milliseconds(1));
  EXPECT_EQ(bench.take(), Frames{"081#10430D0000000000"});
  reset_fault();
  bench.step(milliseconds(50));
  EXPECT_EQ(bench.take_events(), Frames{"081#0000000000000000"});
}

TEST_F(ErrorsTest, EmergenciesUseTheirIdentifierAndNoneWhenItIsNotValid) {
  EXPECT_EQ(bench.write(0x1014, 0, 0x800000A5, 4), 0U);
  EXPECT_EQ(bench.write(0x1014, 0, 0x000000A5, 4), 0U);
  bench.drive().raise_fault(0x3210);
  EXPECT_EQ(bench.take(), Frames{"0A5#1032050000000000"});
  bench.write(0x1014, 0, 0x800000A5, 4);
  bench.drive().raise_fault(0x4310);
  EXPECT_EQ(bench.take(), Frames{});
}

TEST_F(ErrorsTest, AStoppedNodeSendsNoEmergencyBeforeItRunsAgain) {
  bench.send("000#0201");
  bench.drive().raise_fault(0x3210);
  EXPECT_EQ(bench.take(), Frames{});
  bench.step(milliseconds(500));
  EXPECT_EQ(bench.take_events(), Frames{});
  bench.send("000#8001");
  EXPECT_EQ(bench.take(), Frames{"081#1032050000000000"});
}

TEST_F(ErrorsTest, ResetNodeForgetsErrors) {
  bench.drive().raise_fault(0x3210);
  bench.take();
  bench.send("000#8101");
  EXPECT_EQ(bench.take(), Frames{"701#00"});
  EXPECT_EQ(bench.read(0x1001), 0U);
  EXPECT_EQ(bench.read(0x1003), 0U);
}

TEST_F(ErrorsTest, ResetCommunicationKeepsWhatIsStillWrong) {
  bench.drive().raise_fault(0x3210);
  bench.send("000#8201");
  EXPECT_EQ(bench.read(0x1001), 0x05U);
  EXPECT_EQ(bench.read(0x603F), 0x3210U);
}

TEST_F(ErrorsTest, ADeviceProfileErrorTakesAnOperationalNodeToItsErrorState) {
  bench.send("000#0101");
  bench.drive().raise_fault(0x8400);
  bench.take();
  bench.step(milliseconds(100));
  EXPECT_EQ(bench.take(), Frames{"701#7F"}) << "0x1029:02 is 0: pre-operational";
  reset_fault();
  bench.write(0x1029, 2, 1, 1);
  bench.write(0x1029, 3, 2, 1);
  bench.send("000#0101");
  bench.drive().raise_fault(0x8400);
  bench.take();
  bench.step(milliseconds(100));
  EXPECT_EQ(bench.take(), Frames{"701#05"}) << "no change";
  bench.drive().raise_fault(0xFF00);
  bench.take();
  bench.step(milliseconds(100));
  EXPECT_EQ(bench.take(), Frames{"701#04"}) << "0x1029:03 is 2: stopped";
}

TEST_F(ErrorsTest, AValidIdentifierOfEmergenciesStaysUntilItIsMadeInvalid) {
  EXPECT_EQ(bench.write(0x1014, 0, 0x0A5, 4), 0x06090030U);
  EXPECT_EQ(bench.write(0x1014, 0, 0x081, 4), 0U) << "the one that it has";
  bench.drive().raise_fault(0x3210);
  EXPECT_EQ(bench.take(), Frames{"081#1032050000000000"});
}

TEST_F(ErrorsTest, EmergenciesTakeNoIdentifierThatBelongsToOthers) {
  EXPECT_EQ(bench.write(0x1014, 0, 0x80000081, 4), 0U);
  for (const std::uint32_t identifier : {0x000U, 0x07FU, 0x101U, 0x581U, 0x601U, 0x6E0U, 0x701U}) {
    EXPECT_EQ(bench.write(0x1014, 0, identifier, 4), 0x06090030U) << std::hex << identifier;
  }
  EXPECT_EQ(bench.write(0x1014, 0, 0x20000081, 4), 0x06090030U) << "29 bits";
  EXPECT_EQ(bench.write(0x1014, 0, 0x40000081, 4), 0x06090030U) << "bit 30";
  EXPECT_EQ(bench.write(0x1014, 0, 0x00000881, 4), 0x06090030U) << "bit 11";
}

TEST(EmergencyIdentifier, OfZeroInADescriptionSendsNoNMTCommands) {
  DriveBench bench(changed(shipped_description(), "1014", "DefaultValue", "0"), as_node(1));
  bench.drive().raise_fault(0x3210);
  EXPECT_EQ(bench.take(), Frames{});
}

}  // namespace
}  // namespace tav::drive::test

#include "ServiceTest.hpp"

namespace tavtest {
namespace {

using nkr::tavcore::IEMCYService;
using nkr::tavcore::INMTService;
using Command = INMTService::NMTCommand;
using Behavior = IEMCYService::ErrorBehavior;
using ErrorKind = IEMCYService::ErrorType;
using Texts = std::vector<std::string>;

using NMTTest = ServiceTest;
using EMCYTest = ServiceTest;

TEST_F(NMTTest, AResetKeepsTheNodeIdThatWasSetByHand) {
  ASSERT_EQ(dispatcher()._setNodeId(9), NKR_OK);
  ASSERT_EQ(dispatcher().setNMTState(Command::RESET_NODE), NKR_OK);
  EXPECT_EQ(texts(3), (Texts{"node id changed to 9"}));
  EXPECT_EQ(addressed_node(), 9);
}

TEST_F(NMTTest, AResetReturnsToTheConfiguredNodeId) {
  for (const Command reset : {Command::RESET_NODE, Command::RESET_COMMUNICATION}) {
    ASSERT_EQ(dispatcher().setNetworkParameters({0, 17, false}), NKR_OK);
    ASSERT_EQ(addressed_node(), 17);
    ASSERT_EQ(dispatcher().setNMTState(reset), NKR_OK);
    EXPECT_EQ(client().accesses.back().node, 17) << "the command itself goes to the id of before";
    EXPECT_EQ(addressed_node(), 5);
  }
  EXPECT_EQ(texts(3), (Texts{"node id changed to 5", "node id changed to 5"}));
}

TEST_F(NMTTest, OtherCommandsNeverChangeTheNodeId) {
  ASSERT_EQ(dispatcher().setNetworkParameters({0, 17, false}), NKR_OK);
  for (const Command command : {Command::START_REMOTE_NODE, Command::STOP_REMOTE_NODE,
                                Command::ENTER_PRE_OPERATIONAL, Command{0}, Command{131}}) {
    ASSERT_EQ(dispatcher().setNMTState(command), NKR_OK);
    EXPECT_EQ(client().accesses.back().value, Value(static_cast<std::uint32_t>(command)));
  }
  EXPECT_EQ(addressed_node(), 17);
  EXPECT_TRUE(texts(3).empty());
}

TEST_F(NMTTest, AFailedResetDoesNotRestoreTheNodeId) {
  ASSERT_EQ(dispatcher().setNetworkParameters({0, 17, false}), NKR_OK);
  client().clear();
  log.clear();
  client().fail_access(1, kAbort);
  EXPECT_EQ(dispatcher().setNMTState(Command::RESET_COMMUNICATION), kAbort);
  EXPECT_EQ(addressed_node(), 17);
  EXPECT_EQ(texts(2), (Texts{"setNmtState set 130 failed !"}));
}

TEST_F(EMCYTest, AnUnknownKindOfErrorIsRefusedWithoutAccess) {
  Behavior behavior = Behavior::STOPPED;
  for (const std::uint32_t kind : {0U, 4U, 257U, 0xFFFFFFFFU}) {
    EXPECT_EQ(dispatcher().getErrorBehavior(ErrorKind{kind}, behavior), NKR_ERROR) << kind;
    EXPECT_EQ(dispatcher().setErrorBehavior(ErrorKind{kind}, Behavior::NO_CHANGE), NKR_ERROR) << kind;
  }
  EXPECT_EQ(behavior, Behavior::STOPPED);
  EXPECT_TRUE(client().accesses.empty());
}

TEST_F(EMCYTest, AnUnknownBehaviorIsNotWritten) {
  for (const std::uint32_t behavior : {3U, 256U, 0xFFFFFFFFU}) {
    EXPECT_EQ(dispatcher().setErrorBehavior(ErrorKind::COMMUNICATION, Behavior{behavior}), NKR_ERROR);
  }
  EXPECT_TRUE(client().accesses.empty());
}

TEST_F(EMCYTest, EveryStoredBehaviorIsMappedOrRefused) {
  for (unsigned stored = 0; stored <= 255; ++stored) {
    client().answer(0x10290100, u8(stored));
    Behavior behavior{99};
    const nkr_error_t result = dispatcher().getErrorBehavior(ErrorKind::COMMUNICATION, behavior);
    EXPECT_EQ(result, stored <= 2 ? NKR_OK : NKR_NOT_AVAILABLE) << stored;
    EXPECT_EQ(behavior, stored <= 2 ? Behavior{stored} : Behavior{99}) << stored;
  }
}

TEST_F(EMCYTest, AFailedReadOfTheBehaviorAnswersItsCodeWithTheBehaviorSetToZero) {
  client().fail_access(1, kAbort);
  Behavior behavior = Behavior::STOPPED;
  EXPECT_EQ(dispatcher().getErrorBehavior(ErrorKind::OTHER_1, behavior), kAbort);
  EXPECT_EQ(behavior, Behavior::PRE_OPERATIONAL);
  EXPECT_EQ(client().accesses.size(), 1U);
}

TEST_F(EMCYTest, EachKindOfErrorAndBehaviorHasItsPlace) {
  for (unsigned kind = 1; kind <= 3; ++kind) {
    for (unsigned behavior = 0; behavior <= 2; ++behavior) {
      client().clear();
      EXPECT_EQ(dispatcher().setErrorBehavior(ErrorKind{kind}, Behavior{behavior}), NKR_OK);
      EXPECT_EQ(client().accesses, (std::vector<Access>{write_of(0x10290000 + 256 * kind, u8(behavior))}));
    }
  }
}

TEST_F(EMCYTest, ErrorZeroAndBelowAreRefusedWithoutAccess) {
  unsigned int code = 7;
  for (const int index : {0, -1, -2147483647 - 1}) {
    EXPECT_EQ(dispatcher().getError(index, code), NKR_ERROR);
  }
  EXPECT_EQ(code, 7U);
  EXPECT_TRUE(client().accesses.empty());
}

TEST_F(EMCYTest, AnErrorIsTheLowHalfOfItsEntry) {
  client().answer(0x10030100, 0x12345678U);
  unsigned int code = 0;
  EXPECT_EQ(dispatcher().getError(1, code), NKR_OK);
  EXPECT_EQ(code, 0x5678U);
}

TEST_F(EMCYTest, AnIndexAbove255AddressesAnotherObject) {
  unsigned int code = 0;
  EXPECT_EQ(dispatcher().getError(254, code), NKR_OK);
  EXPECT_EQ(dispatcher().getError(256, code), NKR_OK);
  EXPECT_EQ(client().accesses.at(0).address, 0x1003FE00U);
  EXPECT_EQ(client().accesses.at(1).address, 0x10040000U);
}

TEST_F(EMCYTest, AFailedCountIsZeroWithTheClientsCode) {
  client().fail_access(1, kAbort);
  int count = 12;
  EXPECT_EQ(dispatcher().getErrorCount(count), kAbort);
  EXPECT_EQ(count, 0);
}

}  // namespace
}  // namespace tavtest

#include "ServiceTest.hpp"

namespace tavtest {
namespace {

using nkr::tavcore::CANOpenDispatcher;
using nkr::tavcore::ICommunicationService;
using Accesses = std::vector<Access>;
using Block = ICommunicationService::BlocId;
using COBID = ICommunicationService::COBID;
using Mapping = ICommunicationService::PDOMappingParameters;
using PDO = ICommunicationService::PDOCommunicationParameters;
using PDOId = ICommunicationService::PDOId;
using SDOId = ICommunicationService::SDOId;
using Texts = std::vector<std::string>;

constexpr char kRestoreAll[] = "Restore Default Parameters Restore all Default Parameters";

class CommunicationTest : public ServiceTest {
 protected:
  /** The node addressed after a restore of all parameters, by the default text of the node id. */
  std::uint8_t node_after_restore(const std::string& default_text) {
    description.add("Node ID", EdsFixture::DataType::UNSIGNED8, default_text);
    load();
    EXPECT_EQ(dispatcher().restoreDefaultParameters(Block::ALL), NKR_OK);
    return addressed_node();
  }

  [[nodiscard]] std::vector<std::uint32_t> addresses() {
    std::vector<std::uint32_t> found;
    for (const Access& access : client().accesses) found.push_back(access.address);
    return found;
  }
};
using Addresses = std::vector<std::uint32_t>;

TEST_F(CommunicationTest, ACobIdIsTakenFromItsRawValue) {
  const auto expect = [](std::uint32_t raw, unsigned id, bool valid, bool bit30) {
    const COBID cob_id = CANOpenDispatcher::cobIdFromRaw(raw);
    EXPECT_EQ(cob_id.id, id) << std::hex << raw;
    EXPECT_EQ(cob_id.valid, valid) << std::hex << raw;
    EXPECT_EQ(cob_id.bit30, bit30) << std::hex << raw;
  };
  expect(0x80000181, 0x181, false, false);
  expect(0x40000201, 0x201, true, true);
  expect(0x1FFFFFFF, 0xFFFF, true, false);
  expect(0x20000181, 0x181, true, false);
  expect(0xFFFFFFFF, 0xFFFF, false, true);
  expect(0, 0, true, false);
}

TEST_F(CommunicationTest, ACobIdIsMadeARawValue) {
  EXPECT_EQ(CANOpenDispatcher::cobIdToRaw({0x181, true, false}), 0x00000181U);
  EXPECT_EQ(CANOpenDispatcher::cobIdToRaw({0x181, false, true}), 0xC0000181U);
  EXPECT_EQ(CANOpenDispatcher::cobIdToRaw(true, true, 0x201), 0x40000201U);
  EXPECT_EQ(CANOpenDispatcher::cobIdToRaw(false, false, 0xFFFFFFFF), 0x8000FFFFU) << "bits 16 to 29 are 0";
}

TEST_F(CommunicationTest, UnknownBlocksWriteNothingAndAreRecorded) {
  for (const std::int32_t number : {5, 0, -1}) {
    log.clear();
    EXPECT_EQ(dispatcher().storeParameters(Block{number}), NKR_ERROR);
    EXPECT_EQ(dispatcher().restoreDefaultParameters(Block{number}), NKR_ERROR);
    const std::string text = "Invalid block id : " + std::to_string(number);
    EXPECT_EQ(texts(2), (Texts{text, text}));
    EXPECT_EQ(log.records().at(0).function, "storeParameters");
    EXPECT_EQ(log.records().at(1).function, "restoreDefaultParameters");
  }
  EXPECT_TRUE(client().accesses.empty());
}

TEST_F(CommunicationTest, TheLoadSignatureIsWrittenOnce) {
  fail(kRestoreAll);
  EXPECT_EQ(dispatcher().restoreDefaultParameters(Block::ALL), kAbort);
  EXPECT_EQ(client().accesses, (Accesses{write_of(kRestoreAll, 0x64616F6C)}));
}

TEST_F(CommunicationTest, RestoringFollowsTheDefaultNodeIdWhateverTheWriteAnswered) {
  EXPECT_EQ(dispatcher().restoreDefaultParameters(Block::COMMUNICATION), NKR_OK);
  EXPECT_EQ(addressed_node(), 0x20);
  load();
  fail(kRestoreAll);
  EXPECT_EQ(dispatcher().restoreDefaultParameters(Block::ALL), kAbort);
  EXPECT_EQ(addressed_node(), 0x20);
}

TEST_F(CommunicationTest, RestoringOtherBlocksKeepsTheNodeId) {
  EXPECT_EQ(dispatcher().restoreDefaultParameters(Block::APPLICATION), NKR_OK);
  EXPECT_EQ(dispatcher().restoreDefaultParameters(Block::MANUFACTURER), NKR_OK);
  EXPECT_EQ(addressed_node(), 5);
}

TEST_F(CommunicationTest, RestoringChangesTheCurrentNodeIdAlone) {
  ASSERT_EQ(dispatcher().restoreDefaultParameters(Block::ALL), NKR_OK);
  ASSERT_EQ(dispatcher().setNMTState(nkr::tavcore::INMTService::NMTCommand::RESET_NODE), NKR_OK);
  EXPECT_EQ(addressed_node(), 5);
}

TEST_F(CommunicationTest, ADefaultNodeIdIsHexadecimalDigitsWithOrWithoutPrefix) {
  EXPECT_EQ(node_after_restore("0x7F"), 0x7F);
  EXPECT_EQ(node_after_restore("0X1F"), 0x1F);
  EXPECT_EQ(node_after_restore("10"), 0x10);
  EXPECT_EQ(node_after_restore("0xaB"), 0xAB);
  EXPECT_EQ(node_after_restore("0x123"), 0x23) << "the low 8 bits count";
  EXPECT_EQ(node_after_restore("0x00000000000000000000000011"), 0x11);
}

TEST_F(CommunicationTest, AnyOtherDefaultTextLeavesTheNodeId) {
  for (const char* const text : {"", "0x", "$NODEID", "$NODEID+0x10", "12 34", "-1", "+1", "0x1G", "x10"}) {
    // The fixture keeps the last text: an empty one is set by a description of its own.
    EdsFixture fresh;
    fresh.add(kRestoreAll, EdsFixture::DataType::INTEGER32);
    fresh.add("Node ID", EdsFixture::DataType::UNSIGNED8, text);
    description = fresh;
    load();
    EXPECT_EQ(dispatcher().restoreDefaultParameters(Block::ALL), NKR_OK) << '"' << text << '"';
    EXPECT_EQ(addressed_node(), 5) << '"' << text << '"';
  }
}

TEST_F(CommunicationTest, WithoutANodeIdInTheDescriptionARestoreAnswersNotAvailableAfterTheWrite) {
  description.remove("Node ID");
  load();
  EXPECT_EQ(dispatcher().restoreDefaultParameters(Block::ALL), NKR_NOT_AVAILABLE);
  EXPECT_EQ(client().accesses.size(), 1U);
  EXPECT_TRUE(texts(2).empty()) << "this look-up is silent";
  fail(kRestoreAll);
  EXPECT_EQ(dispatcher().restoreDefaultParameters(Block::ALL), NKR_NOT_AVAILABLE);
  EXPECT_EQ(dispatcher().restoreDefaultParameters(Block::APPLICATION), NKR_OK);
  EXPECT_EQ(addressed_node(), 5);
}

TEST_F(CommunicationTest, NewNetworkParametersAreAddressedFromThenOn) {
  ASSERT_EQ(dispatcher().setNetworkParameters({123, 17, true}), NKR_OK);
  EXPECT_EQ(client().accesses, (Accesses{write_of("Node ID", u8(17)), write_of("R Termination", true)}))
      << "both writes go to the old id";
  EXPECT_EQ(addressed_node(), 17);
}

TEST_F(CommunicationTest, AFailedTerminationLeavesTheNodeId) {
  fail("R Termination");
  EXPECT_EQ(dispatcher().setNetworkParameters({0, 17, true}), kAbort);
  EXPECT_EQ(client().accesses.at(0), write_of("Node ID", u8(17)));
  EXPECT_EQ(addressed_node(), 5);
}

TEST_F(CommunicationTest, ANetworkWriteThatNeededItsRepeatAnswersOkWithTheNodeIdUnchanged) {
  fail_once("Node ID");
  EXPECT_EQ(dispatcher().setNetworkParameters({0, 17, true}), NKR_OK);
  EXPECT_EQ(client().accesses.size(), 2U);
  EXPECT_EQ(addressed_node(), 5);
  fail_once("R Termination");
  EXPECT_EQ(dispatcher().setNetworkParameters({0, 17, true}), NKR_OK);
  EXPECT_EQ(addressed_node(), 5);
}

TEST_F(CommunicationTest, AnSdoChannelIsItsLowByte) {
  ICommunicationService::SDOCommunicationParameters parameters{};
  ASSERT_EQ(dispatcher().getSDOCommunicationParameters(SDOId{1}, parameters), NKR_OK);
  ASSERT_EQ(dispatcher().getSDOCommunicationParameters(SDOId{0x101}, parameters), NKR_OK);
  ASSERT_EQ(dispatcher().getSDOCommunicationParameters(SDOId{128}, parameters), NKR_OK);
  EXPECT_EQ(addresses(), (Addresses{0x12000100, 0x12000200, 0x12000100, 0x12000200, 0x127F0100, 0x127F0200}));
}

TEST_F(CommunicationTest, APdoNumberIsItsLow16Bits) {
  PDO parameters{};
  ASSERT_EQ(dispatcher().getTPDOCommunicationParameters(PDOId{0x10001}, parameters), NKR_OK);
  ASSERT_EQ(dispatcher().getTPDOCommunicationParameters(PDOId{512}, parameters), NKR_OK);
  EXPECT_EQ(addresses(), (Addresses{0x18000120, 0x18000208, 0x19FF0120, 0x19FF0208}));
}

TEST_F(CommunicationTest, OnlyReceivePdosUpTo5CarryTimes) {
  ASSERT_EQ(dispatcher().setRPDOCommunicationParameters(PDOId{6}, PDO{}), NKR_OK);
  EXPECT_EQ(addresses(), (Addresses{0x14050120, 0x14050208, 0x14050120}));
  client().clear();
  ASSERT_EQ(dispatcher().setRPDOCommunicationParameters(PDOId{5}, PDO{}), NKR_OK);
  EXPECT_EQ(addresses(), (Addresses{0x14040120, 0x14040208, 0x14040510, 0x14040120}));
  client().clear();
  for (std::int32_t number = 1; number <= 6; ++number) {
    ASSERT_EQ(dispatcher().setTPDOCommunicationParameters(PDOId{number}, PDO{}), NKR_OK);
  }
  for (const std::uint32_t address : addresses()) {
    EXPECT_TRUE((address & 0xFFFF) == 0x0120 || (address & 0xFFFF) == 0x0208) << std::hex << address;
  }
}

TEST_F(CommunicationTest, TheTimesDependOnTheWholeNumberOfThePdo) {
  PDO parameters{};
  ASSERT_EQ(dispatcher().getRPDOCommunicationParameters(PDOId{0x10001}, parameters), NKR_OK);
  EXPECT_EQ(addresses(), (Addresses{0x14000120, 0x14000208})) << "0x10001 is above 5";
  client().clear();
  ASSERT_EQ(dispatcher().getRPDOCommunicationParameters(PDOId{-0xFFFF}, parameters), NKR_OK);
  EXPECT_EQ(addresses(), (Addresses{0x14000120, 0x14000208, 0x14000310, 0x14000510}));
}

TEST_F(CommunicationTest, APdoKeepsTheValidityThatTheCallerGives) {
  ASSERT_EQ(dispatcher().setTPDOCommunicationParameters(PDOId{1}, PDO{{0x181, false, false}, 1, 0, 0}),
            NKR_OK);
  EXPECT_EQ(client().writes(), (Accesses{write_of(0x18000120, 0x80000181U), write_of(0x18000208, u8(1)),
                                         write_of(0x18000120, 0x80000181U)}));
}

TEST_F(CommunicationTest, AFailingPdoOperationIsMadeAgainAsAWhole) {
  client().fail_address(0x18000208, kAbort);
  PDO parameters{};
  EXPECT_EQ(dispatcher().getTPDOCommunicationParameters(PDOId{1}, parameters), kAbort);
  EXPECT_EQ(addresses(), (Addresses{0x18000120, 0x18000208, 0x18000208, 0x18000120, 0x18000208, 0x18000208}));
}

TEST_F(CommunicationTest, AnEmptyMappingDisablesAndEnablesThePdo) {
  client().answer(0x14000120, 0x80000205U);
  client().answer(0x14000208, u8(254));
  ASSERT_EQ(dispatcher().setRPDOMappingParameters(PDOId{1}, Mapping{0, {}}), NKR_OK);
  EXPECT_EQ(client().writes(), (Accesses{write_of(0x14000120, 0x80000205U), write_of(0x14000208, u8(254)),
                                         write_of(0x14000120, 0x80000205U), write_of(0x16000000, u8(0)),
                                         write_of(0x16000000, u8(0)), write_of(0x14000120, 0x80000205U),
                                         write_of(0x14000208, u8(254)), write_of(0x14000120, 0x00000205U)}));
}

TEST_F(CommunicationTest, AMappingIsAppendedToWhatTheCallerHolds) {
  client().answer(0x1A000000, u8(2));
  client().answer(0x1A000100, 0x60410010U);
  client().answer(0x1A000200, 0x60440010U);
  Mapping mapping{0, {1, 2}};
  ASSERT_EQ(dispatcher().getTPDOMappingParameters(PDOId{1}, mapping), NKR_OK);
  EXPECT_EQ(mapping.count, 2);
  EXPECT_EQ(mapping.entries, (std::vector<std::uint32_t>{1, 2, 0x60410010, 0x60440010}));
}

TEST_F(CommunicationTest, AMappingOf255EntriesIsReadAndWritten) {
  client().answer(0x16000000, u8(255));
  Mapping mapping{};
  ASSERT_EQ(dispatcher().getRPDOMappingParameters(PDOId{1}, mapping), NKR_OK);
  ASSERT_EQ(mapping.entries.size(), 255U);
  EXPECT_EQ(client().accesses.back().address, 0x1600FF00U);
  EXPECT_EQ(dispatcher().setRPDOMappingParameters(PDOId{1}, mapping), NKR_OK);
}

TEST_F(CommunicationTest, AMappingEntryReadByItsRepeatIsNotAppended) {
  client().answer(0x16000000, u8(2));
  client().fail_address(0x16000100, kAbort, 1);
  Mapping mapping{};
  EXPECT_EQ(dispatcher().getRPDOMappingParameters(PDOId{1}, mapping), NKR_OK);
  EXPECT_EQ(mapping.count, 2);
  EXPECT_TRUE(mapping.entries.empty());
}

TEST_F(CommunicationTest, FewerEntriesThanTheCountAreRefusedBeforeAnythingIsSent) {
  EXPECT_EQ(dispatcher().setRPDOMappingParameters(PDOId{1}, Mapping{2, {1}}), NKR_ERROR);
  EXPECT_EQ(dispatcher().setTPDOMappingParameters(PDOId{1}, Mapping{1, {}}), NKR_ERROR);
  EXPECT_TRUE(client().accesses.empty());
}

TEST_F(CommunicationTest, TheGuardComesBeforeTheChecksOfTheArguments) {
  DispatcherBench bench(description);
  EXPECT_EQ(bench.dispatcher->storeParameters(Block{99}), NKR_NOT_AVAILABLE);
  EXPECT_EQ(bench.dispatcher->restoreDefaultParameters(Block{99}), NKR_NOT_AVAILABLE);
  EXPECT_EQ(bench.dispatcher->setRPDOMappingParameters(PDOId{1}, Mapping{2, {}}), NKR_NOT_AVAILABLE);
  EXPECT_EQ(bench.dispatcher->setTPDOMappingParameters(PDOId{1}, Mapping{2, {}}), NKR_NOT_AVAILABLE);
  EXPECT_EQ(texts(2), Texts(4, "TAV CANOpenDispatcher is not initialized"));
}

TEST_F(CommunicationTest, AnInterruptedMappingLeavesThePdoInvalid) {
  client().answer(0x14000120, 0x00000205U);
  client().fail_address(0x16000100, kAbort);
  EXPECT_EQ(dispatcher().setRPDOMappingParameters(PDOId{1}, Mapping{1, {0x60400010}}), kAbort);
  std::uint32_t cob_id = 0;
  for (const Access& write : client().writes()) {
    if (write.address == 0x14000120) cob_id = std::get<std::uint32_t>(write.value);
  }
  EXPECT_EQ(cob_id, 0x80000205U);
}

}  // namespace
}  // namespace tavtest

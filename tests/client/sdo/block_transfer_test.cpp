#include <algorithm>
#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "client/ClientFixture.hpp"
#include "client/EventLog.hpp"
#include "sdo/Crc16.hpp"
#include "support/futures.hpp"

namespace tests::client {
namespace {

using nkr::can::Clock;
using nkr::can::Frame;
using namespace std::chrono_literals;
using Bytes = std::vector<std::uint8_t>;
using Requests = std::vector<std::string>;

Bytes counting(std::size_t size) {
  Bytes bytes(size);
  std::iota(bytes.begin(), bytes.end(), std::uint8_t{1});
  return bytes;
}

TEST(Crc16, HasTheCheckValueOfTheStandard) {
  nkr::canopen::sdo::Crc16 crc;
  crc.add(reinterpret_cast<const std::uint8_t*>("123456789"), 9);
  EXPECT_EQ(crc.value(), 0x31C3);
}

class Block : public ClientTest {
 protected:
  static nkr::canopen::ClientOptions by_block() {
    nkr::canopen::ClientOptions options = short_times();
    options.block_threshold = 8;
    return options;
  }
  /** The checksum of a block, in the order of the frame: computed bit by bit, apart from the client's table.
   */
  static std::string checksum(const Bytes& bytes) {
    std::uint32_t crc = 0;
    for (const std::uint8_t byte : bytes) {
      crc ^= static_cast<std::uint32_t>(byte) << 8;
      for (int bit = 0; bit < 8; ++bit) crc = (crc & 0x8000U) != 0 ? (crc << 1 ^ 0x1021U) : crc << 1;
    }
    return tests::hex_of(Frame{0, {static_cast<std::uint8_t>(crc), static_cast<std::uint8_t>(crc >> 8)}});
  }
  nkr::canopen::Client blocks{bus, by_block()};
  Bytes bytes;
};

constexpr std::uint32_t kAddress = 0x1F500100;
const std::string kUpload = "A4 50 1F 01 7F 07 00 00";
const std::string kStart = "A3 00 00 00 00 00 00 00";
const std::string kInSegments = "40 50 1F 01 00 00 00 00";
const std::string kEnd = "A1 00 00 00 00 00 00 00";

std::string acknowledge(const std::string& sequence) {
  return "A2 " + sequence + " 7F 00 00 00 00 00";
}

TEST_F(Block, AnUploadComesInOneSubBlockWithItsChecksum) {
  const Bytes expected = counting(17);
  node.on(kUpload, {"C6 50 1F 01 11 00 00 00"});
  node.on(kStart, {"01 01 02 03 04 05 06 07", "02 08 09 0A 0B 0C 0D 0E", "83 0F 10 11 00 00 00 00"});
  node.on(acknowledge("03"), {"D1 " + checksum(expected) + " 00 00 00 00 00"});
  EXPECT_EQ(blocks.getBytes(kNode, kAddress, bytes), NKR_OK);
  EXPECT_EQ(bytes, expected);
  EXPECT_EQ(node.requests(), (Requests{kUpload, kStart, acknowledge("03"), kEnd}));
}

TEST_F(Block, ALastSegmentMayBeFull) {
  const Bytes expected = counting(14);
  node.on(kUpload, {"C6 50 1F 01 0E 00 00 00"});
  node.on(kStart, {"01 01 02 03 04 05 06 07", "82 08 09 0A 0B 0C 0D 0E"});
  node.on(acknowledge("02"), {"C1 " + checksum(expected) + " 00 00 00 00 00"});
  EXPECT_EQ(blocks.getBytes(kNode, kAddress, bytes), NKR_OK);
  EXPECT_EQ(bytes, expected);
}

TEST_F(Block, AServerWithoutChecksumIsNotCheckedForOne) {
  node.on(kUpload, {"C2 50 1F 01 07 00 00 00"});
  node.on(kStart, {"81 01 02 03 04 05 06 07"});
  node.on(acknowledge("01"), {"C1 00 00 00 00 00 00 00"});
  EXPECT_EQ(blocks.getBytes(kNode, kAddress, bytes), NKR_OK);
  EXPECT_EQ(bytes, counting(7));
}

TEST_F(Block, AWrongChecksumIsAborted) {
  node.on(kUpload, {"C6 50 1F 01 07 00 00 00"});
  node.on(kStart, {"81 01 02 03 04 05 06 07"});
  node.on(acknowledge("01"), {"C1 00 00 00 00 00 00 00"});
  node.on(kInSegments, {"80 50 1F 01 00 00 06 06"});
  EXPECT_EQ(blocks.getBytes(kNode, kAddress, bytes), NKR_SDO_HARDWARE);
  EXPECT_EQ(bytes, Bytes{});
  EXPECT_EQ(node.requests().at(3), "80 50 1F 01 04 00 04 05");
}

TEST_F(Block, LostSegmentsAreAskedForAndComeFromSequence1) {
  const Bytes expected = counting(21);
  node.on(kUpload, {"C6 50 1F 01 15 00 00 00"});
  node.on(kStart, {"01 01 02 03 04 05 06 07", "83 0F 10 11 12 13 14 15"});
  node.on(acknowledge("01"), {"01 08 09 0A 0B 0C 0D 0E", "82 0F 10 11 12 13 14 15"});
  node.on(acknowledge("02"), {"C1 " + checksum(expected) + " 00 00 00 00 00"});
  EXPECT_EQ(blocks.getBytes(kNode, kAddress, bytes), NKR_OK);
  EXPECT_EQ(bytes, expected);
}

TEST_F(Block, AWhollyLostSubBlockIsAskedForWithSequence0) {
  const Bytes expected = counting(14);
  node.on(kUpload, {"C6 50 1F 01 0E 00 00 00"});
  node.on(kStart, {"82 08 09 0A 0B 0C 0D 0E"});
  node.on(acknowledge("00"), {"01 01 02 03 04 05 06 07", "82 08 09 0A 0B 0C 0D 0E"});
  node.on(acknowledge("02"), {"C1 " + checksum(expected) + " 00 00 00 00 00"});
  EXPECT_EQ(blocks.getBytes(kNode, kAddress, bytes), NKR_OK);
  EXPECT_EQ(bytes, expected);
}

TEST_F(Block, ALostLastSegmentIsAskedForAfterTheTimeOut) {
  const Bytes expected = counting(14);
  node.on(kUpload, {"C6 50 1F 01 0E 00 00 00"});
  node.on(kStart, {"01 01 02 03 04 05 06 07"});
  node.on(acknowledge("01"), {"81 08 09 0A 0B 0C 0D 0E", "C1 " + checksum(expected) + " 00 00 00 00 00"});
  node.on(acknowledge("01"), {"C1 " + checksum(expected) + " 00 00 00 00 00"});
  EXPECT_EQ(blocks.getBytes(kNode, kAddress, bytes), NKR_OK);
  EXPECT_EQ(bytes, expected);
}

TEST_F(Block, AServerThatNeverSendsInSequenceIsGivenUp) {
  node.on(kUpload, {"C6 50 1F 01 0E 00 00 00"});
  node.on(kStart, {"82 08 09 0A 0B 0C 0D 0E"});
  node.on(acknowledge("00"), {"82 08 09 0A 0B 0C 0D 0E"});
  EXPECT_EQ(blocks.getBytes(kNode, kAddress, bytes), NKR_SDO_TIMED_OUT) << "nor does it answer in segments";
  const Requests requests = node.requests();
  EXPECT_EQ(std::count(requests.begin(), requests.end(), "80 50 1F 01 03 00 04 05"), 1);
}

TEST_F(Block, AServerThatFallsSilentAmidSegmentsTimesOut) {
  node.on(kUpload, {"C6 50 1F 01 0E 00 00 00"});
  EXPECT_EQ(blocks.getBytes(kNode, kAddress, bytes), NKR_SDO_TIMED_OUT);
  EXPECT_EQ(node.requests(),
            (Requests{kUpload, kStart, "80 50 1F 01 00 00 04 05", kInSegments, "80 50 1F 01 00 00 04 05"}));
}

TEST_F(Block, AnAbortAmidSegmentsEndsTheUpload) {
  node.on(kUpload, {"C6 50 1F 01 0E 00 00 00"});
  node.on(kStart, {"01 01 02 03 04 05 06 07", "80 50 1F 01 00 00 06 06"});
  EXPECT_EQ(blocks.getBytes(kNode, kAddress, bytes), NKR_SDO_HARDWARE);
}

TEST_F(Block, AServerMayAnswerAShortObjectAsToAnOrdinaryUpload) {
  node.on(kUpload, {"4B 50 1F 01 01 02 00 00"});
  EXPECT_EQ(blocks.getBytes(kNode, kAddress, bytes), NKR_OK);
  EXPECT_EQ(bytes, counting(2));
}

TEST_F(Block, AServerMayAnswerAShortObjectInSegments) {
  node.on(kUpload, {"41 50 1F 01 05 00 00 00"});
  node.on("60 00 00 00 00 00 00 00", {"05 01 02 03 04 05 00 00"});
  EXPECT_EQ(blocks.getBytes(kNode, kAddress, bytes), NKR_OK);
  EXPECT_EQ(bytes, counting(5));
  EXPECT_EQ(node.requests(), (Requests{kUpload, "60 00 00 00 00 00 00 00"}));
}

TEST_F(Block, AnAbortThatNamesNoObjectEndsTheUpload) {
  node.on(kUpload, {"C6 50 1F 01 0E 00 00 00"});
  node.on(kStart, {"01 01 02 03 04 05 06 07", "80 00 00 00 00 00 06 06"});
  EXPECT_EQ(blocks.getBytes(kNode, kAddress, bytes), NKR_SDO_HARDWARE);
}

TEST_F(Block, ARestartedServerIsAskedForBlocksAgain) {
  EventLog log(blocks);
  node.on(kUpload, {"80 50 1F 01 01 00 04 05"});
  node.on("40 50 1F 01 00 00 00 00", {"4B 50 1F 01 01 02 00 00"});
  ASSERT_EQ(blocks.getBytes(kNode, kAddress, bytes), NKR_OK);
  node.send(0x70A, "00");
  log.wait_for(nkr::canopen::Event::Kind::BOOT_UP);
  ASSERT_EQ(blocks.getBytes(kNode, kAddress, bytes), NKR_OK);
  const Requests requests = node.requests();
  EXPECT_EQ(std::count(requests.begin(), requests.end(), kUpload), 2);
}

TEST_F(Block, AnAnswerThatIsLostAmidBlocksSaysNothingAboutTheServer) {
  node.on(kUpload, {"C6 50 1F 01 0E 00 00 00"});
  ASSERT_EQ(blocks.getBytes(kNode, kAddress, bytes), NKR_SDO_TIMED_OUT);
  node.on(kUpload, {"C6 50 1F 01 0E 00 00 00"});
  node.on(kStart, {"01 01 02 03 04 05 06 07", "82 08 09 0A 0B 0C 0D 0E"});
  node.on(acknowledge("02"), {"C1 " + checksum(counting(14)) + " 00 00 00 00 00"});
  EXPECT_EQ(blocks.getBytes(kNode, kAddress, bytes), NKR_OK);
  EXPECT_EQ(bytes, counting(14));
}

TEST_F(Block, AServerThatKnowsNoBlocksIsAskedInSegmentsFromThenOn) {
  node.on(kUpload, {"80 50 1F 01 01 00 04 05"});
  node.on("40 50 1F 01 00 00 00 00", {"41 50 1F 01 05 00 00 00"});
  node.on("60 00 00 00 00 00 00 00", {"05 01 02 03 04 05 00 00"});
  EXPECT_EQ(blocks.getBytes(kNode, kAddress, bytes), NKR_OK);
  EXPECT_EQ(bytes, counting(5));
  EXPECT_EQ(blocks.getBytes(kNode, kAddress, bytes), NKR_OK);
  EXPECT_EQ(node.requests().size(), 5U) << "the second time without the detour";
}

TEST_F(Block, OtherAbortsOfAnUploadAreReturned) {
  node.on(kUpload, {"80 50 1F 01 00 00 02 06"});
  EXPECT_EQ(blocks.getBytes(kNode, kAddress, bytes), NKR_SDO_NO_OBJECT);
}

TEST_F(Block, AServerThatDoesNotAnswerToBlocksIsAskedInSegments) {
  node.on(kInSegments, {"4B 50 1F 01 01 02 00 00"});
  EXPECT_EQ(blocks.getBytes(kNode, kAddress, bytes), NKR_OK);
  EXPECT_EQ(bytes, counting(2));
  EXPECT_EQ(node.requests(), (Requests{kUpload, "80 50 1F 01 00 00 04 05", kInSegments}));
  EXPECT_EQ(blocks.getBytes(kNode, kAddress, bytes), NKR_OK);
  EXPECT_EQ(node.requests().size(), 4U) << "the second time without the detour";
}

TEST_F(Block, TheLateAnswerToAnUnansweredBlockIsNotTakenForThatInSegments) {
  node.on(kInSegments, {"C6 50 1F 01 11 00 00 00", "4B 50 1F 01 01 02 00 00"});
  EXPECT_EQ(blocks.getBytes(kNode, kAddress, bytes), NKR_OK);
  EXPECT_EQ(bytes, counting(2));
}

TEST_F(Block, WhateverABlockIsRefusedWithTheObjectIsReadInSegments) {
  for (const char* const code : {"01 00 04 05", "02 00 04 05", "00 00 01 06", "47 00 04 06", "00 00 00 08"}) {
    tests::ScriptedNode server(*bus, 11);
    nkr::canopen::Client fresh(bus, by_block());
    server.on(kUpload, {"80 50 1F 01 " + std::string(code)});
    server.on(kInSegments, {"41 50 1F 01 05 00 00 00"});
    server.on("60 00 00 00 00 00 00 00", {"05 01 02 03 04 05 00 00"});
    EXPECT_EQ(fresh.getBytes(11, kAddress, bytes), NKR_OK) << code;
    EXPECT_EQ(bytes, counting(5)) << code;
    EXPECT_EQ(fresh.getBytes(11, kAddress, bytes), NKR_OK) << code;
    EXPECT_EQ(server.requests().size(), 5U) << code << ": the second time without the detour";
  }
}

TEST_F(Block, ARefusalOfTheObjectItselfSaysNothingAboutBlocks) {
  node.on(kUpload, {"80 50 1F 01 00 00 01 06"});
  node.on(kInSegments, {"80 50 1F 01 00 00 01 06"});
  EXPECT_EQ(blocks.getBytes(kNode, kAddress, bytes), NKR_SDO_UNSUPPORTED_ACCESS);
  EXPECT_EQ(blocks.getBytes(kNode, kAddress, bytes), NKR_SDO_UNSUPPORTED_ACCESS);
  const Requests requests = node.requests();
  EXPECT_EQ(std::count(requests.begin(), requests.end(), kUpload), 2);
}

/** 17 segments: the second sub-block begins with the eighth. */
class SecondSubBlock : public Block {
 protected:
  SecondSubBlock() {
    node.on(kUpload, {"C2 50 1F 01 11 00 00 00"});
    node.on(kStart, {"01 01 02 03 04 05 06 07"});
    node.on(kInSegments, {"41 50 1F 01 05 00 00 00"});
    node.on("60 00 00 00 00 00 00 00", {"05 01 02 03 04 05 00 00"});
  }
  std::ptrdiff_t asked_by_block() const {
    const Requests requests = node.requests();
    return std::count(requests.begin(), requests.end(), kUpload);
  }
};

TEST_F(SecondSubBlock, ThatDoesNotComeIsNoEndOfTheUpload) {
  EXPECT_EQ(blocks.getBytes(kNode, kAddress, bytes), NKR_OK);
  EXPECT_EQ(bytes, counting(5));
}

TEST_F(SecondSubBlock, ThatIsAbortedIsNoEndOfTheUpload) {
  node.on(acknowledge("01"), {"80 50 1F 01 01 00 04 05"});
  EXPECT_EQ(blocks.getBytes(kNode, kAddress, bytes), NKR_OK);
  EXPECT_EQ(bytes, counting(5));
}

TEST_F(SecondSubBlock, ThatFailsTwiceIsTheLastThatIsAskedFor) {
  node.on(acknowledge("01"), {"80 50 1F 01 01 00 04 05"});
  for (int i = 0; i < 4; ++i) ASSERT_EQ(blocks.getBytes(kNode, kAddress, bytes), NKR_OK);
  EXPECT_EQ(asked_by_block(), 2);
}

TEST_F(Block, SegmentsShorterThanTheirFrameAreNoData) {
  node.on(kUpload, {"C2 50 1F 01 0E 00 00 00"});
  node.on(kStart, {"01 01 02 03", "82 08 09 0A 0B 0C 0D 0E"});
  EXPECT_EQ(blocks.getBytes(kNode, kAddress, bytes), NKR_SDO_LENGTH_LOW);
  EXPECT_EQ(node.requests().back(), "80 50 1F 01 13 00 07 06");
}

TEST_F(Block, ALastSegmentMayBeAsShortAsItsData) {
  node.on(kUpload, {"C2 50 1F 01 03 00 00 00"});
  node.on(kStart, {"81 01 02 03"});
  node.on(acknowledge("01"), {"D1 00 00 00 00 00 00 00"});
  EXPECT_EQ(blocks.getBytes(kNode, kAddress, bytes), NKR_OK);
  EXPECT_EQ(bytes, counting(3));
  node.change(kStart, {"81 01 02"});
  EXPECT_EQ(blocks.getBytes(kNode, kAddress, bytes), NKR_SDO_LENGTH_LOW);
}

TEST_F(Block, AnEndTooShortForItsChecksumHasNone) {
  node.on(kUpload, {"C6 50 1F 01 07 00 00 00"});
  node.on(kStart, {"81 00 00 00 00 00 00 00"});  // whose checksum is 0
  node.on(acknowledge("01"), {"C1 00"});
  node.on(kInSegments, {"80 50 1F 01 00 00 06 06"});
  EXPECT_EQ(blocks.getBytes(kNode, kAddress, bytes), NKR_SDO_HARDWARE) << "asked again in segments";
}

TEST_F(Block, MoreBytesThanStatedAreAborted) {
  node.on(kUpload, {"C2 50 1F 01 08 00 00 00"});
  node.on(kStart, {"01 01 02 03 04 05 06 07", "02 08 09 0A 0B 0C 0D 0E", "83 0F 10 11 12 13 14 15"});
  EXPECT_EQ(blocks.getBytes(kNode, kAddress, bytes), NKR_SDO_LENGTH_HIGH);
  EXPECT_EQ(node.requests().back(), "80 50 1F 01 12 00 07 06");
}

TEST_F(Block, FewerBytesThanStatedAreAborted) {
  node.on(kUpload, {"C2 50 1F 01 C8 00 00 00"});
  node.on(kStart, {"81 01 02 03 04 05 06 07"});
  node.on(acknowledge("01"), {"C1 00 00 00 00 00 00 00"});
  EXPECT_EQ(blocks.getBytes(kNode, kAddress, bytes), NKR_SDO_LENGTH_LOW);
  EXPECT_EQ(node.requests().back(), "80 50 1F 01 13 00 07 06");
  ASSERT_EQ(blocks.setStatedSizesIgnored(kNode, true), NKR_OK);
  EXPECT_EQ(blocks.getBytes(kNode, kAddress, bytes), NKR_OK);
  EXPECT_EQ(bytes, counting(7));
}

TEST_F(Block, SegmentsOutOfSequenceDoNotProlongTheUpload) {
  node.on(kUpload, {"C2 50 1F 01 15 00 00 00"});
  std::atomic<bool> stop{false};
  Thread babbler([&] {
    while (!stop) {
      node.reply("05 01 02 03 04 05 06 07");
      nkr::time::sleep_for(1ms);
    }
  });
  const auto start = nkr::time::now();
  EXPECT_NE(blocks.getBytes(kNode, kAddress, bytes), NKR_OK);
  EXPECT_LT(nkr::time::now() - start, 10s) << "with time-outs of 60 ms";
  stop = true;
  babbler.join();
}

const std::string kDownload = "C6 50 1F 01 11 00 00 00";

TEST_F(Block, ADownloadGoesInSubBlocksOfTheServersSize) {
  const Bytes sent = counting(17);
  node.on(kDownload, {"A4 50 1F 01 02 00 00 00"});
  node.on("02 08 09 0A 0B 0C 0D 0E", {"A2 02 7F 00 00 00 00 00"});
  node.on("81 0F 10 11 00 00 00 00", {"A2 01 7F 00 00 00 00 00"});
  const std::string end = "D1 " + checksum(sent) + " 00 00 00 00 00";
  node.on(end, {"A1 00 00 00 00 00 00 00"});
  EXPECT_EQ(blocks.setBytes(kNode, kAddress, sent), NKR_OK);
  EXPECT_EQ(node.requests(), (Requests{kDownload, "01 01 02 03 04 05 06 07", "02 08 09 0A 0B 0C 0D 0E",
                                       "81 0F 10 11 00 00 00 00", end}));
}

TEST_F(Block, TheServerMayChangeTheBlockSizeAfterEverySubBlock) {
  const Bytes sent = counting(35);
  node.on("C6 50 1F 01 23 00 00 00", {"A4 50 1F 01 02 00 00 00"});
  node.on("02 08 09 0A 0B 0C 0D 0E", {"A2 02 01 00 00 00 00 00"});
  node.on("01 0F 10 11 12 13 14 15", {"A2 01 03 00 00 00 00 00"});
  node.on("82 1D 1E 1F 20 21 22 23", {"A2 02 7F 00 00 00 00 00"});
  node.on("C1 " + checksum(sent) + " 00 00 00 00 00", {"A1 00 00 00 00 00 00 00"});
  EXPECT_EQ(blocks.setBytes(kNode, kAddress, sent), NKR_OK);
  EXPECT_EQ(node.requests().size(), 7U) << "the first request, 2 + 1 + 2 segments, the end";
}

TEST_F(Block, AnAbortForAWrongChecksumIsReturnedAndNothingIsSentAgain) {
  node.on(kDownload, {"A4 50 1F 01 7F 00 00 00"});
  node.on("83 0F 10 11 00 00 00 00", {"A2 03 7F 00 00 00 00 00"});
  node.on("D1 " + checksum(counting(17)) + " 00 00 00 00 00", {"80 50 1F 01 04 00 04 05"});
  EXPECT_EQ(blocks.setBytes(kNode, kAddress, counting(17)), NKR_SDO_BLOCK_CRC);
  EXPECT_EQ(node.requests().size(), 5U);
}

TEST_F(Block, WhatTheServerMissedIsSentAgainFromSequence1) {
  const Bytes sent = counting(17);
  node.on(kDownload, {"A4 50 1F 01 7F 00 00 00"});
  node.on("83 0F 10 11 00 00 00 00", {"A2 01 7F 00 00 00 00 00"});
  node.on("82 0F 10 11 00 00 00 00", {"A2 02 7F 00 00 00 00 00"});
  node.on("D1 " + checksum(sent) + " 00 00 00 00 00", {"A1 00 00 00 00 00 00 00"});
  EXPECT_EQ(blocks.setBytes(kNode, kAddress, sent), NKR_OK);
  const Requests requests = node.requests();
  ASSERT_EQ(requests.size(), 7U);
  EXPECT_EQ(requests[4], "01 08 09 0A 0B 0C 0D 0E");
  EXPECT_EQ(requests[5], "82 0F 10 11 00 00 00 00");
}

TEST_F(Block, ADownloadToAServerWithoutChecksumCarriesNone) {
  node.on("C6 50 1F 01 0E 00 00 00", {"A0 50 1F 01 7F 00 00 00"});
  node.on("82 08 09 0A 0B 0C 0D 0E", {"A2 02 7F 00 00 00 00 00"});
  node.on("C1 00 00 00 00 00 00 00", {kEnd});
  EXPECT_EQ(blocks.setBytes(kNode, kAddress, counting(14)), NKR_OK);
}

TEST_F(Block, BlockSizesOutside1To127AreAborted) {
  for (const char* const size : {"00", "80"}) {
    node.on(kDownload, {"A4 50 1F 01 " + std::string(size) + " 00 00 00"});
    EXPECT_EQ(blocks.setBytes(kNode, kAddress, counting(17)), NKR_SDO_BLOCK_SIZE) << size;
    EXPECT_EQ(node.requests().back(), "80 50 1F 01 02 00 04 05");
  }
}

TEST_F(Block, AnAcknowledgementOfMoreThanWasSentIsAborted) {
  node.on(kDownload, {"A4 50 1F 01 7F 00 00 00"});
  node.on("83 0F 10 11 00 00 00 00", {"A2 04 7F 00 00 00 00 00"});
  EXPECT_EQ(blocks.setBytes(kNode, kAddress, counting(17)), NKR_SDO_BLOCK_SEQUENCE);
  EXPECT_EQ(node.requests().back(), "80 50 1F 01 03 00 04 05");
}

TEST_F(Block, AServerThatTakesNothingIsGivenUp) {
  node.on(kDownload, {"A4 50 1F 01 7F 00 00 00"});
  node.on("83 0F 10 11 00 00 00 00", {"A2 00 7F 00 00 00 00 00"});
  EXPECT_EQ(blocks.setBytes(kNode, kAddress, counting(17)), NKR_SDO_BLOCK_SEQUENCE);
}

TEST_F(Block, ARefusedDownloadIsMadeInSegments) {
  node.on("C6 50 1F 01 08 00 00 00", {"80 50 1F 01 01 00 04 05"});
  node.on("21 50 1F 01 08 00 00 00", {"60 50 1F 01 00 00 00 00"});
  node.on("00 01 02 03 04 05 06 07", {"20 00 00 00 00 00 00 00"});
  node.on("1D 08 00 00 00 00 00 00", {"30 00 00 00 00 00 00 00"});
  EXPECT_EQ(blocks.setBytes(kNode, kAddress, counting(8)), NKR_OK);
}

TEST_F(Block, ADownloadIsMadeInSegmentsAfterAnyRefusalOfItsOpening) {
  for (const char* const code : {"01 00 04 05", "00 00 01 06", "47 00 04 06", "00 00 00 08"}) {
    tests::ScriptedNode server(*bus, 11);
    nkr::canopen::Client fresh(bus, by_block());
    server.on("C6 50 1F 01 08 00 00 00", {"80 50 1F 01 " + std::string(code)});
    server.on("21 50 1F 01 08 00 00 00", {"60 50 1F 01 00 00 00 00"});
    server.on("00 01 02 03 04 05 06 07", {"20 00 00 00 00 00 00 00"});
    server.on("1D 08 00 00 00 00 00 00", {"30 00 00 00 00 00 00 00"});
    EXPECT_EQ(fresh.setBytes(11, kAddress, counting(8)), NKR_OK) << code;
  }
}

TEST_F(Block, ADownloadThatIsAbortedAfterItsOpeningIsNotMadeAgain) {
  node.on(kDownload, {"A4 50 1F 01 02 00 00 00"});
  node.on("02 08 09 0A 0B 0C 0D 0E", {"80 50 1F 01 01 00 04 05"});
  EXPECT_EQ(blocks.setBytes(kNode, kAddress, counting(17)), NKR_SDO_UNKNOWN_COMMAND);
  EXPECT_EQ(node.requests().size(), 3U) << "something may have been written";
}

TEST_F(Block, ADownloadThatTimedOutIsNotMadeInSegmentsOnItsOwn) {
  EXPECT_EQ(blocks.setBytes(kNode, kAddress, counting(17)), NKR_SDO_TIMED_OUT);
  EXPECT_EQ(node.requests(), (Requests{kDownload, "80 50 1F 01 00 00 04 05"}));
}

TEST_F(Block, ShortValuesGoWithoutBlocks) {
  node.on("21 50 1F 01 07 00 00 00", {"60 50 1F 01 00 00 00 00"});
  node.on("01 01 02 03 04 05 06 07", {"20 00 00 00 00 00 00 00"});
  EXPECT_EQ(blocks.setBytes(kNode, kAddress, counting(7)), NKR_OK);
}

TEST_F(Block, AServerStuckInAnEarlierTransferIsFreedByAnAbort) {
  node.on("40 50 1F 01 00 00 00 00", {"80 50 1F 01 01 00 04 05"});
  node.on("40 50 1F 01 00 00 00 00", {"4F 50 1F 01 05 00 00 00"});
  std::uint8_t value = 0;
  EXPECT_EQ(blocks.getValue(kNode, kAddress, value), NKR_OK);
  EXPECT_EQ(value, 5);
  EXPECT_EQ(node.requests(),
            (Requests{"40 50 1F 01 00 00 00 00", "80 50 1F 01 00 00 00 08", "40 50 1F 01 00 00 00 00"}));
}

TEST_F(Block, ADownloadToAStuckServerIsNotRepeatedButFreesIt) {
  node.on("2F 50 1F 01 05 00 00 00", {"80 50 1F 01 01 00 04 05"});
  EXPECT_EQ(blocks.setValue(kNode, kAddress, std::uint8_t{5}), NKR_SDO_UNKNOWN_COMMAND);
  EXPECT_EQ(node.requests().size(), 2U);
  EXPECT_EQ(node.requests().back(), "80 50 1F 01 01 00 04 05");
}

/** A server that keeps what is written to it by block and gives it back, and loses frames on the way. */
class BlockServer {
 public:
  BlockServer(nkr::can::InProcessBus& bus, std::uint8_t node, unsigned lose_each)
      : id_(0x580U + node), lose_each_(lose_each) {
    nkr_error_t result = NKR_ERROR;
    sender_ = bus.open({{0x7FF, 0x7FF}}, result);
    port_ = bus.open_handler(
        {{0x600U + node, 0x7FF}}, [this](const Frame& frame) { received(frame.data); }, result);
  }
  Bytes content;

 private:
  using Data = std::array<std::uint8_t, 8>;

  void send(const Data& data) {
    Frame frame;
    frame.id = id_;
    frame.size = 8;
    frame.data = data;
    static_cast<void>(sender_->send(frame, Clock::time_point::max()));
  }
  /** Of no regularity: a loss at the same place of every sub-block would let no transfer advance. */
  bool loses() { return random_() % lose_each_ == 0; }

  void received(const Data& data) {
    if (writing_) return segment_written(data);
    if (data[0] == 0xC6) {
      content.clear();
      writing_ = true;
      expected_ = 1;
      send({0xA4, data[1], data[2], data[3], 100, 0, 0, 0});
    } else if ((data[0] & 0xE3) == 0xC1) {
      content.resize(content.size() - (data[0] >> 2 & 7U));
      send({0xA1, 0, 0, 0, 0, 0, 0, 0});
    } else if (data[0] == 0xA4) {
      const auto size = static_cast<std::uint32_t>(content.size());
      send({0xC2, data[1], data[2], data[3], static_cast<std::uint8_t>(size),
            static_cast<std::uint8_t>(size >> 8), static_cast<std::uint8_t>(size >> 16), 0});
      given_ = 0;
    } else if (data[0] == 0xA3) {
      give(127);
    } else if (data[0] == 0xA2) {
      acknowledged(data);
    }
  }
  void segment_written(const Data& data) {
    const bool last = (data[0] & 0x80) != 0;
    const std::uint8_t sequence = data[0] & 0x7F;
    const bool lost = loses() && !last && sequence != 100;
    bool complete = false;
    if (sequence == expected_ && !lost) {
      content.insert(content.end(), data.begin() + 1, data.end());
      ++expected_;
      complete = last;
    }
    if (!last && sequence != 100) return;
    send({0xA2, static_cast<std::uint8_t>(expected_ - 1), 100, 0, 0, 0, 0, 0});
    expected_ = 1;
    writing_ = !complete;
  }
  void give(std::uint8_t count) {
    for (std::uint8_t sequence = 1; sequence <= count; ++sequence) {
      const std::size_t from = given_ + (sequence - 1U) * 7U;
      const bool last = from + 7 >= content.size();
      Data data{static_cast<std::uint8_t>(sequence | (last ? 0x80 : 0)), 0, 0, 0, 0, 0, 0, 0};
      for (std::size_t i = 0; i < 7 && from + i < content.size(); ++i) data.at(i + 1) = content[from + i];
      if (!loses() || last || sequence == count) send(data);
      if (last) return;
    }
  }
  void acknowledged(const Data& data) {
    given_ += data[1] * 7U;
    if (given_ < content.size()) return give(data[2]);
    const auto unused = static_cast<std::uint8_t>((7 - content.size() % 7) % 7);
    send({static_cast<std::uint8_t>(0xC1 | unused << 2), 0, 0, 0, 0, 0, 0, 0});
  }

  const std::uint32_t id_;
  const unsigned lose_each_;
  std::minstd_rand random_;
  bool writing_ = false;
  std::uint8_t expected_ = 1;
  std::size_t given_ = 0;
  std::unique_ptr<nkr::can::Port> sender_;
  std::unique_ptr<nkr::can::Port> port_;
};

TEST(BlockTransfers, OfManySizesComeThroughABusThatLosesFrames) {
  auto bus = std::make_shared<nkr::can::InProcessBus>();
  BlockServer server(*bus, 5, 23);
  nkr::canopen::Client client(bus);
  for (const std::size_t size : {64U, 65U, 69U, 70U, 71U, 699U, 700U, 701U, 888U, 889U, 890U, 5000U}) {
    const Bytes sent = counting(size);
    ASSERT_EQ(client.setBytes(5, kAddress, sent), NKR_OK) << size;
    ASSERT_EQ(server.content, sent) << size;
    Bytes received;
    ASSERT_EQ(client.getBytes(5, kAddress, received), NKR_OK) << size;
    ASSERT_EQ(received, sent) << size;
  }
}

}  // namespace
}  // namespace tests::client

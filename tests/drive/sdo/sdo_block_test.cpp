// SDO block transfers, frame by frame. Layout of the frames and abort codes: CiA 301, 7.2.4.3.9 to .16.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "drive/DriveBench.hpp"
#include "drive/sdo/TypesDescription.hpp"

namespace tav::drive::test {
namespace {

std::string hex_byte(unsigned value) {
  const char* const digits = "0123456789ABCDEF";
  return {digits[value >> 4 & 0xFU], digits[value & 0xFU]};
}

/** Object 2006h of the description holds the text "a name of 20 letters", of at most 256 letters. */
class SDOBlockTest : public ::testing::Test {
 protected:
  /** The text that 2006h holds now, by segmented upload. */
  std::string text() {
    bench.answer("605#4006200000000000");
    std::string result;
    for (unsigned toggle = 0;; toggle ^= 0x10U) {
      const nkr::can::Frame segment =
          frame_of(bench.answer(toggle == 0 ? "605#6000000000000000" : "605#7000000000000000"));
      const std::size_t size = 7U - ((segment.data[0] >> 1) & 7U);
      for (std::size_t i = 1; i <= size; ++i) result += static_cast<char>(segment.data[i]);
      if ((segment.data[0] & 1U) != 0) return result;
    }
  }

  DriveBench bench{kTypesDescription, as_node(5)};
};

TEST_F(SDOBlockTest, DownloadsWithAChecksum) {
  EXPECT_EQ(bench.answer("605#C606200009000000"), "585#A40620007F000000") << "127 segments at once";
  EXPECT_EQ(bench.answer("605#0131323334353637"), "") << "no answer to each segment";
  EXPECT_EQ(bench.answer("605#8238390000000000"), "585#A2027F0000000000");
  EXPECT_EQ(bench.answer("605#D5C3310000000000"), "585#A100000000000000") << "0x31C3, 5 bytes unused";
  EXPECT_EQ(text(), "123456789");
}

TEST_F(SDOBlockTest, RefusesAWrongChecksumAndKeepsTheOldValue) {
  bench.answer("605#C606200009000000");
  bench.send("605#0131323334353637");
  bench.send("605#8238390000000000");
  EXPECT_EQ(bench.answer("605#D5C3320000000000"), "585#8006200004000405");
  EXPECT_EQ(text(), "a name of 20 letters");
}

TEST_F(SDOBlockTest, ComparesNoChecksumThatTheClientDoesNotKnow) {
  EXPECT_EQ(bench.answer("605#C206200009000000"), "585#A40620007F000000");
  bench.send("605#0131323334353637");
  bench.send("605#8238390000000000");
  EXPECT_EQ(bench.answer("605#D500000000000000"), "585#A100000000000000");
  EXPECT_EQ(text(), "123456789");
}

TEST_F(SDOBlockTest, AsksForWhatWasLostWhichThenComesFromSequenceNumberOne) {
  bench.answer("605#C406200000000000");
  bench.send("605#0161616161616161");
  bench.send("605#0363636363636363");  // 2 is missing
  EXPECT_EQ(bench.answer("605#8464000000000000"), "585#A2017F0000000000");
  bench.send("605#0162626262626262");
  bench.send("605#0263636363636363");
  EXPECT_EQ(bench.answer("605#8364000000000000"), "585#A2037F0000000000");
  EXPECT_EQ(bench.answer("605#D900000000000000").substr(0, 6), "585#80") << "the checksum is not 0";

  bench.answer("605#C006200000000000");
  EXPECT_EQ(bench.answer("605#8262000000000000"), "585#A2007F0000000000") << "nothing came in sequence";
  bench.send("605#0161616161616161");
  EXPECT_EQ(bench.answer("605#8262000000000000"), "585#A2027F0000000000");
  EXPECT_EQ(bench.answer("605#D900000000000000"), "585#A100000000000000");
  EXPECT_EQ(text(), "aaaaaaab");
}

TEST_F(SDOBlockTest, ADoubledSegmentCountsOnce) {
  bench.answer("605#C006200000000000");
  bench.send("605#0161616161616161");
  bench.send("605#0161616161616161");
  EXPECT_EQ(bench.answer("605#8262000000000000"), "585#A2027F0000000000");
  bench.send("605#D900000000000000");
  EXPECT_EQ(text(), "aaaaaaab");
}

TEST_F(SDOBlockTest, AcknowledgesAFullSubBlock) {
  const char* const kHexDigits = "0123456789ABCDEF";
  bench.answer("605#C20D2000F0030000");  // 1008 bytes: 144 segments
  std::string reply;
  for (unsigned sequence = 1; sequence <= 127; ++sequence) {
    EXPECT_EQ(reply, "");
    reply = bench.answer(std::string("605#") + kHexDigits[sequence >> 4] + kHexDigits[sequence & 15U] +
                         "55555555555555");
  }
  EXPECT_EQ(reply, "585#A27F7F0000000000");
  for (unsigned sequence = 1; sequence <= 16; ++sequence) {
    bench.send(std::string("605#") + kHexDigits[sequence >> 4] + kHexDigits[sequence & 15U] +
               "66666666666666");
  }
  EXPECT_EQ(bench.answer("605#9166666666666666"), "585#A2117F0000000000");
  EXPECT_EQ(bench.answer("605#C100000000000000"), "585#A100000000000000");
  EXPECT_EQ(bench.answer("605#400D200000000000"), "585#410D2000F0030000");
}

TEST_F(SDOBlockTest, RefusesWhatTheObjectDoesNotTake) {
  EXPECT_EQ(bench.answer("605#C600300009000000"), "585#8000300000000206");
  EXPECT_EQ(bench.answer("605#C604200004000000"), "585#8004200002000106") << "read only";
  EXPECT_EQ(bench.answer("605#C606200001010000"), "585#8006200012000706") << "257 letters";
  EXPECT_EQ(bench.answer("605#C200200002000000"), "585#A40020007F000000");
  bench.send("605#8165000000000000");
  EXPECT_EQ(bench.answer("605#D500000000000000"), "585#8000200031000906") << "101 is above the limit";
}

TEST_F(SDOBlockTest, StopsADownloadThatGetsTooLong) {
  bench.answer("605#C006200000000000");
  std::string reply;
  for (int segment = 1; segment < 127 && reply.empty(); ++segment) {
    const std::string low(1, "0123456789ABCDEF"[segment & 15]);
    const std::string high(1, "01234567"[segment >> 4]);
    reply = bench.answer("605#" + high + low + "41414141414141");
  }
  EXPECT_EQ(reply, "585#8006200012000706");
  EXPECT_EQ(text(), "a name of 20 letters");
}

TEST_F(SDOBlockTest, RefusesADownloadOfAnotherLengthThanAnnounced) {
  bench.answer("605#C20620000A000000");
  bench.send("605#0131323334353637");
  bench.send("605#8238390000000000");
  EXPECT_EQ(bench.answer("605#D500000000000000"), "585#8006200010000706");
}

TEST_F(SDOBlockTest, ForgetsADownloadThatTheClientAborts) {
  bench.answer("605#C606200009000000");
  EXPECT_EQ(bench.answer("605#8006200000000405"), "");
  EXPECT_EQ(bench.answer("605#D5C3310000000000").substr(12), "01000405") << "there is nothing to end";
  EXPECT_EQ(text(), "a name of 20 letters");
}

TEST_F(SDOBlockTest, UploadsInSubBlocksOfTheClientsSize) {
  EXPECT_EQ(bench.answer("605#A406200002000000"), "585#C606200014000000") << "20 bytes, with a checksum";
  EXPECT_EQ(bench.answer("605#A300000000000000"), "585#0161206E616D6520 585#026F66203230206C");
  EXPECT_EQ(bench.answer("605#A202050000000000"), "585#8165747465727300");
  EXPECT_EQ(bench.answer("605#A201050000000000"), "585#C533900000000000") << "1 byte unused, 0x9033";
  EXPECT_EQ(bench.answer("605#A100000000000000"), "");
  EXPECT_EQ(bench.answer("605#A100000000000000").substr(12), "01000405") << "it was over";
}

TEST_F(SDOBlockTest, SendsAgainWhatTheClientMissed) {
  bench.answer("605#A406200003000000");
  bench.answer("605#A300000000000000");
  EXPECT_EQ(bench.answer("605#A201030000000000"), "585#016F66203230206C 585#8265747465727300");
  EXPECT_EQ(bench.answer("605#A200010000000000"), "585#016F66203230206C") << "all of it, one at a time";
  EXPECT_EQ(bench.answer("605#A201010000000000"), "585#8165747465727300");
  EXPECT_EQ(bench.answer("605#A201010000000000"), "585#C533900000000000");
}

TEST_F(SDOBlockTest, AbortsAnUploadWhoseNumbersCannotBe) {
  EXPECT_EQ(bench.answer("605#A406200000000000"), "585#8006200002000405") << "no segments in a block";
  EXPECT_EQ(bench.answer("605#A406200080000000"), "585#8006200002000405") << "128 segments in a block";
  bench.answer("605#A406200002000000");
  bench.answer("605#A300000000000000");
  EXPECT_EQ(bench.answer("605#A203020000000000"), "585#8006200003000405") << "a third segment was not sent";
  bench.answer("605#A406200002000000");
  bench.answer("605#A300000000000000");
  EXPECT_EQ(bench.answer("605#A202000000000000"), "585#8006200002000405");
  EXPECT_EQ(bench.answer("605#A403200002000000"), "585#8003200001000106") << "write only";
}

TEST_F(SDOBlockTest, AnswersAsToAnOrdinaryUploadUpToTheClientsThreshold) {
  EXPECT_EQ(bench.answer("605#A406200002140000"), "585#4106200014000000") << "20 bytes, threshold 20";
  EXPECT_EQ(bench.answer("605#6000000000000000"), "585#0061206E616D6520");
  EXPECT_EQ(bench.answer("605#A406200002130000"), "585#C606200014000000") << "threshold 19";
  EXPECT_EQ(bench.answer("605#A401200002140000"), "585#4F01200005000000") << "at once";
}

TEST_F(SDOBlockTest, UploadsAnEmptyValueAsOneEmptySegment) {
  EXPECT_EQ(bench.answer("605#A40A200002000000"), "585#C60A200000000000");
  EXPECT_EQ(bench.answer("605#A300000000000000"), "585#8100000000000000");
  EXPECT_EQ(bench.answer("605#A201020000000000"), "585#DD00000000000000") << "7 bytes unused";
}

TEST_F(SDOBlockTest, ANewRequestEndsAnUploadBeforeIt) {
  bench.answer("605#A406200002000000");
  EXPECT_EQ(bench.answer("605#4001200000000000"), "585#4F01200005000000");
  EXPECT_EQ(bench.answer("605#A300000000000000").substr(12), "01000405");
}

TEST_F(SDOBlockTest, BlocksCountAsAccessesOfAScenario) {
  Scenario scenario;
  std::string problem;
  ASSERT_TRUE(read_scenario_line("access 1 write 0x2006 reply abort 0x08000022", scenario, problem));
  ASSERT_TRUE(read_scenario_line("access 1 read 0x2006 reset amid", scenario, problem));
  ASSERT_TRUE(bench.drive().play(scenario, problem)) << problem;
  EXPECT_EQ(bench.answer("605#C606200009000000"), "585#8006200022000008");
  EXPECT_EQ(bench.answer("605#A406200002000000"), "585#C606200014000000");
  EXPECT_EQ(bench.answer("605#A300000000000000"), "705#00");
}

TEST_F(SDOBlockTest, GivesUpAClientThatDiesInADownload) {
  bench.answer("605#C206200009000000");
  bench.send("605#0131323334353637");
  bench.step(milliseconds(4999));
  EXPECT_EQ(bench.take_events(), Frames{});
  bench.step(milliseconds(1));
  EXPECT_EQ(bench.take_events(), Frames{"585#8006200000000405"});
  EXPECT_EQ(text(), "a name of 20 letters");
}

TEST_F(SDOBlockTest, ANewRequestAmongSegmentsStartsAnew) {
  const std::vector<std::pair<std::string, std::string>> kRequests{
      {"605#4001200000000000", "585#4F01200005000000"},  // upload
      {"605#2F01200006000000", "585#6001200000000000"},  // expedited download
      {"605#2106200009000000", "585#6006200000000000"},  // segmented download
      {"605#A40620007F000000", "585#C606200014000000"},  // block upload
      {"605#C206200009000000", "585#A40620007F000000"},  // block download
  };
  for (const auto& [request, answer] : kRequests) {
    bench.answer("605#C206200009000000");
    bench.send("605#0131323334353637");
    EXPECT_EQ(bench.answer(request), answer);
    bench.send("605#8000000000000000");
    bench.write(0x2001, 0, 5, 1);
  }
}

TEST_F(SDOBlockTest, AnAwaitedSegmentIsDataWhateverItLooksLike) {
  bench.answer("605#C006200000000000");
  for (unsigned sequence = 1; sequence < 0x20; ++sequence) {
    bench.send("605#" + hex_byte(sequence) + "61616161616161");
  }
  bench.send("605#2006200000000000");  // the 32nd, as a request for a download of 2006h
  EXPECT_EQ(bench.answer("605#A162000000000000"), "585#A2217F0000000000");
  EXPECT_EQ(bench.answer("605#D900000000000000"), "585#A100000000000000");
}

TEST_F(SDOBlockTest, SegmentsThatComeOutOfSequenceAreNoRequests) {
  bench.answer("605#C006200000000000");
  bench.send("605#0161616161616161");
  EXPECT_EQ(bench.answer("605#4062626262626262"), "") << "64: no object of that index";
  EXPECT_EQ(bench.answer("605#2F62626262626262"), "");
  EXPECT_EQ(bench.answer("605#8363000000000000"), "585#A2017F0000000000")
      << "it is still the first that counts";
}

}  // namespace
}  // namespace tav::drive::test

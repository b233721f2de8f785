// The SDO server, frame by frame. Layout of the frames and abort codes: CiA 301, 7.2.4.
#include <gtest/gtest.h>

#include <string>

#include "drive/DriveBench.hpp"
#include "drive/sdo/TypesDescription.hpp"

namespace tav::drive::test {
namespace {

class SDOServerTest : public ::testing::Test {
 protected:
  DriveBench bench{kTypesDescription, as_node(5)};
};

TEST_F(SDOServerTest, UploadsValuesOfOneToFourBytesExpedited) {
  EXPECT_EQ(bench.answer("605#4001200000000000"), "585#4F01200005000000");
  EXPECT_EQ(bench.answer("605#4000200000000000"), "585#4B002000FEFF0000");
  EXPECT_EQ(bench.answer("605#400C200000000000"), "585#470C2000FEFFFF00");
  EXPECT_EQ(bench.answer("605#4004200000000000"), "585#4304200078563412");
  EXPECT_EQ(bench.answer("605#4008200000000000"), "585#430820000000C03F");
  EXPECT_EQ(bench.answer("605#4007200000000000"), "585#4707200054415600");
}

TEST_F(SDOServerTest, ResolvesTheNodeIdInDefaultValues) {
  EXPECT_EQ(bench.answer("605#4014100000000000"), "585#4314100085000000");
  EXPECT_EQ(bench.answer("605#4000120200000000"), "585#4300120285050000");
}

TEST_F(SDOServerTest, UploadsLongerValuesInSegments) {
  EXPECT_EQ(bench.answer("605#4005200000000000"), "585#4105200008000000");
  EXPECT_EQ(bench.answer("605#6000000000000000"), "585#0008070605040302");
  EXPECT_EQ(bench.answer("605#7000000000000000"), "585#1D01000000000000");

  EXPECT_EQ(bench.answer("605#4006200000000000"), "585#4106200014000000");
  EXPECT_EQ(bench.answer("605#6000000000000000"), "585#0061206E616D6520");  // "a name "
  EXPECT_EQ(bench.answer("605#7000000000000000"), "585#106F66203230206C");  // "of 20 l"
  EXPECT_EQ(bench.answer("605#6000000000000000"), "585#0365747465727300");  // "etters"
}

TEST_F(SDOServerTest, UploadsDoublesLeastSignificantByteFirst) {
  EXPECT_EQ(bench.answer("605#400B200000000000"), "585#410B200008000000");
  EXPECT_EQ(bench.answer("605#6000000000000000"), "585#00000000000000E0");
  EXPECT_EQ(bench.answer("605#7000000000000000"), "585#1DBF000000000000");
}

TEST_F(SDOServerTest, UploadsAnEmptyTextAsOneEmptySegment) {
  EXPECT_EQ(bench.answer("605#400A200000000000"), "585#410A200000000000");
  EXPECT_EQ(bench.answer("605#6000000000000000"), "585#0F00000000000000");
}

TEST_F(SDOServerTest, DownloadsExpeditedWithAndWithoutSize) {
  EXPECT_EQ(bench.answer("605#2B00200064000000"), "585#6000200000000000");
  EXPECT_EQ(bench.answer("605#4000200000000000"), "585#4B00200064000000");
  EXPECT_EQ(bench.answer("605#220020009CFF0000"), "585#6000200000000000");
  EXPECT_EQ(bench.answer("605#4000200000000000"), "585#4B0020009CFF0000");
}

TEST_F(SDOServerTest, DownloadsInSegments) {
  EXPECT_EQ(bench.answer("605#2106200009000000"), "585#6006200000000000");
  EXPECT_EQ(bench.answer("605#0068656C6C6F2C20"), "585#2000000000000000");  // "hello, "
  EXPECT_EQ(bench.answer("605#1B796F0000000000"), "585#3000000000000000");  // "yo"
  EXPECT_EQ(bench.answer("605#4006200000000000"), "585#4106200009000000");
  EXPECT_EQ(bench.answer("605#6000000000000000"), "585#0068656C6C6F2C20");
  EXPECT_EQ(bench.answer("605#7000000000000000"), "585#1B796F0000000000");
}

TEST_F(SDOServerTest, DownloadsASmallValueInOneSegment) {
  EXPECT_EQ(bench.answer("605#2101200001000000"), "585#6001200000000000");
  EXPECT_EQ(bench.answer("605#0D07000000000000"), "585#2000000000000000");
  EXPECT_EQ(bench.read(0x2001), 7U);
}

TEST_F(SDOServerTest, SaysWhatIsNotThere) {
  EXPECT_EQ(bench.answer("605#4000300000000000"), "585#8000300000000206");
  EXPECT_EQ(bench.answer("605#2F00300001000000"), "585#8000300000000206");
  EXPECT_EQ(bench.answer("605#4000200100000000"), "585#8000200111000906");
  EXPECT_EQ(bench.answer("605#4000120700000000"), "585#8000120711000906");
}

TEST_F(SDOServerTest, RefusesWhatTheAccessTypeForbids) {
  EXPECT_EQ(bench.answer("605#4003200000000000"), "585#8003200001000106");
  EXPECT_EQ(bench.answer("605#2304200001000000"), "585#8004200002000106");
  EXPECT_EQ(bench.answer("605#2300100001000000"), "585#8000100002000106");
  EXPECT_EQ(bench.answer("605#2B03200001000000"), "585#6003200000000000");
}

TEST_F(SDOServerTest, RefusesValuesOfAnotherLength) {
  EXPECT_EQ(bench.answer("605#2300200001000000"), "585#8000200012000706");
  EXPECT_EQ(bench.answer("605#2F00200001000000"), "585#8000200013000706");
  EXPECT_EQ(bench.answer("605#2105200009000000"), "585#8005200012000706");
  EXPECT_EQ(bench.answer("605#2105200007000000"), "585#8005200013000706");
}

TEST_F(SDOServerTest, RefusesATransferThatDeliversAnotherLengthThanAnnounced) {
  EXPECT_EQ(bench.answer("605#2106200009000000"), "585#6006200000000000");
  EXPECT_EQ(bench.answer("605#0D61000000000000"), "585#8006200010000706");
  EXPECT_EQ(bench.answer("605#4006200000000000"), "585#4106200014000000") << "the old value stays";
}

TEST_F(SDOServerTest, RefusesATextThatIsTooLongAndKeepsTheOldOne) {
  EXPECT_EQ(bench.answer("605#2106200001010000"), "585#8006200012000706");
  EXPECT_EQ(bench.answer("605#2006200000000000"), "585#6006200000000000") << "length not announced";
  std::string reply;
  for (int segment = 0; segment < 40 && reply.find("#8") == std::string::npos; ++segment) {
    reply = bench.answer(segment % 2 == 0 ? "605#0041414141414141" : "605#1041414141414141");
  }
  EXPECT_EQ(reply, "585#8006200012000706");
  EXPECT_EQ(bench.answer("605#4006200000000000"), "585#4106200014000000");
}

TEST_F(SDOServerTest, RefusesValuesOutsideTheLimits) {
  EXPECT_EQ(bench.answer("605#2B00200065000000"), "585#8000200031000906");
  EXPECT_EQ(bench.answer("605#2B0020009BFF0000"), "585#8000200032000906");
  EXPECT_EQ(bench.answer("605#2F0120000A000000"), "585#8001200031000906");
  EXPECT_EQ(bench.answer("605#2F01200001000000"), "585#8001200032000906");
  EXPECT_EQ(bench.answer("605#2302200000000080"), "585#8002200032000906");
  EXPECT_EQ(bench.answer("605#23022000FFFFFFFF"), "585#6002200000000000");
  EXPECT_EQ(bench.answer("605#2308200000003041"), "585#8008200031000906") << "11.0";
  EXPECT_EQ(bench.answer("605#230820000000C07F"), "585#8008200031000906") << "not a number";
  EXPECT_EQ(bench.answer("605#2F09200002000000"), "585#8009200031000906");
}

TEST_F(SDOServerTest, AbortsOnAToggleBitThatDoesNotAlternate) {
  EXPECT_EQ(bench.answer("605#4006200000000000"), "585#4106200014000000");
  EXPECT_EQ(bench.answer("605#7000000000000000"), "585#8006200000000305");
  EXPECT_EQ(bench.answer("605#2106200009000000"), "585#6006200000000000");
  EXPECT_EQ(bench.answer("605#1068656C6C6F2C20"), "585#8006200000000305");
}

TEST_F(SDOServerTest, AbortsOnSegmentsOfNoTransfer) {
  EXPECT_EQ(bench.answer("605#6000000000000000").substr(0, 6), "585#80");
  EXPECT_EQ(bench.answer("605#6000000000000000").substr(12), "01000405");
  EXPECT_EQ(bench.answer("605#0000000000000000").substr(12), "01000405");
}

TEST_F(SDOServerTest, AbortsOnACommandThatDoesNotExist) {
  EXPECT_EQ(bench.answer("605#E000200000000000"), "585#8000200001000405");
}

TEST_F(SDOServerTest, ForgetsATransferThatTheClientAborts) {
  EXPECT_EQ(bench.answer("605#4006200000000000"), "585#4106200014000000");
  EXPECT_EQ(bench.answer("605#8006200000000405"), "");
  EXPECT_EQ(bench.answer("605#6000000000000000").substr(12), "01000405");
}

TEST_F(SDOServerTest, ANewRequestEndsTheTransferBeforeIt) {
  EXPECT_EQ(bench.answer("605#2106200009000000"), "585#6006200000000000");
  EXPECT_EQ(bench.answer("605#4001200000000000"), "585#4F01200005000000");
  EXPECT_EQ(bench.answer("605#0068656C6C6F2C20").substr(12), "01000405");
}

TEST_F(SDOServerTest, KeepsSilentToOthersFramesAndToFramesThatAreNoRequests) {
  EXPECT_EQ(bench.answer("604#4001200000000000"), "");
  EXPECT_EQ(bench.answer("605#400120"), "");
  EXPECT_EQ(bench.answer("605#"), "");
  nkr::can::Frame remote = frame_of("605#4001200000000000");
  remote.remote = true;
  bench.drive().receive(remote);
  nkr::can::Frame extended = frame_of("605#4001200000000000");
  extended.extended = true;
  bench.drive().receive(extended);
  EXPECT_TRUE(bench.take().empty());
}

TEST_F(SDOServerTest, ServesASecondChannelOnceItIsGivenIdentifiers) {
  DriveBench tav;
  EXPECT_EQ(tav.answer("6A0#4000100000000000"), "");
  EXPECT_EQ(tav.write(0x1201, 1, 0x6A0, 4), 0U);
  EXPECT_EQ(tav.answer("6A0#4000100000000000"), "") << "the answer's identifier is not valid yet";
  EXPECT_EQ(tav.write(0x1201, 2, 0x6C0, 4), 0U);
  EXPECT_EQ(tav.answer("6A0#4000100000000000"), "6C0#4300100092010200");
  EXPECT_EQ(tav.answer("601#4000100000000000"), "581#4300100092010200");
}

TEST(SDOChannels, AValidChannelKeepsItsIdentifiersUntilItIsMadeInvalid) {
  DriveBench tav;
  EXPECT_EQ(tav.write(0x1201, 1, 0x6A0, 4), 0U);
  EXPECT_EQ(tav.write(0x1201, 1, 0x6A1, 4), 0U) << "the channel is not valid yet";
  EXPECT_EQ(tav.write(0x1201, 2, 0x6C0, 4), 0U);
  EXPECT_EQ(tav.write(0x1201, 1, 0x6A2, 4), 0x06090030U);
  EXPECT_EQ(tav.write(0x1201, 2, 0x6C2, 4), 0x06090030U);
  EXPECT_EQ(tav.write(0x1201, 2, 0x6C0, 4), 0U) << "the one that it has";
  EXPECT_EQ(tav.answer("6A1#4000100000000000"), "6C0#4300100092010200");
  EXPECT_EQ(tav.write(0x1201, 1, 0x800006A2, 4), 0U);
  EXPECT_EQ(tav.answer("6A1#4000100000000000"), "");
  EXPECT_EQ(tav.write(0x1201, 1, 0x6A2, 4), 0U);
  EXPECT_EQ(tav.answer("6A2#4000100000000000"), "6C0#4300100092010200");
}

TEST(SDOChannels, RefuseIdentifiersThatBelongToOthers) {
  DriveBench tav;
  for (const std::uint8_t subindex : {std::uint8_t{1}, std::uint8_t{2}}) {
    for (const std::uint32_t identifier :
         {0x000U, 0x07FU, 0x101U, 0x180U, 0x581U, 0x601U, 0x6FFU, 0x77FU, 0x7FFU}) {
      EXPECT_EQ(tav.write(0x1201, subindex, identifier, 4), 0x06090030U) << std::hex << identifier;
    }
    EXPECT_EQ(tav.write(0x1201, subindex, 0x200006A0, 4), 0x06090030U) << "29 bits";
    EXPECT_EQ(tav.write(0x1201, subindex, 0x00000EA0, 4), 0x06090030U) << "bit 11";
    EXPECT_EQ(tav.write(0x1201, subindex, 0x80000EA0, 4), 0x06090030U) << "not valid, and bit 11";
    EXPECT_EQ(tav.read(0x1201, subindex), 0x80000000U);
  }
  EXPECT_EQ(tav.write(0x1201, 3, 128, 1), 0x06090030U) << "no node id";
  EXPECT_EQ(tav.write(0x1201, 3, 127, 1), 0U);
}

TEST(SDOChannels, TheDefaultChannelIsFixedWhateverTheDescriptionSays) {
  DriveBench tav(changed(shipped_description(), "1200sub1", "AccessType", "rw"), as_node(1));
  EXPECT_EQ(tav.write(0x1200, 1, 0x80000601, 4), 0x06010002U);
  EXPECT_EQ(tav.write(0x1200, 1, 0x6A0, 4), 0x06010002U);
}

TEST(SDOChannels, AChannelWithTheIdentifierZeroIsClosed) {
  std::string eds = changed(shipped_description(), "1201sub1", "DefaultValue", "0");
  eds = changed(eds, "1201sub2", "DefaultValue", "0");
  DriveBench tav(eds, as_node(1));
  EXPECT_EQ(tav.answer("000#4000100000000000"), "") << "an answer would be an NMT command";
}

TEST_F(SDOServerTest, GivesUpAClientThatFallsSilentInMidTransfer) {
  EXPECT_EQ(bench.answer("605#2106200009000000"), "585#6006200000000000");
  bench.step(milliseconds(4999));
  EXPECT_EQ(bench.take_events(), Frames{});
  EXPECT_EQ(bench.answer("605#0031323334353637"), "585#2000000000000000") << "it goes on";
  bench.step(milliseconds(4999));
  EXPECT_EQ(bench.take_events(), Frames{});
  bench.step(milliseconds(1));
  EXPECT_EQ(bench.take_events(), Frames{"585#8006200000000405"});
  bench.step(milliseconds(60000));
  EXPECT_EQ(bench.take_events(), Frames{}) << "once";
  bench.answer("605#4006200000000000");
  bench.step(milliseconds(5000));
  EXPECT_EQ(bench.take_events(), Frames{"585#8006200000000405"}) << "an upload too";
}

}  // namespace
}  // namespace tav::drive::test

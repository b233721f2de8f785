// Reception of safety-relevant data objects (EN 50325-5): a frame and its inverse, in time, or the safe
// state.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "drive/DriveBench.hpp"
#include "drive/safety/SafetyFixture.hpp"

namespace tav::drive::test {
namespace {

/** SRDO 1 brings the safety control word 1 (0x6620:1) on 0x101 and 0x102, SCT 25 ms, SRVT 20 ms. */
class SRDOReception : public ::testing::Test {
 protected:
  static constexpr std::uint32_t kEntry = 0x66200108;

  SRDOReception() {
    EXPECT_EQ(bench.write(0x1017, 0, 0, 2), 0U);  // no heartbeat among the frames
    EXPECT_EQ(bench.write(0x1381, 0, 0, 1), 0U);
    EXPECT_EQ(bench.write(0x1381, 1, kEntry, 4), 0U);
    EXPECT_EQ(bench.write(0x1381, 2, kEntry, 4), 0U);
    EXPECT_EQ(bench.write(0x1381, 0, 2, 1), 0U);
    EXPECT_EQ(bench.write(0x1301, 1, 2, 1), 0U);
    EXPECT_EQ(bench.write(0x1301, 2, 25, 2), 0U);
    EXPECT_EQ(bench.write(0x1301, 3, 20, 1), 0U);
    EXPECT_EQ(bench.write(0x1301, 5, 0x101, 4), 0U);
    EXPECT_EQ(bench.write(0x1301, 6, 0x102, 4), 0U);
    ReferenceCrc crc;
    crc.feed(2, 1).feed(25, 2).feed(20, 1).feed(0x101, 4).feed(0x102, 4);
    crc.feed(2, 1).feed(1, 1).feed(kEntry, 4).feed(2, 1).feed(kEntry, 4);
    EXPECT_EQ(bench.write(0x13FF, 1, crc.value(), 2), 0U);
    EXPECT_FALSE(safe_state());
    EXPECT_EQ(bench.write(0x13FE, 0, 0xA5, 1), 0U);
    bench.take();
  }

  /** Signs what is shipped of a function, and the mapping as it is now. */
  void sign(std::uint16_t signature) {
    const std::uint8_t instances = static_cast<std::uint8_t>(bench.read(signature, 0));
    for (std::uint8_t i = 1; i <= instances; ++i) {
      ReferenceCrc crc;
      const auto feed = [&](std::uint16_t index, std::uint8_t subindex, unsigned bytes) {
        crc.feed(bench.read(index, subindex), bytes);
      };
      if (signature == 0x6645) feed(0x6641, 0, 1);
      if (signature == 0x6662) feed(0x6600, 0, 4), feed(0x6661, i, 2);
      if (signature == 0x6699) {
        feed(0x6600, 0, 4), feed(0x6602, 0, 4), feed(0x6603, 0, 4), feed(0x6691, i, 2);
        crc.feed(0, 2), feed(0x6693, i, 4), feed(0x6694, i, 2);
        crc.feed(0, 2).feed(0, 2).feed(0, 4), feed(0x6698, i, 4);
      }
      if (signature == 0x66D6) {
        feed(0x6601, 0, 4), feed(0x6602, 0, 4), crc.feed(0, 2).feed(0, 4).feed(0, 2), feed(0x66D3, i, 4);
      }
      feed_mapping(bench, crc);
      EXPECT_EQ(bench.write(signature, i, crc.value(), 2), 0U);
    }
  }
  void start() { bench.send("000#0101"); }
  void send_pair() {
    bench.send("101#A5");
    bench.send("102#5A");
  }
  Frames emergencies() {
    Frames found;
    for (const std::string& frame : bench.take()) {
      if (frame.substr(0, 4) == "081#") found.push_back(frame);
    }
    return found;
  }
  bool safe_state() { return bench.read(0x2640) != 0; }
  std::uint32_t control_word() { return bench.read(0x6620, 1); }

  DriveBench bench;
};

TEST_F(SRDOReception, APairWritesTheSafetyControlWordAndEndsTheSafeState) {
  EXPECT_TRUE(safe_state()) << "nothing was received yet";
  start();
  EXPECT_TRUE(safe_state());
  bench.send("101#A5");
  EXPECT_EQ(control_word(), 0xFFU) << "not before the inverse came";
  bench.send("102#5A");
  EXPECT_EQ(control_word(), 0xA5U);
  EXPECT_FALSE(safe_state());
}

TEST_F(SRDOReception, NothingIsReceivedUnlessOperational) {
  send_pair();
  EXPECT_EQ(control_word(), 0xFFU);
  start();
  send_pair();
  bench.send("000#8001");
  EXPECT_TRUE(safe_state());
}

TEST_F(SRDOReception, PairsHaveToComeWithinTheRefreshTime) {
  start();
  for (int i = 0; i < 5; ++i) {
    send_pair();
    bench.step(milliseconds(24));
  }
  EXPECT_FALSE(safe_state());
  EXPECT_TRUE(emergencies().empty());
  bench.step(milliseconds(1));
  EXPECT_TRUE(safe_state());
  EXPECT_EQ(emergencies(), Frames{"081#5082110113000000"}) << "0x8250, SRDO 0x1301";
  send_pair();
  EXPECT_TRUE(safe_state()) << "the error stays";
}

TEST_F(SRDOReception, TheFirstPairHasToComeWithinTheRefreshTimeToo) {
  start();
  bench.step(milliseconds(25));
  send_pair();
  EXPECT_TRUE(safe_state());
}

TEST_F(SRDOReception, TheInverseHasToComeWithinTheValidationTime) {
  start();
  bench.send("101#A5");
  bench.step(milliseconds(20));
  bench.send("102#5A");
  EXPECT_TRUE(safe_state());
  EXPECT_EQ(control_word(), 0xFFU);
}

TEST_F(SRDOReception, AWrongInverseIsAnErrorThatOnlyANewStartEnds) {
  start();
  send_pair();
  bench.send("101#A5");
  bench.send("102#5B");
  EXPECT_EQ(emergencies(), Frames{"081#0082110113000000"});
  EXPECT_TRUE(safe_state());
  EXPECT_EQ(control_word(), 0xA5U);
  send_pair();
  EXPECT_TRUE(safe_state());
  bench.send("000#8001");
  EXPECT_EQ(emergencies(), Frames{"081#0000000000000000"});
  start();
  send_pair();
  EXPECT_FALSE(safe_state());
}

TEST_F(SRDOReception, FramesOfAnotherLengthAreErrorsAndTwoPlainOnesToo) {
  const std::vector<Frames> kSequences{
      {"101#"}, {"101#A5A5"}, {"101#A5", "102#5A00"}, {"101#A5", "102#"}, {"101#A5", "101#A5"}};
  for (const Frames& sequence : kSequences) {
    bench.send("000#8001");
    start();
    for (const std::string& frame : sequence) bench.send(frame);
    send_pair();
    EXPECT_TRUE(safe_state()) << sequence.back();
  }
}

TEST_F(SRDOReception, AFrameOfAnotherLengthIsAProtocolError) {
  for (const char* const frame : {"101#", "101#A5A5"}) {
    bench.send("000#8001");
    start();
    bench.take();
    bench.send(frame);
    EXPECT_EQ(emergencies(), Frames{"081#0082110113000000"}) << "0x8200, SRDO 0x1301";
  }
}

TEST_F(SRDOReception, AnInvertedFrameFirstIsLeftAlone) {
  start();
  bench.send("102#5A");
  send_pair();
  EXPECT_FALSE(safe_state());
}

TEST_F(SRDOReception, AConfigurationThatIsNotValidIsNotReceived) {
  EXPECT_EQ(bench.write(0x1301, 2, 25, 2), 0U);  // any change ends the validity
  EXPECT_FALSE(safe_state());
  start();
  send_pair();
  EXPECT_EQ(control_word(), 0xFFU);
}

TEST_F(SRDOReception, NothingElseWritesTheWordThatItFeeds) {
  EXPECT_EQ(bench.write(0x66F0, 1, 0x66400000, 4), 0U);  // bit 0 demands STO
  for (const std::uint32_t index : {0x6645U, 0x6662U, 0x6699U, 0x66D6U})
    sign(static_cast<std::uint16_t>(index));
  start();
  bench.send("101#FE");
  bench.send("102#01");
  EXPECT_EQ(bench.read(0x6640), 0U) << "the SRDO demands STO";
  EXPECT_EQ(bench.write(0x6620, 1, 0xFF, 1), 0x08000022U);
  EXPECT_EQ(control_word(), 0xFEU);
  EXPECT_TRUE(safe_state());
  EXPECT_EQ(bench.write(0x6640, 0, 1, 1), 0U);
  EXPECT_TRUE(safe_state()) << "the command shows what the word says";
  EXPECT_EQ(bench.write(0x6620, 2, 0xFE, 1), 0U) << "no SRDO feeds this word";
  bench.send("101#FF");
  bench.send("102#00");
  EXPECT_EQ(control_word(), 0xFFU);
  EXPECT_EQ(bench.read(0x6640), 1U);
}

TEST_F(SRDOReception, NoPDOWritesTheWordThatItFeeds) {
  bench.write(0x1400, 1, 0x80000201, 4);
  bench.write(0x1600, 0, 0, 1);
  bench.write(0x1600, 1, kEntry, 4);
  bench.write(0x1600, 0, 1, 1);
  EXPECT_EQ(bench.write(0x1400, 1, 0x201, 4), 0U);
  start();
  send_pair();
  bench.send("201#FF");
  EXPECT_EQ(control_word(), 0xA5U);
}

TEST_F(SRDOReception, AWordIsFreeWhileNothingIsReceived) {
  EXPECT_EQ(bench.write(0x6620, 1, 0x77, 1), 0U) << "not yet operational: STO acts";
  start();
  send_pair();
  EXPECT_EQ(bench.write(0x6620, 1, 0xFF, 1), 0x08000022U);
  bench.send("000#8001");
  EXPECT_EQ(bench.write(0x6620, 1, 0xFF, 1), 0U);
}

TEST(SRDOSafeInput, NeitherTheWordNorItsMappingIsWrittenByOthers) {
  DriveBench bench(changed(shipped_description(), "2620sub1", "PDOMapping", "1"), as_node(1));
  EXPECT_EQ(bench.write(0x2622, 1, 0x66400000, 4), 0U);
  for (const std::uint8_t entry : {std::uint8_t{1}, std::uint8_t{2}})
    bench.write(0x1381, entry, 0x26200108, 4);
  EXPECT_EQ(bench.write(0x1381, 0, 2, 1), 0U);
  EXPECT_EQ(bench.write(0x1301, 1, 2, 1), 0U);
  ReferenceCrc crc;
  crc.feed(2, 1).feed(25, 2).feed(20, 1).feed(0x113, 4).feed(0x114, 4);
  crc.feed(2, 1).feed(1, 1).feed(0x26200108, 4).feed(2, 1).feed(0x26200108, 4);
  EXPECT_EQ(bench.write(0x13FF, 1, crc.value(), 2), 0U);
  EXPECT_EQ(bench.write(0x13FE, 0, 0xA5, 1), 0U);
  bench.send("000#0101");
  bench.send("113#FE");
  bench.send("114#01");
  EXPECT_EQ(bench.read(0x2640), 1U);
  EXPECT_EQ(bench.write(0x2620, 1, 0xFF, 1), 0x08000022U);
  EXPECT_EQ(bench.write(0x2622, 1, 0, 4), 0x08000022U) << "no signature covers this mapping";
  EXPECT_EQ(bench.read(0x2640), 1U);
}

}  // namespace
}  // namespace tav::drive::test

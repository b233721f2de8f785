#include <gtest/gtest.h>

#include <fstream>
#include <nkr/tools/EDSParser.hpp>
#include <string>
#include <tav/host/FrameDecoder.hpp>

namespace tests::host {
namespace {

using nkr::can::Frame;

class FrameDecoderTest : public testing::Test {
 protected:
  static const nkr::tools::EDSParser& description() {
    static const nkr::tools::EDSParser parser = [] {
      nkr::tools::EDSParser result;
      std::ifstream file("share/tav/tav.eds");
      EXPECT_TRUE(result.parse(file, false));
      return result;
    }();
    return parser;
  }

  std::string text(const Frame& frame) { return decoder_.decode(frame).text; }
  std::string title(const Frame& frame) { return decoder_.decode(frame).title; }

 private:
  tav::host::FrameDecoder decoder_{description(), 10};
};

TEST_F(FrameDecoderTest, NamesTheObjectOfAnExpeditedRead) {
  EXPECT_EQ(text({0x60A, {0x40, 0x18, 0x10, 0x01, 0, 0, 0, 0}}),
            "read \"Identity Object Vendor Id\" (0x1018:01)");
  EXPECT_EQ(text({0x58A, {0x43, 0x18, 0x10, 0x01, 0x27, 0x0A, 0, 0}}),
            "\"Identity Object Vendor Id\" (0x1018:01) is 2599 (0x00000A27)");
}

TEST_F(FrameDecoderTest, NamesTheValueOfAnExpeditedWrite) {
  EXPECT_EQ(text({0x60A, {0x2B, 0x42, 0x60, 0x00, 0xD4, 0xFE, 0, 0}}),
            "write \"vl_target_velocity\" (0x6042:00) = -300");
  EXPECT_EQ(text({0x58A, {0x60, 0x42, 0x60, 0x00, 0, 0, 0, 0}}), "\"vl_target_velocity\" (0x6042:00) taken");
}

TEST_F(FrameDecoderTest, SaysWhatControlAndStatusWordsMean) {
  EXPECT_EQ(text({0x60A, {0x2B, 0x40, 0x60, 0x00, 0x0F, 0, 0, 0}}),
            "write \"controlword\" (0x6040:00) = 15 (0x000F): enable operation");
  EXPECT_EQ(text({0x58A, {0x4B, 0x41, 0x60, 0x00, 0x27, 0x06, 0, 0}}),
            "\"statusword\" (0x6041:00) is 1575 (0x0627): OPERATION_ENABLED");
}

TEST_F(FrameDecoderTest, PutsTheSegmentsOfAStringTogether) {
  EXPECT_EQ(text({0x60A, {0x40, 0x08, 0x10, 0x00, 0, 0, 0, 0}}),
            "read \"Manufacturer device name\" (0x1008:00)");
  EXPECT_EQ(text({0x58A, {0x41, 0x08, 0x10, 0x00, 9, 0, 0, 0}}),
            "\"Manufacturer device name\" (0x1008:00) has 9 bytes");
  EXPECT_EQ(text({0x60A, {0x60, 0, 0, 0, 0, 0, 0, 0}}),
            "read: next segment of \"Manufacturer device name\" (0x1008:00)");
  EXPECT_EQ(text({0x58A, {0x00, 'T', 'A', 'V', ' ', 'd', 'r', 'i'}}),
            "segment of \"Manufacturer device name\" (0x1008:00)");
  EXPECT_EQ(text({0x58A, {0x1B, 'v', 'e', 0, 0, 0, 0, 0}}),
            "\"Manufacturer device name\" (0x1008:00) is \"TAV drive\"");
}

TEST_F(FrameDecoderTest, KeepsTransfersOfDifferentNodesApart) {
  text({0x58A, {0x41, 0x08, 0x10, 0x00, 3, 0, 0, 0}});
  text({0x58B, {0x41, 0x09, 0x10, 0x00, 3, 0, 0, 0}});
  EXPECT_EQ(text({0x58A, {0x09, 'T', 'A', 'V', 0, 0, 0, 0}}),
            "\"Manufacturer device name\" (0x1008:00) is \"TAV\"");
}

TEST_F(FrameDecoderTest, ExplainsAnAbort) {
  const std::string abort = text({0x58A, {0x80, 0x18, 0x10, 0x01, 0x02, 0x00, 0x01, 0x06}});
  EXPECT_EQ(abort.rfind("refused \"Identity Object Vendor Id\" (0x1018:01): 0x06010002: ", 0), 0u) << abort;
}

TEST_F(FrameDecoderTest, ShowsObjectsThatTheDescriptionDoesNotHoldByAddress) {
  EXPECT_EQ(text({0x58A, {0x4F, 0x99, 0x29, 0x07, 0xAB, 0, 0, 0}}), "0x2999:07 is AB");
}

TEST_F(FrameDecoderTest, KnowsNetworkManagementAndErrorControl) {
  EXPECT_EQ(title({0x000, {1, 10}}), "NMT");
  EXPECT_EQ(text({0x000, {1, 10}}), "start node 10");
  EXPECT_EQ(text({0x000, {129, 0}}), "reset all nodes");
  EXPECT_EQ(title({0x70A, {0}}), "HB node 10");
  EXPECT_EQ(text({0x70A, {0}}), "boot-up");
  EXPECT_EQ(text({0x70A, {127}}), "pre-operational");
  EXPECT_EQ(title({0x080, {}}), "SYNC");
}

TEST_F(FrameDecoderTest, ReadsEmergencies) {
  EXPECT_EQ(title({0x08A, {0x20, 0x32, 0x04, 0, 0, 0, 0, 0}}), "EMCY node 10");
  const std::string meaning = text({0x08A, {0x20, 0x32, 0x04, 0, 0, 0, 0, 0}});
  EXPECT_EQ(meaning.rfind("0x3220 ", 0), 0u) << meaning;
  EXPECT_NE(meaning.find("error register: voltage"), std::string::npos) << meaning;
}

TEST_F(FrameDecoderTest, ReadsPdosByTheirDefaultMapping) {
  EXPECT_EQ(title({0x18A, {0x40, 0x00}}), "TPDO1 node 10");
  EXPECT_EQ(text({0x18A, {0x40, 0x00}}), "\"statusword\" (0x6041:00) = 64 (0x0040): SWITCH_ON_DISABLED");
  EXPECT_EQ(text({0x20A, {0x0F, 0x00, 0x2C, 0x01}}),
            "\"controlword\" (0x6040:00) = 15 (0x000F): enable operation; "
            "\"vl_target_velocity\" (0x6042:00) = 300");
}

TEST_F(FrameDecoderTest, ReadsPdosByTheMappingThatWasWrittenOnTheBus) {
  // TPDO 1 of node 10 gets one entry, vl_velocity_actual_value (0x6044), and identifier 0x345.
  text({0x60A, {0x2F, 0x00, 0x1A, 0x00, 1, 0, 0, 0}});
  text({0x58A, {0x60, 0x00, 0x1A, 0x00, 0, 0, 0, 0}});
  text({0x60A, {0x23, 0x00, 0x1A, 0x01, 0x10, 0x00, 0x44, 0x60}});
  text({0x58A, {0x60, 0x00, 0x1A, 0x01, 0, 0, 0, 0}});
  text({0x60A, {0x23, 0x00, 0x18, 0x01, 0x45, 0x03, 0x00, 0x00}});
  EXPECT_EQ(title({0x18A, {0x40, 0x00}}), "TPDO1 node 10") << "not taken by the drive yet";
  text({0x58A, {0x60, 0x00, 0x18, 0x01, 0, 0, 0, 0}});
  EXPECT_EQ(title({0x345, {0x2C, 0x01}}), "TPDO1 node 10");
  EXPECT_EQ(text({0x345, {0x2C, 0x01}}), "\"vl_velocity_actual_value\" (0x6044:00) = 300");
  EXPECT_EQ(title({0x18A, {0x40, 0x00}}), "?");
}

TEST_F(FrameDecoderTest, SaysWhatPdoParametersMean) {
  EXPECT_EQ(text({0x60A, {0x23, 0x00, 0x1A, 0x01, 0x10, 0x00, 0x41, 0x60}}),
            "write \"TPDO 1 Mapping Parameter Mapping entry 1\" (0x1A00:01) = 1614872592 (0x60410010): "
            "\"statusword\" (0x6041:00), 16 bits");
  const std::string identifier = text({0x58A, {0x43, 0x00, 0x18, 0x01, 0x8A, 0x01, 0x00, 0x80}});
  EXPECT_NE(identifier.find(": identifier 0x18A, not valid"), std::string::npos) << identifier;
}

TEST_F(FrameDecoderTest, ReadsPdosOfOtherNodesByThePredefinedConnectionSet) {
  EXPECT_EQ(title({0x18B, {0x40, 0x00}}), "TPDO1 node 11");
  EXPECT_EQ(text({0x18B, {0x40, 0x00}}), "\"statusword\" (0x6041:00) = 64 (0x0040): SWITCH_ON_DISABLED");
}

TEST_F(FrameDecoderTest, PutsTheBlocksOfADownloadTogether) {
  EXPECT_EQ(text({0x60A, {0xC6, 0x08, 0x10, 0x00, 10, 0, 0, 0}}),
            "block write \"Manufacturer device name\" (0x1008:00), 10 bytes");
  EXPECT_EQ(text({0x58A, {0xA4, 0x08, 0x10, 0x00, 127, 0, 0, 0}}),
            "\"Manufacturer device name\" (0x1008:00) ready for blocks of 127 segments");
  // The first byte of a segment is its number: 0x40 would be a command elsewhere.
  text({0x60A, {0x01, 'T', 'A', 'V', ' ', 'd', 'r', 'i'}});
  text({0x60A, {0x82, 'v', 'e', '1', 0, 0, 0, 0}});
  EXPECT_EQ(text({0x58A, {0xA2, 2, 127, 0, 0, 0, 0, 0}}),
            "block of \"Manufacturer device name\" (0x1008:00): 2 segments taken");
  EXPECT_EQ(text({0x60A, {0xD1, 0, 0, 0, 0, 0, 0, 0}}),
            "write \"Manufacturer device name\" (0x1008:00) = \"TAV drive1\"");
}

TEST_F(FrameDecoderTest, TakesTheSegmentsOfABlockThatAreSentAgainOnce) {
  text({0x60A, {0xA4, 0x08, 0x10, 0x00, 127, 0, 0, 0}});
  text({0x58A, {0xC6, 0x08, 0x10, 0x00, 9, 0, 0, 0}});
  text({0x60A, {0xA3, 0, 0, 0, 0, 0, 0, 0}});
  text({0x58A, {0x01, 'T', 'A', 'V', ' ', 'd', 'r', 'i'}});
  text({0x58A, {0x82, 'v', 'e', 0, 0, 0, 0, 0}});
  text({0x60A, {0xA2, 1, 127, 0, 0, 0, 0, 0}});  // the second was lost: from there again
  text({0x58A, {0x81, 'v', 'e', 0, 0, 0, 0, 0}});
  text({0x60A, {0xA2, 1, 127, 0, 0, 0, 0, 0}});
  EXPECT_EQ(text({0x58A, {0xD5, 0, 0, 0, 0, 0, 0, 0}}),
            "\"Manufacturer device name\" (0x1008:00) is \"TAV drive\"");
}

TEST_F(FrameDecoderTest, NamesTheSignatureInTheVendorBytesOfAParameterError) {
  const std::string meaning = text({0x08A, {0x20, 0x63, 0x01, 0x99, 0x66, 0x03, 0, 0}});
  EXPECT_EQ(meaning.rfind("0x6320 parameter error", 0), 0u) << meaning;
  EXPECT_NE(meaning.find("vendor bytes: 99 66 03 00 00"), std::string::npos) << meaning;
  EXPECT_NE(meaning.find("(0x6699:03) does not agree"), std::string::npos) << meaning;
}

TEST_F(FrameDecoderTest, TakesAnyBytesForAnyIdentifier) {
  std::uint32_t random = 1;
  for (int i = 0; i < 20000; ++i) {
    Frame frame;
    random = random * 1664525U + 1013904223U;
    frame.id = random >> 16 & 0x7FFU;
    frame.size = static_cast<std::uint8_t>(random >> 8 & 7U);
    for (std::size_t k = 0; k < frame.size; ++k) {
      random = random * 1664525U + 1013904223U;
      frame.data[k] = static_cast<std::uint8_t>(random >> 24);
    }
    EXPECT_FALSE(title(frame).empty());
  }
}

}  // namespace
}  // namespace tests::host

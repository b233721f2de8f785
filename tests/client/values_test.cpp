#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "client/ClientFixture.hpp"

namespace tests::client {
namespace {

using Requests = std::vector<std::string>;

class Values : public ClientTest {
 protected:
  void object_6041_is(const std::string& reply) { node.on("40 41 60 00 00 00 00 00", {reply}); }

  template <class T>
  T read(T value = T{}) {
    EXPECT_EQ(client.getValue(kNode, 0x60410010, value), NKR_OK);
    return value;
  }
};

TEST_F(Values, AnExpeditedUploadIsOneRequestAndOneReply) {
  object_6041_is("4B 41 60 00 37 02 00 00");
  EXPECT_EQ(read<std::uint16_t>(), 0x0237);
  EXPECT_EQ(node.requests(), Requests{"40 41 60 00 00 00 00 00"});
}

TEST_F(Values, TheLowByteOfAnAddressIsIgnored) {
  object_6041_is("4B 41 60 00 37 02 00 00");
  std::uint16_t value = 0;
  EXPECT_EQ(client.getValue(kNode, 0x60410000, value), NKR_OK);
  EXPECT_EQ(client.getValue(kNode, 0x604100FF, value), NKR_OK);
  EXPECT_EQ(node.requests(), Requests(2, "40 41 60 00 00 00 00 00"));
}

TEST_F(Values, SignedTypesWiderThanTheObjectExtendTheSign) {
  object_6041_is("4F 41 60 00 80 00 00 00");
  EXPECT_EQ(read<std::int8_t>(), -128);
  EXPECT_EQ(read<std::int16_t>(), -128);
  EXPECT_EQ(read<std::int32_t>(), -128);
  EXPECT_EQ(read<std::int64_t>(), -128);
}

TEST_F(Values, UnsignedTypesWiderThanTheObjectAreFilledWithZeros) {
  object_6041_is("4F 41 60 00 80 00 00 00");
  EXPECT_EQ(read<std::uint8_t>(), 0x80);
  EXPECT_EQ(read<std::uint16_t>(), 0x80);
  EXPECT_EQ(read<std::uint32_t>(), 0x80U);
  EXPECT_EQ(read<std::uint64_t>(), 0x80U);
}

TEST_F(Values, ThreeByteObjectsExtendFromTheirThirdByte) {
  object_6041_is("47 41 60 00 FE FF FF 00");
  EXPECT_EQ(read<std::int32_t>(), -2);
  EXPECT_EQ(read<std::uint32_t>(), 0xFFFFFEU);
}

TEST_F(Values, AnObjectWiderThanTheTypeIsALengthErrorAndLeavesTheValue) {
  object_6041_is("43 41 60 00 01 00 00 00");
  std::uint16_t narrow = 77;
  EXPECT_EQ(client.getValue(kNode, 0x60410000, narrow), NKR_SDO_LENGTH);
  EXPECT_EQ(narrow, 77);
  bool flag = true;
  EXPECT_EQ(client.getValue(kNode, 0x60410000, flag), 0x06070010);
  EXPECT_TRUE(flag);
}

TEST_F(Values, AReplyThatStatesNoSizeGivesTheTypesOwnBytes) {
  object_6041_is("42 41 60 00 FE FF 11 22");
  EXPECT_EQ(read<std::int16_t>(), -2);
  EXPECT_EQ(read<std::uint8_t>(), 0xFE);
  EXPECT_EQ(read<std::uint32_t>(), 0x2211FFFEU);
}

TEST_F(Values, RepliesShorterThanEightBytesAreUnderstood) {
  object_6041_is("4B 41 60 00 37 82");
  EXPECT_EQ(read<std::uint16_t>(), 0x8237);
  EXPECT_EQ(read<std::int32_t>(), -32201);
}

TEST_F(Values, AShortReplyWithoutSizeHasTheBytesThatWereSent) {
  object_6041_is("42 41 60 00 FE FF");
  EXPECT_EQ(read<std::int32_t>(), -2);
}

TEST_F(Values, AReplyThatIsShorterThanItStatesIsNoValue) {
  const std::string bytes[] = {"", " 85", " 85 01", " 85 01 00", " 85 01 00 00"};
  const std::string commands[] = {"", "4F", "4B", "47", "43"};
  for (std::size_t stated = 1; stated <= 4; ++stated) {
    for (std::size_t sent = 0; sent <= 4; ++sent) {
      node.change("40 41 60 00 00 00 00 00", {commands[stated] + " 41 60 00" + bytes[sent]});
      std::uint32_t value = 7;
      const nkr_error_t result = client.getValue(kNode, 0x60410020, value);
      EXPECT_EQ(result, sent < stated ? NKR_SDO_LENGTH_LOW : NKR_OK) << stated << " of " << sent;
      EXPECT_EQ(value == 7U, sent < stated);
      if (sent < stated) {
        EXPECT_EQ(node.requests().back(), "80 41 60 00 13 00 07 06");
      }
    }
  }
}

TEST_F(Values, ABooleanIsTrueForAnyByteButZero) {
  object_6041_is("4F 41 60 00 02 00 00 00");
  EXPECT_TRUE(read<bool>());
  node.on("40 00 20 00 00 00 00 00", {"4F 00 20 00 00 00 00 00"});
  bool flag = true;
  EXPECT_EQ(client.getValue(kNode, 0x20000000, flag), NKR_OK);
  EXPECT_FALSE(flag);
}

TEST_F(Values, AReal32IsReadAsFloatAndAsDouble) {
  object_6041_is("43 41 60 00 00 00 C0 3F");
  EXPECT_EQ(read<float>(), 1.5F);
  EXPECT_EQ(read<double>(), 1.5);
}

TEST_F(Values, AnObjectNarrowerThanAFloatIsALengthError) {
  object_6041_is("4B 41 60 00 00 00 00 00");
  float real = 2.5F;
  EXPECT_EQ(client.getValue(kNode, 0x60410000, real), NKR_SDO_LENGTH);
  EXPECT_EQ(real, 2.5F);
}

TEST_F(Values, EightByteTypesComeInSegments) {
  object_6041_is("41 41 60 00 08 00 00 00");
  node.on("60 00 00 00 00 00 00 00", {"00 01 02 03 04 05 06 07"});
  node.on("70 00 00 00 00 00 00 00", {"1D 88 00 00 00 00 00 00"});
  EXPECT_EQ(read<std::uint64_t>(), 0x8807060504030201U);
  EXPECT_EQ(read<std::int64_t>(), static_cast<std::int64_t>(0x8807060504030201U));
}

TEST_F(Values, ASegmentedObjectWiderThanTheTypeIsAbortedOnTheBus) {
  object_6041_is("41 41 60 00 08 00 00 00");
  node.on("60 00 00 00 00 00 00 00", {"00 01 02 03 04 05 06 07"});
  std::uint32_t value = 5;
  EXPECT_EQ(client.getValue(kNode, 0x60410000, value), NKR_SDO_LENGTH);
  EXPECT_EQ(value, 5U);
  EXPECT_EQ(node.requests().back(), "80 41 60 00 10 00 07 06");
}

TEST_F(Values, AnObjectWithoutBytesIsALengthErrorForANumber) {
  object_6041_is("41 41 60 00 00 00 00 00");
  node.on("60 00 00 00 00 00 00 00", {"0F 00 00 00 00 00 00 00"});
  std::uint8_t value = 5;
  EXPECT_EQ(client.getValue(kNode, 0x60410000, value), NKR_SDO_LENGTH);
  EXPECT_EQ(value, 5);
}

TEST_F(Values, StringsComeExpeditedAndInSegments) {
  object_6041_is("47 41 60 00 54 61 76 00");
  EXPECT_EQ(read<std::string>(), "Tav");
  node.on("40 08 10 00 00 00 00 00", {"41 08 10 00 09 00 00 00"});
  node.on("60 00 00 00 00 00 00 00", {"00 54 61 76 20 64 72 69"});
  node.on("70 00 00 00 00 00 00 00", {"1B 76 65 00 00 00 00 00"});
  std::string name;
  EXPECT_EQ(client.getValue(kNode, 0x10080000, name), NKR_OK);
  EXPECT_EQ(name, "Tav drive");
}

TEST_F(Values, AStringMayBeEmpty) {
  object_6041_is("41 41 60 00 00 00 00 00");
  node.on("60 00 00 00 00 00 00 00", {"0F 00 00 00 00 00 00 00"});
  EXPECT_EQ(read<std::string>("before"), "");
}

TEST_F(Values, AStringWithoutStatedSizeEndsBeforeItsPadding) {
  object_6041_is("42 41 60 00 54 61 00 00");
  EXPECT_EQ(read<std::string>(), "Ta");
}

TEST_F(Values, BytesAreReadAsTheyAre) {
  node.on("A4 41 60 00 7F 3F 00 00", {"43 41 60 00 00 01 00 00"});
  std::vector<std::uint8_t> bytes;
  EXPECT_EQ(client.getBytes(kNode, 0x60410000, bytes), NKR_OK);
  EXPECT_EQ(bytes, (std::vector<std::uint8_t>{0, 1, 0, 0}));
}

TEST_F(Values, TheTypeGivesTheBytesWritten) {
  struct Row {
    std::string request;
    nkr_error_t result;
  };
  node.on("2F 00 20 01 FE 00 00 00", {"60 00 20 01 00 00 00 00"});
  node.on("2B 00 20 01 FE FF 00 00", {"60 00 20 01 00 00 00 00"});
  node.on("23 00 20 01 FE FF FF FF", {"60 00 20 01 00 00 00 00"});
  node.on("23 00 20 01 00 00 C0 3F", {"60 00 20 01 00 00 00 00"});
  node.on("2F 00 20 01 01 00 00 00", {"60 00 20 01 00 00 00 00"});
  constexpr std::uint32_t kAddress = 0x20000120;
  EXPECT_EQ(client.setValue(kNode, kAddress, std::int8_t{-2}), NKR_OK);
  EXPECT_EQ(client.setValue(kNode, kAddress, std::uint8_t{0xFE}), NKR_OK);
  EXPECT_EQ(client.setValue(kNode, kAddress, std::int16_t{-2}), NKR_OK);
  EXPECT_EQ(client.setValue(kNode, kAddress, std::uint16_t{0xFFFE}), NKR_OK);
  EXPECT_EQ(client.setValue(kNode, kAddress, std::int32_t{-2}), NKR_OK);
  EXPECT_EQ(client.setValue(kNode, kAddress, std::uint32_t{0xFFFFFFFE}), NKR_OK);
  EXPECT_EQ(client.setValue(kNode, kAddress, 1.5F), NKR_OK);
  EXPECT_EQ(client.setValue(kNode, kAddress, true), NKR_OK);
  EXPECT_EQ(node.requests().size(), 8U);
}

TEST_F(Values, EightByteTypesAreWrittenInSegments) {
  node.on("21 00 20 01 08 00 00 00", {"60 00 20 01 00 00 00 00"});
  node.on("00 FE FF FF FF FF FF FF", {"20 00 00 00 00 00 00 00"});
  node.on("1D FF 00 00 00 00 00 00", {"30 00 00 00 00 00 00 00"});
  EXPECT_EQ(client.setValue(kNode, 0x20000100, std::int64_t{-2}), NKR_OK);
  EXPECT_EQ(client.setValue(kNode, 0x20000100, std::uint64_t{0xFFFFFFFFFFFFFFFE}), NKR_OK);
  EXPECT_EQ(node.requests().size(), 6U);
}

TEST_F(Values, ADoubleIsWrittenAsReal64) {
  node.on("21 00 20 01 08 00 00 00", {"60 00 20 01 00 00 00 00"});
  node.on("00 00 00 00 00 00 00 F8", {"20 00 00 00 00 00 00 00"});
  node.on("1D 3F 00 00 00 00 00 00", {"30 00 00 00 00 00 00 00"});
  EXPECT_EQ(client.setValue(kNode, 0x20000100, 1.5), NKR_OK);
}

TEST_F(Values, AStringOfUpToFourBytesIsWrittenExpedited) {
  node.on("27 00 20 01 54 61 76 00", {"60 00 20 01 00 00 00 00"});
  EXPECT_EQ(client.setValue(kNode, 0x20000100, std::string("Tav")), NKR_OK);
  EXPECT_EQ(node.requests().size(), 1U);
}

TEST_F(Values, AnEmptyStringIsWrittenAsOneEmptySegment) {
  node.on("21 00 20 01 00 00 00 00", {"60 00 20 01 00 00 00 00"});
  node.on("0F 00 00 00 00 00 00 00", {"20 00 00 00 00 00 00 00"});
  EXPECT_EQ(client.setValue(kNode, 0x20000100, std::string()), NKR_OK);
  EXPECT_EQ(node.requests().size(), 2U);
}

TEST_F(Values, BytesAreWrittenAsTheyAre) {
  node.on("21 00 20 01 0E 00 00 00", {"60 00 20 01 00 00 00 00"});
  node.on("00 01 02 03 04 05 06 07", {"20 00 00 00 00 00 00 00"});
  node.on("11 08 09 0A 0B 0C 0D 0E", {"30 00 00 00 00 00 00 00"});
  EXPECT_EQ(client.setBytes(kNode, 0x20000100, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14}), NKR_OK);
  EXPECT_EQ(node.requests().size(), 3U);
}

}  // namespace
}  // namespace tests::client

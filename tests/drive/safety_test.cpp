// Safety: signatures, commands, safety words.
#include <gtest/gtest.h>

#include <vector>

#include "DriveBench.hpp"

namespace tav::drive::test {
namespace {

/** CRC-16, polynomial 0x1021, from 0, as the long division of the message by the polynomial that it is. */
std::uint16_t remainder_of(const std::vector<std::uint8_t>& message) {
  std::uint32_t rest = 0;
  const auto bring_down = [&rest](std::uint32_t bit) {
    rest = (rest << 1) | bit;
    if ((rest & 0x10000U) != 0) rest ^= 0x11021U;
  };
  for (const std::uint8_t byte : message) {
    for (int bit = 7; bit >= 0; --bit) bring_down((static_cast<std::uint32_t>(byte) >> bit) & 1U);
  }
  for (int bit = 0; bit < 16; ++bit) bring_down(0);
  return static_cast<std::uint16_t>(rest);
}

struct Message {
  std::vector<std::uint8_t> bytes;
  Message& add(std::uint32_t number, unsigned width) {
    for (unsigned i = 0; i < width; ++i, number >>= 8) bytes.push_back(static_cast<std::uint8_t>(number));
    return *this;
  }
};

class SafetyTest : public ::testing::Test {
 protected:
  void command(std::uint32_t word) { EXPECT_EQ(bench.write(0x6040, 0, word, 2), 0U); }
  std::uint32_t state() { return bench.read(0x6041) & 0x6F; }
  void enable() {
    for (const std::uint32_t word : {0x06U, 0x07U, 0x0FU}) command(word);
    ASSERT_EQ(state(), 0x27U);
  }
  /** The mapping of the safety words, as the drive holds it. */
  void add_mapping(Message& message) {
    for (std::uint16_t index = 0x66F0; index <= 0x66FF; ++index) {
      for (std::uint8_t bit = 1; bit <= 8; ++bit) message.add(bench.read(index, bit), 4);
    }
  }

  DriveBench bench;
};

TEST(SafetyChecksum, OfTheTestIsTheStandardOne) {
  EXPECT_EQ(remainder_of({'1', '2', '3', '4', '5', '6', '7', '8', '9'}), 0x31C3);
  EXPECT_EQ(remainder_of({0x78, 0x56, 0x34, 0x12}), 0xD0FA);
  EXPECT_EQ(remainder_of({1}), 0x1021);
}

TEST_F(SafetyTest, AsShippedAllSignaturesAgree) {
  EXPECT_EQ(bench.read(0x1001), 0U);
  enable();
}

TEST_F(SafetyTest, AParameterWithoutItsSignatureTakesTheTorqueAway) {
  enable();
  bench.take();
  EXPECT_EQ(bench.write(0x6641, 0, 1, 1), 0U);
  EXPECT_EQ(bench.take(), Frames{"081#2063014566010000"}) << "0x6320, function 0x6645, instance 1";
  EXPECT_EQ(state() & 0x4F, 0x40U);
  command(0x06);
  EXPECT_EQ(state() & 0x4F, 0x40U) << "it cannot be left";
  EXPECT_EQ(bench.read(0x603F), 0x6320U);
  EXPECT_EQ(bench.read(0x1003, 1), 0x66456320U);
  bench.take();
  EXPECT_EQ(bench.write(0x6645, 1, 0x90C2, 2), 0U);
  EXPECT_EQ(bench.take(), Frames{"081#0000000000000000"});
  EXPECT_EQ(state() & 0x4F, 0x40U) << "nothing starts by itself";
  enable();
}

TEST_F(SafetyTest, TheSTOSignatureCoversTheRestartBehaviourAndNotTheBrake) {
  EXPECT_EQ(bench.write(0x6642, 0, 0x66600100, 4), 0U);
  EXPECT_EQ(bench.read(0x1001), 0U);
}

TEST_F(SafetyTest, TheSBCSignatureCoversTimeUnitDelayAndMapping) {
  EXPECT_EQ(bench.write(0x6661, 2, 0x0155, 2), 0U);
  EXPECT_EQ(bench.take(), Frames{"081#2063016266020000"});
  Message message;
  message.add(bench.read(0x6600), 4).add(0x0155, 2);
  add_mapping(message);
  EXPECT_EQ(bench.write(0x6662, 2, remainder_of(message.bytes), 2), 0U);
  EXPECT_EQ(bench.read(0x1001), 0U);
}

TEST_F(SafetyTest, TheSLSSignatureCoversUnitsParametersAndItsReservedWords) {
  EXPECT_EQ(bench.write(0x6691, 3, 700, 2), 0U);
  EXPECT_EQ(bench.write(0x6693, 3, 123456, 4), 0U);
  EXPECT_EQ(bench.write(0x6694, 3, 80, 2), 0U);
  EXPECT_EQ(bench.write(0x6698, 3, 0, 4), 0U);
  EXPECT_EQ(bench.take(), Frames{"081#2063019966030000"});
  Message message;
  message.add(bench.read(0x6600), 4).add(bench.read(0x6602), 4).add(bench.read(0x6603), 4);
  message.add(700, 2).add(0, 2).add(123456, 4).add(80, 2).add(0, 2).add(0, 2).add(0, 4).add(0, 4);
  add_mapping(message);
  EXPECT_EQ(bench.write(0x6699, 3, remainder_of(message.bytes), 2), 0U);
  EXPECT_EQ(bench.read(0x1001), 0U);
}

TEST_F(SafetyTest, TheSDISignatureCoversUnitsWindowAndItsReservedWords) {
  EXPECT_EQ(bench.write(0x66D3, 2, 77, 4), 0U);
  EXPECT_EQ(bench.take(), Frames{"081#206301D666020000"});
  Message message;
  message.add(bench.read(0x6601), 4).add(bench.read(0x6602), 4).add(0, 2).add(0, 4).add(0, 2).add(77, 4);
  add_mapping(message);
  EXPECT_EQ(bench.write(0x66D6, 2, remainder_of(message.bytes), 2), 0U);
  EXPECT_EQ(bench.read(0x1001), 0U);
}

TEST_F(SafetyTest, AUnitConcernsEveryFunctionThatItCounts) {
  EXPECT_EQ(bench.write(0x6601, 0, 0x12345678, 4), 0U);
  EXPECT_EQ(bench.take(), (Frames{"081#206301D666010000", "081#206301D666020000"}));
  EXPECT_EQ(bench.write(0x6601, 0, 0x00B50000, 4), 0U);
  EXPECT_EQ(bench.take(), Frames{"081#0000000000000000"});
}

TEST_F(SafetyTest, EverySignatureCoversTheMapping) {
  EXPECT_EQ(bench.write(0x66FF, 8, 0x26400000, 4), 0U);
  EXPECT_EQ(bench.take().size(), 14U) << "STO, three SBC, eight SLS, two SDI";
  Message message;
  message.add(0, 1);
  add_mapping(message);
  EXPECT_EQ(bench.write(0x6645, 1, remainder_of(message.bytes), 2), 0U);
  EXPECT_EQ(bench.take(), Frames{}) << "thirteen still differ";
  EXPECT_EQ(bench.write(0x66FF, 8, 0, 4), 0U);
  EXPECT_EQ(bench.write(0x6645, 1, 0, 2), 0U);
  EXPECT_EQ(bench.read(0x1001), 0U);
}

TEST_F(SafetyTest, STODemandedKeepsTheDriveInSwitchOnDisabled) {
  EXPECT_EQ(bench.write(0x6640, 0, 0, 1), 0U);
  EXPECT_EQ(bench.read(0x2640), 1U);
  command(0x06);
  EXPECT_EQ(state() & 0x4F, 0x40U);
  EXPECT_EQ(bench.write(0x6640, 0, 1, 1), 0U);
  EXPECT_EQ(bench.read(0x2640), 0U);
  EXPECT_EQ(state() & 0x4F, 0x40U);
  enable();
  EXPECT_EQ(bench.write(0x6640, 0, 0, 1), 0U);
  EXPECT_EQ(state() & 0x4F, 0x40U) << "and takes the torque away";
}

TEST_F(SafetyTest, STOOfATurningMotorLetsItCoast) {
  enable();
  command(0x7F);
  bench.write(0x6042, 0, 1000, 2);
  bench.step(milliseconds(1000));
  bench.write(0x6640, 0, 0, 1);
  EXPECT_EQ(bench.read_signed(0x606C), 1000);
  bench.step(milliseconds(60000));
  EXPECT_EQ(bench.read_signed(0x606C), 0);
}

TEST_F(SafetyTest, WithRestartAcknowledgeSTOEndsWithARisingEdgeOnly) {
  bench.write(0x6641, 0, 1, 1);
  bench.write(0x6645, 1, 0x90C2, 2);
  bench.write(0x6640, 0, 0, 1);
  bench.write(0x6640, 0, 1, 1);
  EXPECT_EQ(bench.read(0x2640), 1U);
  EXPECT_EQ(bench.read(0x2631), 1U) << "it waits for the acknowledge";
  command(0x06);
  EXPECT_EQ(state() & 0x4F, 0x40U);
  bench.write(0x2630, 0, 1, 1);
  EXPECT_EQ(bench.read(0x2640), 1U) << "no edge";
  bench.write(0x2630, 0, 0, 1);
  EXPECT_EQ(bench.read(0x2640), 1U);
  bench.write(0x2630, 0, 1, 1);
  EXPECT_EQ(bench.read(0x2640), 0U);
  enable();
}

TEST_F(SafetyTest, AnAcknowledgeBeforeTheDemandEndsCountsForNothing) {
  bench.write(0x6641, 0, 1, 1);
  bench.write(0x6645, 1, 0x90C2, 2);
  bench.write(0x6640, 0, 0, 1);
  bench.write(0x2630, 0, 0, 1);
  bench.write(0x2630, 0, 1, 1);
  bench.write(0x6640, 0, 1, 1);
  EXPECT_EQ(bench.read(0x2640), 1U);
}

TEST_F(SafetyTest, AMappedBitOfAControlWordDemandsItsFunction) {
  EXPECT_EQ(bench.write(0x66F1, 3, 0x66400000, 4), 0U);
  EXPECT_EQ(bench.write(0x6620, 2, 0xFB, 1), 0U);
  EXPECT_EQ(bench.read(0x6640), 0U);
  EXPECT_EQ(bench.write(0x6620, 2, 0xFF, 1), 0U);
  EXPECT_EQ(bench.read(0x6640), 1U);
}

TEST_F(SafetyTest, AFunctionMappedTwiceIsDemandedByEither) {
  bench.write(0x66F0, 2, 0x66900400, 4);
  bench.write(0x66F7, 8, 0x66900400, 4);
  bench.write(0x6620, 1, 0xFD, 1);
  EXPECT_EQ(bench.read(0x6690, 4), 0U);
  EXPECT_EQ(bench.read(0x2690, 4), 1U);
  bench.write(0x6620, 8, 0x7F, 1);
  bench.write(0x6620, 1, 0xFF, 1);
  EXPECT_EQ(bench.read(0x6690, 4), 0U);
  bench.write(0x6620, 8, 0xFF, 1);
  EXPECT_EQ(bench.read(0x6690, 4), 1U);
}

TEST_F(SafetyTest, TheSafeInputWordDemandsByItsOwnMapping) {
  EXPECT_EQ(bench.write(0x2622, 6, 0x66600200, 4), 0U);
  EXPECT_EQ(bench.read(0x1001), 0U) << "no signature covers the mapping of the safe input";
  EXPECT_EQ(bench.write(0x2620, 1, 0xDF, 1), 0U);
  EXPECT_EQ(bench.read(0x6660, 2), 0U);
  EXPECT_EQ(bench.read(0x2660, 2), 1U);
}

TEST_F(SafetyTest, TheSafeInputWordIsOneWordWithTwoNames) {
  EXPECT_EQ(bench.read(0x2620, 2), 0xFFU);
  EXPECT_EQ(bench.write(0x2620, 1, 0x15, 1), 0U);
  EXPECT_EQ(bench.read(0x2620, 2), 0x15U);
  EXPECT_EQ(bench.read(0x2620, 1), 0x15U);
}

TEST_F(SafetyTest, StatusWordsShowTheFunctionsMappedToThem) {
  bench.write(0x66F8, 2, 0x26400000, 4);
  bench.write(0x66FF, 1, 0x26D10200, 4);
  bench.write(0x2623, 4, 0x26D10200, 4);
  bench.write(0x66D1, 2, 0, 1);
  EXPECT_EQ(bench.read(0x6621, 1), 0x02U) << "a mapping without its signatures is an STO too";
  EXPECT_EQ(bench.read(0x6621, 8), 0x01U);
  EXPECT_EQ(bench.read(0x2621, 1), 0x08U);
}

TEST_F(SafetyTest, ABitIsMappedToNothingButAFunction) {
  EXPECT_EQ(bench.write(0x66F0, 2, 0x26400000, 4), 0x06090030U) << "a status is no command";
  EXPECT_EQ(bench.write(0x66F8, 2, 0x66400000, 4), 0x06090030U);
  EXPECT_EQ(bench.write(0x66F0, 2, 0x66900900, 4), 0x06090030U);
  EXPECT_EQ(bench.write(0x66F0, 2, 0, 4), 0U);
}

TEST_F(SafetyTest, STOAppliesTheBrakeThatItNames) {
  bench.write(0x6642, 0, 0x66600300, 4);
  EXPECT_EQ(bench.read(0x2660, 3), 0U);
  bench.write(0x6640, 0, 0, 1);
  EXPECT_EQ(bench.read(0x2660, 3), 1U);
  EXPECT_EQ(bench.read(0x2660, 2), 0U);
}

TEST_F(SafetyTest, ResetNodeReturnsToTheConfigurationThatWasStored) {
  bench.write(0x6641, 0, 1, 1);
  EXPECT_EQ(bench.read(0x1001), 1U);
  bench.send("000#8101");
  EXPECT_EQ(bench.read(0x1001), 0U);
  enable();
}

constexpr const char* kSRDODescription = R"([MandatoryObjects]
SupportedObjects=1
1=0x1000
[OptionalObjects]
SupportedObjects=6
1=0x1301
2=0x1381
3=0x13FE
4=0x13FF
5=0x6210
6=0x6211
[ManufacturerObjects]
SupportedObjects=0
[1000]
ParameterName=Device type
DataType=0x0007
AccessType=ro
[1301]
ParameterName=SRDO 1
ObjectType=9
SubNumber=7
[1301sub0]
ParameterName=Highest
DataType=0x0005
AccessType=ro
DefaultValue=6
[1301sub1]
ParameterName=Direction
DataType=0x0005
AccessType=rw
[1301sub2]
ParameterName=SCT
DataType=0x0006
AccessType=rw
[1301sub3]
ParameterName=SRVT
DataType=0x0005
AccessType=rw
[1301sub4]
ParameterName=Type
DataType=0x0005
AccessType=rw
DefaultValue=254
[1301sub5]
ParameterName=COB-ID 1
DataType=0x0007
AccessType=rw
[1301sub6]
ParameterName=COB-ID 2
DataType=0x0007
AccessType=rw
[1381]
ParameterName=SRDO 1 mapping
ObjectType=9
SubNumber=5
[1381sub0]
ParameterName=Count
DataType=0x0005
AccessType=rw
[1381sub1]
ParameterName=Entry 1
DataType=0x0007
AccessType=rw
[1381sub2]
ParameterName=Entry 2
DataType=0x0007
AccessType=rw
[1381sub3]
ParameterName=Entry 3
DataType=0x0007
AccessType=rw
[1381sub4]
ParameterName=Entry 4
DataType=0x0007
AccessType=rw
[13FE]
ParameterName=Configuration valid
DataType=0x0005
AccessType=rw
[13FF]
ParameterName=Signatures
ObjectType=8
SubNumber=2
[13FFsub0]
ParameterName=Highest
DataType=0x0005
AccessType=ro
DefaultValue=1
[13FFsub1]
ParameterName=Signature 1
DataType=0x0006
AccessType=rw
[6210]
ParameterName=Word
ObjectType=8
SubNumber=3
[6210sub0]
ParameterName=Highest
DataType=0x0005
AccessType=ro
DefaultValue=2
[6210sub1]
ParameterName=Byte
DataType=0x0005
AccessType=rw
PDOMapping=1
[6210sub2]
ParameterName=Private byte
DataType=0x0005
AccessType=rw
[6211]
ParameterName=Inverted word
ObjectType=8
SubNumber=3
[6211sub0]
ParameterName=Highest
DataType=0x0005
AccessType=ro
DefaultValue=2
[6211sub1]
ParameterName=Byte
DataType=0x0005
AccessType=rw
PDOMapping=1
[6211sub2]
ParameterName=Two bytes
DataType=0x0006
AccessType=rw
PDOMapping=1
)";

class SRDOTest : public ::testing::Test {
 protected:
  void map(std::uint32_t plain, std::uint32_t inverted) {
    EXPECT_EQ(bench.write(0x1381, 0, 0, 1), 0U);
    EXPECT_EQ(bench.write(0x1381, 1, plain, 4), 0U);
    EXPECT_EQ(bench.write(0x1381, 2, inverted, 4), 0U);
  }
  void configure() {
    map(0x62100108, 0x62110108);
    EXPECT_EQ(bench.write(0x1381, 0, 2, 1), 0U);
    EXPECT_EQ(bench.write(0x1301, 1, 2, 1), 0U);
    EXPECT_EQ(bench.write(0x1301, 2, 25, 2), 0U);
    EXPECT_EQ(bench.write(0x1301, 3, 20, 1), 0U);
    EXPECT_EQ(bench.write(0x1301, 5, 0x101, 4), 0U);
    EXPECT_EQ(bench.write(0x1301, 6, 0x102, 4), 0U);
  }

  DriveBench bench{kSRDODescription, as_node(1)};
};

TEST_F(SRDOTest, AValidDeclarationNeedsTheSignature) {
  configure();
  EXPECT_EQ(bench.write(0x13FE, 0, 0xA5, 1), 0x06040043U);
  EXPECT_EQ(bench.read(0x13FE), 0U);
  EXPECT_EQ(bench.write(0x13FF, 1, 0x290D, 2), 0U);
  EXPECT_EQ(bench.write(0x13FE, 0, 0xA5, 1), 0U);
  EXPECT_EQ(bench.read(0x13FE), 0xA5U);
  EXPECT_EQ(bench.write(0x13FE, 0, 0xA4, 1), 0x06090030U);
}

TEST_F(SRDOTest, AnyChangeOfTheConfigurationEndsItsValidity) {
  configure();
  bench.write(0x13FF, 1, 0x290D, 2);
  const auto ends_validity = [&](std::uint16_t index, std::uint8_t subindex, std::uint32_t value,
                                 unsigned bytes) {
    EXPECT_EQ(bench.write(0x13FE, 0, 0xA5, 1), 0U);
    EXPECT_EQ(bench.write(index, subindex, value, bytes), 0U);
    EXPECT_EQ(bench.read(0x13FE), 0U) << std::hex << index << ' ' << int{subindex};
  };
  ends_validity(0x1301, 2, 25, 2);
  ends_validity(0x1301, 3, 20, 1);
  ends_validity(0x1301, 4, 254, 1);
  ends_validity(0x1301, 5, 0x101, 4);
  ends_validity(0x1301, 6, 0x102, 4);
  ends_validity(0x13FF, 1, 0x290D, 2);
  ends_validity(0x1301, 1, 0, 1);
  ends_validity(0x1381, 0, 0, 1);
}

TEST_F(SRDOTest, NothingIsChangedWhileOperational) {
  bench.send("000#0101");
  EXPECT_EQ(bench.write(0x1301, 2, 25, 2), 0x08000022U);
  EXPECT_EQ(bench.write(0x1381, 0, 0, 1), 0x08000022U);
  EXPECT_EQ(bench.write(0x13FF, 1, 1, 2), 0x08000022U);
  EXPECT_EQ(bench.write(0x13FE, 0, 0xA5, 1), 0x08000022U);
  bench.send("000#8001");
  EXPECT_EQ(bench.write(0x1301, 2, 25, 2), 0U);
}

TEST_F(SRDOTest, TheMappingIsFixedWhileTheObjectIsInUse) {
  EXPECT_EQ(bench.write(0x1301, 1, 1, 1), 0U);
  EXPECT_EQ(bench.write(0x1381, 1, 0x62100108, 4), 0x06010000U);
  EXPECT_EQ(bench.write(0x1381, 0, 0, 1), 0x06010000U);
  EXPECT_EQ(bench.write(0x1301, 5, 0x105, 4), 0U) << "its parameters are not";
}

TEST_F(SRDOTest, TheMappingAlternatesPlainAndInverted) {
  map(0x62100108, 0x62110108);
  EXPECT_EQ(bench.write(0x1381, 0, 1, 1), 0x06090030U) << "odd";
  map(0x62100108, 0x62110210);
  EXPECT_EQ(bench.write(0x1381, 0, 2, 1), 0x06040043U) << "lengths differ";
  map(0x62100208, 0x62110108);
  EXPECT_EQ(bench.write(0x1381, 0, 2, 1), 0x06040041U) << "not for mapping";
  map(0x62100308, 0x62110108);
  EXPECT_EQ(bench.write(0x1381, 0, 2, 1), 0x06040041U) << "not there";
}

TEST_F(SRDOTest, AnObjectThatIsNotInUseNeedsNoSignature) {
  EXPECT_EQ(bench.write(0x13FE, 0, 0xA5, 1), 0U);
}

}  // namespace
}  // namespace tav::drive::test

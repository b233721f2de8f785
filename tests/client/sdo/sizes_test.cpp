// What a server states about sizes, against what it sends.
#include <cstdint>
#include <string>
#include <vector>

#include "client/ClientFixture.hpp"

namespace tests::client {
namespace {

const std::string kRead = "40 41 60 00 00 00 00 00";
const std::string kFirst = "60 00 00 00 00 00 00 00";
const std::string kSecond = "70 00 00 00 00 00 00 00";
const std::string kTooLong = "80 41 60 00 12 00 07 06";
const std::string kTooShort = "80 41 60 00 13 00 07 06";

class Sizes : public ClientTest {
 protected:
  nkr_error_t read() { return client.getValue(kNode, 0x60410000, text); }
  std::string text = "before";
};

TEST_F(Sizes, AnUploadThatBringsMoreThanStatedIsAborted) {
  node.on(kRead, {"41 41 60 00 08 00 00 00"});
  node.on(kFirst, {"00 54 61 76 20 64 72 69"});
  node.on(kSecond, {"1B 76 65 00 00 00 00 00"});
  EXPECT_EQ(read(), NKR_SDO_LENGTH_HIGH);
  EXPECT_EQ(text, "before");
  EXPECT_EQ(node.requests().back(), kTooLong);
}

TEST_F(Sizes, AnUploadThatGoesOnForeverEndsWithItsStatedSize) {
  node.on(kRead, {"41 41 60 00 14 00 00 00"});
  node.on(kFirst, {"00 54 61 76 20 64 72 69"});
  node.on(kSecond, {"10 54 61 76 20 64 72 69"});
  EXPECT_EQ(read(), NKR_SDO_LENGTH_HIGH);
  EXPECT_EQ(node.requests(), (std::vector<std::string>{kRead, kFirst, kSecond, kFirst, kTooLong}));
}

TEST_F(Sizes, AnUploadThatEndsBeforeItsStatedSizeIsAborted) {
  node.on(kRead, {"41 41 60 00 C8 00 00 00"});
  node.on(kFirst, {"00 54 61 76 20 64 72 69"});
  node.on(kSecond, {"1B 76 65 00 00 00 00 00"});
  EXPECT_EQ(read(), NKR_SDO_LENGTH_LOW);
  EXPECT_EQ(text, "before");
  EXPECT_EQ(node.requests().back(), kTooShort);
}

TEST_F(Sizes, OfANodeThatIsKnownToStateWrongOnesAreNotLookedAt) {
  EXPECT_EQ(client.setStatedSizesIgnored(0, true), NKR_CAN_INVALID_NODE);
  ASSERT_EQ(client.setStatedSizesIgnored(kNode, true), NKR_OK);
  for (const char* const size : {"08", "C8", "00"}) {
    node.change(kRead, {"41 41 60 00 " + std::string(size) + " 00 00 00"});
    node.change(kFirst, {"00 54 61 76 20 64 72 69"});
    node.change(kSecond, {"1B 76 65 00 00 00 00 00"});
    EXPECT_EQ(read(), NKR_OK) << size;
    EXPECT_EQ(text, "Tav drive") << size;
  }
  ASSERT_EQ(client.setStatedSizesIgnored(kNode, false), NKR_OK);
  EXPECT_EQ(read(), NKR_SDO_LENGTH_HIGH);
}

TEST_F(Sizes, AnEmptyObjectIsStatedAsSuch) {
  node.change(kRead, {"41 41 60 00 00 00 00 00"});
  node.change(kFirst, {"0F 00 00 00 00 00 00 00"});
  EXPECT_EQ(read(), NKR_OK);
  EXPECT_EQ(text, "");
}

TEST_F(Sizes, ASizeThatWasNotSentWholeIsNone) {
  for (const char* const reply :
       {"41 41 60 00", "41 41 60 00 09", "41 41 60 00 09 00", "41 41 60 00 09 00 00"}) {
    node.change(kRead, {reply});
    EXPECT_EQ(read(), NKR_SDO_LENGTH_LOW) << reply;
    EXPECT_EQ(node.requests().back(), kTooShort) << reply;
  }
}

TEST_F(Sizes, ASegmentThatIsShorterThanItStatesIsNoData) {
  node.change(kRead, {"41 41 60 00 07 00 00 00"});
  for (const char* const segment : {"01", "01 54", "01 54 61 76 20 64 72"}) {
    node.change(kFirst, {segment});
    EXPECT_EQ(read(), NKR_SDO_LENGTH_LOW) << segment;
    EXPECT_EQ(text, "before") << segment;
  }
}

TEST_F(Sizes, ASegmentMayBeAsShortAsItsData) {
  node.change(kRead, {"41 41 60 00 02 00 00 00"});
  node.change(kFirst, {"0B 76 65"});
  EXPECT_EQ(read(), NKR_OK);
  EXPECT_EQ(text, "ve");
}

}  // namespace
}  // namespace tests::client

#include <cstdint>
#include <string>
#include <vector>

#include "client/ClientFixture.hpp"

namespace tests::client {
namespace {

using nkr::canopenservice::TavIn;
using nkr::canopenservice::TavOut;
using Requests = std::vector<std::string>;

class Sync : public ClientTest {
 protected:
  Sync() {
    node.on("40 41 60 00 00 00 00 00", {"4B 41 60 00 37 02 00 00"});
    node.on("40 64 60 00 00 00 00 00", {"43 64 60 00 FE FF FF FF"});
    node.on("40 44 60 00 00 00 00 00", {"4B 44 60 00 9C FF 00 00"});
  }
  nkr_error_t sync(std::int32_t order, bool flag) {
    return client.sync(TavIn{kNode, 0x60410010, 0x60640020, 0x60440010, order, flag}, out);
  }
  TavOut out{9, 9, 9};
};

TEST_F(Sync, BringsStatusWordPositionAndVelocity) {
  EXPECT_EQ(sync(5, false), NKR_OK);
  EXPECT_EQ(out.statusWord, 0x0237);
  EXPECT_EQ(out.position, -2);
  EXPECT_EQ(out.velocity, -100);
  EXPECT_EQ(node.requests().size(), 3U) << "without the flag no order goes out";
}

TEST_F(Sync, SendsTheOrderAsTargetVelocityWhenTheFlagIsSet) {
  node.on("2B 42 60 00 00 80 00 00", {"60 42 60 00 00 00 00 00"});
  EXPECT_EQ(sync(-32768, true), NKR_OK);
  EXPECT_EQ(node.requests().front(), "2B 42 60 00 00 80 00 00");
  node.on("2B 42 60 00 FF 7F 00 00", {"60 42 60 00 00 00 00 00"});
  EXPECT_EQ(sync(32767, true), NKR_OK);
}

TEST_F(Sync, AnOrderOutside16BitsIsRefusedAndNothingIsSent) {
  EXPECT_EQ(sync(32768, true), 0x06090030);
  EXPECT_EQ(sync(-32769, true), 0x06090030);
  EXPECT_EQ(node.requests(), Requests{});
  EXPECT_EQ(sync(32768, false), NKR_OK) << "an order that is not sent is not looked at";
}

TEST_F(Sync, AFailureLeavesTheOutputsAndIsReturned) {
  node.on("2B 42 60 00 01 00 00 00", {"80 42 60 00 22 00 00 08"});
  EXPECT_EQ(sync(1, true), NKR_SDO_DEVICE_STATE);
  EXPECT_EQ(out.statusWord, 9);
  EXPECT_EQ(node.requests().size(), 1U);
}

}  // namespace
}  // namespace tests::client

// Whether a node is there.
#include <gtest/gtest.h>

#include <nkr/canopen/Client.hpp>
#include <tav/host/Presence.hpp>
#include <thread>

#include "support/ScriptedNode.hpp"

namespace tests::host {
namespace {

using tav::host::look_for_node;
using tav::host::Presence;

constexpr std::uint8_t kNode = 10;
constexpr const char* kRead = "40 00 10 00 00 00 00 00";
constexpr const char* kDrive = "43 00 10 00 92 01 02 00";

struct PresenceTest : ::testing::Test {
  PresenceTest() { client.setTimeout(std::chrono::milliseconds(100)); }

  std::shared_ptr<nkr::can::InProcessBus> bus = std::make_shared<nkr::can::InProcessBus>();
  nkr::canopen::Client client{bus};
  tests::ScriptedNode node{*bus, kNode};
};

TEST_F(PresenceTest, OfANodeThatAnswers) {
  node.on(kRead, {kDrive});
  const Presence presence = look_for_node(*bus, client, kNode);
  EXPECT_TRUE(presence.is_there);
  EXPECT_TRUE(presence.serves_sdo);
  EXPECT_FALSE(presence.answered_twice);
  EXPECT_EQ(node.requests().size(), 1U);
}

TEST_F(PresenceTest, OfTwoNodesWithOneId) {
  node.on(kRead, {kDrive, kDrive});
  EXPECT_TRUE(look_for_node(*bus, client, kNode).answered_twice);
}

TEST_F(PresenceTest, OfTwoNodesThatBeatUnderOneId) {
  node.on(kRead, {kDrive});
  for (int i = 0; i < 20; ++i) node.send(0x70A, i % 2 == 0 ? "05" : "7F");
  for (int i = 0; i < 4000 && !client.hearsTwoNodes(kNode); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  const Presence presence = look_for_node(*bus, client, kNode);
  EXPECT_TRUE(presence.beats_twice);
  EXPECT_FALSE(presence.answered_twice);
}

TEST_F(PresenceTest, OneAnswerTooManyIsSomebodyElsesRequest) {
  node.on(kRead, {kDrive, kDrive});
  node.on(kRead, {kDrive});
  EXPECT_FALSE(look_for_node(*bus, client, kNode).answered_twice);
}

TEST_F(PresenceTest, OfANodeThatRefuses) {
  node.on(kRead, {"80 00 10 00 00 00 02 06"});
  const Presence presence = look_for_node(*bus, client, kNode);
  EXPECT_TRUE(presence.is_there);
  EXPECT_EQ(presence.asked, NKR_SDO_NO_OBJECT);
}

TEST_F(PresenceTest, OfNobody) {
  const Presence presence = look_for_node(*bus, client, kNode);
  EXPECT_FALSE(presence.is_there);
  EXPECT_EQ(presence.asked, NKR_SDO_TIMED_OUT);
}

TEST_F(PresenceTest, OfANodeThatIsHeardToBeStoppedIsNotAskedFor) {
  node.send(0x70A, "04");
  nkr::canopencore::NMTState state = nkr::canopencore::NMTState::UNKNOWN;
  for (int i = 0; i < 4000 && state != nkr::canopencore::NMTState::STOPPED; ++i) {
    ASSERT_EQ(client.getNMTState(kNode, state), NKR_OK);
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  const Presence presence = look_for_node(*bus, client, kNode);
  EXPECT_TRUE(presence.is_there);
  EXPECT_TRUE(presence.is_stopped);
  EXPECT_TRUE(node.requests().empty());
}

}  // namespace
}  // namespace tests::host

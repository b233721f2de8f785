// Which node id a host takes for its heartbeat, and what follows when somebody else has it.
#include <gtest/gtest.h>

#include <algorithm>
#include <mutex>
#include <nkr/canopen/Client.hpp>
#include <tav/host/HostNode.hpp>
#include <tav/host/Unit.hpp>
#include <tav/host/text.hpp>
#include <thread>

#include "host/DriveBeside.hpp"

namespace tests::host {
namespace {

using tav::host::Cause;
using tav::host::HostNode;
using tav::host::Result;
using tav::host::Unit;

class HostNodeTest : public ::testing::Test {
 protected:
  /** A heartbeat of that node, heard by the client. */
  void beat(nkr::canopen::Client& client, std::uint8_t node) {
    beside.send(0x700U + node, {0x05});
    ASSERT_TRUE(becomes([&] {
      std::uint32_t age = 0;
      return client.getTimeSinceHeard(node, age) == NKR_OK;
    }));
  }

  DriveBeside beside;
};

TEST_F(HostNodeTest, IsTheHighestIdThatIsSilent) {
  Result result;
  const auto unit = Unit::open(beside.settings(), result);
  ASSERT_TRUE(result.ok());
  beat(unit->client(), 127);
  beat(unit->client(), 126);
  ASSERT_TRUE(unit->enable().ok());
  EXPECT_EQ(unit->host_node()->id(), 125);
  EXPECT_EQ(beside.consumer_heartbeat(), 0x007D01F4U) << "the drive watches that id, for 500 ms";
}

TEST_F(HostNodeTest, IsNotTheDrivesOwnId) {
  auto client = std::make_shared<nkr::canopen::Client>(beside.settings().parts.bus);
  HostNode host(client);
  int user = 0;
  ASSERT_TRUE(host.begin(127, nullptr, {}, user).ok());
  EXPECT_EQ(host.id(), 126);
}

TEST_F(HostNodeTest, ThatWasAskedForAndIsHeardIsRefusedAndFreeOnesAreNamed) {
  tav::host::UnitSettings settings = beside.settings();
  settings.host_node_id = 126;
  Result result;
  const auto unit = Unit::open(settings, result);
  ASSERT_TRUE(result.ok());
  beat(unit->client(), 126);
  const Result enabled = unit->enable();
  EXPECT_EQ(enabled.cause(), Cause::HOST_NODE_TAKEN);
  EXPECT_EQ(enabled.explanation().free_nodes, (std::vector<std::uint8_t>{127, 125, 124}));
  EXPECT_NE(text(enabled).find("127, 125, 124"), std::string::npos) << text(enabled);
  EXPECT_NE(beside.state_bits(), 0x27U);
}

TEST_F(HostNodeTest, ThatSomebodyElseBeatsUnderWhileTheDriveTurnsStopsTheDrive) {
  tav::host::UnitSettings settings = beside.settings();
  std::mutex mutex;
  std::vector<Cause> warned;
  settings.on_warning = [&](const tav::host::Explanation& warning) {
    const std::lock_guard<std::mutex> lock(mutex);
    warned.push_back(warning.cause);
  };
  Result result;
  const auto unit = Unit::open(settings, result);
  ASSERT_TRUE(unit->enable().ok());
  ASSERT_TRUE(unit->set_velocity(300).ok());
  ASSERT_TRUE(becomes([&] { return beside.velocity() > 100; }));
  beside.send(0x77F, {0x05});
  EXPECT_TRUE(becomes([&] { return beside.velocity() == 0; })) << "without a look of the program";
  const Result followed = unit->follow(std::chrono::seconds(20));
  EXPECT_EQ(followed.cause(), Cause::PROTECTION_LOST) << text(followed);
  EXPECT_FALSE(unit->set_velocity(300).ok());
  EXPECT_FALSE(unit->is_protected());
  const std::lock_guard<std::mutex> lock(mutex);
  EXPECT_EQ(warned, (std::vector<Cause>{Cause::PROTECTION_LOST}));
}

TEST_F(HostNodeTest, IsSharedByTheUnitsOnOneClient) {
  Result result;
  const auto first = Unit::open(beside.settings(), result);
  ASSERT_TRUE(first->enable().ok());
  tav::host::UnitSettings settings = beside.settings();
  settings.parts.client = first->shared_client();
  settings.parts.host_node = first->host_node();
  auto second = Unit::open(settings, result);
  ASSERT_TRUE(second->enable().ok());
  EXPECT_EQ(second->host_node()->id(), first->host_node()->id());
  ASSERT_TRUE(second->leave().ok());
  second.reset();
  nkr_error_t opened = NKR_OK;
  const auto tap = beside.bus().open({{0x700U + first->host_node()->id(), 0x7FF}}, opened);
  nkr::can::Frame frame;
  EXPECT_EQ(tap->receive(frame, nkr::can::Clock::now() + std::chrono::seconds(20)), NKR_OK)
      << "the first unit's heartbeat goes on";
}

TEST_F(HostNodeTest, LeavesAConfiguredEntryOfTheDriveAsItWas) {
  constexpr std::uint32_t kConfigured = 0x007F0190;
  ASSERT_EQ(beside.somebody().setValue(kNode, 0x10160100, kConfigured), NKR_OK);
  Result result;
  auto unit = Unit::open(beside.settings(), result);
  ASSERT_TRUE(unit->enable().ok());
  EXPECT_EQ(beside.consumer_heartbeat(), 0x007F01F4U);
  ASSERT_TRUE(unit->disable().ok());
  EXPECT_EQ(beside.consumer_heartbeat(), kConfigured);
  unit.reset();
  std::this_thread::sleep_for(std::chrono::milliseconds(700));
  EXPECT_NE(beside.state_bits(), 0x08U) << "nobody beats any more, and nobody is missed";
}

}  // namespace
}  // namespace tests::host

// Who is on the bus.
#include <gtest/gtest.h>

#include <nkr/can/InProcessBus.hpp>
#include <nkr/canopen/Client.hpp>
#include <tav/host/node_scan.hpp>

#include "host/DriveBeside.hpp"

namespace tests::host {
namespace {

using tav::host::FoundNode;
using tav::host::ScanRange;

TEST(ScanTest, FindsADriveWithItsIdentityAndState) {
  DriveBeside beside;
  std::vector<FoundNode> found;
  const ScanRange range{8, 12, std::chrono::milliseconds(0), std::chrono::milliseconds(200)};
  ASSERT_EQ(scan_nodes(beside.somebody(), range, found), NKR_OK);
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0].node, kNode);
  EXPECT_TRUE(found[0].answers);
  EXPECT_EQ(found[0].vendor_id, 2599U);
  EXPECT_EQ(found[0].status_word.value_or(0) & 0x4F, 0x40) << "SWITCH_ON_DISABLED";
}

TEST(ScanTest, SaysThatTheBusItselfFailed) {
  const auto bus = std::make_shared<nkr::can::InProcessBus>();
  nkr::canopen::Client client(bus);
  bus->set_state(nkr::can::BusState::BUS_OFF);
  std::vector<FoundNode> found;
  const ScanRange range{1, 127, std::chrono::milliseconds(0), std::chrono::milliseconds(100)};
  EXPECT_EQ(scan_nodes(client, range, found), NKR_CAN_BUS_OFF);
  EXPECT_TRUE(found.empty());
}

}  // namespace
}  // namespace tests::host

// A reset of the drive, and where it is found afterwards.
#include <gtest/gtest.h>

#include <nkr/canopen/Client.hpp>
#include <tav/host/Unit.hpp>
#include <tav/host/text.hpp>
#include <tavcore/CANOpenDispatcher.hpp>

#include "host/DriveBeside.hpp"

namespace tests::host {
namespace {

using tav::host::Result;
using tav::host::Unit;

class ResettingTest : public ::testing::Test {
 protected:
  ResettingTest() {
    Result result;
    unit = Unit::open(beside.settings(), result);
    EXPECT_TRUE(result.ok());
  }

  DriveBeside beside;
  std::unique_ptr<Unit> unit;
};

TEST_F(ResettingTest, EndsWithTheBootUpOfTheDrive) {
  ASSERT_EQ(beside.somebody().setValue(kNode, 0x10170000, std::uint16_t{250}), NKR_OK);
  const Result reset = unit->reset();
  EXPECT_TRUE(reset.ok()) << text(reset);
  std::uint16_t period = 0;
  EXPECT_EQ(beside.somebody().getValue(kNode, 0x10170000, period), NKR_OK);
  EXPECT_EQ(period, 100) << "what was not stored is gone";
}

TEST_F(ResettingTest, FollowsTheDriveToItsNewNodeId) {
  nkr::tavcore::CANOpenDispatcher::NetworkParameters network{};
  ASSERT_EQ(unit->dispatcher()->getNetworkParameters(network), NKR_OK);
  network.node_id = 12;
  ASSERT_EQ(unit->dispatcher()->setNetworkParameters(network), NKR_OK);
  ASSERT_EQ(unit->dispatcher()->_setNodeId(kNode), NKR_OK);
  ASSERT_EQ(unit->dispatcher()->storeParameters(nkr::tavcore::ICommunicationService::BlocId::ALL), NKR_OK);
  const Result reset = unit->reset(12);
  EXPECT_TRUE(reset.ok()) << text(reset);
  EXPECT_EQ(unit->node_id(), 12);
  tav::host::Snapshot state;
  EXPECT_TRUE(unit->read_state(state).ok());
}

}  // namespace
}  // namespace tests::host

// What a user's unit test looks like: the code under test, a scripted client, and no bus.
#include <gtest/gtest.h>

#include <memory>
#include <tavcore/CANOpenDispatcher.hpp>
#include <tavcore/testing/AccessMatcher.hpp>
#include <tavcore/testing/FakeDispatcher.hpp>
#include <tavcore/testing/RecordingClient.hpp>

namespace tavtest::doubles {
namespace {

using nkr::tavcore::CANOpenDispatcher;
using nkr::tavcore::Config;

/** A user's function. */
nkr_error_t drive_slowly(nkr::tavcore::ICANOpenDispatcher& drive) {
  bool unlocked = false;
  nkr_error_t result = drive.setUnlockRamp(true);
  unlocked = result == NKR_OK;
  if (unlocked) result = drive.setTargetVelocity(30);
  return result;
}

TEST(UnitTestOfAUser, SeesWhatReachesTheDrive) {
  const auto config = std::make_shared<Config>();
  const auto client = std::make_shared<tav::doubles::RecordingClient>();
  CANOpenDispatcher dispatcher(config, client);
  ASSERT_EQ(config->load("share/tav/tav.ini"), NKR_OK);
  ASSERT_EQ(dispatcher.init(), NKR_OK);
  EXPECT_EQ(drive_slowly(dispatcher), NKR_OK);
  using tav::doubles::written;
  EXPECT_EQ(missing_in(client->accesses,
                       {written(0x60400000), written(0x60420000).with(std::int16_t{30}).at_node(10)}),
            "");
}

TEST(UnitTestOfAUser, SeesWhatItsCodeDoesWhenAnOperationFails) {
  tav::doubles::FakeDispatcher dispatcher;
  dispatcher.results["setUnlockRamp"] = {NKR_SDO_TIMED_OUT};
  EXPECT_EQ(drive_slowly(dispatcher), NKR_SDO_TIMED_OUT);
  EXPECT_EQ(dispatcher.operations(), std::vector<std::string>{"setUnlockRamp"});
}

}  // namespace
}  // namespace tavtest::doubles

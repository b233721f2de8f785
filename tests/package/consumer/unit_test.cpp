// A unit test without a bus and without a test framework.
#include <memory>
#include <tavcore/CANOpenDispatcher.hpp>
#include <tavcore/testing/AccessMatcher.hpp>
#include <tavcore/testing/FakeDispatcher.hpp>

#include "expect.hpp"

int main() {
  const auto config = std::make_shared<nkr::tavcore::Config>();
  const auto client = std::make_shared<tav::doubles::RecordingClient>();
  nkr::tavcore::CANOpenDispatcher dispatcher(config, client);
  expect(config->load("share/tav/tav.ini") == NKR_OK && dispatcher.init() == NKR_OK,
         "the dispatcher is ready");
  expect(dispatcher.setTargetVelocity(30) == NKR_OK, "the velocity is written");
  const auto velocity = tav::doubles::written(0x60420000).with(std::int16_t{30});
  expect(missing_in(client->accesses, {velocity}).empty(), "the drive gets it");

  tav::doubles::FakeDispatcher fake;
  fake.results["shutdown"] = {NKR_SDO_TIMED_OUT};
  expect(fake.shutdown() == NKR_SDO_TIMED_OUT, "the fake answers as told");
  return 0;
}

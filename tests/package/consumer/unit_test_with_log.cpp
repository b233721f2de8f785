// A unit test that looks at what the library logs.
#include <tavcore/Controller.hpp>
#include <tavcore/testing/RecordingLog.hpp>

#include "expect.hpp"

int main() {
  const tav::doubles::RecordingLog log;
  nkr::tavcore::Controller controller;
  expect(controller.setTargetVelocity(100) == NKR_NOT_AVAILABLE, "nothing moves before init");
  expect(log.records().size() == 1 && log.records()[0].function == "setTargetVelocity",
         "the record names the operation");
  return 0;
}

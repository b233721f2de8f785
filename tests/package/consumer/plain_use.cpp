// A program that takes everything from the libraries.
#include <nkr/canopen/Client.hpp>
#include <tavcore/Controller.hpp>

#include "expect.hpp"

int main() {
  nkr::tavcore::Config config;
  expect(config.load("no such file") == NKR_NOT_AVAILABLE, "a missing file is not available");
  nkr::canopen::Client client(nullptr);
  expect(!client.isInitialized(), "a client without a bus is not ready");
  nkr::tavcore::Controller controller;
  expect(controller.setTargetVelocity(100) == NKR_NOT_AVAILABLE, "nothing moves before init");
  return 0;
}

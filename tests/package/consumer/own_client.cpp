// A program that brings its own CANopen client, made of the pure operations alone.
#include <tavcore/Controller.hpp>

#include "connected.hpp"

int main() {
  constexpr std::uint32_t kTargetVelocity = 0x60420000;
  Connected drive;
  {
    nkr::tavcore::Controller controller;
    expect(controller.init(drive.config, drive.dispatcher) == NKR_OK, "the controller is ready");
    expect(controller.setTargetVelocity(120) == NKR_OK, "the velocity is written");
    expect(drive.client->values[kTargetVelocity] == 120, "the program's own client got it");
    short velocity = 0;
    expect(controller.getTargetVelocity(velocity) == NKR_OK && velocity == 120, "and gives it back");
  }
  expect(drive.client->values[kTargetVelocity] == 0, "the end of the controller stops the drive");
  return 0;
}

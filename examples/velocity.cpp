// Turns a drive for two seconds: velocity [BUS]. Without a bus it turns a virtual drive inside this program.
#include <chrono>
#include <exception>
#include <iostream>
#include <thread>

#include "Connection.hpp"

int main(int argc, char** argv) try {
  Connection drive(argc > 1 ? argv[1] : "virtual", "share/tav/tav.ini");
  nkr::tavcore::Controller& controller = drive.controller();
  drive.check(controller.enterInOperationEnabledState(), "enable the drive");
  drive.check(controller.setEnableRamp(true), "enable the ramp");
  drive.check(controller.setUnlockRamp(true), "unlock the ramp");
  drive.check(controller.setReferenceRamp(true), "follow the target velocity");
  drive.check(controller.setTargetVelocity(300), "set the target velocity");
  std::this_thread::sleep_for(std::chrono::seconds(2));
  int velocity = 0;
  drive.check(controller.getVelocityActualValue(velocity), "read the velocity");
  std::cout << "velocity " << velocity << '\n';
  return 0;
} catch (const std::exception& exception) {
  std::cerr << exception.what() << '\n';
  return 1;
}

// Commands a velocity to the virtual drive, in one process. With open_bus("can0", ...) it is a real drive.
#include <cstdio>
#include <nkr/can/InProcessBus.hpp>
#include <nkr/canopen/Client.hpp>
#include <tav/drive/Runner.hpp>
#include <tavcore/CANOpenDispatcher.hpp>
#include <tavcore/Controller.hpp>

int main() {
  // README: begin
  const auto bus = std::make_shared<nkr::can::InProcessBus>();
  const auto config = std::make_shared<nkr::tavcore::Config>();
  if (config->load("share/tav/tav.ini") != NKR_OK) return 1;

  std::string problem;  // the other end of the wire: a drive made of software
  const auto drive = tav::drive::VirtualDrive::from_file("share/tav/tav.eds", {10, {}, {}, {}}, problem);
  if (drive == nullptr) return 1;
  tav::drive::Runner runner(*drive);
  if (runner.start(*bus) != NKR_OK) return 1;

  const auto client = std::make_shared<nkr::canopen::Client>(bus);
  const auto dispatcher = std::make_shared<nkr::tavcore::CANOpenDispatcher>(config, client);
  nkr::tavcore::Controller controller;
  short velocity = 0;
  nkr_error_t result = dispatcher->init();
  if (result == NKR_OK) result = controller.init(config, dispatcher);
  if (result == NKR_OK) result = controller.setTargetVelocity(120);
  if (result == NKR_OK) result = controller.getTargetVelocity(velocity);
  std::printf("%s target velocity: %d\n", nkr_error_text(result), velocity);
  // README: end
  return result == NKR_OK ? 0 : 1;
}

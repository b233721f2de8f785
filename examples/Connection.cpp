#include "Connection.hpp"

#include <chrono>
#include <cstdint>
#include <iostream>
#include <nkr/can/open_bus.hpp>
#include <stdexcept>

namespace {

using nkr::tavcore::CANOpenDispatcher;

/** Node id of this host's heartbeat, and what the drive is told to expect of it (object 0x1016). */
constexpr std::uint8_t kHostNode = 127;
constexpr unsigned int kConsumerHeartbeat = 0x10160100;
constexpr unsigned int kHostWithin500Ms = kHostNode << 16 | 500;

}  // namespace

Connection::Connection(const std::string& bus, const std::string& config)
    : config_(std::make_shared<nkr::tavcore::Config>()) {
  if (config_->load(config) != NKR_OK) throw std::runtime_error("cannot use the configuration " + config);
  nkr_error_t result = NKR_OK;
  std::string explanation;
  bus_ = nkr::can::open_bus(bus, result, explanation);
  if (!bus_) throw std::runtime_error(explanation);
  client_ = std::make_shared<nkr::canopen::Client>(bus_);
  if (bus == "virtual") start_virtual_drive();
  dispatcher_ = std::make_shared<CANOpenDispatcher>(config_, client_);
  check(dispatcher_->init(), "use the description");
  controller_ = std::make_unique<nkr::tavcore::Controller>();
  check(controller_->init(config_, dispatcher_), "use the controller");
  protect();
}

Connection::~Connection() {
  if (!controller_) return;
  static_cast<void>(controller_->setTargetVelocity(0));
  static_cast<void>(controller_->disableOperation());
  static_cast<void>(dispatcher_->set_value_by_address(kConsumerHeartbeat, 0U));
}

void Connection::start_virtual_drive() {
  tav::drive::Settings settings;
  settings.node_id = static_cast<std::uint8_t>(config_->getNodeId());
  std::string problem;
  drive_ = tav::drive::VirtualDrive::from_file(config_->getCANOpenEDSFilePath(), settings, problem);
  if (!drive_) throw std::runtime_error(problem);
  runner_ = std::make_unique<tav::drive::Runner>(*drive_);
  check(runner_->start(*bus_), "start the virtual drive");
}

void Connection::protect() {
  check(client_->startHeartbeat(kHostNode, std::chrono::milliseconds(100)), "send a heartbeat");
  unsigned int watched = 0;
  CANOpenDispatcher::ErrorBehavior behavior{};
  CANOpenDispatcher::AbortConnectionOptionCode reaction{};
  const bool known =
      dispatcher_->set_value_by_address(kConsumerHeartbeat, kHostWithin500Ms) == NKR_OK &&
      dispatcher_->get_value_by_address(kConsumerHeartbeat, watched) == NKR_OK &&
      controller_->getErrorBehavior(CANOpenDispatcher::ErrorType::COMMUNICATION, behavior) == NKR_OK &&
      controller_->getAbortConnectionOptionCode(reaction) == NKR_OK;
  if (!known || watched != kHostWithin500Ms || behavior == CANOpenDispatcher::ErrorBehavior::NO_CHANGE ||
      reaction == CANOpenDispatcher::AbortConnectionOptionCode::NO_ACTION) {
    std::cerr << "WARNING: the drive would not stop if this program died (0x1016, 0x1029, 0x6007)\n";
  }
}

void Connection::check(nkr_error_t result, const std::string& what) const {
  if (result == NKR_OK) return;
  std::string reason;
  if (client_->getLastFailureText(static_cast<std::uint8_t>(config_->getNodeId()), reason) != NKR_OK) {
    reason = nkr_error_text(result);
  }
  throw std::runtime_error("cannot " + what + ": " + reason);
}

#include "session/Session.hpp"

#include <chrono>
#include <nkr/can/open_bus.hpp>
#include <optional>
#include <utility>

#include "model/Description.hpp"
#include "model/Format.hpp"
#include "session/Configuration.hpp"

namespace tavctl {

using nkr::tavcore::CANOpenDispatcher;
using nkr::tools::ObjectID;

namespace {

constexpr const char* kVirtual = "virtual";

std::uint8_t node_of(const Options& options, const nkr::tavcore::Config& config) {
  const int node = options.node.value_or(config.getNodeId());
  if (node < 1 || node > 127) {
    throw Failure(ExitCode::CONFIGURATION, "node id " + std::to_string(node) + " is no node id",
                  "1 to 127: nodeId in the configuration, or --node");
  }
  return static_cast<std::uint8_t>(node);
}

std::shared_ptr<nkr::can::Bus> open(const std::string& name) {
  if (name.empty()) {
    throw Failure(ExitCode::USAGE, "no bus given",
                  "--bus can0 (an interface), --bus unix:PATH, or --bus virtual (a drive inside tavctl); "
                  "TAVCTL_BUS sets it once for all");
  }
  nkr_error_t result = NKR_OK;
  std::string explanation;
  std::shared_ptr<nkr::can::Bus> bus = nkr::can::open_bus(name, result, explanation);
  if (!bus) throw Failure(ExitCode::CONNECTION, "cannot open the bus " + name, explanation, result);
  return bus;
}

}  // namespace

Session::Session(Context& context)
    : output_(context.output),
      black_box_(context.black_box),
      config_(load_configuration(context.options)),
      description_(load_description(config_->getCANOpenEDSFilePath())),
      node_(node_of(context.options, *config_)),
      bus_(open(context.options.bus)) {
  if (!context.options.scenario.empty() && context.options.bus != kVirtual) {
    throw Failure(ExitCode::USAGE, "--scenario is for the drive inside tavctl alone",
                  "--bus virtual; or tav-drive --scenario FILE on the bus " + bus_->name());
  }
  if (context.options.trace) trace_ = std::make_unique<BusTrace>(*bus_, *description_, node_, output_);
  client_ = std::make_shared<nkr::canopen::Client>(bus_);
  if (context.options.timeout_ms) client_->setTimeout(std::chrono::milliseconds(*context.options.timeout_ms));
  client_->setObjectNameResolver([this](std::uint8_t, std::uint32_t address) {
    const ObjectID id(static_cast<std::uint16_t>(address >> 16), static_cast<std::uint8_t>(address >> 8));
    const nkr::tools::ObjectEntry* object = description_->find(id);
    return object == nullptr ? address_text(id) : object_text(*object);
  });
  if (!client_->isInitialized()) {
    throw Failure(ExitCode::CONNECTION, "cannot use the bus " + bus_->name(),
                  nkr::can::bus_advice(bus_->name(), NKR_CAN_INTERFACE_GONE), NKR_CAN_NOT_CONNECTED);
  }
  if (context.options.bus == kVirtual) {
    local_drive_ = std::make_unique<LocalDrive>(*bus_, *config_, node_, context.options.scenario);
  }
  dispatcher_ = std::make_shared<CANOpenDispatcher>(config_, client_);
  check(dispatcher_->init(), "use the description " + config_->getCANOpenEDSFilePath());
  check(dispatcher_->_setNodeId(node_), "set the node id");
}

Session::~Session() {
  black_box_.keep(*client_);
}

std::string Session::where() const {
  return "node " + std::to_string(node_) + " on " + bus_->name();
}

Failure Session::failure(nkr_error_t result, const std::string& what) const {
  std::string text = "cannot " + what + " (" + where() + ")";
  std::string hint = hint_for(result);
  nkr::canopen::RequestFailure request;
  std::shared_ptr<const nkr::canopen::RequestFailure> about;
  if (client_->getLastFailure(node_, request) == NKR_OK && request.code == result) {
    if (what.find(request.object_name) == std::string::npos) text += ": " + request.object_name;
    about = std::make_shared<const nkr::canopen::RequestFailure>(std::move(request));
  } else if (result == NKR_NOT_AVAILABLE) {
    hint = failure_log_.last();
  }
  const std::string advice = nkr::can::bus_advice(bus_->name(), result);
  if (!advice.empty()) hint += (hint.empty() ? "" : "; ") + advice;
  Failure failure(exit_code_of(result), std::move(text), std::move(hint), result);
  failure.set_request(std::move(about));
  return failure;
}

void Session::check(nkr_error_t result, const std::string& what) const {
  if (result != NKR_OK) throw failure(result, what);
}

}  // namespace tavctl

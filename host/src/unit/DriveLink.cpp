#include "DriveLink.hpp"

#include <nkr/can/open_bus.hpp>
#include <nkr/canopen/RequestFailure.hpp>
#include <nkr/time/clock.hpp>
#include <tav/host/HostConfiguration.hpp>
#include <tav/host/Interrupt.hpp>
#include <tav/host/description.hpp>
#include <tav/host/words.hpp>
#include <thread>
#include <utility>

namespace tav::host {

using nkr::canopen::Client;
using nkr::tools::ObjectID;

Result DriveLink::open(const UnitSettings& wanted) {
  settings = wanted;
  for (Result (DriveLink::*const step)() :
       {&DriveLink::open_config, &DriveLink::open_description, &DriveLink::open_bus, &DriveLink::open_client,
        &DriveLink::open_dispatcher}) {
    Result result = (this->*step)();
    if (!result.ok()) return result;
  }
  return {};
}

Result DriveLink::open_config() {
  config = settings.parts.config;
  if (!config) {
    Result result = read_configuration();
    if (!result.ok()) return result;
  }
  const int id = settings.node_id != 0 ? settings.node_id : config->getNodeId();
  if (id < 1 || id > 127) {
    Explanation failed = explanation(Cause::NODE_ID, NKR_CAN_INVALID_NODE, "use the node id");
    failed.found = id;
    return Result(std::move(failed));
  }
  node = static_cast<std::uint8_t>(id);
  return {};
}

Result DriveLink::read_configuration() {
  HostConfiguration file;
  Result result = file.read(settings.configuration);
  UnitConfiguration unit;
  if (result.ok()) result = file.select(settings.unit, unit);
  if (!result.ok()) return result;
  config = unit.config();
  for (const ConfigurationRemark& remark : file.remarks()) {
    Explanation warning = explanation(Cause::CONFIGURATION, NKR_OK, "use all of the configuration");
    warning.detail = text(remark, file.path());
    warn(warning);
  }
  return {};
}

Result DriveLink::open_description() {
  Result result;
  description = load_description(config->getCANOpenEDSFilePath(), result);
  return result;
}

Result DriveLink::open_bus() {
  bus = settings.parts.bus;
  if (bus) return {};
  nkr_error_t result = NKR_OK;
  std::string reason;
  bus = nkr::can::open_bus(settings.bus, result, reason);
  if (bus) return {};
  Explanation failed = explanation(Cause::BUS, result, "open the bus");
  failed.bus = settings.bus;
  failed.detail = std::move(reason);
  return Result(std::move(failed));
}

Result DriveLink::open_client() {
  client = settings.parts.client;
  if (!client) {
    client = std::make_shared<Client>(bus);
    if (settings.sdo_timeout.count() > 0) client->setTimeout(settings.sdo_timeout);
    client->setObjectNameResolver([names = description](std::uint8_t, std::uint32_t address) {
      const ObjectID id(static_cast<std::uint16_t>(address >> 16), static_cast<std::uint8_t>(address >> 8));
      const nkr::tools::ObjectEntry* const object = names->find(id);
      return object == nullptr ? address_text(id) : object_text(*object);
    });
  }
  if (!client->isInitialized()) {
    Explanation failed = explanation(Cause::BUS, NKR_CAN_NOT_CONNECTED, "use the bus");
    failed.detail = nkr::can::bus_advice(bus->name(), NKR_CAN_INTERFACE_GONE);
    return Result(std::move(failed));
  }
  watch.watch(settings.interrupt, client);
  host = settings.parts.host_node;
  if (!host) host = std::make_shared<HostNode>(client, settings.host_node_id);
  events = std::make_unique<NodeEvents>(client, node);
  return {};
}

Result DriveLink::open_dispatcher() {
  dispatcher = settings.parts.dispatcher;
  if (!dispatcher) {
    dispatcher = own_dispatcher = std::make_shared<UnitDispatcher>(config, client);
    Result result = check(own_dispatcher->init(), "use the description " + config->getCANOpenEDSFilePath());
    if (!result.ok()) return result;
  }
  return check(dispatcher->_setNodeId(node), "set the node id");
}

Result DriveLink::address(std::uint8_t id) {
  if (id != node) events = std::make_unique<NodeEvents>(client, id);
  node = id;
  return check(dispatcher->_setNodeId(id), "address node " + std::to_string(id));
}

Explanation DriveLink::explanation(Cause cause, nkr_error_t code, std::string action) const {
  Explanation made;
  made.cause = cause;
  made.code = code;
  made.action = std::move(action);
  made.node = node;
  if (bus) made.bus = bus->name();
  if (host) made.host_node = host->id();
  if (events) made.heard = events->heard();
  return made;
}

Result DriveLink::check(nkr_error_t code, const std::string& action) const {
  if (code == NKR_OK) return {};
  if (code == NKR_INTERRUPTED || (code == NKR_CAN_CANCELLED && is_interrupted())) return interrupted(action);
  Explanation failed = explanation(Cause::REQUEST, code, action);
  auto request = std::make_shared<nkr::canopen::RequestFailure>();
  if (client->getLastFailure(node, *request) == NKR_OK && request->code == code) failed.request = request;
  failed.detail = nkr::can::bus_advice(bus->name(), code);
  return Result(std::move(failed));
}

Cause DriveLink::cause_of_silence(const Explanation& explanation) {
  const auto& request = explanation.request;
  const bool silent = !request || request->cause == nkr::canopen::FailureCause::HEARD_THEN_LOST;
  return silent ? Cause::FELL_SILENT : Cause::REQUEST;
}

void DriveLink::warn(const Explanation& explanation) const {
  if (settings.on_warning) settings.on_warning(explanation);
}

bool DriveLink::wait_until(std::chrono::steady_clock::time_point time) const {
  if (settings.interrupt != nullptr) return settings.interrupt->wait_until(time);
  nkr::time::sleep_until(time);
  return true;
}

bool DriveLink::is_interrupted() const {
  return is_ending || (settings.interrupt != nullptr && settings.interrupt->requested());
}

Result DriveLink::interrupted(std::string action) const {
  return Result(explanation(Cause::INTERRUPTED, NKR_INTERRUPTED, std::move(action)));
}

}  // namespace tav::host

#ifndef TAV_HOST_UNITSETTINGS_HPP
#define TAV_HOST_UNITSETTINGS_HPP

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace nkr::can {
class Bus;
}
namespace nkr::canopen {
class Client;
}
namespace nkr::tavcore {
class CANOpenDispatcher;
class Config;
}  // namespace nkr::tavcore

namespace tav::host {

struct Explanation;
class HostNode;
class Interrupt;

/** What a program has already, and a unit uses instead of making its own; null: the unit makes it. They are
 * kept as long as the unit lives. */
struct Parts {
  std::shared_ptr<nkr::tavcore::Config> config;  ///< loaded
  std::shared_ptr<nkr::can::Bus> bus;
  std::shared_ptr<nkr::canopen::Client> client;  ///< on `bus`, which is to be given then
  /** On `client`, which is to be given then; its init() succeeded. */
  std::shared_ptr<nkr::tavcore::CANOpenDispatcher> dispatcher;
  /** On `client`. The units on one client share it: the first one's is Unit::host_node(). */
  std::shared_ptr<HostNode> host_node;
};

/** How a unit is opened; set by name what differs from its default. */
struct UnitSettings {
  std::string configuration;      ///< path of the configuration (INI); not needed with parts.config
  std::string unit;               ///< which drive of that file ("[unit NAME]"); empty: its only one
  std::string bus;                ///< "can0", "unix:PATH"; not needed with parts.bus
  std::uint8_t node_id = 0;       ///< of the drive; 0: the configuration's
  std::uint8_t host_node_id = 0;  ///< of this host; 0: the first silent one from 127 down
  /** Of one SDO request, with a client of the unit's own; 0: the client's default. */
  std::chrono::milliseconds sdo_timeout{0};
  /** Ends what is under way; null: nothing does. Must outlive the unit. */
  const Interrupt* interrupt = nullptr;
  /** What the program is to be told although the operation goes on: called on the calling thread, for
   * Cause::PROTECTION_LOST on a thread of the client. Must not throw nor end the unit. */
  std::function<void(const Explanation&)> on_warning;
  Parts parts;
};

}  // namespace tav::host

#endif

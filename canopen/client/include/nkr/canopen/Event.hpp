#ifndef NKR_CANOPEN_EVENT_HPP
#define NKR_CANOPEN_EVENT_HPP

#include <nkr/error.h>
#include <nkr/export.h>

#include <cstdint>
#include <functional>
#include <nkr/canopen/Emergency.hpp>
#include <nkr/canopencore/NMT.hpp>
#include <nkr/canopencore/ObjectAddress.hpp>

namespace nkr::canopen {

/** Something that a client noticed on the bus. */
struct Event {
  enum class Kind {
    BOOT_UP,             ///< the node started: at power-on, or because this client reset it
    UNEXPECTED_BOOT_UP,  ///< the node restarted on its own: all that was set up in it is as after power-on
    STATE_CHANGED,       ///< the node's heartbeat tells another NMT state
    HEARTBEAT_LOST,      ///< the node's heartbeat was heard before and stayed away for its time
    HEARTBEAT_RETURNED,  ///< it is there again
    NEVER_HEARD,         ///< a node that was expected gave no sign of life
    EMERGENCY,           ///< an emergency message
    BUS_OFF,             ///< the CAN controller went bus off
    INTERFACE_GONE,      ///< the CAN interface is down or removed
    BUS_RETURNED,        ///< the first frame after bus off or interface gone
    CONFIGURED,          ///< the node's configuration was written and read back for the first time
    RECOVERED,           ///< the node or the bus is back, and the node's configuration was read back from it
    CONFIGURATION_FAILED,  ///< the node's configuration is not in it: `result` and `address` say why
    TWO_NODES,             ///< two nodes send heartbeats under one id
  };

  Kind kind = Kind::BOOT_UP;
  std::uint8_t node = 0;                                         ///< 0 for what concerns the bus
  canopencore::NMTState state = canopencore::NMTState::UNKNOWN;  ///< the node's state after the event
  Emergency emergency;                                           ///< of EMERGENCY
  nkr_error_t result = NKR_OK;         ///< of CONFIGURATION_FAILED: NKR_ERROR when it read back another value
  canopencore::ObjectAddress address;  ///< of CONFIGURATION_FAILED: the object
};

/** What the kind is called: "heartbeat lost" ... */
[[nodiscard]] NKR_EXPORT const char* to_string(Event::Kind kind);

using EventHandler = std::function<void(const Event&)>;

}  // namespace nkr::canopen

#endif

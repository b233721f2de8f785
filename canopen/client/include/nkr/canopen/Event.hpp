#ifndef NKR_CANOPEN_EVENT_HPP
#define NKR_CANOPEN_EVENT_HPP

#include <nkr/error.h>

#include <cstdint>
#include <functional>
#include <nkr/canopen/Emergency.hpp>
#include <nkr/canopencore/NMT.hpp>

namespace nkr::canopen {

/** Something that a client noticed on the bus. */
struct Event {
  enum class Kind {
    boot_up,             ///< the node started: at power-on, or because this client reset it
    unexpected_boot_up,  ///< the node restarted on its own: all that was set up in it is as after power-on
    state_changed,       ///< the node's heartbeat tells another NMT state
    heartbeat_lost,      ///< the node's heartbeat was heard before and stayed away for its time
    heartbeat_returned,  ///< it is there again
    never_heard,         ///< a node that was expected gave no sign of life
    emergency,           ///< an emergency message
    bus_off,             ///< the CAN controller went bus off
    interface_gone,      ///< the CAN interface is down or removed
    bus_returned,        ///< the first frame after bus off or interface gone
    configured,          ///< the node's configuration was written and read back for the first time
    recovered,           ///< the node or the bus is back, and the node's configuration was read back from it
    configuration_failed,  ///< the node's configuration is not in it: `result` and `address` say why
  };

  Kind kind = Kind::boot_up;
  std::uint8_t node = 0;                                         ///< 0 for what concerns the bus
  canopencore::NMTState state = canopencore::NMTState::UNKNOWN;  ///< the node's state after the event
  Emergency emergency;                                           ///< of an emergency
  nkr_error_t result = NKR_OK;  ///< of configuration_failed: NKR_ERROR when it read back another value
  std::uint32_t address = 0;    ///< of configuration_failed: the object, index << 16 | subindex << 8
};

/** What the kind is called: "heartbeat lost" ... */
[[nodiscard]] const char* to_string(Event::Kind kind);

using EventHandler = std::function<void(const Event&)>;

}  // namespace nkr::canopen

#endif

#include <nkr/canopen/Event.hpp>

namespace nkr::canopen {

const char* to_string(Event::Kind kind) {
  switch (kind) {
    case Event::Kind::boot_up:
      return "boot-up";
    case Event::Kind::unexpected_boot_up:
      return "unexpected boot-up";
    case Event::Kind::state_changed:
      return "NMT state changed";
    case Event::Kind::heartbeat_lost:
      return "heartbeat lost";
    case Event::Kind::heartbeat_returned:
      return "heartbeat returned";
    case Event::Kind::never_heard:
      return "never heard";
    case Event::Kind::emergency:
      return "emergency";
    case Event::Kind::bus_off:
      return "bus off";
    case Event::Kind::interface_gone:
      return "interface gone";
    case Event::Kind::bus_returned:
      return "bus returned";
    case Event::Kind::configured:
      return "configured";
    case Event::Kind::recovered:
      return "recovered";
    case Event::Kind::configuration_failed:
      return "configuration failed";
  }
  return "unknown";
}

}  // namespace nkr::canopen

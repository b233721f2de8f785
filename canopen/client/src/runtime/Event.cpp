#include <nkr/canopen/Event.hpp>

namespace nkr::canopen {

const char* to_string(Event::Kind kind) {
  switch (kind) {
    case Event::Kind::BOOT_UP:
      return "boot-up";
    case Event::Kind::UNEXPECTED_BOOT_UP:
      return "unexpected boot-up";
    case Event::Kind::STATE_CHANGED:
      return "NMT state changed";
    case Event::Kind::HEARTBEAT_LOST:
      return "heartbeat lost";
    case Event::Kind::HEARTBEAT_RETURNED:
      return "heartbeat returned";
    case Event::Kind::NEVER_HEARD:
      return "never heard";
    case Event::Kind::EMERGENCY:
      return "emergency";
    case Event::Kind::BUS_OFF:
      return "bus off";
    case Event::Kind::INTERFACE_GONE:
      return "interface gone";
    case Event::Kind::BUS_RETURNED:
      return "bus returned";
    case Event::Kind::CONFIGURED:
      return "configured";
    case Event::Kind::RECOVERED:
      return "recovered";
    case Event::Kind::CONFIGURATION_FAILED:
      return "configuration failed";
    case Event::Kind::TWO_NODES:
      return "two nodes with one id";
  }
  return "unknown";
}

}  // namespace nkr::canopen

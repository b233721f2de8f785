#ifndef TAV_HOST_PRESENCE_HPP
#define TAV_HOST_PRESENCE_HPP

#include <nkr/error.h>
#include <nkr/export.h>

#include <cstdint>

namespace nkr::can {
class Bus;
}
namespace nkr::canopen {
class Client;
}

namespace tav::host {

/** Whether a node is there, as far as its signs of life tell. */
struct Presence {
  nkr_error_t asked = NKR_OK;   ///< what its device type (0x1000) was answered with; NKR_OK when not asked
  bool is_there = false;        ///< it answered, or was heard
  bool serves_sdo = false;      ///< it answered, if only with an abort
  bool is_stopped = false;      ///< NMT state stopped: it was not asked, for it serves no SDO
  bool answered_twice = false;  ///< two nodes have this id: both answered
  bool beats_twice = false;     ///< two nodes have this id: both send heartbeats
};

/** Asks a node for a sign of life: one SDO upload, two when the answer to the first came twice. A node that
 * is heard to be stopped is not asked. */
[[nodiscard]] NKR_EXPORT Presence look_for_node(nkr::can::Bus& bus, nkr::canopen::Client& client,
                                                std::uint8_t node);

}  // namespace tav::host

#endif

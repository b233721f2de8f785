#ifndef NKR_CANOPEN_REQUESTFAILURE_HPP
#define NKR_CANOPEN_REQUESTFAILURE_HPP

#include <nkr/error.h>
#include <nkr/export.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <nkr/can/Bus.hpp>
#include <nkr/can/trace.hpp>
#include <nkr/canopencore/NMT.hpp>
#include <nkr/canopencore/ObjectAddress.hpp>
#include <optional>
#include <string>
#include <vector>

namespace nkr::canopen {

/** Why a request most likely failed. */
enum class FailureCause {
  REFUSED_BY_NODE,        ///< the node answered with an abort
  WRONG_ANSWER,           ///< the node answered against the protocol, or with another length than wanted
  NO_INTERFACE,           ///< no CAN interface, or it is down
  BUS_OFF,                ///< the CAN controller is off the bus
  SEND_QUEUE_FULL,        ///< frames could not be sent in time
  CLOSED,                 ///< the client was closed
  CANCELLED,              ///< the application cancelled it
  WAITED_FOR_OTHERS,      ///< it was not sent: other requests to the node took all its time
  NEVER_HEARD,            ///< this node was never heard, nor any other
  OTHER_ID_HEARD,         ///< this node was never heard, but another one is there
  HEARD_THEN_LOST,        ///< the node was heard and then fell silent
  STOPPED,                ///< the node is in NMT state stopped, in which it serves no SDO
  BOOTING,                ///< the node has just started
  ANSWERS_OTHER_OBJECTS,  ///< the node answers requests, but not this one in time
  SILENT_SDO_SERVER,      ///< the node gives signs of life but answers no SDO request
};

/** The last failed request to a node, and what was known about node and bus at that moment. */
struct RequestFailure {
  std::uint8_t node = 0;
  canopencore::ObjectAddress address;
  std::string object_name;  ///< by the application's resolver; empty when it knows none
  bool was_write = false;
  nkr_error_t code = NKR_OK;
  std::chrono::milliseconds elapsed{};  ///< from the call to its failure, waiting for its turn included
  unsigned attempts = 1;                ///< how often in a row this object failed
  std::chrono::system_clock::time_point when;
  can::BusStatus bus;
  std::string bus_name;
  std::optional<std::chrono::milliseconds> last_heard;  ///< age of the node's last frame; none: never heard
  canopencore::NMTState nmt_state = canopencore::NMTState::UNKNOWN;
  bool heartbeat_lost = false;  ///< the node's heartbeat was heard and stays away; other frames may come
  std::uint8_t other_node = 0;  ///< a node that was heard although this one never was; 0: none
  FailureCause cause = FailureCause::NEVER_HEARD;
  /** The client's last frames up to the failure, oldest first; null for what the node itself refused, and
   * when the client keeps none. */
  std::shared_ptr<const std::vector<can::TracedFrame>> frames;
};

/** The cause in a sentence that says what to look at. */
[[nodiscard]] NKR_EXPORT const char* to_string(FailureCause cause);

/** The whole failure in a few sentences. */
[[nodiscard]] NKR_EXPORT std::string to_string(const RequestFailure& failure);

/** Gives an object its name (by the node's EDS, say); empty when it has none. Called without any lock. */
using ObjectNameResolver = std::function<std::string(std::uint8_t node, canopencore::ObjectAddress address)>;

}  // namespace nkr::canopen

#endif

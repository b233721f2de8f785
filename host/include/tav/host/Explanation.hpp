#ifndef TAV_HOST_EXPLANATION_HPP
#define TAV_HOST_EXPLANATION_HPP

#include <nkr/error.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <nkr/canopencore/NMT.hpp>
#include <optional>
#include <string>
#include <tavcore/IPDSService.hpp>
#include <vector>

namespace nkr::canopen {
struct RequestFailure;
}

namespace tav::host {

/** Why an operation failed, or what a warning is about. */
enum class Cause {
  NONE,

  // Opening a unit.
  CONFIGURATION,  ///< the configuration cannot be used
  DESCRIPTION,    ///< the device description cannot be used
  BUS,            ///< the bus gives no port
  NODE_ID,        ///< the drive's node id lies outside 1 to 127

  // Before anything is sent. `action` says what is refused, `detail` why or what helps.
  FILE,            ///< a file cannot be used
  UNKNOWN_OBJECT,  ///< the description holds no such object
  REFUSED,         ///< what the description does not allow

  // The host's own node id.
  HOST_NODE_TAKEN,  ///< somebody else uses the id that was asked for; `free_nodes` names others
  NO_HOST_NODE,     ///< every id is in use
  UNPROTECTED,      ///< the drive would not stop when this program dies; `detail` says why
  PROTECTION_LOST,  ///< somebody else sends heartbeats under this host's id: the drive was stopped
  STILL_WATCHED,    ///< the drive could not be told to watch this host no more: it will report it lost

  // Is the drive there?
  NEVER_HEARD,  ///< no sign of life; `heard.other_node` is one that is there
  TWO_NODES,    ///< two nodes answer under the drive's id

  // What an access answered.
  REQUEST,       ///< an access failed; `request` is the client's record of it
  NOT_KEPT,      ///< the drive holds `found` where `expected` was written
  OUT_OF_RANGE,  ///< `expected` is no value of the object: nothing was sent

  // What the drive did.
  IN_FAULT,        ///< it is in FAULT, and nobody asked to reset it
  STALLED,         ///< a transition of its state machine did not come
  NOT_ENABLED,     ///< the unit was not enabled before
  LEFT_OPERATION,  ///< it left OPERATION_ENABLED
  FAULTED,         ///< it went to FAULT
  RESTARTED,       ///< it restarted: its boot-up was heard
  NMT_CHANGED,     ///< another master changed its NMT state
  FELL_SILENT,     ///< it was heard and is no more
  NO_BOOT_UP,      ///< it was reset and did not boot as node `expected`
  STILL_TURNING,   ///< it did not come to rest in time
  MAY_STILL_MOVE,  ///< the unit ended and could not see the drive stand
  LIMITED,         ///< its velocity limits keep it from the target

  // Somebody else at work on it.
  FOREIGN_TARGET,        ///< the target velocity is `found`, not `expected`
  FOREIGN_CONTROL_WORD,  ///< the control word was changed
  TAKEN_OVER,            ///< it was enabled already by somebody else

  // Several drives together.
  BUS_LOAD,       ///< what a group's cycle takes of the bus does not fit; `detail` has the numbers
  RAMPS_DIFFER,   ///< its units do not follow alike; `detail` has object and values
  OTHER_HOST,     ///< somebody else commands its units; `detail` has the frame
  GROUP_STOPPED,  ///< the group stopped; `detail` says why

  INTERRUPTED,  ///< the program asked to end
};

/** What was heard of a node on the bus, without asking it. */
struct Heard {
  std::optional<std::chrono::milliseconds> last;  ///< age of its last frame; none: never heard
  nkr::canopencore::NMTState nmt = nkr::canopencore::NMTState::UNKNOWN;
  bool boot_up = false;                    ///< it booted since the operation began
  bool heartbeat_lost = false;             ///< its heartbeat was heard and stays away
  bool two_nodes = false;                  ///< two nodes send heartbeats under its id
  std::vector<std::uint16_t> emergencies;  ///< codes of its emergencies since the operation began
  std::uint8_t other_node = 0;             ///< some other node that is heard; 0: none
};

/** What the drive says about its power stage. */
struct PowerFacts {
  std::uint16_t status_word = 0;
  std::optional<nkr::tavcore::IPDSService::PDSState> state;  ///< none: a status word that is no state
  std::uint16_t error_code = 0;                              ///< the last error (0x603F); 0: none
  bool sto_demanded = false;                                 ///< the STO command demands it
  bool sto_acts = false;                                     ///< STO takes the torque, for whatever reason
};

/** What is known about a failure or a warning. What does not belong to its cause is empty. */
struct Explanation {
  Cause cause = Cause::NONE;
  nkr_error_t code = NKR_OK;
  std::string action;     ///< what was being done: "enable the drive"
  std::uint8_t node = 0;  ///< the drive's
  std::string bus;        ///< its name
  std::string detail;     ///< what a file, the bus or the library said about it
  std::optional<int> expected;
  std::optional<int> found;
  std::vector<std::uint8_t> free_nodes;  ///< ids that nobody was heard to use, highest first; a few
  std::uint8_t host_node = 0;            ///< the host's own id, where it matters
  Heard heard;
  std::optional<PowerFacts> power;  ///< none when the drive was not asked, or did not answer
  std::shared_ptr<const nkr::canopen::RequestFailure> request;
};

}  // namespace tav::host

#endif

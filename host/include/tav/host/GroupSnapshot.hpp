#ifndef TAV_HOST_GROUPSNAPSHOT_HPP
#define TAV_HOST_GROUPSNAPSHOT_HPP

#include <nkr/error.h>

#include <cstdint>
#include <nkr/can/Deadline.hpp>
#include <nkr/can/Frame.hpp>
#include <optional>
#include <vector>

namespace tav::host {

/** What a group is at. */
enum class GroupState : std::uint8_t {
  OFF,        ///< no cycle runs
  DISABLED,   ///< cycles run; no unit is told to give torque
  ENABLING,   ///< all units on their way to OPERATION_ENABLED
  ENABLED,    ///< the units follow the set-points
  STOPPING,   ///< all units on their way to standstill
  HELD,       ///< all stand with torque, until resume() or stop()
  DISABLING,  ///< all stand; their power stages are being switched off
};

/** Why a group stopped, or does not move. What does not belong to the kind is 0. */
struct StopReason {
  enum class Kind : std::uint8_t {
    NONE,
    ASKED,              ///< stop() was called
    SETPOINT_TIMEOUT,   ///< the program set no set-points for `count` milliseconds
    FAULTED,            ///< `node` went to FAULT; `emergency` is the code of its last emergency message
    LEFT_OPERATION,     ///< `node` left OPERATION_ENABLED; `status_word` says to where
    SILENT,             ///< `node` missed its process data `count` cycles in a row
    RESTARTED,          ///< `node` booted
    NMT_CHANGED,        ///< `node` is not operational any more; `frame` is its heartbeat
    EMERGENCY,          ///< `node` sent the communication error `emergency` twice within a second
    FOREIGN_SYNC,       ///< somebody else sent `frame`: a SYNC
    FOREIGN_ORDER,      ///< somebody else sent `frame`: an order to `node`
    FOREIGN_NMT,        ///< somebody else sent `frame`: an NMT command to `node` (0: to all)
    FOREIGN_HEARTBEAT,  ///< somebody else sent `frame`: a heartbeat under this host's id
    BUS_FAILED,         ///< the bus took no frames; `result` says why
    STALLED,            ///< `node` did not become enabled in time; `status_word` says where it stays
    STILL_TURNING,      ///< `node` did not come to rest in time
  };
  Kind kind = Kind::NONE;
  std::uint8_t node = 0;
  std::uint16_t status_word = 0;
  std::uint16_t emergency = 0;
  unsigned count = 0;
  nkr_error_t result = NKR_OK;
  std::uint64_t cycle = 0;  ///< in which it was seen
  nkr::can::Clock::time_point at;
  nkr::can::Frame frame;
};

/** What a unit said with one SYNC: all of one instant. Velocity in the drive's unit (object 0x6044), position
 * in its counts (0x6064), which wraps at 32 bits. */
struct Measurement {
  std::uint16_t status_word = 0;
  std::int16_t velocity = 0;
  std::int32_t position = 0;
  std::uint64_t cycle = 0;  ///< of that SYNC
  nkr::can::Clock::time_point at;
};

/** What is known of one unit. */
struct Feedback {
  std::uint8_t node = 0;
  bool is_fresh = false;            ///< `last` is of this very cycle
  bool is_lost = false;             ///< it takes no part in the motion: see the reason
  std::uint8_t restarts = 0;        ///< boot-ups heard since the group was made; its counter may begin anew
  std::uint16_t control_word = 0;   ///< as last sent to it
  std::int16_t order = 0;           ///< velocity as last sent to it
  std::uint16_t emergency = 0;      ///< code of its last emergency message; 0: none, or taken back
  unsigned missing = 0;             ///< cycles in a row without its process data
  std::optional<Measurement> last;  ///< none: it has said nothing since the cycles began, or it restarted

  /** Age of what it said last; the longest time there is when it said nothing. */
  [[nodiscard]] nkr::can::Clock::duration age(nkr::can::Clock::time_point now) const {
    return last ? now - last->at : nkr::can::Clock::duration::max();
  }
};

/** All units in one cycle. */
struct GroupSnapshot {
  std::uint64_t cycle = 0;  ///< the grid's number: cycles that were missed are left out
  nkr::can::Clock::time_point at;
  GroupState state = GroupState::OFF;
  unsigned answered = 0;        ///< units that answered this cycle's SYNC
  std::uint64_t requests = 0;   ///< number of the last request that was taken: see GroupCycle::ask()
  StopReason reason;            ///< why it stopped; Kind::NONE again when it is enabled or resumed
  std::vector<Feedback> units;  ///< in the order in which the units were given
};

}  // namespace tav::host

#endif

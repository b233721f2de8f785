#ifndef TAV_HOST_GROUPCYCLE_HPP
#define TAV_HOST_GROUPCYCLE_HPP

#include <nkr/error.h>
#include <nkr/export.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <nkr/can/Deadline.hpp>
#include <nkr/can/Frame.hpp>
#include <string>
#include <tav/host/GroupSnapshot.hpp>
#include <tav/host/GroupStatistics.hpp>
#include <vector>

namespace tav::host {

/** What happens to the others when one unit faults, falls silent or restarts. */
enum class OnLoss : std::uint8_t {
  STOP_ALL,  ///< all ramp to 0 and are disabled
  GO_ON,     ///< the others go on; never under a vehicle: one wheel alone turns it
};

/** How a cycle goes; set by name what differs from its default. */
struct CycleSettings {
  struct Member {
    std::uint8_t node = 0;
    double deceleration = 0;    ///< of its ramp (0x6049), per second; 0: not known
    int most_velocity = 32767;  ///< amount that it follows (0x6046:02); what is beyond is refused
  };
  std::vector<Member> members;

  std::chrono::microseconds period{10'000};
  /** How long after the SYNC the units' process data are waited for; 0: half the period. */
  std::chrono::microseconds feedback_deadline{0};
  /** Set-points that are not refreshed for so long stop the group. Three periods at least. */
  std::chrono::milliseconds setpoint_timeout{200};
  /** So many cycles in a row without its process data make a unit silent. */
  unsigned missing_limit = 3;
  OnLoss on_loss = OnLoss::STOP_ALL;
  std::chrono::milliseconds enable_timeout{5'000};
  int standstill = 3;           ///< amount of velocity that counts as standing, for five cycles
  unsigned bit_rate = 500'000;  ///< of the bus, in bit/s; 0: not known
  std::uint8_t host_node = 0;   ///< under which the heartbeat is sent; 0: none is
  std::chrono::milliseconds heartbeat_period{50};
  std::chrono::milliseconds record_time{5'000};  ///< so much of the past is kept for the record
};

/**
 * The cycle of several drives on one SYNC, without clock and thread: frames and time are handed in, frames
 * come out. Group runs it on a bus; a program with a loop of its own may run it, too.
 *
 * One cycle: SYNC, on its grid; the units' process data, until all answered or half the period is over; the
 * state machines and the watchdogs; one snapshot; then all orders, with the newest set-points, which the
 * drives take at the next SYNC. The host's heartbeat is sent behind the orders of a complete cycle and never
 * else: a program that hangs falls silent.
 *
 * Its process data: RPDO 1 of every unit holds control word and target velocity (0x6040, 0x6042), TPDO 1
 * status word, velocity and position (0x6041, 0x6044, 0x6064), all on the identifiers of the predefined
 * connection set and on every SYNC.
 *
 * begin(), receive(), bus_failed(), step(), exchange() and end() belong to one thread; nothing there
 * allocates or takes a lock. The rest may be called by any thread, set() and snapshot() by those with
 * real-time duties.
 */
class NKR_EXPORT GroupCycle {
 public:
  using Time = nkr::can::Clock::time_point;
  /** Gives a frame to the bus and does not wait. @return NKR_OK, or why the bus did not take it */
  using Output = std::function<nkr_error_t(const nkr::can::Frame&)>;
  using OnCycle = std::function<void(const GroupSnapshot&)>;

  GroupCycle(const CycleSettings& settings, Output output);
  ~GroupCycle();
  GroupCycle(const GroupCycle&) = delete;
  GroupCycle& operator=(const GroupCycle&) = delete;

  /** Called in every cycle between the snapshot and the orders: what it sets acts at the next SYNC. What it
   * takes of time is the cycle's. Before begin(). */
  void on_cycle(OnCycle handler);

  /** @name The thread that runs it
   * @{ */
  /** The first SYNC is due now. */
  void begin(Time now);
  /** Takes a frame that somebody else sent. */
  void receive(const nkr::can::Frame& frame, Time at);
  /** The bus is off, or its interface gone. */
  void bus_failed(nkr_error_t why, Time now);
  /** Does what is due. @return when it is to be called again; now or earlier: at once */
  Time step(Time now);
  /** Instead of step(), once a period, for a loop that has the time: evaluates the last cycle, then sends
   * SYNC and, behind it, the orders, which are taken at the next one. */
  void exchange(Time now);
  /** No frame is sent any more. */
  void end();
  /** @} */

  /**
   * Set-points of all units, in the order in which the units were given, in the drive's unit. They are driven
   * from the next SYNC on, all in the same cycle; newer ones replace them, none is ever queued. Wait-free.
   * @return NKR_INVALID_STATE while the group is not enabled, so also after it stopped; NKR_SDO_INVALID_VALUE
   * for another number of them, or one that a unit does not follow: nothing is changed then, and the watchdog
   * not fed; NKR_CAN_TX_OVERFLOW when a dozen threads set at this very moment
   */
  nkr_error_t set(const std::vector<int>& velocities, Time now);
  nkr_error_t set(const int* velocities, std::size_t count, Time now);

  /** What a program may ask the cycle for. */
  enum class Request : std::uint8_t {
    ENABLE = 1,               ///< out of DISABLED
    ENABLE_RESET_FAULTS = 2,  ///< the same; units in FAULT are reset
    RESUME = 4,               ///< out of HELD, or STOPPING that leads there
    STOP = 8,                 ///< by the ramps, then disabled
    QUICK_STOP = 16,          ///< by the quick stops, then disabled
    HOLD = 32,                ///< by the ramps, then held with torque
  };
  /** @return number of the request: the snapshot says when it was taken */
  std::uint64_t ask(Request request);
  /** A unit that restarted is configured and operational again. */
  void restored(std::uint8_t node);

  /** The last completed cycle. Does not wait; allocates only when `snapshot` has no room yet. */
  void snapshot(GroupSnapshot& snapshot) const;
  [[nodiscard]] GroupSnapshot snapshot() const;
  [[nodiscard]] GroupStatistics statistics() const;

  /** @name The record of the last cycles
   * Goes on for half its length after a stop that nobody asked for, and then keeps what it has until the
   * group is enabled or resumed.
   * @{ */
  /** All values, a line a cycle, as CSV. */
  void write_record(std::ostream& csv) const;
  /** All frames, as a candump log. @param wall  the wall clock's time when the steady clock said `steady` */
  void write_frames(std::ostream& log, const std::string& bus_name,
                    std::chrono::system_clock::time_point wall, Time steady) const;
  /** @} */

 private:
  struct NKR_HIDDEN Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace tav::host

#endif

#ifndef TAV_HOST_GROUP_HPP
#define TAV_HOST_GROUP_HPP

#include <nkr/export.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <tav/host/GroupCycle.hpp>
#include <tav/host/GroupSnapshot.hpp>
#include <tav/host/GroupStatistics.hpp>
#include <tav/host/Result.hpp>
#include <tav/host/group_process_data.hpp>
#include <tav/host/real_time.hpp>
#include <vector>

namespace tav::host {

class Interrupt;
class Unit;

/** How a group is run; set by name what differs from its default. */
struct GroupSettings {
  std::chrono::microseconds period{10'000};
  /** How long after the SYNC the units' answers are waited for; 0: half the period. */
  std::chrono::microseconds feedback_deadline{0};
  /** Set-points that the program does not refresh for so long stop the group: 3 periods at least. The
   * configuration's targetVelocityTimeoutMs has no part in it. */
  std::chrono::milliseconds setpoint_timeout{200};
  unsigned missing_limit = 3;  ///< cycles in a row without its answer make a unit silent
  OnLoss on_loss = OnLoss::STOP_ALL;
  std::chrono::milliseconds enable_timeout{5'000};
  int standstill = 3;           ///< amount of velocity that counts as standing, in the drive's unit
  unsigned bit_rate = 500'000;  ///< that the bus runs at; 0: not known, and its load not judged
  /** This group's own: its heartbeat is apart from HostNode's, for it is sent by the cycle alone. 0: the
   * first silent one from 127 down. */
  std::uint8_t host_node_id = 0;
  std::chrono::milliseconds heartbeat_period{50};
  std::chrono::milliseconds heartbeat_timeout{250};  ///< after which the drives miss it (0x1016)
  std::chrono::milliseconds listening{1'000};        ///< before anything is sent
  std::chrono::milliseconds record_time{5'000};
  /** The cycle runs on a thread of the group; else the program calls exchange() once a period. */
  bool has_thread = true;
  /** What the group's thread asks of the system; none: it asks nothing. */
  std::optional<RealTimeSettings> real_time;
  const Interrupt* interrupt = nullptr;  ///< ends what is waited for; must outlive the group
  /** What the program is to be told although the operation goes on. */
  std::function<void(const Explanation&)> on_warning;
};

/** What prepare() found and arranged. */
struct GroupPreparation {
  struct Unit {
    std::uint8_t node = 0;
    double acceleration = 0;       ///< per second (0x6048)
    double deceleration = 0;       ///< per second (0x6049)
    int most_velocity = 0;         ///< amount (0x6046:02)
    std::uint8_t watch_entry = 0;  ///< sub-index of 0x1016 that watches this host; 0: none
    std::string weakness;          ///< why it would not stop when the host dies; empty: it would
    /** From its greatest velocity, counted from the moment the program dies: in 1/min times seconds. */
    double stopping_way = 0;
  };
  std::vector<Unit> units;
  std::uint8_t host_node = 0;
  std::chrono::milliseconds heartbeat_timeout{0};
  GroupLoad load;                   ///< of the bus
  std::vector<std::uint8_t> heard;  ///< nodes with a heartbeat
};

/**
 * Several units on one bus that move together: their orders are sent between the same two SYNCs and taken at
 * the second, by a cycle that needs no SDO. See docs/several-drives.md.
 *
 * prepare(), start(), enable(), set() again and again, stop(). Whatever ends the motion, the order is the
 * same: velocity 0 for all, standstill, no torque; then the drives watch this host no more. The group's end
 * does all of it, so also an exception that is caught, and exit(). For what nobody can handle the drives miss
 * the host's heartbeat, which is sent by complete cycles alone.
 *
 * The units must outlive the group and are on one client; while it runs they refuse to be moved one by one.
 * set(), snapshot(), statistics() and the records may be called by any thread; the rest by one at a time.
 */
class NKR_EXPORT Group {
 public:
  explicit Group(const std::vector<Unit*>& units, const GroupSettings& settings = {});
  ~Group();
  Group(const Group&) = delete;
  Group& operator=(const Group&) = delete;

  /**
   * Listens for somebody else who commands these units; sees that they are there, stand without torque and
   * have equal ramps; takes them to pre-operational; has the client keep process data, and the watch over
   * this host, in them (replacing what Client::setNodeConfiguration had for them): written, read back, and
   * brought back after a restart.
   * @return with Cause::BUS_LOAD, OTHER_HOST, RAMPS_DIFFER, HOST_NODE_TAKEN, NO_HOST_NODE, REFUSED,
   * NEVER_HEARD, REQUEST, NOT_KEPT, INTERRUPTED
   */
  Result prepare();
  [[nodiscard]] const GroupPreparation& preparation() const;

  /** Starts the units (NMT) and the cycle; waits until all answered two SYNCs in a row. Moves nothing.
   * @return with Cause::FELL_SILENT, or what the bus said */
  Result start();

  struct Enabling {
    bool reset_faults = false;
  };
  /** Takes all units to OPERATION_ENABLED, the last step in one cycle; when one cannot be, none stays
   * enabled.
   * @return with Cause::IN_FAULT, STALLED, FELL_SILENT, RESTARTED, GROUP_STOPPED ... and what the unit says
   */
  Result enable(Enabling enabling);
  Result enable() { return enable(Enabling{}); }

  /**
   * Velocities of all units, in the order in which they were given, in the drive's unit. Waits for nothing:
   * the cycle takes the newest. To be called again within setpoint_timeout.
   * @return with Cause::OUT_OF_RANGE, or why the group stopped
   */
  Result set(const std::vector<int>& velocities);
  /** The same without a record, for threads that must not allocate: see GroupCycle::set(). */
  nkr_error_t set(const int* velocities, std::size_t count);

  /** All by their ramps to standstill, at most as long as those take, then no torque. */
  Result stop();
  /** All by their ramps to standstill, where they stay with torque. resume() leads on. */
  Result hold();
  /** Out of HELD: follows set-points again, from the first one that is set after this call. */
  Result resume();

  void snapshot(GroupSnapshot& snapshot) const;
  [[nodiscard]] GroupSnapshot snapshot() const;
  [[nodiscard]] GroupStatistics statistics() const;
  /** Called in every cycle, on its thread, between the answers and the orders: see GroupCycle::on_cycle().
   * Before start(). */
  void on_cycle(GroupCycle::OnCycle handler);
  /** Why the group stopped, or nothing: text(reason) words it. */
  [[nodiscard]] StopReason reason() const { return snapshot().reason; }

  /** One cycle, for a program that paces it: once a period. Waits for nothing. */
  void exchange();

  /** The last seconds, or those around the last stop that nobody asked for. */
  void write_record(std::ostream& csv) const;
  void write_frames(std::ostream& log) const;

  /** What the group's thread got of what it asked the system for; after start(). */
  [[nodiscard]] RealTimeReport real_time() const;
  [[nodiscard]] const GroupSettings& settings() const;
  [[nodiscard]] std::size_t size() const;

 private:
  struct NKR_HIDDEN Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace tav::host

#endif

#ifndef TAV_HOST_SRC_GROUP_CYCLEIMPL_HPP
#define TAV_HOST_SRC_GROUP_CYCLEIMPL_HPP

#include <array>
#include <atomic>
#include <cstdint>
#include <tav/host/GroupCycle.hpp>
#include <vector>

#include "CycleRecord.hpp"
#include "Member.hpp"
#include "NewestSet.hpp"
#include "SharedRing.hpp"

namespace tav::host {

struct GroupCycle::Impl {
  using Kind = StopReason::Kind;
  using State = Member::State;
  using Duration = nkr::can::Clock::duration;

  Impl(const CycleSettings& the_settings, Output the_output);

  // cycle_phases.cpp: what is due, and when
  Time step(Time now);
  void exchange(Time now);
  void begin_cycle(Time now);
  void send_sync(Time now);
  void finish(Time now);
  void send_orders(Time now);
  void send_heartbeat(Time now);
  nkr_error_t send(const nkr::can::Frame& frame, Time now);
  void publish(Time now);
  [[nodiscard]] Time on_grid(std::uint64_t point) const;
  [[nodiscard]] Time latest_order() const;
  [[nodiscard]] bool all_answered() const;

  // cycle_frames.cpp: what others sent
  void receive(const nkr::can::Frame& frame, Time at);
  void take_process_data(Member& member, const nkr::can::Frame& frame, Time at);
  void take_emergency(Member& member, const nkr::can::Frame& frame, Time at);
  void take_error_control(Member& member, const nkr::can::Frame& frame, Time at);
  void take_nmt_command(const nkr::can::Frame& frame, Time at);
  void foreign(Kind kind, std::uint8_t node, const nkr::can::Frame& frame, Time at);
  [[nodiscard]] Member* member_of(std::uint8_t node);

  // cycle_states.cpp: what the group is at
  void evaluate(Time now);
  void count_answers();
  void take_requests(Time now);
  void take_set();
  void watch_program(Time now);
  void advance(Time now);
  void advance_enabling(Time now);
  void see_that_all_operate(Time now);
  void advance_stopping(Time now);
  void advance_disabling(Time now);
  void enable(Time now, bool reset_faults);
  void resume();
  void lose(Member& member, StopReason reason, Time now);
  void stop(StopReason reason, Time now);
  void enter(GroupState next, Time now);
  void set_orders();
  void note(StopReason reason, Time now);
  [[nodiscard]] StopReason reason_of(Kind kind, const Member& member) const;
  [[nodiscard]] bool moves() const;
  [[nodiscard]] bool all_are_ready() const;
  [[nodiscard]] Duration longest_stop() const;
  [[nodiscard]] static bool may_still_move(const Member& member);

  const CycleSettings settings;
  const Output output;
  OnCycle handler;

  // Of the thread that runs the cycle.
  std::vector<Member> members;
  std::vector<std::size_t> by_node;         ///< members in the order of their node ids
  std::array<std::int8_t, 128> index_of{};  ///< of a node's member; -1: none
  enum class Phase : std::uint8_t { OFF, WAIT, COLLECT, ORDER } phase = Phase::OFF;
  const Duration period;
  const Duration deadline;  ///< of the process data, after the SYNC
  const Duration guard;     ///< the orders' way to the units, before the next SYNC
  Time zero;                ///< of the grid
  Time sync_at;
  Time last_answer;
  Time next_heartbeat;
  std::uint64_t cycle = 0;  ///< of the last SYNC
  std::uint64_t next = 0;   ///< point of the grid
  unsigned sync_failures = 0;
  unsigned order_failures = 0;

  GroupState state = GroupState::OFF;
  Time state_since;
  bool is_quick = false;      ///< the stop under way is a quick stop
  bool then_disable = false;  ///< what follows the stop under way
  bool resets_faults = false;
  bool withholds_heartbeat = false;
  unsigned standing = 0;  ///< cycles in a row
  double fastest = 0;     ///< when the stop began
  bool has_set = false;   ///< since the group was enabled or resumed
  NewestSet::Set set;
  NewestSet::Set incoming;
  GroupSnapshot snapshot;
  GroupStatistics statistics;

  // Shared.
  NewestSet newest;
  std::atomic<std::uint64_t> accepted{0};  ///< epoch of the sets that are taken; 0: none is
  std::uint64_t epoch = 0;
  std::atomic<unsigned> requests{0};
  std::atomic<std::uint64_t> asked{0};
  std::uint64_t handled = 0;
  std::array<std::atomic<bool>, 128> restored{};
  SnapshotRing published;
  CycleRecord record;
  SharedRing counted;  ///< statistics: of the group, then of the units
  std::vector<unsigned char> counted_bytes;

  void publish_statistics();
};

}  // namespace tav::host

#endif

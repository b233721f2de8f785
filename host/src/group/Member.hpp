#ifndef TAV_HOST_SRC_GROUP_MEMBER_HPP
#define TAV_HOST_SRC_GROUP_MEMBER_HPP

#include <cstdint>
#include <nkr/can/Deadline.hpp>
#include <nkr/can/Frame.hpp>
#include <optional>
#include <tav/host/GroupCycle.hpp>
#include <tavcore/IPDSService.hpp>

namespace tav::host {

/** One unit of a group, as its cycle sees it. */
struct Member {
  using State = nkr::tavcore::IPDSService::PDSState;
  using Time = nkr::can::Clock::time_point;

  CycleSettings::Member settings;
  Feedback feedback;
  UnitStatistics statistics;
  bool answered = false;                  ///< this cycle's SYNC
  bool was_enabled = false;               ///< seen in OPERATION_ENABLED since the group was enabled
  bool needs_restoring = false;           ///< it restarted: what it holds is as after power-on
  bool wants_start = false;               ///< another master took it out of operational while it moved
  std::uint16_t communication_error = 0;  ///< code of the last emergency of classes 81xx and 82xx
  Time communication_error_at;

  [[nodiscard]] std::optional<State> state() const;
  [[nodiscard]] bool is(State state) const { return this->state() == state; }
  /** Its power stage gives torque. */
  [[nodiscard]] bool has_torque() const;
  [[nodiscard]] bool stands(int standstill) const;
  /** Takes its process data; false when they have another length than mapped. */
  bool decode(const nkr::can::Frame& frame, std::uint64_t cycle, Time at);

  /** The next step towards OPERATION_ENABLED. All take the last one in the same cycle.
   * @param all_are_ready  every unit is SWITCHED_ON */
  [[nodiscard]] std::uint16_t enabling_word(bool all_are_ready, bool reset_fault) const;
  /** The next step towards no torque, from standstill or on its ramp; enables nothing. */
  [[nodiscard]] std::uint16_t disabling_word() const;
  [[nodiscard]] nkr::can::Frame order() const;
};

// Control words in velocity mode (CiA 402-2, 8.4.1 and 11.3).
constexpr std::uint16_t kFollowRamp = 0x007F;  ///< operation enabled, bits 4 to 6 let the ramp follow
constexpr std::uint16_t kQuickStop = 0x0002;

}  // namespace tav::host

#endif

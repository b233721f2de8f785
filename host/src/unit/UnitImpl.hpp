#ifndef TAV_HOST_SRC_UNIT_UNITIMPL_HPP
#define TAV_HOST_SRC_UNIT_UNITIMPL_HPP

#include <atomic>
#include <memory>
#include <mutex>
#include <nkr/time/RecursiveMutex.hpp>
#include <optional>
#include <string>
#include <tav/host/Unit.hpp>
#include <tavcore/Controller.hpp>

#include "DriveLink.hpp"
#include "Protection.hpp"

namespace tav::host {

/** Of a unit, and of exit() as long as that stops its drive. */
class Unit::Impl : public std::enable_shared_from_this<Unit::Impl> {
 public:
  /** One call of the program. exit() on another thread has it come back soon, and lets none begin after it.
   */
  template <class Operation>
  Result call(const char* action, const Operation& operation);

  // Enabling.cpp
  Result enable(const Enabling& enabling);
  nkr::tavcore::Controller& controller();

  // Following.cpp
  Result set_velocity(int velocity);
  Result adopt();
  Result follow(std::chrono::milliseconds time, const OnLook& on_look);
  Result look(Look& look);

  // Stopping.cpp
  /** The unit's end, or the program's: whichever comes first. */
  void end() noexcept;
  Result stop();
  Result disable();
  Result leave();

  // Resetting.cpp
  Result reset(std::uint8_t after, nkr::canopencore::NMTCommand command);

  // Reading.cpp
  nkr::canopencore::NMTState wait_for_nmt_state(std::chrono::milliseconds patience);
  Result read_state(Snapshot& state);
  Result read_power(PowerFacts& facts);
  Result read_errors(std::vector<nkr::canopen::Emergency>& errors);

  DriveLink link;
  Protection protection{link};
  std::atomic<bool> is_in_group{false};  ///< which moves it
  std::atomic<bool> is_enabled{false};   ///< enable() succeeded, and nothing was seen to end it

 private:
  using Controller = nkr::tavcore::Controller;
  using State = nkr::tavcore::IPDSService::PDSState;

  // Enabling.cpp
  Result see_presence();
  void tell_two_nodes();
  void see_two_nodes();
  Result see_state(bool reset_fault, std::optional<State>& state);
  Result take_over();
  Result walk(bool reset_fault);
  Result follow_ramp();
  void take_responsibility();

  // Following.cpp
  Result read_look(Look& look);
  Result judge(const Look& look);
  void see_limits(const Look& look);

  // Resetting.cpp
  void await_pre_operational();

  // Stopping.cpp
  Result wait_for_standstill();
  void wake_node();
  void give_up_responsibility();
  void lose_protection();
  Result protection_lost();

  // Explaining.cpp
  /** Why the drive is no longer, or did not become, enabled: what was heard first, then what it says. */
  Result explain(Cause fallback, const std::string& action);

  nkr::time::RecursiveMutex at_work_;  ///< of a call
  nkr::time::RecursiveMutex ending_;   ///< of the end, before at_work_
  std::unique_ptr<Controller> controller_;
  bool responsible_ = false;       ///< the unit's end is to stop the drive
  bool enabled_here_ = false;      ///< and to take its power stage off
  int living_ = 0;                 ///< number for exit()
  std::atomic<bool> lost_{false};  ///< the protection: somebody else uses the host's node id
  std::int16_t target_ = 0;        ///< as set by this unit
  std::uint16_t control_word_ = 0;
  bool limits_told_ = false;
  bool two_nodes_told_ = false;
};

template <class Operation>
Result Unit::Impl::call(const char* action, const Operation& operation) {
  Result result;
  {
    const std::lock_guard<nkr::time::RecursiveMutex> at_work(at_work_);
    result = link.is_ending ? link.interrupted(action) : operation();
  }
  // Back in the program it may end the process: not before the drive stands.
  if (link.is_ending) const std::lock_guard<nkr::time::RecursiveMutex> ended(ending_);
  return result;
}

}  // namespace tav::host

#endif

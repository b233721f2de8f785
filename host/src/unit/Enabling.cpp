#include <tav/host/Presence.hpp>
#include <utility>

#include "LivingUnits.hpp"
#include "UnitImpl.hpp"

namespace tav::host {

Result Unit::Impl::enable(const Enabling& enabling) {
  if (is_enabled) return {};
  if (is_in_group) {
    return Result(link.explanation(Cause::REFUSED, NKR_INVALID_STATE, "the unit moves with its group"));
  }
  if (link.is_interrupted()) return link.interrupted("enable the drive");
  const InterruptWatch::Span until_enabled = link.interruptible();
  link.events->begin_operation();
  lost_ = false;
  Result result = see_presence();
  if (!result.ok()) return result;
  std::optional<State> state;
  result = see_state(enabling.reset_fault, state);
  if (!result.ok()) return result;
  result = protection.begin([this] { lose_protection(); });
  if (!result.ok()) return result;
  result = state == State::OPERATION_ENABLED ? take_over() : walk(enabling.reset_fault);
  if (result.ok()) result = follow_ramp();
  if (result.ok()) result = adopt();
  if (result.ok() && lost_) result = protection_lost();
  is_enabled = result.ok();
  if (is_enabled) link.events->begin_work();
  return result;
}

nkr::tavcore::Controller& Unit::Impl::controller() {
  if (!controller_) {
    controller_ = std::make_unique<Controller>();
    // It refuses what is not ready; configuration and dispatcher were opened and are.
    static_cast<void>(controller_->init(link.config, link.dispatcher));
  }
  return *controller_;
}

Result Unit::Impl::see_presence() {
  const Presence presence = look_for_node(*link.bus, *link.client, link.node);
  if (!presence.is_there) {
    if (presence.asked != NKR_SDO_TIMED_OUT) return link.check(presence.asked, "look for the drive");
    Explanation absent = link.explanation(Cause::NEVER_HEARD, presence.asked, "look for the drive");
    absent.request = link.check(presence.asked, "look for the drive").explanation().request;
    if (absent.heard.last) absent.cause = DriveLink::cause_of_silence(absent);
    return Result(std::move(absent));
  }
  two_nodes_told_ = false;
  if (presence.answered_twice) tell_two_nodes();
  see_two_nodes();
  return {};
}

void Unit::Impl::tell_two_nodes() {
  if (std::exchange(two_nodes_told_, true)) return;
  link.warn(link.explanation(Cause::TWO_NODES, NKR_OK, "look for the drive"));
}

/** By their heartbeats. */
void Unit::Impl::see_two_nodes() {
  if (link.client->hearsTwoNodes(link.node)) tell_two_nodes();
}

/** A node that is stopped serves no SDO: the walk starts it, and looks then. */
Result Unit::Impl::see_state(bool reset_fault, std::optional<State>& state) {
  if (link.events->heard().nmt == nkr::canopencore::NMTState::STOPPED) return {};
  State present{};
  const nkr_error_t read = link.dispatcher->getPDSState(present);
  if (read == NKR_INVALID_STATE) return {};  // no state of CiA 402: the walk says so
  if (read != NKR_OK) return link.check(read, "read the state");
  state = present;
  const bool in_fault = present == State::FAULT || present == State::FAULT_REACTION_ACTIVE;
  if (!in_fault || reset_fault) return {};
  Explanation refused = link.explanation(Cause::IN_FAULT, NKR_INVALID_STATE, "enable the drive");
  PowerFacts facts;
  if (read_power(facts).ok()) refused.power = facts;
  return Result(std::move(refused));
}

/** From here on the unit's end, and that of the program, stops the drive. */
void Unit::Impl::take_responsibility() {
  responsible_ = true;
  if (living_ != 0) return;
  living_ = LivingUnits::add([weak = weak_from_this()] {
    if (const auto unit = weak.lock()) unit->end();
  });
}

Result Unit::Impl::take_over() {
  take_responsibility();
  std::int16_t target = 0;
  Result result = link.check(link.dispatcher->getTargetVelocity(target), "read the target velocity");
  if (!result.ok()) return result;
  Explanation told = link.explanation(Cause::TAKEN_OVER, NKR_OK, "enable the drive");
  told.found = target;
  for (const HostMonitoring::Consumer& consumer : protection.before().consumers) {
    std::uint32_t age = 0;
    const bool alive = consumer.is_active() && consumer.node != link.host->id() &&
                       link.client->getTimeSinceHeard(consumer.node, age) == NKR_OK && age < consumer.time_ms;
    if (alive) told.heard.other_node = consumer.node;
  }
  if (target != 0 || told.heard.other_node != 0) link.warn(told);
  return {};
}

Result Unit::Impl::walk(bool reset_fault) {
  take_responsibility();
  // What was demanded of it before must not make it move now.
  Result result = link.check(link.dispatcher->setTargetVelocity(0), "set target velocity 0");
  if (!result.ok()) return result;
  enabled_here_ = true;
  const UnitDispatcher::Walk walk(link.own_dispatcher.get(), link.settings.interrupt, reset_fault);
  const nkr_error_t walked = controller().enterInOperationEnabledState();
  if (walked == NKR_OK) return {};
  if (walked == NKR_INTERRUPTED) return link.interrupted("enable the drive");
  return walked == NKR_INVALID_STATE ? explain(Cause::STALLED, "enable the drive")
                                     : link.check(walked, "enable the drive");
}

/** CiA 402-2, velocity mode: the drive follows the set-point when bits 4, 5 and 6 are all set. */
Result Unit::Impl::follow_ramp() {
  nkr::tavcore::CANOpenDispatcher& drive = *link.dispatcher;
  Result result = link.check(drive.setEnableRamp(true), "enable the ramp");
  if (result.ok()) result = link.check(drive.setUnlockRamp(true), "unlock the ramp");
  if (result.ok()) {
    result = link.check(drive.setReferenceRamp(true), "let the ramp follow the target velocity");
  }
  Controller::VelocityModeControlword word{};
  if (result.ok()) result = link.check(drive.getVelocityModeControlword(word), "read the control word back");
  if (!result.ok() || (word.enable_ramp && word.unlock_ramp && word.reference_ramp)) return result;
  return Result(link.explanation(Cause::NOT_KEPT, NKR_ERROR, "the ramp bits of its control word"));
}

}  // namespace tav::host

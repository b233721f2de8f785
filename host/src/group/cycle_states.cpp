// What the group is at, and what it tells its units.
#include <algorithm>
#include <cstdlib>
#include <utility>

#include "CycleImpl.hpp"

namespace tav::host {

namespace {

constexpr unsigned kStandingCycles = 5;
constexpr std::chrono::seconds kDisabling{2};
/** Where the ramp is not known. */
constexpr std::chrono::seconds kLongestStop{20};
constexpr std::chrono::milliseconds kStopReserve{500};
constexpr double kRampReserve = 1.5;

unsigned bit(GroupCycle::Request request) {
  return static_cast<unsigned>(request);
}

/** After these all that stand are disabled: one of them gives no torque any more, or cannot be relied upon.
 */
bool loses_a_unit(StopReason::Kind kind) {
  using Kind = StopReason::Kind;
  switch (kind) {
    case Kind::FAULTED:
    case Kind::LEFT_OPERATION:
    case Kind::SILENT:
    case Kind::RESTARTED:
    case Kind::NMT_CHANGED:
    case Kind::BUS_FAILED:
    case Kind::STALLED:
    case Kind::STILL_TURNING:
    case Kind::ASKED:
      return true;
    default:
      return false;
  }
}

}  // namespace

bool GroupCycle::Impl::moves() const {
  return state == GroupState::ENABLED || state == GroupState::STOPPING || state == GroupState::HELD ||
         state == GroupState::ENABLING;
}

StopReason GroupCycle::Impl::reason_of(Kind kind, const Member& member) const {
  StopReason reason;
  reason.kind = kind;
  reason.node = member.settings.node;
  reason.emergency = member.feedback.emergency;
  if (member.feedback.last) reason.status_word = member.feedback.last->status_word;
  return reason;
}

void GroupCycle::Impl::evaluate(Time now) {
  count_answers();
  for (Member& member : members) {
    if (member.feedback.missing >= settings.missing_limit && moves() && !member.feedback.is_lost) {
      StopReason reason = reason_of(Kind::SILENT, member);
      reason.count = member.feedback.missing;
      lose(member, reason, now);
    }
  }
  take_requests(now);
  take_set();
  watch_program(now);
  advance(now);
}

void GroupCycle::Impl::count_answers() {
  bool complete = true;
  for (Member& member : members) {
    const auto node = static_cast<std::size_t>(member.settings.node);
    if (restored.at(node).exchange(false)) member.needs_restoring = false;
    member.feedback.is_fresh = member.answered;
    if (member.answered) {
      member.feedback.missing = 0;
      if (state == GroupState::DISABLED && !member.needs_restoring) member.feedback.is_lost = false;
      continue;
    }
    complete = false;
    ++member.feedback.missing;
    ++member.statistics.missing;
    member.statistics.longest_missing = std::max(member.statistics.longest_missing, member.feedback.missing);
  }
  if (complete) {
    statistics.round_trip.add(last_answer - sync_at, cycle);
  } else {
    ++statistics.incomplete;
  }
}

/** What was asked for is in the bits before its number counts. */
void GroupCycle::Impl::take_requests(Time now) {
  const std::uint64_t numbered = asked.load();
  const unsigned wanted = requests.exchange(0);
  handled = numbered;
  if (wanted == 0) return;
  const auto has = [wanted](Request request) { return (wanted & bit(request)) != 0; };
  if (has(Request::STOP) || has(Request::QUICK_STOP) || has(Request::HOLD)) {
    StopReason reason;
    reason.kind = Kind::ASKED;
    stop(reason, now);
    if (state != GroupState::STOPPING && state != GroupState::HELD) return;
    is_quick = is_quick || has(Request::QUICK_STOP);
    then_disable = then_disable || !has(Request::HOLD) || has(Request::STOP);
    if (state == GroupState::HELD && then_disable) enter(GroupState::STOPPING, now);
    return;
  }
  if (has(Request::ENABLE) || has(Request::ENABLE_RESET_FAULTS)) {
    enable(now, has(Request::ENABLE_RESET_FAULTS));
  }
  if (has(Request::RESUME)) resume();
}

void GroupCycle::Impl::enable(Time now, bool reset_faults) {
  if (state != GroupState::DISABLED) return;
  for (Member& member : members) {
    if (member.needs_restoring) {
      snapshot.reason = StopReason{};
      return note(reason_of(Kind::RESTARTED, member), now);
    }
    member.was_enabled = member.feedback.is_lost = false;
  }
  resets_faults = reset_faults;
  snapshot.reason = StopReason{};
  record.go_on();
  enter(GroupState::ENABLING, now);
}

void GroupCycle::Impl::resume() {
  if (state != GroupState::HELD && (state != GroupState::STOPPING || then_disable || is_quick)) return;
  const bool all_operate = std::all_of(members.begin(), members.end(), [](const Member& member) {
    return member.feedback.is_fresh && !member.feedback.is_lost && member.is(State::OPERATION_ENABLED);
  });
  if (!all_operate) return;
  snapshot.reason = StopReason{};
  record.go_on();
  has_set = false;
  state = GroupState::ENABLED;
  accepted.store(++epoch);
}

/** Of another epoch: set before the stop, or before it was resumed. */
void GroupCycle::Impl::take_set() {
  if (!newest.take(incoming) || incoming.epoch != epoch || state != GroupState::ENABLED) return;
  std::swap(set, incoming);
  has_set = true;
}

void GroupCycle::Impl::watch_program(Time now) {
  if (state != GroupState::ENABLED || !has_set || now - set.at < settings.setpoint_timeout) return;
  StopReason reason;
  reason.kind = Kind::SETPOINT_TIMEOUT;
  reason.count = static_cast<unsigned>(
      std::chrono::duration_cast<std::chrono::milliseconds>(settings.setpoint_timeout).count());
  stop(reason, now);
}

void GroupCycle::Impl::advance(Time now) {
  if (state == GroupState::ENABLING) return advance_enabling(now);
  if (state == GroupState::ENABLED || state == GroupState::HELD) return see_that_all_operate(now);
  if (state == GroupState::STOPPING) {
    see_that_all_operate(now);
    advance_stopping(now);
  } else if (state == GroupState::DISABLING) {
    advance_disabling(now);
  }
}

bool GroupCycle::Impl::all_are_ready() const {
  return std::all_of(members.begin(), members.end(), [](const Member& member) {
    return member.feedback.is_fresh && (member.is(State::SWITCHED_ON) || member.is(State::OPERATION_ENABLED));
  });
}

void GroupCycle::Impl::advance_enabling(Time now) {
  bool all = true;
  for (Member& member : members) {
    if (member.is(State::FAULT) && !resets_faults) return lose(member, reason_of(Kind::FAULTED, member), now);
    const bool operates = member.feedback.is_fresh && member.is(State::OPERATION_ENABLED);
    if (operates) member.was_enabled = true;
    if (!operates && member.was_enabled && member.feedback.is_fresh) {
      return lose(member, reason_of(Kind::LEFT_OPERATION, member), now);
    }
    all = all && operates;
  }
  if (all) {
    has_set = false;
    enter(GroupState::ENABLED, now);
    accepted.store(++epoch);
    return;
  }
  if (now - state_since < settings.enable_timeout) return;
  const auto slow = std::find_if(members.begin(), members.end(), [](const Member& member) {
    return !member.feedback.is_fresh ||
           !(member.is(State::SWITCHED_ON) || member.is(State::OPERATION_ENABLED));
  });
  stop(reason_of(Kind::STALLED, slow == members.end() ? members.front() : *slow), now);
}

/** A quick stop leaves OPERATION_ENABLED by itself. */
void GroupCycle::Impl::see_that_all_operate(Time now) {
  if (is_quick && state == GroupState::STOPPING) return;
  for (Member& member : members) {
    if (member.feedback.is_lost || !member.feedback.is_fresh || member.is(State::OPERATION_ENABLED)) continue;
    const bool fault = member.is(State::FAULT) || member.is(State::FAULT_REACTION_ACTIVE);
    lose(member, reason_of(fault ? Kind::FAULTED : Kind::LEFT_OPERATION, member), now);
  }
}

GroupCycle::Impl::Duration GroupCycle::Impl::longest_stop() const {
  double slowest = 0;
  for (const Member& member : members) {
    if (member.settings.deceleration <= 0) return kLongestStop;
    slowest = std::max(slowest, fastest / member.settings.deceleration);
  }
  return std::chrono::duration_cast<Duration>(std::chrono::duration<double>(slowest * kRampReserve)) +
         kStopReserve;
}

/** A unit that is lost is waited for only while it says that it turns. */
void GroupCycle::Impl::advance_stopping(Time now) {
  const auto turning = std::find_if(members.begin(), members.end(), [this](const Member& member) {
    if (member.feedback.is_lost && !member.feedback.is_fresh) return false;
    return !member.feedback.is_fresh || !member.stands(settings.standstill);
  });
  standing = turning == members.end() ? standing + 1 : 0;
  if (standing >= kStandingCycles) {
    enter(then_disable ? GroupState::DISABLING : GroupState::HELD, now);
  } else if (now - state_since < longest_stop()) {
    return;
  } else if (!is_quick) {
    is_quick = then_disable = true;
    state_since = now;
  } else {
    if (turning != members.end()) note(reason_of(Kind::STILL_TURNING, *turning), now);
    enter(GroupState::DISABLING, now);
  }
}

void GroupCycle::Impl::advance_disabling(Time now) {
  const bool all_off = std::none_of(members.begin(), members.end(), [](const Member& member) {
    return member.feedback.is_fresh &&
           (member.has_torque() || member.is(State::SWITCHED_ON) || member.is(State::READY_TO_SWITCH_ON));
  });
  const bool all_tell = std::all_of(members.begin(), members.end(), [](const Member& member) {
    return member.feedback.is_fresh || member.feedback.is_lost;
  });
  if ((all_off && all_tell) || now - state_since > kDisabling) enter(GroupState::DISABLED, now);
}

void GroupCycle::Impl::lose(Member& member, StopReason reason, Time now) {
  if (std::exchange(member.feedback.is_lost, true)) return;
  if (settings.on_loss == OnLoss::STOP_ALL || state == GroupState::ENABLING) return stop(reason, now);
  note(reason, now);
  const bool none_left =
      std::all_of(members.begin(), members.end(), [](const Member& other) { return other.feedback.is_lost; });
  if (none_left) stop(reason, now);
}

/** The first reason is told, what follows from it is not; standing in HELD begins anew. */
void GroupCycle::Impl::note(StopReason reason, Time now) {
  StopReason& told = snapshot.reason;
  const bool is_first = told.kind == Kind::NONE || told.kind == Kind::ASKED || state == GroupState::HELD;
  if (!is_first) return;
  reason.cycle = cycle;
  reason.at = now;
  told = reason;
  if (reason.kind != Kind::ASKED) record.keep();
}

/** Whatever the reason, the order is the same: velocity 0 for all, standstill, and then no torque where the
 * reason takes it from one of them. */
void GroupCycle::Impl::stop(StopReason reason, Time now) {
  if (state == GroupState::OFF || state == GroupState::DISABLED) {
    if (reason.kind != Kind::ASKED) note(reason, now);
    return;
  }
  note(reason, now);
  accepted.store(0);
  if (state == GroupState::ENABLING) return enter(GroupState::DISABLING, now);
  if (state == GroupState::DISABLING) return;
  const bool was_under_way = state == GroupState::STOPPING;
  then_disable = (was_under_way && then_disable) || (reason.kind != Kind::ASKED && loses_a_unit(reason.kind));
  if (was_under_way) return;
  is_quick = false;
  const bool stays_held = state == GroupState::HELD && !then_disable;
  if (!stays_held) enter(GroupState::STOPPING, now);
}

/** It turned when it was last heard, and nobody sees whether it hears what it is told. */
bool GroupCycle::Impl::may_still_move(const Member& member) {
  return member.feedback.is_lost && !member.feedback.is_fresh && !member.needs_restoring &&
         member.has_torque();
}

void GroupCycle::Impl::enter(GroupState next_state, Time now) {
  if (next_state == GroupState::ENABLING) withholds_heartbeat = false;
  if (next_state == GroupState::DISABLING) {  // the others stand: it is to notice by itself
    withholds_heartbeat = std::any_of(members.begin(), members.end(), may_still_move);
  }
  state = next_state;
  state_since = now;
  standing = 0;
  fastest = 0;
  for (const Member& member : members) {
    if (member.feedback.last)
      fastest = std::max<double>(fastest, std::abs(int{member.feedback.last->velocity}));
  }
}

void GroupCycle::Impl::set_orders() {
  const bool ready = state == GroupState::ENABLING && all_are_ready();
  for (std::size_t i = 0; i < members.size(); ++i) {
    Member& member = members[i];
    Feedback& unit = member.feedback;
    const bool follows = state == GroupState::ENABLED && has_set && !unit.is_lost;
    unit.order = follows ? set.velocities[i] : std::int16_t{0};
    if (state == GroupState::ENABLING) {
      unit.control_word = member.enabling_word(ready, resets_faults);
    } else if (!moves() || unit.is_lost) {
      unit.control_word = member.disabling_word();
    } else {
      unit.control_word = is_quick && state == GroupState::STOPPING ? kQuickStop : kFollowRamp;
    }
  }
}

}  // namespace tav::host

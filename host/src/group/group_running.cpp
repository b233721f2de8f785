// A group at work: its thread, what the program asks of it, and its end.
#include <algorithm>
#include <limits>
#include <nkr/time/clock.hpp>
#include <tav/host/Interrupt.hpp>
#include <tav/host/text.hpp>
#include <thread>
#include <utility>

#include "../unit/LivingUnits.hpp"
#include "../unit/UnitImpl.hpp"
#include "GroupImpl.hpp"

namespace tav::host {

using nkr::can::Frame;
using std::chrono::milliseconds;
using Kind = StopReason::Kind;

namespace {

constexpr milliseconds kAnswering{2'000};
constexpr milliseconds kStopping{60'000};
constexpr milliseconds kSending{100};
/** So many frames are taken before the clock is looked at again. */
constexpr int kFramesAtOnce = 64;

Cause cause_of(Kind kind) {
  switch (kind) {
    case Kind::FAULTED:
      return Cause::FAULTED;
    case Kind::LEFT_OPERATION:
      return Cause::LEFT_OPERATION;
    case Kind::SILENT:
      return Cause::FELL_SILENT;
    case Kind::RESTARTED:
      return Cause::RESTARTED;
    case Kind::NMT_CHANGED:
      return Cause::NMT_CHANGED;
    case Kind::STALLED:
      return Cause::STALLED;
    case Kind::STILL_TURNING:
      return Cause::STILL_TURNING;
    case Kind::FOREIGN_HEARTBEAT:
      return Cause::PROTECTION_LOST;
    case Kind::FOREIGN_SYNC:
    case Kind::FOREIGN_ORDER:
    case Kind::FOREIGN_NMT:
      return Cause::OTHER_HOST;
    default:
      return Cause::GROUP_STOPPED;
  }
}

bool has_torque(const Feedback& unit) {
  constexpr unsigned kOperates = 0x04;  // OPERATION_ENABLED, QUICK_STOP_ACTIVE, FAULT_REACTION_ACTIVE
  return unit.last && (unit.last->status_word & kOperates) != 0;
}

}  // namespace

Group::Impl::Impl(std::vector<tav::host::Unit*> the_units, const GroupSettings& the_settings)
    : units(std::move(the_units)),
      settings(the_settings),
      client(units.empty() ? nullptr : units.front()->shared_client()) {}

Group::Impl::~Impl() {
  end();
  if (subscription != 0) client->unsubscribe(subscription);
}

Explanation Group::Impl::explanation(Cause cause, nkr_error_t code, std::string action,
                                     std::uint8_t node) const {
  Explanation made;
  made.cause = cause;
  made.code = code;
  made.action = std::move(action);
  made.node = node;
  made.host_node = preparation.host_node;
  if (!units.empty()) made.bus = units.front()->bus().name();
  return made;
}

std::size_t Group::Impl::index_of(std::uint8_t node) const {
  const auto found =
      std::find_if(units.begin(), units.end(), [node](const auto* unit) { return unit->node_id() == node; });
  return static_cast<std::size_t>(found - units.begin());
}

bool Group::Impl::is_interrupted() const {
  return settings.interrupt != nullptr && settings.interrupt->requested();
}

void Group::Impl::warn(const Explanation& warning) const {
  if (settings.on_warning) settings.on_warning(warning);
}

Result Group::Impl::open_port() {
  std::vector<nkr::can::Filter> filters{{0x000}, {0x080}, {0x700U + preparation.host_node}};
  for (const tav::host::Unit* const unit : units) {
    for (const std::uint32_t function : {0x080U, 0x180U, 0x200U, 0x700U}) {
      filters.push_back({function + unit->node_id()});
    }
  }
  nkr_error_t result = NKR_OK;
  auto opened = units.front()->bus().open(filters, result);
  const std::lock_guard<std::mutex> lock(mutex);
  port = std::move(opened);
  return port ? Result{} : units.front()->check(result, "open a port for the cycle");
}

Result Group::Impl::start() {
  if (is_running) return {};
  if (!is_prepared) {
    return Result(explanation(Cause::REFUSED, NKR_INVALID_STATE, "a group is prepared before it is started"));
  }
  Result result = open_port();
  if (!result.ok()) return result;
  CycleSettings of_cycle;
  for (const GroupPreparation::Unit& unit : preparation.units) {
    of_cycle.members.push_back({unit.node, unit.deceleration, unit.most_velocity});
  }
  of_cycle.period = settings.period;
  of_cycle.feedback_deadline = settings.feedback_deadline;
  of_cycle.setpoint_timeout = settings.setpoint_timeout;
  of_cycle.missing_limit = settings.missing_limit;
  of_cycle.on_loss = settings.on_loss;
  of_cycle.enable_timeout = settings.enable_timeout;
  of_cycle.standstill = settings.standstill;
  of_cycle.bit_rate = settings.bit_rate;
  of_cycle.host_node = preparation.host_node;
  of_cycle.heartbeat_period = settings.heartbeat_period;
  of_cycle.record_time = settings.record_time;
  cycle = std::make_unique<GroupCycle>(
      of_cycle, [this](const Frame& frame) { return port->send(frame, nkr::can::Deadline::passed()); });
  cycle->on_cycle(handler);
  for (const GroupPreparation::Unit& unit : preparation.units) {
    result = units.front()->check(port->send({0x000, {0x01, unit.node}}, nkr::time::now() + kSending),
                                  "start the units");
    if (!result.ok()) return result;
  }
  wall = nkr::time::calendar_now();
  steady = nkr::time::now();
  is_ending = false;
  cycle->begin(steady);
  if (settings.has_thread && !thread.start([this] { run(); }, "tav-group")) {
    return Result(explanation(Cause::REQUEST, NKR_CAN_NO_RESOURCES, "start the cycle"));
  }
  {
    const std::lock_guard<std::mutex> lock(mutex);
    is_running = true;
  }
  claim_units(true);
  living = LivingUnits::add([this] { end(); });
  unsigned complete = 0;
  std::uint64_t seen = 0;
  const bool all = wait_for(
      [&](const GroupSnapshot& now) {
        if (now.cycle == seen) return false;
        seen = now.cycle;
        complete = now.answered == units.size() ? complete + 1 : 0;
        return complete >= 2;
      },
      kAnswering);
  if (all) return {};
  if (is_interrupted()) return Result(explanation(Cause::INTERRUPTED, NKR_INTERRUPTED, "start the group"));
  const GroupSnapshot now = cycle->snapshot();
  const auto silent =
      std::find_if(now.units.begin(), now.units.end(), [](const Feedback& unit) { return !unit.is_fresh; });
  Explanation absent = explanation(Cause::FELL_SILENT, NKR_SDO_TIMED_OUT, "start the group",
                                   silent == now.units.end() ? std::uint8_t{0} : silent->node);
  absent.detail = "no process data came with the SYNC";
  return Result(std::move(absent));
}

void Group::Impl::run() {
  if (settings.real_time) {
    RealTimeReport got = tav::host::real_time(*settings.real_time);
    const std::lock_guard<std::mutex> lock(report_mutex);
    report = std::move(got);
  }
  while (!is_ending) {
    const Time now = nkr::time::now();
    const Time due = cycle->step(now);
    if (due > now) take_frames(due);
  }
}

/** Waits for the first frame, and takes those that came with it. */
void Group::Impl::take_frames(Time until) {
  nkr::can::Deadline deadline(until);
  for (int i = 0; i < kFramesAtOnce; ++i) {
    Frame frame;
    const nkr_error_t result = port->receive(frame, deadline);
    if (result == NKR_OK) {
      cycle->receive(frame, nkr::time::now());
    } else if (result == NKR_CAN_BUS_OFF || result == NKR_CAN_INTERFACE_GONE) {
      cycle->bus_failed(result, nkr::time::now());
    } else if (result == NKR_CAN_CLOSED) {
      return nkr::time::sleep_until(std::min(until, nkr::time::now() + kSending));
    } else {
      return;
    }
    deadline = nkr::can::Deadline::passed();
  }
}

void Group::Impl::exchange() {
  if (!is_running || settings.has_thread) return;
  take_frames(Clock::time_point{});
  cycle->exchange(nkr::time::now());
}

/** Without a thread of its own the group's cycle is paced by who waits. */
bool Group::Impl::wait_for(const std::function<bool(const GroupSnapshot&)>& condition, milliseconds longest) {
  const Time end = nkr::time::now() + longest;
  Time next = nkr::time::now();
  while (true) {
    if (!settings.has_thread) exchange();
    if (condition(cycle->snapshot())) return true;
    if (is_interrupted() || nkr::time::now() >= end) return false;
    next = std::max(next + settings.period, nkr::time::now());
    nkr::time::sleep_until(next);
  }
}

Result Group::Impl::explain(const StopReason& reason, const std::string& action) {
  const Cause cause =
      reason.kind == Kind::FAULTED && action == "enable the group" ? Cause::IN_FAULT : cause_of(reason.kind);
  const nkr_error_t code = reason.kind == Kind::BUS_FAILED ? reason.result : NKR_INVALID_STATE;
  Explanation made = explanation(cause, code, action, reason.node);
  made.detail = text(reason);
  const std::size_t index = index_of(reason.node);
  if (index == units.size()) return Result(std::move(made));
  made.heard = units[index]->heard();
  PowerFacts facts;
  const bool may_answer = reason.kind != Kind::SILENT && reason.kind != Kind::BUS_FAILED;
  if (may_answer && units[index]->read_power(facts).ok()) made.power = facts;
  return Result(std::move(made));
}

Result Group::Impl::enable(const Enabling& enabling) {
  if (!is_running) {
    return Result(explanation(Cause::REFUSED, NKR_INVALID_STATE, "a group is started before it is enabled"));
  }
  const GroupState before = cycle->snapshot().state;
  if (before == GroupState::ENABLED) return {};
  const std::uint64_t number =
      cycle->ask(enabling.reset_faults ? Request::ENABLE_RESET_FAULTS : Request::ENABLE);
  const bool ended = wait_for(
      [number](const GroupSnapshot& now) {
        return now.requests >= number && (now.state == GroupState::ENABLED ||
                                          now.state == GroupState::DISABLED || now.state == GroupState::HELD);
      },
      settings.enable_timeout + kStopping);
  const GroupSnapshot now = cycle->snapshot();
  if (now.state == GroupState::ENABLED) return {};
  if (!ended && is_interrupted()) {
    Result stopped = stop(Request::STOP);
    return stopped.ok() ? Result(explanation(Cause::INTERRUPTED, NKR_INTERRUPTED, "enable the group"))
                        : stopped;
  }
  return explain(now.reason, "enable the group");
}

Result Group::Impl::set(const std::vector<int>& velocities) {
  if (!cycle) return Result(explanation(Cause::NOT_ENABLED, NKR_INVALID_STATE, "set the velocities"));
  const nkr_error_t result = cycle->set(velocities, nkr::time::now());
  if (result == NKR_OK) return {};
  if (result == NKR_INVALID_STATE) {
    const StopReason reason = cycle->snapshot().reason;
    Explanation stopped = explanation(reason.kind == Kind::NONE ? Cause::NOT_ENABLED : Cause::GROUP_STOPPED,
                                      result, "set the velocities", reason.node);
    stopped.detail = text(reason);
    return Result(std::move(stopped));
  }
  Explanation refused = explanation(Cause::OUT_OF_RANGE, result, "set the velocities");
  for (std::size_t i = 0; i < velocities.size() && i < units.size(); ++i) {
    if (std::abs(velocities[i]) <= preparation.units[i].most_velocity) continue;
    refused.expected = velocities[i];
    refused.node = preparation.units[i].node;
  }
  return Result(std::move(refused));
}

Result Group::Impl::stop(Request request) {
  if (!is_running) return {};
  const std::uint64_t number = cycle->ask(request);
  const Time end = nkr::time::now() + kStopping;
  const auto is_done = [&](const GroupSnapshot& now) {
    return now.requests >= number && (now.state == GroupState::DISABLED || now.state == GroupState::OFF ||
                                      (now.state == GroupState::HELD && request == Request::HOLD));
  };
  GroupSnapshot now = cycle->snapshot();
  while (!is_done(now) && nkr::time::now() < end) {  // whatever interrupts: it stops
    if (!settings.has_thread) exchange();
    nkr::time::sleep_for(settings.period);
    now = cycle->snapshot();
  }
  const auto moving = std::find_if(now.units.begin(), now.units.end(), [&](const Feedback& unit) {
    return has_torque(unit) && now.state != GroupState::HELD;
  });
  if (is_done(now) && moving == now.units.end()) return {};
  Explanation still = explanation(Cause::MAY_STILL_MOVE, NKR_INVALID_STATE, "stop the group",
                                  moving == now.units.end() ? std::uint8_t{0} : moving->node);
  still.detail = text(now.reason);
  return Result(std::move(still));
}

Result Group::Impl::resume() {
  if (!is_running) return Result(explanation(Cause::NOT_ENABLED, NKR_INVALID_STATE, "resume"));
  const std::uint64_t number = cycle->ask(Request::RESUME);
  static_cast<void>(
      wait_for([number](const GroupSnapshot& now) { return now.requests >= number; }, kAnswering));
  const GroupSnapshot now = cycle->snapshot();
  if (now.state == GroupState::ENABLED) return {};
  return explain(now.reason, "resume");
}

/** The group's end, or the program's: whichever comes first. Standstill, no torque, no watch over this host;
 * the heartbeat last. */
void Group::Impl::end() noexcept try {
  LivingUnits::remove(std::exchange(living, 0));
  if (!is_running) return give_back();
  const Result stopped = stop(Request::STOP);
  if (stopped.ok()) {
    give_back();
  } else {  // it is left watching: it misses this host and stops by itself
    warn(stopped.explanation());
  }
  {
    const std::lock_guard<std::mutex> lock(mutex);
    is_running = false;
  }
  is_ending = true;
  thread.end();
  cycle->end();
  claim_units(false);
  const std::lock_guard<std::mutex> lock(mutex);
  port.reset();
  is_prepared = false;
} catch (...) {  // NOLINT(bugprone-empty-catch): without memory or a lock nothing better is to be had
}

void Group::Impl::claim_units(bool are_claimed) {
  for (tav::host::Unit* const unit : units) unit->impl_->is_in_group = are_claimed;
}

void Group::Impl::give_back() {
  for (const GroupPreparation::Unit& unit : preparation.units) {
    if (unit.watch_entry == 0) continue;
    static_cast<void>(client->setNodeConfiguration(unit.node, {}));
    const nkr_error_t result =
        client->setValue(unit.node, consumer_address(unit.watch_entry), std::uint32_t{0});
    if (result != NKR_OK) {
      warn(explanation(Cause::STILL_WATCHED, NKR_OK, "let the drive watch this host no more", unit.node));
    }
  }
  for (GroupPreparation::Unit& unit : preparation.units) unit.watch_entry = 0;
}

}  // namespace tav::host

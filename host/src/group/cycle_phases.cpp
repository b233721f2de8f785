// What is due in a cycle, and when.
#include <algorithm>
#include <utility>

#include "CycleImpl.hpp"

namespace tav::host {

namespace {

constexpr std::uint32_t kNmt = 0x000;
constexpr std::uint8_t kStart = 1;
constexpr std::uint32_t kSync = 0x080;
constexpr std::uint32_t kErrorControl = 0x700;
constexpr std::uint8_t kOperational = 5;
/** So late a SYNC is still sent; what is later waits for the next point of the grid. */
constexpr int kLateParts = 4;
/** A SYNC so much behind its time counts as late. */
constexpr int kPunctualParts = 20;
/** So often in a row the bus takes no SYNC, or no orders, before it counts as failed. */
constexpr unsigned kBusFailures = 3;

}  // namespace

GroupCycle::Time GroupCycle::Impl::on_grid(std::uint64_t point) const {
  return zero + period * static_cast<Duration::rep>(point);
}

bool GroupCycle::Impl::all_answered() const {
  return std::all_of(members.begin(), members.end(), [](const Member& member) { return member.answered; });
}

/** Orders behind it might meet the next SYNC: an adapter that sends by identifier would let that pass. */
GroupCycle::Time GroupCycle::Impl::latest_order() const {
  return on_grid(next) - guard;
}

nkr_error_t GroupCycle::Impl::send(const nkr::can::Frame& frame, Time now) {
  const nkr_error_t result = output(frame);
  if (result == NKR_OK) record.add(frame, now, true);
  return result;
}

GroupCycle::Time GroupCycle::Impl::step(Time now) {
  if (phase == Phase::COLLECT && (all_answered() || now >= sync_at + deadline)) {
    finish(now);
    return now;  // the time that it took is the caller's to look at
  }
  if (phase == Phase::ORDER) {
    if (now <= latest_order()) {
      send_orders(now);
    } else {
      ++statistics.skipped_orders;
    }
    phase = Phase::WAIT;
  }
  if (phase == Phase::WAIT && now >= on_grid(next)) begin_cycle(now);
  if (phase == Phase::OFF) return Time::max();
  return phase == Phase::COLLECT ? sync_at + deadline : on_grid(next);
}

/** Points of the grid that were slept through get no SYNC: never two to catch up. */
void GroupCycle::Impl::begin_cycle(Time now) {
  const auto point = static_cast<std::uint64_t>((now - zero) / period);
  statistics.missed += point - next;
  next = point;
  const Duration late = now - on_grid(point);
  if (late > period / kLateParts) {
    ++statistics.missed;
    ++next;
    return;
  }
  cycle = next++;
  statistics.start.add(late, cycle);
  if (late > period / kPunctualParts) ++statistics.late;
  send_sync(now);
  phase = Phase::COLLECT;
}

void GroupCycle::Impl::send_sync(Time now) {
  for (Member& member : members) member.answered = false;
  sync_at = now;
  const nkr_error_t result = send({kSync, {}}, now);
  if (result == NKR_OK) {
    ++statistics.cycles;
    sync_failures = 0;
    return;
  }
  if (++sync_failures < kBusFailures && result == NKR_CAN_TX_OVERFLOW) return;
  StopReason reason;
  reason.kind = Kind::BUS_FAILED;
  reason.result = result;
  stop(reason, now);
}

void GroupCycle::Impl::finish(Time now) {
  evaluate(now);
  publish(now);
  phase = Phase::ORDER;
  if (handler) handler(snapshot);
}

void GroupCycle::Impl::send_orders(Time now) {
  take_set();
  set_orders();
  std::size_t sent = 0;
  std::size_t wanted = 0;
  nkr_error_t failure = NKR_OK;
  for (const std::size_t index : by_node) {
    Member& member = members[index];
    if (std::exchange(member.wants_start, false)) {
      static_cast<void>(send({kNmt, {kStart, member.settings.node}}, now));
    }
    if (!member.feedback.last) continue;  // nobody knows what an order would do to it
    ++wanted;
    const nkr_error_t result = send(member.order(), now);
    if (result == NKR_OK) {
      ++sent;
    } else {
      ++member.statistics.not_sent;
      failure = result;
    }
  }
  if (sent != 0 && sent != wanted) ++statistics.split;
  if (sent == wanted) {
    order_failures = 0;
    if (sync_failures == 0) send_heartbeat(now);
  } else if (++order_failures >= kBusFailures) {
    StopReason reason;
    reason.kind = Kind::BUS_FAILED;
    reason.result = failure;
    stop(reason, now);
  }
}

/** Of complete cycles alone: who hangs before this place is missed by the drives. */
void GroupCycle::Impl::send_heartbeat(Time now) {
  if (settings.host_node == 0 || withholds_heartbeat || now + period / 2 < next_heartbeat) return;
  if (send({kErrorControl + settings.host_node, {kOperational}}, now) != NKR_OK) return;
  next_heartbeat =
      std::max<Time>(next_heartbeat + settings.heartbeat_period, now + settings.heartbeat_period / 2);
}

void GroupCycle::Impl::exchange(Time now) {
  if (phase == Phase::OFF) return;
  if (phase == Phase::COLLECT) {
    finish(now);
    const Duration since = now - sync_at;
    const Duration::rep periods = std::max<Duration::rep>((since + period / 2) / period, 1);
    statistics.missed += static_cast<std::uint64_t>(periods - 1);
    statistics.start.add(std::max(since - period * periods, Duration::zero()), cycle);
    next = cycle + static_cast<std::uint64_t>(periods);
  }
  cycle = next++;
  phase = Phase::COLLECT;
  send_sync(now);
  send_orders(now);
}

void GroupCycle::Impl::publish(Time now) {
  snapshot.cycle = cycle;
  snapshot.at = now;
  snapshot.state = state;
  snapshot.requests = handled;
  snapshot.answered = 0;
  for (std::size_t i = 0; i < members.size(); ++i) {
    snapshot.units[i] = members[i].feedback;
    if (members[i].answered) ++snapshot.answered;
  }
  published.push(snapshot);
  record.add(snapshot);
  publish_statistics();
}

}  // namespace tav::host

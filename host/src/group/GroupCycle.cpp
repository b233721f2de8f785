#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <numeric>
#include <tav/host/GroupCycle.hpp>
#include <utility>

#include "CycleImpl.hpp"

namespace tav::host {

namespace {

using Duration = nkr::can::Clock::duration;

constexpr std::size_t kPublished = 8;  // entries: a reader has so many cycles of time
constexpr unsigned kOrderBits = 95;    // of an order in the worst case, with stuff bits (ISO 11898-1)
constexpr int kHostPart = 10;          // of the period: what the host may lose between order and wire
constexpr int kLeastTimeoutPeriods = 3;

std::size_t recorded_cycles(const CycleSettings& settings) {
  return static_cast<std::size_t>(std::max<std::int64_t>(settings.record_time / settings.period, 2));
}

Duration order_guard(const CycleSettings& settings) {
  const Duration host = Duration(settings.period) / kHostPart;
  if (settings.bit_rate == 0) return host;
  const auto bits = static_cast<double>(settings.members.size() * kOrderBits);
  return host + std::chrono::duration_cast<Duration>(std::chrono::duration<double>(bits / settings.bit_rate));
}

CycleSettings completed(CycleSettings settings) {
  using std::chrono::milliseconds;
  constexpr std::size_t kMostUnits = 127;  // node ids of a bus
  if (settings.members.size() > kMostUnits) settings.members.resize(kMostUnits);
  if (settings.feedback_deadline.count() <= 0) settings.feedback_deadline = settings.period / 2;
  const auto least = std::chrono::ceil<milliseconds>(settings.period * kLeastTimeoutPeriods);
  settings.setpoint_timeout = std::max(settings.setpoint_timeout, least);
  settings.missing_limit = std::max(settings.missing_limit, 1U);
  return settings;
}

}  // namespace

void Histogram::add(Duration duration, std::uint64_t cycle) {
  const auto bound = std::find_if(kBounds.begin(), kBounds.end(), [duration](unsigned microseconds) {
    return duration < std::chrono::microseconds(microseconds);
  });
  ++counts.at(static_cast<std::size_t>(bound - kBounds.begin()));
  if (duration <= longest) return;
  longest = duration;
  longest_cycle = cycle;
}

std::uint64_t Histogram::total() const {
  return std::accumulate(counts.begin(), counts.end(), std::uint64_t{0});
}

unsigned Histogram::below(double share) const {
  const auto wanted = share * static_cast<double>(total());
  std::uint64_t seen = 0;
  for (std::size_t i = 0; i < kBounds.size(); ++i) {
    seen += counts.at(i);
    if (seen != 0 && static_cast<double>(seen) >= wanted) return kBounds.at(i);
  }
  return static_cast<unsigned>(std::chrono::ceil<std::chrono::microseconds>(longest).count());
}

GroupCycle::Impl::Impl(const CycleSettings& the_settings, Output the_output)
    : settings(completed(the_settings)),
      output(std::move(the_output)),
      members(settings.members.size()),
      by_node(members.size()),
      period(settings.period),
      deadline(settings.feedback_deadline),
      guard(order_guard(settings)),
      newest(members.size()),
      published(members.size(), kPublished),
      record(members.size(), recorded_cycles(settings)),
      counted(sizeof(CycleCounts) + members.size() * sizeof(UnitStatistics), kPublished),
      counted_bytes(sizeof(CycleCounts) + members.size() * sizeof(UnitStatistics)) {
  index_of.fill(-1);
  for (std::size_t i = 0; i < members.size(); ++i) {
    members[i].settings = settings.members[i];
    members[i].feedback.node = members[i].statistics.node = settings.members[i].node;
    index_of.at(members[i].settings.node & 0x7FU) = static_cast<std::int8_t>(i);
  }
  std::iota(by_node.begin(), by_node.end(), std::size_t{0});
  std::sort(by_node.begin(), by_node.end(), [this](std::size_t a, std::size_t b) {
    return members[a].settings.node < members[b].settings.node;
  });
  set.velocities.resize(members.size());
  incoming.velocities.resize(members.size());
  snapshot.units.resize(members.size());
  publish(Time{});
}

void GroupCycle::Impl::publish_statistics() {
  static_assert(std::is_trivially_copyable_v<CycleCounts> && std::is_trivially_copyable_v<UnitStatistics>,
                "they are copied as bytes");
  const CycleCounts& counts = statistics;
  std::memcpy(counted_bytes.data(), &counts, sizeof(CycleCounts));
  unsigned char* at = counted_bytes.data() + sizeof(CycleCounts);
  for (const Member& member : members) {
    std::memcpy(at, &member.statistics, sizeof(UnitStatistics));
    at += sizeof(UnitStatistics);
  }
  counted.push(counted_bytes.data());
}

GroupCycle::GroupCycle(const CycleSettings& settings, Output output)
    : impl_(std::make_unique<Impl>(settings, std::move(output))) {}

GroupCycle::~GroupCycle() = default;

void GroupCycle::on_cycle(OnCycle handler) {
  impl_->handler = std::move(handler);
}

void GroupCycle::begin(Time now) {
  for (Member& member : impl_->members) {
    member.feedback.last.reset();
    member.feedback.missing = 0;
    member.answered = false;
  }
  impl_->zero = impl_->sync_at = impl_->last_answer = impl_->next_heartbeat = now;
  impl_->next = impl_->cycle = 0;
  impl_->phase = Impl::Phase::WAIT;
  impl_->enter(GroupState::DISABLED, now);
}

void GroupCycle::receive(const nkr::can::Frame& frame, Time at) {
  impl_->receive(frame, at);
}

void GroupCycle::bus_failed(nkr_error_t why, Time now) {
  StopReason reason;
  reason.kind = StopReason::Kind::BUS_FAILED;
  reason.result = why;
  impl_->stop(reason, now);
}

GroupCycle::Time GroupCycle::step(Time now) {
  return impl_->step(now);
}

void GroupCycle::exchange(Time now) {
  impl_->exchange(now);
}

void GroupCycle::end() {
  impl_->phase = Impl::Phase::OFF;
  impl_->accepted.store(0);
  impl_->state = GroupState::OFF;
  impl_->publish(impl_->snapshot.at);
}

nkr_error_t GroupCycle::set(const std::vector<int>& velocities, Time now) {
  return set(velocities.data(), velocities.size(), now);
}

nkr_error_t GroupCycle::set(const int* velocities, std::size_t count, Time now) {
  if (count != impl_->members.size()) return NKR_SDO_INVALID_VALUE;
  for (std::size_t i = 0; i < count; ++i) {
    const int most = std::min(impl_->members[i].settings.most_velocity, int{INT16_MAX});
    if (velocities[i] > most || velocities[i] < -most) return NKR_SDO_INVALID_VALUE;
  }
  const std::uint64_t epoch = impl_->accepted.load();
  if (epoch == 0) return NKR_INVALID_STATE;
  return impl_->newest.put(velocities, epoch, now) ? NKR_OK : NKR_CAN_TX_OVERFLOW;
}

std::uint64_t GroupCycle::ask(Request request) {
  impl_->requests.fetch_or(static_cast<unsigned>(request));
  return impl_->asked.fetch_add(1) + 1;
}

void GroupCycle::restored(std::uint8_t node) {
  impl_->restored.at(node & 0x7FU).store(true);
}

void GroupCycle::snapshot(GroupSnapshot& snapshot) const {
  static_cast<void>(impl_->published.read_newest(snapshot));
}

GroupSnapshot GroupCycle::snapshot() const {
  GroupSnapshot now;
  snapshot(now);
  return now;
}

GroupStatistics GroupCycle::statistics() const {
  GroupStatistics now;
  std::vector<unsigned char> bytes(impl_->counted_bytes.size());
  if (!impl_->counted.read_newest(bytes.data())) return now;
  CycleCounts& counts = now;
  std::memcpy(static_cast<void*>(&counts), bytes.data(), sizeof(CycleCounts));
  now.units.resize(impl_->settings.members.size());
  for (std::size_t i = 0; i < now.units.size(); ++i) {
    std::memcpy(static_cast<void*>(&now.units[i]),
                bytes.data() + sizeof(CycleCounts) + i * sizeof(UnitStatistics), sizeof(UnitStatistics));
  }
  return now;
}

void GroupCycle::write_record(std::ostream& csv) const {
  impl_->record.write_cycles(csv);
}

void GroupCycle::write_frames(std::ostream& log, const std::string& bus_name,
                              std::chrono::system_clock::time_point wall, Time steady) const {
  impl_->record.write_frames(log, bus_name, wall, steady);
}

}  // namespace tav::host

#include "network/HeartbeatConsumer.hpp"

#include <algorithm>
#include <utility>

namespace tav::drive {
namespace {

constexpr std::uint32_t kErrorControl = 0x700;
constexpr std::uint32_t kNodes = 0x7F;

}  // namespace

HeartbeatConsumer::HeartbeatConsumer(Context& context, Events events)
    : context_(context), events_(std::move(events)) {
  constexpr std::uint16_t kIndex = 0x1016;
  constexpr unsigned kMostEntries = 127;
  for (unsigned i = 1; i <= kMostEntries; ++i) {
    Object* object = context.dictionary.find(kIndex, static_cast<std::uint8_t>(i));
    if (object == nullptr) break;
    watches_.push_back({Variable<std::uint32_t>(object)});
  }
  for (Watch& watch : watches_) {
    watch.setting.object()->refuse_when([this, &watch](const Bytes& bytes) { return refuses(watch, bytes); });
    watch.setting.object()->when_written([this, &watch] { start_over(watch); });
  }
}

/** A node is watched by one entry only (CiA 301, 7.5.2.19). */
Abort HeartbeatConsumer::refuses(const Watch& watch, const Bytes& bytes) const {
  const std::uint64_t value = unsigned_of(bytes);
  const auto node = static_cast<std::uint8_t>(value >> 16);
  if ((value & 0xFFFF) == 0 || node == 0) return Abort::NONE;
  if (node > kNodes) return Abort::INVALID_VALUE;
  const bool watched = std::any_of(watches_.begin(), watches_.end(), [&](const Watch& other) {
    return &other != &watch && other.node() == node && other.milliseconds() != 0;
  });
  return watched ? Abort::INCOMPATIBLE : Abort::NONE;
}

/** Starts over: nobody is missed until the next heartbeat. */
void HeartbeatConsumer::start_over(Watch& watch) {
  watch.deadline = Time::max();
  const std::uint8_t lost = std::exchange(watch.lost, std::uint8_t{0});
  if (lost != 0) events_.returned(lost);
}

void HeartbeatConsumer::reset(Reset /*kind*/) {
  for (Watch& watch : watches_) start_over(watch);
}

bool HeartbeatConsumer::is_unheard(const nkr::can::Frame& frame) const {
  const std::uint32_t node = frame.id & kNodes;
  if ((frame.id & ~std::uint32_t{kNodes}) != kErrorControl || node == 0) return false;
  return std::none_of(watches_.begin(), watches_.end(),
                      [node](const Watch& watch) { return watch.node() == node; });
}

void HeartbeatConsumer::receive(const nkr::can::Frame& frame) {
  if ((frame.id & ~kNodes) != kErrorControl || frame.size != 1) return;
  const auto node = static_cast<std::uint8_t>(frame.id & kNodes);
  for (Watch& watch : watches_) {
    if (node == 0 || watch.node() != node || watch.milliseconds() == 0) continue;
    start_over(watch);
    watch.deadline = context_.now + std::chrono::milliseconds(watch.milliseconds());
  }
}

Time HeartbeatConsumer::next_due() const {
  Time due = Time::max();
  for (const Watch& watch : watches_) due = std::min(due, watch.deadline);
  return due;
}

void HeartbeatConsumer::run() {
  for (Watch& watch : watches_) {
    if (watch.deadline > context_.now) continue;
    watch.deadline = Time::max();
    watch.lost = watch.node();
    events_.lost(watch.lost);
  }
}

}  // namespace tav::drive

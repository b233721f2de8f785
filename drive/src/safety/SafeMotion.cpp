#include "safety/SafeMotion.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

namespace tav::drive {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kMonitoringCycle(10);
constexpr std::uint16_t kSLSCommands = 0x6690;
constexpr std::uint16_t kSDIPositiveCommands = 0x66D0;
constexpr std::uint16_t kSDINegativeCommands = 0x66D1;
constexpr std::uint32_t kReactionSTO = 0x66400000;  // the object of the STO command

}  // namespace

SafeMotion::SafeMotion(Context& context, const SafetyControl& commands, VelocityMode& motion, Effects effects)
    : context_(context), commands_(commands), motion_(motion), effects_(std::move(effects)) {
  ObjectDictionary& dictionary = context.dictionary;
  for (std::uint8_t i = 1; i <= SafetyControl::kSLSInstances; ++i) {
    limits_.push_back({SafetyControl::kFirstSLS + i - 1,
                       i,
                       {dictionary, 0x6691, i},
                       {dictionary, 0x6693, i, 0xFFFFFFFF},
                       {dictionary, 0x6694, i},
                       {dictionary, 0x6698, i}});
  }
  for (std::uint8_t i = 1; i <= SafetyControl::kSDIInstances; ++i) {
    directions_.push_back(
        {SafetyControl::kFirstSDIPositive + i - 1, kSDIPositiveCommands, i, 1.0, {dictionary, 0x66D3, i}});
    directions_.push_back(
        {SafetyControl::kFirstSDINegative + i - 1, kSDINegativeCommands, i, -1.0, {dictionary, 0x66D3, i}});
  }
  for (std::uint8_t i = 1; i <= SafetyControl::kSBCInstances; ++i) {
    brakes_.push_back({SafetyControl::kFirstSBC + i - 1, {dictionary, 0x6661, i}});
  }
}

void SafeMotion::reset(Reset kind) {
  if (kind == Reset::COMMUNICATION) return;
  follow();
}

void SafeMotion::follow() {
  if (due_ == Time::max()) due_ = context_.now;
}

void SafeMotion::run() {
  bool demanded = false;
  const double velocity = motion_.velocity();
  for (SpeedLimit& limit : limits_) {
    monitor(limit, velocity);
    demanded = demanded || limit.watch != Watch::NOT_DEMANDED;
  }
  for (Direction& direction : directions_) {
    monitor(direction, velocity);
    demanded = demanded || commands_.demanded(direction.function);
  }
  time_brakes();
  const auto waits = [this](const Brake& brake) { return commands_.acts(brake.function); };
  demanded = demanded || std::any_of(brakes_.begin(), brakes_.end(), waits);
  due_ = demanded ? context_.now + kMonitoringCycle : Time::max();
}

void SafeMotion::monitor(SpeedLimit& limit, double velocity) {
  const bool inside = std::abs(velocity) <= limit.limit.get();
  if (!commands_.demanded(limit.function)) {
    limit.watch = Watch::NOT_DEMANDED;
    return;
  }
  if (limit.watch == Watch::NOT_DEMANDED) {
    limit.watch = Watch::NOT_YET;
    limit.demanded_since = context_.now;
    limit.inside_since = Time::max();
  }
  if (limit.watch == Watch::NOT_YET) await_monitoring(limit, inside);
  if (limit.watch == Watch::VIOLATED && inside) limit.watch = Watch::WATCHING;
  if (limit.watch != Watch::WATCHING || inside) return;
  limit.watch = Watch::VIOLATED;
  effects_.violated({kSLSCommands, limit.instance, limit.reaction.get() == kReactionSTO});
}

void SafeMotion::await_monitoring(SpeedLimit& limit, bool inside) const {
  limit.inside_since = inside ? std::min(limit.inside_since, context_.now) : Time::max();
  const milliseconds in_limits(limit.time_in_limits.get());
  const bool long_inside = in_limits.count() > 0 && inside && context_.now - limit.inside_since >= in_limits;
  const bool over = context_.now - limit.demanded_since >= milliseconds(limit.time_to_monitoring.get());
  if (long_inside || over) limit.watch = Watch::WATCHING;
}

void SafeMotion::monitor(Direction& direction, double velocity) {
  const bool wrong =
      commands_.demanded(direction.function) && -direction.allowed * velocity > direction.window.get();
  const bool before = std::exchange(direction.violated, wrong);
  if (wrong && !before) effects_.violated({direction.command_index, direction.instance, true});
}

void SafeMotion::time_brakes() {
  bool applied = false;
  for (Brake& brake : brakes_) {
    if (!commands_.acts(brake.function)) {
      brake.acts_since = Time::max();
      continue;
    }
    brake.acts_since = std::min(brake.acts_since, context_.now);
    applied = applied || context_.now - brake.acts_since >= milliseconds(brake.delay.get());
  }
  effects_.brake(applied);
}

}  // namespace tav::drive

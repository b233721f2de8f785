#include "power/Axis.hpp"

#include <cmath>

namespace tav::drive {
namespace {

/** A nanosecond more or less is the clock's grain, not another state of the motor. */
constexpr double kGrain = 1e-9;

double seconds_for(double difference, double ramp) {
  return ramp > 0 ? std::abs(difference) / ramp : 0.0;
}

}  // namespace

Axis::Axis(const Mechanics& mechanics)
    : steps_per_second_(mechanics.steps_per_electrical_revolution * mechanics.pole_pairs / 60.0) {}

Axis::Ramp Axis::ramp_from(double velocity) const {
  const bool slows_down = velocity * (target_ - velocity) < 0;
  if (!slows_down) return {target_, seconds_for(target_ - velocity, acceleration_)};
  const double end = velocity * target_ > 0 ? target_ : 0.0;
  return {end, seconds_for(end - velocity, deceleration_)};
}

void Axis::advance(Time now) {
  if (now <= now_) return;
  double left = std::chrono::duration<double>(now - now_).count();
  now_ = now;
  while (velocity_ != target_) {
    const Ramp ramp = ramp_from(velocity_);
    if (ramp.seconds > left + kGrain) {
      const double next = velocity_ + (ramp.end - velocity_) * left / ramp.seconds;
      position_ += (velocity_ + next) / 2 * left * steps_per_second_;
      velocity_ = next;
      return;
    }
    position_ += (velocity_ + ramp.end) / 2 * ramp.seconds * steps_per_second_;
    velocity_ = ramp.end;
    left -= ramp.seconds;
  }
  position_ += velocity_ * left * steps_per_second_;
}

void Axis::run_to(double velocity, double acceleration, double deceleration) {
  target_ = velocity;
  acceleration_ = acceleration;
  deceleration_ = deceleration;
  for (int ramps = 0; ramps < 2 && velocity_ != target_; ++ramps) {
    const Ramp ramp = ramp_from(velocity_);
    if (ramp.seconds > 0) return;
    velocity_ = ramp.end;
  }
}

Time Axis::settles_at() const {
  if (settled()) return Time::max();
  double seconds = 0;
  double velocity = velocity_;
  while (velocity != target_) {
    const Ramp ramp = ramp_from(velocity);
    seconds += ramp.seconds;
    velocity = ramp.end;
  }
  constexpr double kLongest = 1e9;
  const auto span = std::chrono::duration<double>(std::fmin(seconds, kLongest));
  return now_ + std::chrono::ceil<Duration>(span);
}

std::int32_t Axis::position() const {
  constexpr double kRange = 4294967296.0;
  const double turned = std::nearbyint(position_);
  const double folded = turned - kRange * std::floor((turned + kRange / 2) / kRange);
  return static_cast<std::int32_t>(folded);
}

}  // namespace tav::drive

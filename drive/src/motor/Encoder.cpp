#include "motor/Encoder.hpp"

#include <cmath>

#include "motor/Grid.hpp"

namespace tav::drive {

Encoder::Encoder(double counts_per_turn, double filter)
    : counts_per_turn_(counts_per_turn),
      per_minute_(60.0 / (counts_per_turn * kControlSeconds)),
      follows_(filter > 0 ? 1 - std::exp(-kControlSeconds / filter) : 1.0) {}

void Encoder::fail(Fault fault) {
  // A counter that runs the other way does not jump.
  if (fault == Fault::INVERTED && fault_ != Fault::INVERTED) mirror_ = 2 * counts_;
  if (fault != Fault::INVERTED && fault_ == Fault::INVERTED) offset_ += 2 * counts_ - mirror_;
  fault_ = fault;
  still_ = 0;
}

void Encoder::restart() {
  // Inverted, it counts the other way from the same place.
  offset_ += fault_ == Fault::INVERTED ? counts_ : -counts_;
  counts_ = 0;
}

void Encoder::jump(std::int32_t counts) {
  offset_ += counts;
  still_ = 0;
}

void Encoder::disturb(std::int32_t counts) {
  noise_ = counts;
  still_ = 0;
}

std::int64_t Encoder::count_of(double turns) {
  if (fault_ == Fault::STUCK) return counts_;
  std::int64_t count = static_cast<std::int64_t>(std::floor(turns * counts_per_turn_)) + offset_;
  if (fault_ == Fault::INVERTED) count = mirror_ - count;
  if (noise_ > 0) {
    random_ = random_ * 1664525U + 1013904223U;
    count += static_cast<std::int64_t>(random_ >> 8) % (2 * std::int64_t{noise_} + 1) - noise_;
  }
  return count;
}

void Encoder::sample(double turns) {
  const std::int64_t before = counts_;
  counts_ = count_of(turns);
  const std::int64_t difference = counts_ - before;
  velocity_ += follows_ * (static_cast<double>(difference) * per_minute_ - velocity_);
  still_ = difference == 0 ? still_ + 1 : 0;
  if (still_ >= kStandsAfter) {
    velocity_ = 0;
    still_ = kStandsAfter;
  }
}

}  // namespace tav::drive

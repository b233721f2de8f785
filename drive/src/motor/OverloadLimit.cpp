#include "motor/OverloadLimit.hpp"

#include <cmath>

#include "motor/Grid.hpp"

namespace tav::drive {

OverloadLimit::OverloadLimit(const MotorParameters& parameters)
    : nominal_(parameters.nominal_current),
      limit_(parameters.current_limit),
      decay_(std::exp(-kHeatSeconds / parameters.overload_time_constant)) {}

void OverloadLimit::step(double square) {
  constexpr double kReleased = 0.9;
  constexpr double kNothing = 1e-6;
  mean_square_ = mean_square_ * decay_ + square * (1 - decay_);
  if (mean_square_ < kNothing) mean_square_ = 0;
  const double bearable = nominal_ * nominal_;
  if (mean_square_ >= bearable) overloaded_ = true;
  if (mean_square_ <= kReleased * bearable) overloaded_ = false;
}

}  // namespace tav::drive

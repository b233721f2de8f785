#include "Odometry.hpp"

#include <cmath>
#include <limits>

namespace nkr::tavcore {
namespace {

int saturated(double value) {
  constexpr int kLowest = std::numeric_limits<int>::min();
  constexpr int kHighest = std::numeric_limits<int>::max();
  if (std::isnan(value)) return 0;
  if (value <= kLowest) return kLowest;
  if (value >= kHighest) return kHighest;
  return static_cast<int>(value);
}

}  // namespace

int odometry_of(int position, const Config& mechanics) {
  constexpr double kPi = 3.141592653589793;
  const double wheel_revolutions = static_cast<double>(position) / mechanics.getNbStepRevolutionElec() /
                                   mechanics.getNbPolePair() / mechanics.getReduction();
  return saturated(wheel_revolutions * mechanics.getDiameter() * kPi);
}

}  // namespace nkr::tavcore

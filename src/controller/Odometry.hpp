#ifndef TAVCORE_CONTROLLER_ODOMETRY_HPP
#define TAVCORE_CONTROLLER_ODOMETRY_HPP

#include <tavcore/Config.hpp>

namespace nkr::tavcore {

/**
 * Distance travelled in the unit of the wheel diameter: position in electrical steps of the motor, times the
 * wheel circumference over the steps of one wheel revolution. Truncated toward zero; out of range saturates,
 * no number is 0.
 */
[[nodiscard]] int odometry_of(int position, const Config& mechanics);

}  // namespace nkr::tavcore

#endif

#ifndef TAVCORE_OBJECTS_DRIVEOBJECTS_HPP
#define TAVCORE_OBJECTS_DRIVEOBJECTS_HPP

#include <cstdint>

#include "TypedObject.hpp"

namespace nkr::tavcore {

/** @name Objects that more than one operation accesses
 * Each name stands once in the library; an object of one operation alone is named there.
 * @{ */
inline constexpr Object<std::uint16_t> kStatusword{"statusword"};
inline constexpr Object<std::uint16_t> kControlword{"controlword"};
inline constexpr Object<std::int16_t> kTargetVelocity{"vl_target_velocity"};
inline constexpr Object<std::int32_t> kPositionValue{"position_value"};
inline constexpr Object<std::int32_t> kVelocityActualValue{"velocity_actual_value"};
inline constexpr Object<std::uint32_t> kVendorId{"Identity Object Vendor Id"};
inline constexpr Object<std::uint8_t> kNodeId{"Node ID"};
inline constexpr Object<bool> kCalibrationValid{"nkr_hall_public_config is_valid"};
inline constexpr Object<std::uint32_t> kTimeUnit{"Time unit"};
inline constexpr Object<std::uint32_t> kPositionUnit{"Position unit"};
inline constexpr Object<std::uint32_t> kVelocityUnit{"Velocity unit"};
inline constexpr Object<std::uint32_t> kAccelerationUnit{"Acceleration unit"};
/** @} */

}  // namespace nkr::tavcore

#endif

#ifndef TAVCORE_IVELOCITYMODESERVICE_HPP
#define TAVCORE_IVELOCITYMODESERVICE_HPP

#include <nkr/error.h>
#include <nkr/export.h>

#include <cstdint>

namespace nkr::tavcore {

/** The CiA 402 velocity mode ("vl"). All values are raw device units. */
class NKR_EXPORT IVelocityModeService {
 public:
  /** Limits, ramps and factors (objects 0x6046, 0x6048 to 0x604C). A ramp is delta speed over delta time. */
  struct VelocityModeParameters {
    std::uint32_t min_amount;
    std::uint32_t max_amount;
    std::uint32_t acceleration_delta_speed;
    std::uint16_t acceleration_delta_time;  ///< seconds
    std::uint32_t deceleration_delta_speed;
    std::uint16_t deceleration_delta_time;  ///< seconds
    std::uint32_t quick_stop_delta_speed;
    std::uint16_t quick_stop_delta_time;  ///< seconds
    std::int16_t set_point_factor_numerator;
    std::int16_t set_point_factor_denominator;
    std::int32_t dimension_factor_numerator;    ///< read only: a setter ignores it
    std::int32_t dimension_factor_denominator;  ///< read only: a setter ignores it
  };

  /** Velocity-mode flags of the status word. */
  struct VelocityModeStatusword {
    bool internal_limit_active;  ///< bit 11: the velocity is limited to the min/max amount
  };

  /** Velocity-mode flags of the control word. */
  struct VelocityModeControlword {
    bool enable_ramp;     ///< bit 4
    bool unlock_ramp;     ///< bit 5
    bool reference_ramp;  ///< bit 6
    bool halt;            ///< bit 8
  };

  virtual ~IVelocityModeService() = default;

  /** Target velocity, object 0x6042. NKR_OK says that the drive took the value, not that the motor follows.
   */
  NKR_NODISCARD virtual nkr_error_t setTargetVelocity(const short& velocity) = 0;
  NKR_NODISCARD virtual nkr_error_t getTargetVelocity(short& velocity) const = 0;
  /** Actual velocity. */
  NKR_NODISCARD virtual nkr_error_t getVelocityActualValue(int& velocity) const = 0;
  /** Velocity demand behind the ramp, object 0x6043. */
  NKR_NODISCARD virtual nkr_error_t getVelocityDemand(short& velocity) const = 0;
  /** Position in electrical steps of the motor. */
  NKR_NODISCARD virtual nkr_error_t getPositionValue(int& position) const = 0;
  NKR_NODISCARD virtual nkr_error_t getVelocityModeParameters(VelocityModeParameters& parameters) const = 0;
  /** Writes all fields but the dimension factor. */
  NKR_NODISCARD virtual nkr_error_t setVelocityModeParameters(const VelocityModeParameters& parameters) = 0;
  NKR_NODISCARD virtual nkr_error_t getVelocityModeStatusword(VelocityModeStatusword& statusword) const = 0;
  NKR_NODISCARD virtual nkr_error_t getVelocityModeControlword(
      VelocityModeControlword& controlword) const = 0;

  /** @name Single bits of the control word 0x6040
   * Read, change one bit, write: two transactions, no vendor check. A writer in between is overwritten. When
   * the read fails and its repeat succeeds the answer is NKR_OK and nothing was written: read the word back.
   * @{ */
  NKR_NODISCARD virtual nkr_error_t setEnableRamp(const bool& on) = 0;
  NKR_NODISCARD virtual nkr_error_t setUnlockRamp(const bool& on) = 0;
  NKR_NODISCARD virtual nkr_error_t setReferenceRamp(const bool& on) = 0;
  NKR_NODISCARD virtual nkr_error_t setHalt(const bool& on) = 0;
  /** @} */
};

}  // namespace nkr::tavcore

#endif

#ifndef TAVCORE_IMANUFACTURERSERVICE_HPP
#define TAVCORE_IMANUFACTURERSERVICE_HPP

#include <nkr/error.h>
#include <nkr/export.h>

#include <cstdint>
#include <string>

namespace nkr::tavcore {

/** Manufacturer-specific values of the drive: identity, tuning, error states, versions, odometry. */
class NKR_EXPORT IManufacturerService {
 public:
  /** Identity strings, objects 0x1008 to 0x100A. */
  struct DeviceParameters {
    std::string device_name;
    std::string hardware_version;
    std::string software_version;
  };

  /** Brake use and speed controller of the drive. */
  struct VRXParameters {
    bool use_internal_brake;
    std::uint32_t speed_pid_proportional_gain;
    std::uint32_t speed_pid_integral_gain;
    std::uint32_t speed_pid_derivative_gain;
  };

  /** State of one supervised quantity; the device defines the values. */
  enum class SystemErrorStatus : std::uint32_t {};
  /** State of the drive's protection; the device defines the values. */
  enum class SystemErrorProtectState : std::uint32_t {};

  virtual ~IManufacturerService() = default;

  NKR_NODISCARD virtual nkr_error_t getDeviceParameters(DeviceParameters& parameters) const = 0;
  NKR_NODISCARD virtual nkr_error_t getVRXParameters(VRXParameters& parameters) const = 0;
  NKR_NODISCARD virtual nkr_error_t setVRXParameters(const VRXParameters& parameters) = 0;
  /** Whether the Hall sensor's calibration is valid. */
  NKR_NODISCARD virtual nkr_error_t getCalibrationValidity(bool& valid) const = 0;
  /** The five supervised quantities; no output is written unless all five were read at the first attempt. */
  NKR_NODISCARD virtual nkr_error_t getSystemErrorState(SystemErrorStatus& batteryUnderVoltage,
                                                        SystemErrorStatus& batteryOverVoltage,
                                                        SystemErrorStatus& phaseOverCurrent,
                                                        SystemErrorStatus& mosfetOverTemperature,
                                                        SystemErrorStatus& driverOverTemperature) const = 0;
  /** Previous and present protection state; no output is written unless both were read at the first attempt.
   */
  NKR_NODISCARD virtual nkr_error_t getSystemErrorProtectState(SystemErrorProtectState& previous,
                                                               SystemErrorProtectState& present) const = 0;
  /** Software version as text, most significant byte first, joined by dots. The controller alone serves it.
   */
  NKR_NODISCARD virtual nkr_error_t getSWVersion(std::string& version) const = 0;
  /** Hardware version as text, likewise. The controller alone serves it. */
  NKR_NODISCARD virtual nkr_error_t getHWVersion(std::string& version) const = 0;
  /** Whether the drive's hardware version stands in the list of that configuration section. */
  NKR_NODISCARD virtual nkr_error_t checkHWCompatibility(const std::string& hwConfigurationEntry,
                                                         bool& compatible) const = 0;
  /** Distance travelled, in the unit of the configured diameter; 0 when the read failed. */
  NKR_NODISCARD virtual nkr_error_t getOdometryValue(int& odometry) const = 0;
};

}  // namespace nkr::tavcore

#endif

#ifndef TAVCORE_IINTERNALSERVICE_HPP
#define TAVCORE_IINTERNALSERVICE_HPP

#include <nkr/error.h>
#include <nkr/export.h>

#include <cstdint>
#include <string>

namespace nkr::tavcore {

/** Factory-level operations: internal parameter blocks, identity strings, self test, calibration, thresholds.
 */
class NKR_EXPORT IInternalService {
 public:
  /** Internal parameter blocks (sub-indices of objects 0x1010 and 0x1011). */
  enum class _BlocId : std::int32_t {
    MOTOR_CALIBRATION_AND_INTERNAL = 5,  ///< motor calibration and internal parameters
    TEST_RESULTS = 6,                    ///< test results
  };

  /** Identity strings, objects 0x1008 to 0x100A. */
  struct _DeviceParameters {
    std::string device_name;
    std::string hardware_version;
    std::string software_version;
  };

  /** Self-test results; the device defines the values. */
  struct _SelfTestStatus {
    std::uint8_t auto_init;
    std::uint8_t motor_driver;
  };

  /** Normalisation of the Hall sensor's sine and cosine. */
  struct _CalibrationParameters {
    bool is_valid;
    std::int32_t cosine_adc_offset_millivolts;
    float cosine_gain;
    std::int32_t cosine_angle_offset_millidegrees;
    std::int32_t sine_adc_offset_millivolts;
    float sine_gain;
    std::int32_t sine_angle_offset_millidegrees;
  };

  /** Thresholds and times of the drive's own protection, in the device's units where none is stated. */
  struct _SystemErrorConfig {
    std::uint32_t zero_torque_protection_time_ms;
    std::uint32_t brake_short_circuit_protection_time_ms;
    std::int32_t battery_under_voltage_warning;
    std::int32_t battery_under_voltage_error;
    std::int32_t battery_over_voltage_warning;
    std::int32_t battery_over_voltage_error;
    std::int32_t phase_over_current_warning;
    std::int32_t phase_over_current_error;
    std::uint32_t under_voltage_warning_time_out_ms;
    std::uint32_t over_voltage_warning_time_out_ms;
    std::uint32_t over_current_warning_time_out_ms;
    float phase_over_board_factor;
    std::int32_t temperature_hysteresis_rise_mosfet_1;
    std::int32_t temperature_hysteresis_rise_mosfet_2;
    std::int32_t temperature_hysteresis_fall_mosfet_1;
    std::int32_t temperature_hysteresis_fall_mosfet_2;
  };

  virtual ~IInternalService() = default;

  /** Stores a block in the drive's non-volatile memory (0x1010, "save"). NKR_ERROR for another block. */
  NKR_NODISCARD virtual nkr_error_t _storeParameters(const _BlocId& block) = 0;
  /** Restores a block's defaults at the drive's next reset (0x1011, "load"). NKR_ERROR for another block. */
  NKR_NODISCARD virtual nkr_error_t _restoreDefaultParameters(const _BlocId& block) = 0;
  /** Writes the three identity strings, device name first. */
  NKR_NODISCARD virtual nkr_error_t _setDeviceParameters(const _DeviceParameters& parameters) = 0;
  NKR_NODISCARD virtual nkr_error_t _getSelfTestStatus(_SelfTestStatus& status) const = 0;
  /** Makes the drive's next self test report the given status. */
  NKR_NODISCARD virtual nkr_error_t _simulateSelfTestError(const _SelfTestStatus& status) const = 0;
  NKR_NODISCARD virtual nkr_error_t _getCalibrationParameters(_CalibrationParameters& parameters) const = 0;
  NKR_NODISCARD virtual nkr_error_t _getSystemErrorConfig(_SystemErrorConfig& config) const = 0;
  NKR_NODISCARD virtual nkr_error_t _setSystemErrorConfig(const _SystemErrorConfig& config) = 0;
  /** The level-1 error word; the device defines its bits. */
  NKR_NODISCARD virtual nkr_error_t _getLevel1Error(unsigned int& error) const = 0;
  /** The node id that the library addresses from now on. Nothing is sent; a later NMT reset keeps it. */
  NKR_NODISCARD virtual nkr_error_t _setNodeId(const unsigned char& id) = 0;
};

}  // namespace nkr::tavcore

#endif

#ifndef TAVCORE_IPDSSERVICE_HPP
#define TAVCORE_IPDSSERVICE_HPP

#include <nkr/error.h>
#include <nkr/export.h>

#include <cstdint>

namespace nkr::tavcore {

/** The CiA 402 power drive system: states, commands, option codes, modes, units and polarity. */
class NKR_EXPORT IPDSService {
 public:
  /** Peripheral status flags of the drive. */
  struct PeripheralStatus {
    bool brake_applied;          ///< the holding brake is applied
    bool low_power_applied;      ///< the low-power (logic) supply is applied
    bool high_power_applied;     ///< the high-power (power stage) supply is applied
    bool driver_enabled;         ///< the motor driver is enabled
    bool configuration_allowed;  ///< the drive accepts configuration now
    bool communication_enabled;  ///< communication is enabled
  };

  /** State of the power drive system (CiA 402-2, 8.1). */
  enum class PDSState : std::int32_t {
    NOT_READY_TO_SWITCH_ON = 0,
    SWITCH_ON_DISABLED = 1,
    READY_TO_SWITCH_ON = 2,
    SWITCHED_ON = 3,
    OPERATION_ENABLED = 4,
    QUICK_STOP_ACTIVE = 5,
    FAULT_REACTION_ACTIVE = 6,
    FAULT = 7,
  };

  /** Object 0x6007: what the drive does when the connection to the host is lost. Other (manufacturer's,
   * negative) values pass through unchanged. */
  enum class AbortConnectionOptionCode : std::int32_t {
    NO_ACTION = 0,
    FAULT_SIGNAL = 1,
    DISABLE_VOLTAGE = 2,
    QUICK_STOP = 3,
  };

  /** Object 0x605A: what a quick stop does. Other (manufacturer's, negative) values pass through unchanged.
   */
  enum class QuickStopOptionCode : std::int32_t {
    DISABLE_DRIVE_FUNCTION = 0,    ///< coast
    SLOW_DOWN_RAMP = 1,            ///< then SWITCH_ON_DISABLED
    QUICK_STOP_RAMP = 2,           ///< then SWITCH_ON_DISABLED
    CURRENT_LIMIT = 3,             ///< then SWITCH_ON_DISABLED
    VOLTAGE_LIMIT = 4,             ///< then SWITCH_ON_DISABLED
    SLOW_DOWN_RAMP_AND_STAY = 5,   ///< stay in QUICK_STOP_ACTIVE
    QUICK_STOP_RAMP_AND_STAY = 6,  ///< stay in QUICK_STOP_ACTIVE
    CURRENT_LIMIT_AND_STAY = 7,    ///< stay in QUICK_STOP_ACTIVE
    VOLTAGE_LIMIT_AND_STAY = 8,    ///< stay in QUICK_STOP_ACTIVE
  };

  /** Object 0x605B: what OPERATION_ENABLED to READY_TO_SWITCH_ON does. Other (manufacturer's, negative)
   * values pass through unchanged. */
  enum class ShutdownOptionCode : std::int32_t {
    DISABLE_DRIVE_FUNCTION = 0,  ///< coast
    SLOW_DOWN_RAMP = 1,          ///< then disable
  };

  /** Object 0x605C: what OPERATION_ENABLED to SWITCHED_ON does. Other (manufacturer's, negative) values pass
   * through unchanged. */
  enum class DisableOperationOptionCode : std::int32_t {
    DISABLE_DRIVE_FUNCTION = 0,  ///< coast
    SLOW_DOWN_RAMP = 1,          ///< then disable
  };

  /** Object 0x605D: what the halt bit does. Other (manufacturer's, negative) values pass through unchanged.
   */
  enum class HaltOptionCode : std::int32_t {
    SLOW_DOWN_RAMP = 1,
    QUICK_STOP_RAMP = 2,
    CURRENT_LIMIT = 3,
    VOLTAGE_LIMIT = 4,
  };

  /** Object 0x605E: what a fault does. Other (manufacturer's, negative) values pass through unchanged. */
  enum class FaultReactionOptionCode : std::int32_t {
    DISABLE_DRIVE_FUNCTION = 0,  ///< coast
    SLOW_DOWN_RAMP = 1,
    QUICK_STOP_RAMP = 2,
    CURRENT_LIMIT = 3,
    VOLTAGE_LIMIT = 4,
  };

  /** Modes of operation code (objects 0x6060, 0x6061). The library drives the velocity mode alone. */
  enum class OperationMode : std::int32_t {
    NO_MODE = 0,
    PROFILE_POSITION = 1,
    VELOCITY = 2,
    PROFILE_VELOCITY = 3,
    TORQUE = 4,
    HOMING = 6,
    INTERPOLATED_POSITION = 7,
    CYCLIC_SYNC_POSITION = 8,
    CYCLIC_SYNC_VELOCITY = 9,
    CYCLIC_SYNC_TORQUE = 10,
  };

  /** Raw values of the drive's unit objects; the library does not interpret them. */
  struct UnitParameters {
    std::uint32_t time_unit;
    std::uint32_t position_unit;
    std::uint32_t velocity_unit;
    std::uint32_t acceleration_unit;
  };

  /** Flags of the polarity object 0x607E. */
  struct PolarityParameters {
    bool velocity_polarity;  ///< bit 6: velocities are inverted
    bool position_polarity;  ///< bit 7: positions are inverted
  };

  virtual ~IPDSService() = default;

  NKR_NODISCARD virtual nkr_error_t getPeripheralStatus(PeripheralStatus& status) const = 0;
  /**
   * The drive's state, read afresh from the status word 0x6041.
   * @return NKR_INVALID_STATE for a status word that is no state (`state` is left)
   */
  NKR_NODISCARD virtual nkr_error_t getPDSState(PDSState& state) const = 0;

  /** @name Commands of the state machine (control word 0x6040)
   * Each reads the vendor id first and answers NKR_NOT_AVAILABLE, with nothing sent, for a drive of another
   * vendor. NKR_OK does not say that the drive changed state, nor, when the vendor id was read only at the
   * second attempt, that the control word was sent: read the state back. They change the remote drive, never
   * the object: hence const.
   * @{ */
  NKR_NODISCARD virtual nkr_error_t disableVoltage() const = 0;
  NKR_NODISCARD virtual nkr_error_t shutdown() const = 0;
  NKR_NODISCARD virtual nkr_error_t quickStop() const = 0;
  NKR_NODISCARD virtual nkr_error_t switchOn() const = 0;
  NKR_NODISCARD virtual nkr_error_t enableOperation() const = 0;
  NKR_NODISCARD virtual nkr_error_t disableOperation() const = 0;
  /** Bit 7 of the control word as given. The drive resets on a rising edge: call with false, then with true.
   */
  NKR_NODISCARD virtual nkr_error_t faultReset(const bool& reset) const = 0;
  /** @} */

  /**
   * Starts the node and walks the state machine to OPERATION_ENABLED; blocks up to 0.7 s plus bus time.
   * The controller alone serves it.
   * @return NKR_INVALID_STATE when every step succeeded but the drive ended in another state
   */
  NKR_NODISCARD virtual nkr_error_t enterInOperationEnabledState() = 0;

  /** @name Option codes: plain numbers both ways, never validated
   * @{ */
  NKR_NODISCARD virtual nkr_error_t getAbortConnectionOptionCode(AbortConnectionOptionCode& code) const = 0;
  NKR_NODISCARD virtual nkr_error_t setAbortConnectionOptionCode(
      const AbortConnectionOptionCode& code) const = 0;
  NKR_NODISCARD virtual nkr_error_t getQuickStopOptionCode(QuickStopOptionCode& code) const = 0;
  NKR_NODISCARD virtual nkr_error_t setQuickStopOptionCode(const QuickStopOptionCode& code) const = 0;
  NKR_NODISCARD virtual nkr_error_t getShutdownOptionCode(ShutdownOptionCode& code) const = 0;
  NKR_NODISCARD virtual nkr_error_t setShutdownOptionCode(const ShutdownOptionCode& code) const = 0;
  NKR_NODISCARD virtual nkr_error_t getDisableOperationOptionCode(DisableOperationOptionCode& code) const = 0;
  NKR_NODISCARD virtual nkr_error_t setDisableOperationOptionCode(
      const DisableOperationOptionCode& code) const = 0;
  NKR_NODISCARD virtual nkr_error_t getHaltOptionCode(HaltOptionCode& code) const = 0;
  NKR_NODISCARD virtual nkr_error_t setHaltOptionCode(const HaltOptionCode& code) const = 0;
  NKR_NODISCARD virtual nkr_error_t getFaultReactionOptionCode(FaultReactionOptionCode& code) const = 0;
  NKR_NODISCARD virtual nkr_error_t setFaultReactionOptionCode(const FaultReactionOptionCode& code) const = 0;
  /** @} */

  /** Mode of operation demanded (0x6060) and displayed (0x6061). */
  NKR_NODISCARD virtual nkr_error_t getOperationModes(OperationMode& mode,
                                                      OperationMode& mode_display) const = 0;
  /** Whether the drive supports the mode (0x6502); every mode but VELOCITY answers false. */
  NKR_NODISCARD virtual nkr_error_t isDriveModeSupported(const OperationMode& mode,
                                                         bool& supported) const = 0;
  NKR_NODISCARD virtual nkr_error_t getUnitParameters(UnitParameters& units) const = 0;
  /**
   * Writes the four units. The units are part of the safety signatures, but no signature is refreshed here:
   * the caller must call CANOpenDispatcher::updateAllSafetySignatures() afterwards.
   */
  NKR_NODISCARD virtual nkr_error_t setUnitParameters(const UnitParameters& units) = 0;
  NKR_NODISCARD virtual nkr_error_t getPolarityParameters(PolarityParameters& polarity) const = 0;
  /** Writes the whole polarity object: bits 0 to 5 become 0. */
  NKR_NODISCARD virtual nkr_error_t setPolarityParameters(const PolarityParameters& polarity) = 0;
};

}  // namespace nkr::tavcore

#endif

#ifndef TAVCORE_ISAFEMOTIONSERVICE_HPP
#define TAVCORE_ISAFEMOTIONSERVICE_HPP

#include <nkr/error.h>
#include <nkr/export.h>

#include <cstdint>

namespace nkr::tavcore {

/**
 * Safety functions of the drive: safety words, their bit mappings, and the parameters of STO, SLS, SDI and
 * SBC with their configuration signatures. A Linux host configures and observes safety functions; it does not
 * perform them.
 *
 * Command bits are active-low in the drive (0: the function is demanded). The library hands stored bits
 * through.
 */
class NKR_EXPORT ISafeMotionService {
 public:
  /** A safety control word. */
  enum class SafetyControlWordId : std::int32_t {
    CAN_1 = 0,
    CAN_2,
    CAN_3,
    CAN_4,
    CAN_5,
    CAN_6,
    CAN_7,
    CAN_8,
    SAFE_INPUT = 8,  ///< manufacturer word of the safe input; 6 mappable bits
  };

  /** A safety status word. */
  enum class SafetyStatusWordId : std::int32_t {
    CAN_1 = 0,
    CAN_2,
    CAN_3,
    CAN_4,
    CAN_5,
    CAN_6,
    CAN_7,
    CAN_8,
    SAFE_OUTPUT = 8,  ///< manufacturer word of the safe output; 4 mappable bits
  };

  /** A safety function of the drive. */
  enum class SafetyFunctionId : std::int32_t {
    NONE = -1,  ///< no function: an unmapped bit
    STO = 0,
    SBC_1 = 1,
    SBC_2 = 2,
    SBC_3 = 3,
    SLS_1 = 4,
    SLS_2 = 5,
    SLS_3 = 6,
    SLS_4 = 7,
    SLS_5 = 8,
    SLS_6 = 9,
    SLS_7 = 10,
    SLS_8 = 11,
    SDIP_1 = 12,
    SDIP_2 = 13,
    SDIN_1 = 14,
    SDIN_2 = 15,
    ERROR_ACKNOWLEDGE = 16,
    RESTART_ACKNOWLEDGE = 17,
  };

  /** Bits of a safety word, bit 0 least significant. */
  struct SafetyWordType {
    bool bit0;
    bool bit1;
    bool bit2;
    bool bit3;
    bool bit4;
    bool bit5;
    bool bit6;
    bool bit7;
  };

  /** The function mapped to each bit of a safety word. */
  struct SafetyWordMapping {
    SafetyFunctionId bit0;
    SafetyFunctionId bit1;
    SafetyFunctionId bit2;
    SafetyFunctionId bit3;
    SafetyFunctionId bit4;
    SafetyFunctionId bit5;
    SafetyFunctionId bit6;
    SafetyFunctionId bit7;
  };

  /** Instance numbers of the safety functions, from 1: STO 1, SLS 1 to 8, SDI 1 and 2, SBC 1 to 3. */
  enum class STOId : std::int32_t { STO_1 = 1 };
  enum class SLSId : std::int32_t { SLS_1 = 1, SLS_2, SLS_3, SLS_4, SLS_5, SLS_6, SLS_7, SLS_8 };
  enum class SDIId : std::int32_t { SDI_1 = 1, SDI_2 };
  enum class SBCId : std::int32_t { SBC_1 = 1, SBC_2, SBC_3 };

  /** Safe torque off. */
  struct STOParameters {
    bool restartAcknowledgeBehavior;
    std::uint32_t activateSBC;  ///< passed through; not part of the signature
  };

  /** Safely limited speed. */
  struct SLSParameters {
    std::uint16_t timeToVelocityMonitoring;  ///< delay before monitoring starts, in the drive's time unit
    std::uint32_t velocityLimit;             ///< in the drive's velocity unit
    std::uint16_t timeForVelocityInLimits;  ///< time to bring the velocity within the limit, in the time unit
    bool errorReaction;                     ///< true: the reaction is STO (0x66400000); false: none (0)
  };

  /** Safe direction. */
  struct SDIParameters {
    std::uint32_t velocityZeroWindow;  ///< window around zero, in the drive's velocity unit
  };

  /** Safe brake control. */
  struct SBCParameters {
    std::uint16_t brakeTimeDelay;  ///< in the drive's time unit
  };

  virtual ~ISafeMotionService() = default;

  /** @name Bit mappings
   * A getter leaves the fields beyond the word's mappable bits as they were.
   * A setter writes the mappable bits (bits 0, 6 and 7 of control word 1 and bits 0 and 7 of status word 1
   * are reserved and never written), then refreshes all safety signatures and reports that refresh's result.
   * Every access that fails once and then succeeds answers NKR_OK with all that follows left out, the refresh
   * too: read the mapping and the signatures back.
   * @return NKR_ERROR, with nothing sent, for another word or a function outside -1 to 17
   * @{ */
  NKR_NODISCARD virtual nkr_error_t getSafetyControlWordMapping(const SafetyControlWordId& word,
                                                                SafetyWordMapping& mapping) const = 0;
  NKR_NODISCARD virtual nkr_error_t setSafetyControlWordMapping(const SafetyControlWordId& word,
                                                                const SafetyWordMapping& mapping) = 0;
  NKR_NODISCARD virtual nkr_error_t getSafetyStatusWordMapping(const SafetyStatusWordId& word,
                                                               SafetyWordMapping& mapping) const = 0;
  NKR_NODISCARD virtual nkr_error_t setSafetyStatusWordMapping(const SafetyStatusWordId& word,
                                                               const SafetyWordMapping& mapping) = 0;
  /** @} */

  /** @name Commands, statuses and words
   * `active` is the stored bit as it is: a command that reads true is not demanded, for commands are
   * active-low. Function NONE answers NKR_OK and false with nothing read. NKR_OK of a written word says that
   * the drive took the word, not that a function is performed or released.
   * An identifier outside its enumeration throws std::out_of_range.
   * @{ */
  NKR_NODISCARD virtual nkr_error_t getSafetyFunctionCommand(const SafetyFunctionId& function,
                                                             bool& active) const = 0;
  NKR_NODISCARD virtual nkr_error_t getSafetyFunctionStatus(const SafetyFunctionId& function,
                                                            bool& active) const = 0;
  NKR_NODISCARD virtual nkr_error_t getSafetyControlWord(const SafetyControlWordId& word,
                                                         SafetyWordType& value) const = 0;
  NKR_NODISCARD virtual nkr_error_t setSafetyControlWord(const SafetyControlWordId& word,
                                                         const SafetyWordType& value) = 0;
  NKR_NODISCARD virtual nkr_error_t getSafetyStatusWord(const SafetyStatusWordId& word,
                                                        SafetyWordType& value) const = 0;
  /** @} */

  /** @name Parameters of the safety functions
   * A getter reads the parameters and the signature that the drive holds; it computes none. A stored SLS
   * error reaction other than 0x66400000 reads as false.
   * A setter writes the parameters, then computes and writes the signature over the record given, the drive's
   * units and the whole mapping. Its NKR_OK does not say that the signature was written: the result of that
   * last step is dropped. Read parameters and signature back and compare, or call verify_safety().
   * @{ */
  NKR_NODISCARD virtual nkr_error_t getSTOParameters(const STOId& id, STOParameters& parameters,
                                                     unsigned short& signature) const = 0;
  NKR_NODISCARD virtual nkr_error_t setSTOParameters(const STOId& id, const STOParameters& parameters) = 0;
  NKR_NODISCARD virtual nkr_error_t getSLSParameters(const SLSId& id, SLSParameters& parameters,
                                                     unsigned short& signature) const = 0;
  NKR_NODISCARD virtual nkr_error_t setSLSParameters(const SLSId& id, const SLSParameters& parameters) = 0;
  NKR_NODISCARD virtual nkr_error_t getSDIParameters(const SDIId& id, SDIParameters& parameters,
                                                     unsigned short& signature) const = 0;
  NKR_NODISCARD virtual nkr_error_t setSDIParameters(const SDIId& id, const SDIParameters& parameters) = 0;
  NKR_NODISCARD virtual nkr_error_t getSBCParameters(const SBCId& id, SBCParameters& parameters,
                                                     unsigned short& signature) const = 0;
  NKR_NODISCARD virtual nkr_error_t setSBCParameters(const SBCId& id, const SBCParameters& parameters) = 0;
  /** @} */
};

}  // namespace nkr::tavcore

#endif

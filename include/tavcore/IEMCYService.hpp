#ifndef TAVCORE_IEMCYSERVICE_HPP
#define TAVCORE_IEMCYSERVICE_HPP

#include <nkr/error.h>
#include <nkr/export.h>

#include <cstdint>

namespace nkr::tavcore {

/** Error behaviour, pre-defined error field and error register (CiA 301 objects 0x1029, 0x1003, 0x1001). */
class NKR_EXPORT IEMCYService {
 public:
  /** Kind of error whose behaviour is asked: the sub-index of 0x1029. */
  enum class ErrorType : std::uint32_t {
    COMMUNICATION = 1,  ///< bus off, heartbeat or guarding lost
    OTHER_1 = 2,        ///< device-specific
    OTHER_2 = 3,        ///< device-specific
  };

  /** What the node does on the error (CiA 301, 7.5.2.32). */
  enum class ErrorBehavior : std::uint32_t {
    PRE_OPERATIONAL = 0,  ///< change to pre-operational
    NO_CHANGE = 1,        ///< no change of state
    STOPPED = 2,          ///< change to stopped
  };

  virtual ~IEMCYService() = default;

  /**
   * Error behaviour of a kind of error. A failed read answers its code with `behavior` set to 0.
   * @return NKR_ERROR for another kind; NKR_NOT_AVAILABLE for a stored value above 2
   */
  NKR_NODISCARD virtual nkr_error_t getErrorBehavior(const ErrorType& type,
                                                     ErrorBehavior& behavior) const = 0;
  /** @return NKR_ERROR for another kind or behaviour (nothing is sent) */
  NKR_NODISCARD virtual nkr_error_t setErrorBehavior(const ErrorType& type,
                                                     const ErrorBehavior& behavior) = 0;
  /** Empties the pre-defined error field. */
  NKR_NODISCARD virtual nkr_error_t clearErrorList() = 0;
  /** Number of entries of the pre-defined error field; 0 when the read failed. */
  NKR_NODISCARD virtual nkr_error_t getErrorCount(int& count) const = 0;
  /** Error register, object 0x1001. */
  NKR_NODISCARD virtual nkr_error_t getErrorRegister(unsigned char& reg) const = 0;
  /**
   * CiA 301 error code (the low 16 bits) of entry `index`, counted from 1, newest first; 0 when the read
   * failed. No upper bound is checked: an index above 254 addresses another object.
   * @return NKR_ERROR for an index below 1
   */
  NKR_NODISCARD virtual nkr_error_t getError(const int& index, unsigned int& code) const = 0;
};

}  // namespace nkr::tavcore

#endif

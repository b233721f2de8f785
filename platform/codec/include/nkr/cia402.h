/** @file
 * Codec of the two words of the CiA 402 power drive system: status word 0x6041 and control word 0x6040.
 */
#ifndef NKR_CIA402_H
#define NKR_CIA402_H

#include <nkr/error.h>
#include <nkr/export.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#else
#include <stdbool.h>
#endif

/** Flags of the status word (object 0x6041; CiA 402-2, 8.2.2), bit 0 first. */
typedef struct nkr_cia402_status_word {
  bool ready_to_switch_on;    /**< bit 0 */
  bool switched_on;           /**< bit 1 */
  bool operation_enabled;     /**< bit 2 */
  bool fault;                 /**< bit 3 */
  bool voltage_enabled;       /**< bit 4 */
  bool quick_stop;            /**< bit 5; false while a quick stop is active */
  bool switch_on_disabled;    /**< bit 6 */
  bool warning;               /**< bit 7 */
  bool manufacturer_8;        /**< bit 8, manufacturer-specific */
  bool remote;                /**< bit 9; the control word is processed */
  bool target_reached;        /**< bit 10 */
  bool internal_limit_active; /**< bit 11 */
  bool mode_specific_12;      /**< bit 12, by mode of operation */
  bool mode_specific_13;      /**< bit 13, by mode of operation */
  bool manufacturer_14;       /**< bit 14, manufacturer-specific */
  bool manufacturer_15;       /**< bit 15, manufacturer-specific */
} nkr_cia402_status_word_t;

/** Flags of the control word (object 0x6040; CiA 402-2, 8.2.1). */
typedef struct nkr_cia402_control_word {
  bool switch_on;        /**< bit 0 */
  bool enable_voltage;   /**< bit 1 */
  bool quick_stop;       /**< bit 2; false demands a quick stop */
  bool enable_operation; /**< bit 3 */
  bool fault_reset;      /**< bit 7; a rising edge resets */
  bool halt;             /**< bit 8 */
} nkr_cia402_control_word_t;

/** Splits a status word into its flags. NKR_OK, or NKR_ERROR when `out` is null. */
NKR_EXPORT nkr_error_t nkr_cia402_decode_status_word(uint16_t statusWord, nkr_cia402_status_word_t* out);

/** Builds the control word of a command; all other bits are 0. NKR_ERROR when a pointer is null. */
NKR_EXPORT nkr_error_t nkr_cia402_encode_control_word(const nkr_cia402_control_word_t* command,
                                                      uint16_t* out);

#ifdef __cplusplus
}
#endif

#endif

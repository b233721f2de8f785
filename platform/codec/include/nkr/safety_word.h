/** @file
 * Codec between the drive's safety functions and the codes that map the bits of its safety words.
 *
 * A code is the packed reference of the function's command (or status) object in the object dictionary:
 * index << 16 | subindex << 8 (CiA 402-4 objects 0x6640 and following; manufacturer objects for the rest).
 * Functions are numbered 0 to 17: STO, SBC 1 to 3, SLS 1 to 8, SDIp 1 and 2, SDIn 1 and 2, error acknowledge,
 * restart acknowledge.
 */
#ifndef NKR_SAFETY_WORD_H
#define NKR_SAFETY_WORD_H

#include <nkr/error.h>
#include <nkr/export.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Code of each function's command object, by function number. */
NKR_EXPORT extern const uint32_t nkr_safety_word_fct_to_dico_cmd[18];
/** Code of each function's status object, by function number. */
NKR_EXPORT extern const uint32_t nkr_safety_word_fct_to_dico_status[18];

/** The function whose command object has this code. NKR_ERROR: the code is unknown or the output null. */
NKR_EXPORT nkr_error_t nkr_safety_word_command_get_fct(uint32_t code, int32_t* function);
/** The function whose status object has this code. NKR_OK; NKR_ERROR for an unknown code or a null output. */
NKR_EXPORT nkr_error_t nkr_safety_word_status_get_fct(uint32_t code, int32_t* function);

#ifdef __cplusplus
}
#endif

#endif

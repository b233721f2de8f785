/** @file
 * Logging: messages built field by field, handed to the sinks that the program chose.
 *
 * Logging starts off. A program that asks for nothing pays one call for each message (nkr_log_is_enabled()).
 * Every function may be called from any thread. Each of the encoding functions answers NKR_OK or a failure;
 * whoever builds a message stops at the first failure, sends nothing, and frees the buffer always.
 *
 * The nine functions below are ordinary external functions in an object of their own: a program may bring its
 * own. What turns logging on and says where messages go is in <nkr/log_setup.h>, which this header includes.
 */
#ifndef NKR_LOG_H
#define NKR_LOG_H

#include <nkr/error.h>
#include <nkr/export.h>
#include <nkr/log_setup.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Levels of a message: the smaller, the more urgent. */
#define NKR_LOG_FAILURE 2u /**< an operation or access failed */
#define NKR_LOG_WARNING 3u /**< a warning, or a change of the library's own state */
#define NKR_LOG_NOTICE 4u  /**< success of a step that people wait for */
#define NKR_LOG_TRACE 5u   /**< each successful access */

/** One message under construction. */
typedef struct nkr_log_msg nkr_log_msg_t;

/** 1 when messages are to be built, anything else when not. */
NKR_EXPORT nkr_error_t nkr_log_is_enabled(void);

/** A buffer for one message, or null when none is to be had. Give it back with nkr_log_msg_free_buffer(). */
NKR_EXPORT nkr_log_msg_t* nkr_log_msg_get_new_buffer(void);

/** Begins a message: the buffer is empty afterwards. */
NKR_EXPORT nkr_error_t nkr_log_msg_encode_begin(nkr_log_msg_t* buffer);

/** The message's context (of the caller's choosing) and its level. */
NKR_EXPORT nkr_error_t nkr_log_msg_encode_header(nkr_log_msg_t* buffer, uint32_t context, uint32_t level);

/** One text field, copied. A null text fails; a text that leaves no room for more is cut and ends in "...".
 */
NKR_EXPORT nkr_error_t nkr_log_msg_encode_str(nkr_log_msg_t* buffer, const char* text);

/** One unsigned number. */
NKR_EXPORT nkr_error_t nkr_log_msg_encode_uint(nkr_log_msg_t* buffer, uint32_t number);

/** Ends the message: it can be sent. */
NKR_EXPORT nkr_error_t nkr_log_msg_encode_end(nkr_log_msg_t* buffer);

/** Hands an ended message to the sinks whose filter lets the level pass. A failing sink is no failure of the
 * call. */
NKR_EXPORT nkr_error_t nkr_log_send_msg(uint32_t context, uint32_t level, nkr_log_msg_t* buffer);

/** Gives a buffer back; null is allowed. */
NKR_EXPORT void nkr_log_msg_free_buffer(nkr_log_msg_t* buffer);

#ifdef __cplusplus
}
#endif

#endif

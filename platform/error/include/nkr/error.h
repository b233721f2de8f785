/** @file
 * The result code of every operation: of the library, of the CANopen client and of the platform libraries.
 *
 * Success is equality with NKR_OK; every other value is a failure. A CiA 301 SDO abort code (0x05000000 and
 * above, CiA 301 table 22) stands for itself, so that one code says what happened all the way up. The codes
 * between NKR_INVALID_STATE and 0x05000000 are the CANopen client's own: what no abort code can say.
 */
#ifndef NKR_ERROR_H
#define NKR_ERROR_H

#include <nkr/export.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef int32_t nkr_error_t;

/* Results of the library itself. */
#define NKR_OK 1            /**< the operation and all its steps succeeded */
#define NKR_ERROR 4         /**< a request that cannot be served */
#define NKR_NOT_AVAILABLE 5 /**< not initialised, no such object, no such file */
#define NKR_INVALID_STATE 6 /**< the drive is not in a state that the operation needs or knows */

/* Results of the CANopen client and its buses that are no abort code. */
#define NKR_CAN_BUS_OFF 0x100        /**< the CAN controller went bus-off and sends nothing */
#define NKR_CAN_INTERFACE_GONE 0x101 /**< interface removed or down, or the bus's listener ended */
#define NKR_CAN_NOT_CONNECTED 0x102  /**< no bus is open */
#define NKR_CAN_INVALID_NODE 0x103   /**< node id outside 1 to 127: nothing was sent */
#define NKR_CAN_CLOSED 0x104         /**< closed while waiting, or before the call */
#define NKR_CAN_NO_INTERFACE 0x105   /**< no bus or interface of that name */
#define NKR_CAN_PERMISSION 0x106     /**< the system refused the bus to this user */
#define NKR_CAN_TX_OVERFLOW 0x107    /**< the send queue stayed full until the deadline */
#define NKR_CAN_TIMED_OUT 0x108      /**< no frame until the deadline (a bus's receive alone) */
#define NKR_CAN_WOULD_DEADLOCK 0x109 /**< a call that would wait for its own caller */
#define NKR_CAN_CANCELLED 0x10A      /**< the application ended the request before it was answered */
#define NKR_CAN_NO_RESOURCES 0x10B   /**< the system has no descriptor, thread or memory left */

/* Results of the application library that are neither. */
#define NKR_INTERRUPTED 0x200 /**< the program asked to end before the operation was done */

/* SDO abort codes, CiA 301 table 22, as the client returns them. */
#define NKR_SDO_TOGGLE_BIT 0x05030000
#define NKR_SDO_TIMED_OUT 0x05040000
#define NKR_SDO_UNKNOWN_COMMAND 0x05040001
#define NKR_SDO_BLOCK_SIZE 0x05040002
#define NKR_SDO_BLOCK_SEQUENCE 0x05040003
#define NKR_SDO_BLOCK_CRC 0x05040004
#define NKR_SDO_OUT_OF_MEMORY 0x05040005
#define NKR_SDO_UNSUPPORTED_ACCESS 0x06010000
#define NKR_SDO_WRITE_ONLY 0x06010001
#define NKR_SDO_READ_ONLY 0x06010002
#define NKR_SDO_NO_OBJECT 0x06020000
#define NKR_SDO_NOT_MAPPABLE 0x06040041
#define NKR_SDO_MAPPING_LENGTH 0x06040042
#define NKR_SDO_PARAMETER_INCOMPATIBLE 0x06040043
#define NKR_SDO_DEVICE_INCOMPATIBLE 0x06040047
#define NKR_SDO_HARDWARE 0x06060000
#define NKR_SDO_LENGTH 0x06070010
#define NKR_SDO_LENGTH_HIGH 0x06070012
#define NKR_SDO_LENGTH_LOW 0x06070013
#define NKR_SDO_NO_SUBINDEX 0x06090011
#define NKR_SDO_INVALID_VALUE 0x06090030
#define NKR_SDO_VALUE_HIGH 0x06090031
#define NKR_SDO_VALUE_LOW 0x06090032
#define NKR_SDO_MAX_BELOW_MIN 0x06090036
#define NKR_SDO_NO_RESOURCE 0x060A0023
#define NKR_SDO_GENERAL 0x08000000
#define NKR_SDO_STORE 0x08000020
#define NKR_SDO_LOCAL_CONTROL 0x08000021
#define NKR_SDO_DEVICE_STATE 0x08000022
#define NKR_SDO_NO_DICTIONARY 0x08000023
#define NKR_SDO_NO_DATA 0x08000024

#ifdef __cplusplus
/**
 * Marks a result that must not be dropped. g++ overlooks a dropped [[nodiscard]] result of a virtual call;
 * with NKR_CHECK_RESULTS defined before the first header here it sees that too, by an attribute of its own.
 * Then a cast to void is no excuse any more: g++ wants the result in a variable or a condition.
 */
#if defined(NKR_CHECK_RESULTS) && defined(__GNUC__)
#define NKR_NODISCARD [[nodiscard, gnu::warn_unused_result]]
#else
#define NKR_NODISCARD [[nodiscard]]
#endif
#endif

/**
 * A sentence in English for a result code; never null, static storage, any thread.
 * Unknown codes get a sentence of their range (an abort code of the device's own, say).
 */
NKR_EXPORT const char* nkr_error_text(nkr_error_t code);

/**
 * The name of a result code as it stands above ("NKR_SDO_TIMED_OUT"); never null, static storage, any thread.
 * "SDO_ABORT" for an abort code of the device's own, "UNKNOWN" for any other code that has no name.
 */
NKR_EXPORT const char* nkr_error_name(nkr_error_t code);

#ifdef __cplusplus
}
#endif

#endif

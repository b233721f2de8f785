/** @file
 * Reading back an encoded log message, field by field.
 *
 * An encoded message is a version byte (1), then items: 'H' context level, 'S' length text, 'U' number, and
 * 'E' at the end. Numbers are little-endian, 32 bits wide; the length has 16 bits. Every read is checked
 * against the size: any bytes may be given.
 */
#ifndef NKR_LOG_DECODE_H
#define NKR_LOG_DECODE_H

#include <nkr/export.h>
#include <nkr/log.h>

#ifdef __cplusplus
extern "C" {
#endif

#define NKR_LOG_FIELD_STR 1
#define NKR_LOG_FIELD_UINT 2

/** Where the reading of one message stands. */
typedef struct nkr_log_reader {
  const uint8_t* next;
  const uint8_t* end;
  uint32_t context; /**< from the header */
  uint32_t level;   /**< from the header */
} nkr_log_reader_t;

/** One field. */
typedef struct nkr_log_field {
  int kind;         /**< NKR_LOG_FIELD_STR or NKR_LOG_FIELD_UINT */
  uint32_t number;  /**< of a number; 0 for a text */
  const char* text; /**< of a text, inside the message and not terminated; null for a number */
  size_t text_size; /**< bytes at text */
} nkr_log_field_t;

/**
 * Begins to read a message and checks the whole of it.
 * @return NKR_ERROR when the bytes are not one complete message
 */
NKR_EXPORT nkr_error_t nkr_log_read_begin(nkr_log_reader_t* reader, const uint8_t* encoded,
                                          size_t encoded_size);

/** The next field. NKR_NOT_AVAILABLE after the last one, NKR_ERROR when the bytes are malformed. */
NKR_EXPORT nkr_error_t nkr_log_read_next(nkr_log_reader_t* reader, nkr_log_field_t* field);

/** The bytes of an ended message; null, and size 0, when the message was not ended. */
NKR_EXPORT const uint8_t* nkr_log_msg_encoded(const nkr_log_msg_t* message, size_t* size);

#ifdef __cplusplus
}
#endif

#endif

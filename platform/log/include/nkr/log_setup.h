/** @file
 * Setting up the log: on and off, the level filter, and the sinks that messages go to.
 *
 * Logging starts off and without sinks. Every function may be called from any thread, at any time. These
 * functions stand apart from those that build messages: a program that brings its own message functions may
 * still link them.
 *
 * A sink that fails (a full disk, a closed pipe, a callback that throws) loses the message, which
 * nkr_log_dropped() counts, and nothing else: it never ends, blocks or fails the thread that logs. What is
 * logged from inside a sink is dropped.
 *
 * A sink is called by the thread that logs while it is quick. One that takes longer than 10 ms for a message
 * gets a thread of its own until it has caught up, and delays nobody then: up to 1024 messages wait for it in
 * their order, what comes after is lost and counted.
 */
#ifndef NKR_LOG_SETUP_H
#define NKR_LOG_SETUP_H

#include <nkr/error.h>
#include <nkr/export.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** A sink that was added; 0 is none. */
typedef uint32_t nkr_log_sink_t;

/** One message as a callback sees it; all of it is valid during the call only. */
typedef struct nkr_log_record {
  int64_t time_ns;        /**< nanoseconds since 1970-01-01 UTC */
  uint32_t context;       /**< of the sender's choosing */
  uint32_t level;         /**< NKR_LOG_FAILURE to NKR_LOG_TRACE */
  const char* text;       /**< the fields in one line: "function:line Class: text" */
  const uint8_t* encoded; /**< the fields for nkr_log_read_begin() */
  size_t encoded_size;    /**< bytes at encoded */
} nkr_log_record_t;

typedef void (*nkr_log_callback_t)(void* user, const nkr_log_record_t* record);

/** Switches logging on (any value but 0) or off. Without a sink no messages are built either way. */
NKR_EXPORT void nkr_log_set_enabled(int on);

/** Messages of a level above this one are dropped for every sink; NKR_LOG_TRACE at the start. */
NKR_EXPORT void nkr_log_set_level(uint32_t level);

/** @name Adding a sink
 * @param level  the sink takes messages up to this level
 * @param sink   receives the sink's number; may be null
 * @return NKR_ERROR for a null or empty argument that is needed
 * @{ */

/** Standard error: one line a message, coloured on a terminal (not when NO_COLOR is set). */
NKR_EXPORT nkr_error_t nkr_log_add_stderr(uint32_t level, nkr_log_sink_t* sink);

/**
 * A function of the program's own. Calls of one callback never overlap; after nkr_log_remove_sink() it is not
 * called again. It may be called on a thread of the log (see above). A call that does not return holds up
 * nobody but its own thread.
 */
NKR_EXPORT nkr_error_t nkr_log_add_callback(nkr_log_callback_t callback, void* user, uint32_t level,
                                            nkr_log_sink_t* sink);

/**
 * A file, appended to, one line a message. Several processes may write to one file: whichever finds it full
 * renames it, and the others go on in the new one.
 * @param max_bytes  a file that would grow beyond is renamed to PATH.1 (and PATH.1 to PATH.2 ...); 0: never
 * @param kept       how many renamed files are kept, 1000 at most; with 0 a full file is emptied
 * @return NKR_NOT_AVAILABLE when the file cannot be opened
 */
NKR_EXPORT nkr_error_t nkr_log_add_file(const char* path, uint64_t max_bytes, uint32_t kept, uint32_t level,
                                        nkr_log_sink_t* sink);

/**
 * The system log (syslog or journal, /dev/log), facility "user".
 * @param ident  the name before each message
 * @return NKR_NOT_AVAILABLE when no system log listens
 */
NKR_EXPORT nkr_error_t nkr_log_add_syslog(const char* ident, uint32_t level, nkr_log_sink_t* sink);

/** @} */

/** Removes a sink and waits for a call of it that is under way. What waits for a slow sink it still gets, for
 * up to a second; the rest is lost and counted. NKR_NOT_AVAILABLE when there is none. */
NKR_EXPORT nkr_error_t nkr_log_remove_sink(nkr_log_sink_t sink);

/** Removes every sink. */
NKR_EXPORT void nkr_log_remove_all_sinks(void);

/**
 * Waits until every sink has got what was logged before; a program that ends calls it for its slow sinks.
 * @return NKR_NOT_AVAILABLE when the time was over, and from inside a sink
 */
NKR_EXPORT nkr_error_t nkr_log_flush(uint32_t timeout_ms);

/** How many times a sink has lost a message since the program started. */
NKR_EXPORT uint64_t nkr_log_dropped(void);

#ifdef __cplusplus
}
#endif

#endif

/** @file
 * What a shared library shows to others. The libraries are built with hidden visibility; what bears
 * NKR_EXPORT is their interface.
 *
 * The functions that a program may bring itself (nkr_log_*, nkr_cia402_*, nkr_safety_word_*) bear it too:
 * their definitions in the program are then used by shared libraries as well, even in a program that is built
 * with -fvisibility=hidden.
 */
#ifndef NKR_EXPORT_H
#define NKR_EXPORT_H

#if defined(__GNUC__)
#define NKR_EXPORT __attribute__((visibility("default")))
#define NKR_HIDDEN __attribute__((visibility("hidden"))) /**< a private class inside one that is shown */
#else
#define NKR_EXPORT
#define NKR_HIDDEN
#endif

#endif

/** @file
 * The version of this project. While the major number is 0 a new minor number may break what the one before
 * promised; afterwards a new major number alone does (Semantic Versioning).
 */
#ifndef TAVCORE_VERSION_H
#define TAVCORE_VERSION_H

#include <nkr/export.h>

#define TAVCORE_VERSION_MAJOR 0
#define TAVCORE_VERSION_MINOR 1
#define TAVCORE_VERSION_PATCH 0

/** The version of these headers as one number: 0.1.0 is 100, 1.2.3 is 10203. */
#define TAVCORE_VERSION_NUMBER \
  (TAVCORE_VERSION_MAJOR * 10000 + TAVCORE_VERSION_MINOR * 100 + TAVCORE_VERSION_PATCH)

#ifdef __cplusplus
extern "C" {
#endif

/** The version of the library that runs, as a number like TAVCORE_VERSION_NUMBER. Any thread. */
NKR_EXPORT int nkr_version(void);
/** The same as text: "0.1.0". */
NKR_EXPORT const char* nkr_version_text(void);

#ifdef __cplusplus
}
#endif

#endif

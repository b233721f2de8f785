/** @file
 * Result codes for C++: success by a word, std::error_code, and an exception for those who want one.
 *
 * Nothing in the libraries throws for what a device, a file or a bus does; throw_if_failed() is the caller's
 * choice.
 */
#ifndef NKR_ERROR_HPP
#define NKR_ERROR_HPP

#include <nkr/error.h>
#include <nkr/export.h>

#include <string>
#include <system_error>

namespace nkr {

/** Success is equality with NKR_OK, nothing else. */
[[nodiscard]] constexpr bool ok(nkr_error_t result) noexcept {
  return result == NKR_OK;
}

/**
 * The category of result codes, "nkr". Its messages are nkr_error_text(). Codes with a meaning of the
 * system's compare equal to it: error_code(NKR_SDO_TIMED_OUT) == std::errc::timed_out.
 */
[[nodiscard]] NKR_EXPORT const std::error_category& error_category() noexcept;

/**
 * A result as the standard library passes failures around; empty, which is success, for NKR_OK. 0, which is
 * success to the standard library and no result of anything here, becomes NKR_ERROR.
 */
[[nodiscard]] inline std::error_code error_code(nkr_error_t result) noexcept {
  if (ok(result)) return {};
  return {result != 0 ? result : NKR_ERROR, error_category()};
}

/** Nothing for NKR_OK; else throws std::system_error with this code and "WHAT: sentence". */
inline void throw_if_failed(nkr_error_t result, const std::string& what) {
  if (!ok(result)) throw std::system_error(error_code(result), what);
}

}  // namespace nkr

#endif

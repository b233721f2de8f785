#ifndef TAV_HOST_NUMBER_HPP
#define TAV_HOST_NUMBER_HPP

#include <nkr/export.h>

#include <cstdint>
#include <nkr/tools/ObjectValue.hpp>
#include <optional>
#include <string_view>

namespace tav::host {

// Numbers as people type them: the whole text, decimal or 0x hexadecimal. What descriptions allow besides
// (octal, comments, $NODEID) is no number here.

[[nodiscard]] NKR_EXPORT std::optional<std::int64_t> typed_integer(std::string_view text);
/** As an integer of that type, by the rules of nkr::tools::integer_of(). */
[[nodiscard]] NKR_EXPORT std::optional<std::int64_t> typed_integer(std::string_view text,
                                                                   nkr::tools::DataType type);
/** With a point as decimal sign. */
[[nodiscard]] NKR_EXPORT std::optional<double> typed_real(std::string_view text);
/** 0/1/false/true/off/on/no/yes. */
[[nodiscard]] NKR_EXPORT std::optional<bool> typed_flag(std::string_view text);

}  // namespace tav::host

#endif

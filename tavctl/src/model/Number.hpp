#ifndef TAVCTL_MODEL_NUMBER_HPP
#define TAVCTL_MODEL_NUMBER_HPP

#include <cstdint>
#include <nkr/tools/ObjectValue.hpp>
#include <optional>
#include <string_view>

namespace tavctl {

// Numbers as people type them: the whole text, decimal or 0x hexadecimal. What descriptions allow besides
// (octal, comments, $NODEID) is no number here.

[[nodiscard]] std::optional<std::int64_t> typed_integer(std::string_view text);
/** As an integer of that type, by the rules of nkr::tools::integer_of(). */
[[nodiscard]] std::optional<std::int64_t> typed_integer(std::string_view text, nkr::tools::DataType type);
/** With a point as decimal sign. */
[[nodiscard]] std::optional<double> typed_real(std::string_view text);
/** 0/1/false/true/off/on/no/yes. */
[[nodiscard]] std::optional<bool> typed_flag(std::string_view text);

}  // namespace tavctl

#endif

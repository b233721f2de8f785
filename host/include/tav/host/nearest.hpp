#ifndef TAV_HOST_NEAREST_HPP
#define TAV_HOST_NEAREST_HPP

#include <nkr/export.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tav::host {

/**
 * Those names that somebody may have meant by `wanted`, the likeliest first: equal but for case and signs
 * between words, beginning with it, holding it, and those that a few slips away (letters left out, added,
 * exchanged or swapped: one in three letters at most).
 */
[[nodiscard]] NKR_EXPORT std::vector<std::string> nearest_names(std::string_view wanted,
                                                                const std::vector<std::string>& names,
                                                                std::size_t most = 3);

/** Equal but for case and the signs between words: "Vl-Target Velocity" is "vl_target_velocity". */
[[nodiscard]] NKR_EXPORT bool is_same_name(std::string_view a, std::string_view b);

/** `did you mean "a", "b"?`; empty without names. */
[[nodiscard]] NKR_EXPORT std::string did_you_mean(const std::vector<std::string>& names);

}  // namespace tav::host

#endif

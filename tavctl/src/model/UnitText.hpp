#ifndef TAVCTL_MODEL_UNITTEXT_HPP
#define TAVCTL_MODEL_UNITTEXT_HPP

#include <cstdint>
#include <string>

namespace tavctl {

/** A unit object (prefix, numerator, denominator; CiA 303-2) as text: 0xFD030000 is "ms". */
[[nodiscard]] std::string unit_text(std::uint32_t unit);

}  // namespace tavctl

#endif

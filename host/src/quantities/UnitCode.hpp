#ifndef TAV_HOST_SRC_QUANTITIES_UNITCODE_HPP
#define TAV_HOST_SRC_QUANTITIES_UNITCODE_HPP

#include <cstdint>
#include <string_view>
#include <vector>

#include "Factor.hpp"

namespace tav::host {

/** What a numerator or denominator measures. */
enum class Dimension { NONE, TURN, LENGTH, INCREMENT, TIME, TIME_2, TIME_3, OTHER };

/** A numerator or denominator of CiA 303-2. */
struct UnitCode {
  std::uint8_t code;
  std::string_view name;
  Dimension dimension;
  Factor base;       ///< how many revolutions, metres, increments, seconds (to its power)
  bool has_letters;  ///< powers of ten are said by a letter: "mm"
};

[[nodiscard]] const std::vector<UnitCode>& unit_codes();
/** Null for a code that means nothing here. */
[[nodiscard]] const UnitCode* unit_code(std::uint8_t code);

}  // namespace tav::host

#endif

#ifndef TAVCTL_MODEL_UNITTEXT_HPP
#define TAVCTL_MODEL_UNITTEXT_HPP

#include <cstdint>
#include <string>

#include "model/Format.hpp"

namespace tavctl {

/** A unit object (prefix, numerator, denominator; CiA 303-2) as text: 0xFD030000 is "ms". */
[[nodiscard]] std::string unit_text(std::uint32_t unit);

/** The four units of a drive as text and number: "ms (0xFD030000)". Its fields are those of kUnitFields. */
struct UnitTexts {
  std::string time_unit;
  std::string position_unit;
  std::string velocity_unit;
  std::string acceleration_unit;
};
template <class Units>
[[nodiscard]] UnitTexts unit_texts(const Units& units) {
  constexpr int kDigits = 8;
  const auto text = [](std::uint32_t unit) { return unit_text(unit) + " (" + hex(unit, kDigits) + ')'; };
  return {text(units.time_unit), text(units.position_unit), text(units.velocity_unit),
          text(units.acceleration_unit)};
}

}  // namespace tavctl

#endif

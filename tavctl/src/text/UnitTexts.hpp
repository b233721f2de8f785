#ifndef TAVCTL_TEXT_UNITTEXTS_HPP
#define TAVCTL_TEXT_UNITTEXTS_HPP

#include <cstdint>
#include <string>

#include "text/host.hpp"

namespace tavctl {

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

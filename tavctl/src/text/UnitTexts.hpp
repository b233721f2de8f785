#ifndef TAVCTL_TEXT_UNITTEXTS_HPP
#define TAVCTL_TEXT_UNITTEXTS_HPP

#include <cstdint>
#include <string>
#include <tav/host/Quantity.hpp>

#include "text/Values.hpp"
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

/** A field of the safety records as people read it: velocities and times with their unit, the error reaction
 * by its name. */
[[nodiscard]] std::string safety_field_text(const std::string& key, const Value& value,
                                            std::uint32_t velocity_unit, std::uint32_t time_unit);

/** What the values of a key of the safety records are measured in. */
enum class SafetyMeasure { NONE, VELOCITY, TIME };
[[nodiscard]] SafetyMeasure safety_measure(const std::string& key);

}  // namespace tavctl

#endif

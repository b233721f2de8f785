#include "text/UnitTexts.hpp"

#include <variant>

namespace tavctl {

namespace {

/** The reference to STO's command (object 0x6640:00). */
constexpr std::uint64_t kSto = 0x66400000;

std::string reaction_name(const Value& value) {
  if (const bool* const is_sto = std::get_if<bool>(&value.data)) return *is_sto ? "STO" : "none";
  const auto* const reference = std::get_if<std::uint64_t>(&value.data);
  if (reference != nullptr && *reference == kSto) return "STO";
  return reference != nullptr && *reference == 0 ? "none" : value.text;
}

}  // namespace

SafetyMeasure safety_measure(const std::string& key) {
  if (key == "velocity_limit" || key == "velocity_zero_window") return SafetyMeasure::VELOCITY;
  if (key == "time_to_velocity_monitoring" || key == "time_for_velocity_in_limits" ||
      key == "brake_time_delay") {
    return SafetyMeasure::TIME;
  }
  return SafetyMeasure::NONE;
}

std::string safety_field_text(const std::string& key, const Value& value, std::uint32_t velocity_unit,
                              std::uint32_t time_unit) {
  if (key == "error_reaction") return reaction_name(value);
  const SafetyMeasure measure = safety_measure(key);
  if (measure == SafetyMeasure::NONE) return value.text;
  return value.text + ' ' + unit_text(measure == SafetyMeasure::TIME ? time_unit : velocity_unit);
}

}  // namespace tavctl

#include "commands/session/Quantities.hpp"

#include <cstdio>
#include <limits>

#include "text/UnitTexts.hpp"
#include "text/explained.hpp"

namespace tavctl {

namespace {

std::string decimal(double number) {
  char text[32];
  std::snprintf(text, sizeof text, "%.6g", number);
  return text;
}

}  // namespace

bool has_unit(const std::string& text) {
  const std::size_t end = text.find_first_not_of("+-.0123456789");
  return end != 0 && end != text.npos && text.compare(0, 2, "0x") != 0 && text.compare(0, 2, "0X") != 0;
}

const DriveUnits& Quantities::units() {
  if (!is_read_) see(tav::host::read_units(session_.unit(), units_));
  is_read_ = true;
  return units_;
}

std::int64_t Quantities::take(const std::string& text, const Scale& scale, const std::string& what,
                              std::int64_t low, std::int64_t high) {
  Conversion conversion;
  const Result result = convert(text, scale, mechanics_of(session_.configuration()), conversion);
  if (!result.ok()) {
    const Explanation& why = result.explanation();
    const bool is_number = has_unit(text);
    throw Failure(is_number ? ExitCode::REFUSED : ExitCode::USAGE, why.action, why.detail);
  }
  const std::string as_sent = quantity_text(conversion.raw, scale);
  if (conversion.raw < low || conversion.raw > high) {
    throw Failure(ExitCode::REFUSED, (conversion.was_converted ? text + " is " + as_sent + ": it" : text) +
                                         " is no " + what + ": " + std::to_string(low) + " to " +
                                         std::to_string(high));
  }
  if (conversion.was_converted) {
    session_.output().note(what + ": " + text + " is sent as " + as_sent);
    if (conversion.is_coarse) {
      session_.output().note("WARNING: rounding changes it by more than 1 %: it is " +
                             decimal(conversion.exact));
    }
  }
  return conversion.raw;
}

const Scale* Quantities::safety_scale(const std::string& key) {
  const SafetyMeasure measure = safety_measure(key);
  if (measure == SafetyMeasure::NONE) return nullptr;
  return measure == SafetyMeasure::TIME ? &units().time : &units().velocity;
}

FieldWords Quantities::safety_words() {
  FieldWords words;
  words.shown = [this](const std::string& key, const Value& value) {
    return safety_field_text(key, value, units().velocity.unit, units().time.unit);
  };
  words.taken = [this](const std::string& key, const std::string& text) -> std::string {
    if (key == "error_reaction" && (text == "STO" || text == "sto")) return "on";
    if (key == "error_reaction" && text == "none") return "off";
    const Scale* const scale = has_unit(text) ? safety_scale(key) : nullptr;
    if (scale == nullptr) return text;
    return std::to_string(take(text, *scale, key, 0, std::numeric_limits<std::uint32_t>::max()));
  };
  return words;
}

}  // namespace tavctl

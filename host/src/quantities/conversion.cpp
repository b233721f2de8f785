#include <algorithm>
#include <cmath>
#include <nkr/canopen/Client.hpp>
#include <tav/host/HostConfiguration.hpp>
#include <tav/host/Quantity.hpp>
#include <tav/host/Unit.hpp>
#include <tavcore/CANOpenDispatcher.hpp>
#include <tavcore/Config.hpp>
#include <utility>

#include "../words/refusal.hpp"
#include "UnitCode.hpp"

namespace tav::host {

namespace {

/** A decimal number, exactly; nothing for another text. */
std::optional<Factor> decimal(std::string_view text) {
  constexpr int kMostDigits = 18;
  const bool negative = !text.empty() && text[0] == '-';
  if (!text.empty() && (text[0] == '-' || text[0] == '+')) text.remove_prefix(1);
  std::int64_t digits = 0;
  int count = 0;
  int places = 0;
  bool behind_point = false;
  for (const char sign : text) {
    if (sign == '.' && !behind_point) {
      behind_point = true;
      continue;
    }
    if (sign < '0' || sign > '9' || ++count > kMostDigits) return std::nullopt;
    digits = digits * 10 + (sign - '0');
    places += behind_point ? 1 : 0;
  }
  if (count == 0) return std::nullopt;
  return Factor(negative ? -digits : digits) * Factor::power_of_ten(-places);
}

/** Turns, of a number of that unit's numerator; nothing without the mechanics for it. */
std::optional<Factor> in_turns(Dimension dimension, const Mechanics& mechanics) {
  constexpr int kMillimetres = 1000;
  if (dimension == Dimension::TURN) return Factor(1);
  if (dimension == Dimension::INCREMENT && mechanics.increments_per_revolution > 0) {
    return Factor(1, mechanics.increments_per_revolution);
  }
  const bool has_wheel = mechanics.reduction > 0 && mechanics.wheel_diameter > 0;
  if (dimension != Dimension::LENGTH || !has_wheel) return std::nullopt;
  const Factor around = Factor::of(mechanics.wheel_diameter) * Factor(1, kMillimetres, 1);
  return Factor::of(mechanics.reduction) * around.inverse();
}

bool is_way(Dimension dimension) {
  return dimension == Dimension::TURN || dimension == Dimension::LENGTH || dimension == Dimension::INCREMENT;
}

/** What a number in the one unit is to be multiplied with for the other. */
std::optional<Factor> ratio(std::uint32_t from, std::uint32_t to, const Mechanics& mechanics) {
  if (from == to) return Factor(1);
  if (!is_unit(from) || !is_unit(to)) return std::nullopt;
  const auto code = [](std::uint32_t unit, int shift) -> const UnitCode& {
    return *unit_code(static_cast<std::uint8_t>(unit >> shift));
  };
  const UnitCode& a = code(from, 16);
  const UnitCode& b = code(to, 16);
  const UnitCode& a_below = code(from, 8);
  const UnitCode& b_below = code(to, 8);
  if (a_below.dimension != b_below.dimension) return std::nullopt;
  if (a_below.dimension == Dimension::OTHER && a_below.code != b_below.code) return std::nullopt;
  const int power = static_cast<std::int8_t>(from >> 24) - static_cast<std::int8_t>(to >> 24);
  Factor result = Factor::power_of_ten(power) * a.base * b.base.inverse() *
                  (a_below.base * b_below.base.inverse()).inverse();
  if (a.dimension == b.dimension) {
    const bool is_same = a.dimension != Dimension::OTHER || a.code == b.code;
    return is_same ? std::optional(result) : std::nullopt;
  }
  if (!is_way(a.dimension) || !is_way(b.dimension)) return std::nullopt;
  const auto a_turns = in_turns(a.dimension, mechanics);
  const auto b_turns = in_turns(b.dimension, mechanics);
  if (!a_turns || !b_turns) return std::nullopt;
  return result * *a_turns * b_turns->inverse();
}

std::optional<Factor> to_raw(std::uint32_t from, const Scale& to, const Mechanics& mechanics) {
  if (to.numerator == 0 || to.denominator == 0) return std::nullopt;
  const auto factor = ratio(from, to.unit, mechanics);
  if (!factor) return std::nullopt;
  return *factor * Factor(to.numerator).inverse() * Factor(to.denominator);
}

Result refused(std::string what, std::string why) {
  return refusal(Cause::REFUSED, NKR_ERROR, std::move(what), std::move(why));
}

std::string why_not(std::uint32_t from, const Scale& to) {
  if (!is_unit(to.unit))
    return "the drive says its unit as a number that means nothing: " + unit_text(to.unit);
  if (unit_kind(from) != unit_kind(to.unit)) {
    return "it is no number of what the drive measures in " + unit_text(to.unit);
  }
  return "the configuration does not say what makes " + unit_text(to.unit) +
         " of it: reduction, diameter, nbStepRevolutionElec and nbPolePair do";
}

}  // namespace

Mechanics mechanics_of(const UnitConfiguration& unit) {
  constexpr int kMost = 1'000'000;
  const auto& values = unit.values;
  Mechanics mechanics{values.reduction, values.diameter, 0};
  const bool is_sound = values.nb_step_revolution_elec > 0 && values.nb_step_revolution_elec <= kMost &&
                        values.nb_pole_pair > 0 && values.nb_pole_pair <= 1000;
  if (is_sound) mechanics.increments_per_revolution = values.nb_step_revolution_elec * values.nb_pole_pair;
  return mechanics;
}

Result convert(std::string_view text, const Scale& to, const Mechanics& mechanics, Conversion& conversion) {
  const std::string whole(text);
  const std::size_t end = text.find_first_not_of("+-.0123456789");
  const auto number = decimal(text.substr(0, end));
  std::string_view name = end == text.npos ? std::string_view() : text.substr(end);
  name.remove_prefix(std::min(name.find_first_not_of(' '), name.size()));
  if (!number) return refused("\"" + whole + "\" is no number", "such as 300, 300rpm or 1.2m/s");
  const auto unit = name.empty() ? std::optional(to.unit) : unit_named(name);
  if (!unit) {
    return refused("\"" + std::string(name) + "\" is no unit",
                   "such as rpm, rev/s, deg/s, rad/s, m/s, mm/s, ms");
  }
  const auto factor = name.empty() ? std::optional(Factor(1)) : to_raw(*unit, to, mechanics);
  if (!factor) return refused("cannot take \"" + whole + '"', why_not(*unit, to));
  const Factor exact = *number * *factor;
  Conversion result;
  if (!exact.round(result.raw)) return refused("\"" + whole + "\" is too large", {});
  constexpr double kCoarse = 0.01;
  result.exact = static_cast<double>(exact.value());
  result.was_converted = !name.empty();
  result.is_coarse =
      std::abs(static_cast<double>(result.raw) - result.exact) > kCoarse * std::abs(result.exact);
  conversion = result;
  return {};
}

std::optional<double> value_in(double raw, const Scale& scale, std::uint32_t unit,
                               const Mechanics& mechanics) {
  const auto factor = to_raw(unit, scale, mechanics);
  if (!factor) return std::nullopt;
  return static_cast<double>(static_cast<long double>(raw) * factor->inverse().value());
}

std::string quantity_text(std::int64_t raw, const Scale& scale) {
  const bool is_scaled = scale.numerator != scale.denominator;
  std::string text = std::to_string(raw);
  if (scale.unit == 0 && !is_scaled) return text;
  text += ' ';
  if (is_scaled) {
    text += "x " + std::to_string(scale.numerator) + '/' + std::to_string(scale.denominator) + ' ';
  }
  return text + unit_text(scale.unit);
}

Result read_units(const Unit& unit, DriveUnits& units) {
  constexpr std::uint32_t kNumerator = 0x604C0120;
  constexpr std::uint32_t kDenominator = 0x604C0220;
  const auto& drive = *unit.dispatcher();
  const auto is_there = [](nkr_error_t code) {
    return code != NKR_NOT_AVAILABLE && code != NKR_SDO_NO_OBJECT && code != NKR_SDO_NO_SUBINDEX;
  };
  nkr::tavcore::IPDSService::UnitParameters held{};
  const nkr_error_t read = drive.getUnitParameters(held);
  if (is_there(read) && read != NKR_OK) return unit.check(read, "read the units");
  Scale target{kRpm, 1, 1};
  nkr_error_t factor = unit.client().getValue(unit.node_id(), kNumerator, target.numerator);
  if (factor == NKR_OK) factor = unit.client().getValue(unit.node_id(), kDenominator, target.denominator);
  if (is_there(factor) && factor != NKR_OK) return unit.check(factor, "read the dimension factor");
  if (!is_there(factor)) target = {kRpm, 1, 1};
  units.position.unit = held.position_unit;
  units.velocity.unit = held.velocity_unit;
  units.acceleration.unit = held.acceleration_unit;
  units.time.unit = held.time_unit;
  units.target_velocity = target;
  return {};
}

/** CiA 402-2; the limits and windows of the safety functions besides. */
const Scale* scale_of(const DriveUnits& units, nkr::tools::ObjectID object) {
  const auto packed = static_cast<std::uint32_t>(object.get());
  const std::uint32_t subindex = packed & 0xFF;
  switch (packed >> 8) {
    case 0x6042:
    case 0x6043:
    case 0x6044:
      return &units.target_velocity;
    case 0x6046:  // limits
      return subindex == 0 ? nullptr : &units.target_velocity;
    case 0x6062:
    case 0x6064:
    case 0x6065:
    case 0x6067:
    case 0x607A:
      return &units.position;
    case 0x606B:
    case 0x606C:
    case 0x6081:
    case 0x60FF:
      return &units.velocity;
    case 0x6083:
    case 0x6084:
    case 0x6085:
      return &units.acceleration;
    default:
      return nullptr;
  }
}

}  // namespace tav::host

#ifndef TAV_HOST_QUANTITY_HPP
#define TAV_HOST_QUANTITY_HPP

#include <nkr/export.h>

#include <cstdint>
#include <nkr/tools/ObjectEntry.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <tav/host/Result.hpp>

namespace tav::host {

class Unit;
struct UnitConfiguration;

// Physical units as drives name them (objects 0x60A8 to 0x60AB; codes of CiA 303-2): bits 31 to 24 a power of
// ten, 23 to 16 the numerator, 15 to 8 the denominator, 7 to 0 zero. Turns are turns of the motor's shaft.

constexpr std::uint32_t kRpm = 0x00B44700;

/** A unit object as text: 0xFD030000 is "ms", 0x00B44700 "rpm", 0xFFB44700 "0.1 rpm". What means nothing
 * reads "unknown unit 0x12345678". */
[[nodiscard]] NKR_EXPORT std::string unit_text(std::uint32_t unit);
/** The unit that the text names: "rpm" (also "U/min"), "0.1rpm", "mm/s", "rev/s^2", "ms"; none for another.
 */
[[nodiscard]] NKR_EXPORT std::optional<std::uint32_t> unit_named(std::string_view text);
/** Whether a unit number means something: a known numerator and denominator, a power of ten from -9 to 9. */
[[nodiscard]] NKR_EXPORT bool is_unit(std::uint32_t unit);

enum class UnitKind { TIME, POSITION, VELOCITY, ACCELERATION, OTHER };
/** What a unit measures. Turns, ways, angles and increments are positions. */
[[nodiscard]] NKR_EXPORT UnitKind unit_kind(std::uint32_t unit);

/** What makes turns of the motor ways of the wheel and increments; 0: not known. */
struct Mechanics {
  double reduction = 0.0;             ///< motor revolutions for one wheel revolution
  double wheel_diameter = 0.0;        ///< millimetres
  int increments_per_revolution = 0;  ///< of the motor
};
[[nodiscard]] NKR_EXPORT Mechanics mechanics_of(const UnitConfiguration& unit);

/** A number in a unit of the drive: raw * numerator / denominator of `unit`. */
struct Scale {
  std::uint32_t unit = 0;
  std::int32_t numerator = 1;  ///< of the vl dimension factor (object 0x604C), else 1
  std::int32_t denominator = 1;
};

/** What became of a number with a unit. */
struct Conversion {
  std::int64_t raw = 0;        ///< rounded half away from zero
  double exact = 0.0;          ///< before rounding
  bool is_coarse = false;      ///< rounding changed it by more than 1 %
  bool was_converted = false;  ///< a unit was given
};

/**
 * Takes "300" (the drive's own unit) or "1.2m/s" as a number of that scale. Decimal numbers are converted
 * exactly.
 * @return with Cause::REFUSED for what is no number, a unit that measures something else, or one that the
 * mechanics do not say how to convert
 */
NKR_EXPORT Result convert(std::string_view text, const Scale& to, const Mechanics& mechanics,
                          Conversion& conversion);

/** A raw number in that unit; none when the one is not convertible into the other. */
[[nodiscard]] NKR_EXPORT std::optional<double> value_in(double raw, const Scale& scale, std::uint32_t unit,
                                                        const Mechanics& mechanics);
/** "300 rpm"; the number alone for the unit "1". */
[[nodiscard]] NKR_EXPORT std::string quantity_text(std::int64_t raw, const Scale& scale);

/** The units in which a drive takes and gives its numbers. */
struct DriveUnits {
  Scale position;  ///< 0x6064
  Scale velocity;  ///< 0x606C, and the limits of the safety functions
  Scale acceleration;
  Scale time;             ///< times of the safety functions
  Scale target_velocity;  ///< 0x6042, 0x6043, 0x6046: rpm by the vl dimension factor (CiA 402-2)
};
/** Reads them from the drive. A drive without unit objects has the unit "1", one without dimension factor 1.
 */
NKR_EXPORT Result read_units(const Unit& unit, DriveUnits& units);

/** The scale of what an object of the drive holds, of the ones that units apply to; null for another. */
[[nodiscard]] NKR_EXPORT const Scale* scale_of(const DriveUnits& units, nkr::tools::ObjectID object);

}  // namespace tav::host

#endif

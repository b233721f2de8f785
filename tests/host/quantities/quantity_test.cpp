// Numbers with units: what drives call them (CiA 303-2), and what becomes of "1.2m/s".
#include <gtest/gtest.h>

#include <tav/host/HostConfiguration.hpp>
#include <tav/host/Quantity.hpp>
#include <tav/host/Unit.hpp>
#include <tav/host/text.hpp>

#include "host/DriveBeside.hpp"

namespace tests::host {
namespace {

using tav::host::Conversion;
using tav::host::convert;
using tav::host::is_unit;
using tav::host::kRpm;
using tav::host::Mechanics;
using tav::host::Scale;
using tav::host::unit_kind;
using tav::host::unit_named;
using tav::host::unit_text;
using tav::host::UnitKind;

constexpr std::uint32_t kMillimetresPerSecond = 0xFD010300;
constexpr std::uint32_t kIncrements = 0x00B50000;

/** A wheel of 200 mm behind a gear of 10, and 360 * 7 increments a revolution. */
constexpr Mechanics kMechanics{10.0, 200.0, 2520};

struct NamedUnit {
  std::uint32_t code;
  const char* name;
};
const NamedUnit kUnits[] = {{0x00B44700, "rpm"},   {0xFFB44700, "0.1 rpm"}, {0xFDB44700, "0.001 rpm"},
                            {0x00010300, "m/s"},   {0xFD010300, "mm/s"},    {0x00B40300, "rev/s"},
                            {0x00410300, "deg/s"}, {0x00B50300, "inc/s"},   {0x00B50000, "inc"},
                            {0xFD410000, "mdeg"},  {0x00B45700, "rev/s^2"}, {0xFD01A000, "mm/s^3"},
                            {0xFD030000, "ms"},    {0xFA010000, "um"},      {0x00100300, "rad/s"},
                            {0x03010000, "km"},    {0x00000300, "1/s"}};

TEST(UnitNames, AreThoseOfTheCodes) {
  for (const NamedUnit& unit : kUnits) {
    EXPECT_EQ(unit_text(unit.code), unit.name);
    EXPECT_TRUE(is_unit(unit.code)) << unit.name;
  }
}

TEST(UnitNames, AreUnderstood) {
  for (const NamedUnit& unit : kUnits) EXPECT_EQ(unit_named(unit.name), unit.code) << unit.name;
  EXPECT_EQ(unit_named("0.1rpm"), 0xFFB44700U);
  EXPECT_EQ(unit_named("U/min"), kRpm);
  EXPECT_EQ(unit_named("rev/min"), kRpm);
  for (const char* const none :
       {"", "furlong", "m/", "/s", "m/furlong", "mm/mm/mm", "krpm", "0.2rpm", "10"}) {
    EXPECT_EQ(unit_named(none), std::nullopt) << none;
  }
}

TEST(UnitNames, SayOfANumberThatMeansNothingThatItDoes) {
  for (const std::uint32_t none : {0x12345678U, 0x00B44701U, 0x00FF0000U, 0x0001FF00U, 0x40010000U}) {
    EXPECT_FALSE(is_unit(none)) << none;
  }
  EXPECT_EQ(unit_text(0x12345678), "unknown unit 0x12345678");
}

TEST(UnitNames, SayWhatTheyMeasure) {
  EXPECT_EQ(unit_kind(0xFD030000), UnitKind::TIME);
  EXPECT_EQ(unit_kind(kIncrements), UnitKind::POSITION);
  EXPECT_EQ(unit_kind(kRpm), UnitKind::VELOCITY);
  EXPECT_EQ(unit_kind(kMillimetresPerSecond), UnitKind::VELOCITY);
  EXPECT_EQ(unit_kind(0x00B45700), UnitKind::ACCELERATION);
  EXPECT_EQ(unit_kind(0x00260000), UnitKind::OTHER);
}

std::int64_t raw_of(const char* text, const Scale& scale, const Mechanics& mechanics = kMechanics) {
  Conversion conversion;
  const auto result = convert(text, scale, mechanics, conversion);
  EXPECT_TRUE(result.ok()) << text << ": " << tav::host::headline(result.explanation());
  return conversion.raw;
}

TEST(Quantity, WithoutUnitIsTheDrivesOwnNumber) {
  EXPECT_EQ(raw_of("300", {kRpm}), 300);
  EXPECT_EQ(raw_of("-300", {0x12345678}), -300);
  EXPECT_EQ(raw_of("+12", {kRpm, 1, 10}), 12);
}

TEST(Quantity, OfTurnsIsConvertedExactly) {
  EXPECT_EQ(raw_of("300rpm", {kRpm}), 300);
  EXPECT_EQ(raw_of("5rev/s", {kRpm}), 300);
  EXPECT_EQ(raw_of("-1800deg/s", {kRpm}), -300);
  EXPECT_EQ(raw_of("31.415927 rad/s", {kRpm}), 300);
  EXPECT_EQ(raw_of("30.05rpm", {0xFEB44700}), 3005);
  EXPECT_EQ(raw_of("250 ms", {0xFD030000}), 250);
  EXPECT_EQ(raw_of("0.25s", {0xFD030000}), 250);
}

TEST(Quantity, IsRoundedHalfAwayFromZero) {
  EXPECT_EQ(raw_of("0.5rpm", {kRpm}), 1);
  EXPECT_EQ(raw_of("-0.5rpm", {kRpm}), -1);
  EXPECT_EQ(raw_of("2.4999999999999999rpm", {kRpm}), 2);
  EXPECT_EQ(raw_of("0.15rpm", {0xFFB44700}), 2);
}

TEST(Quantity, OfTheWheelNeedsReductionAndDiameter) {
  // 1.2 m/s / (pi * 0.2 m) = 1.90986 rev/s of the wheel, times 10 * 60
  EXPECT_EQ(raw_of("1.2m/s", {kRpm}), 1146);
  EXPECT_EQ(raw_of("1200mm/s", {kRpm}), 1146);
  EXPECT_EQ(raw_of("1146rpm", {kMillimetresPerSecond}), 1200);
  Conversion conversion;
  const auto result = convert("1.2m/s", {kRpm}, {}, conversion);
  EXPECT_FALSE(result.ok());
  EXPECT_NE(result.explanation().detail.find("reduction, diameter"), std::string::npos);
}

TEST(Quantity, OfIncrementsNeedsTheStepsOfARevolution) {
  EXPECT_EQ(raw_of("2rev", {kIncrements}), 5040);
  EXPECT_EQ(raw_of("90deg", {kIncrements}), 630);
  Conversion conversion;
  EXPECT_FALSE(convert("2rev", {kIncrements}, {10.0, 200.0, 0}, conversion).ok());
}

TEST(Quantity, OfAScaledObjectFollowsItsFactor) {
  // raw * 1/10 = rpm
  EXPECT_EQ(raw_of("30rpm", {kRpm, 1, 10}), 300);
  EXPECT_EQ(raw_of("30rpm", {kRpm, 3, 1}), 10);
}

TEST(Quantity, SaysWhenRoundingChangesItByMoreThanOnePercent) {
  Conversion conversion;
  ASSERT_TRUE(convert("10.04rpm", {kRpm}, {}, conversion).ok());
  EXPECT_FALSE(conversion.is_coarse);
  ASSERT_TRUE(convert("1.4rpm", {kRpm}, {}, conversion).ok());
  EXPECT_TRUE(conversion.is_coarse);
  EXPECT_DOUBLE_EQ(conversion.exact, 1.4);
}

TEST(Quantity, IsRefusedWithTheReason) {
  const auto refused = [](const char* text, const Scale& scale) {
    Conversion conversion;
    const auto result = convert(text, scale, kMechanics, conversion);
    EXPECT_FALSE(result.ok()) << text;
    return result.explanation().action + ": " + result.explanation().detail;
  };
  EXPECT_EQ(refused("fast", {kRpm}), "\"fast\" is no number: such as 300, 300rpm or 1.2m/s");
  EXPECT_NE(refused("3furlong", {kRpm}).find("\"furlong\" is no unit"), std::string::npos);
  EXPECT_EQ(refused("3mm", {kRpm}), "cannot take \"3mm\": it is no number of what the drive measures in rpm");
  EXPECT_NE(refused("3rpm", {0x12345678}).find("means nothing: unknown unit 0x12345678"), std::string::npos);
  EXPECT_NE(refused("1.2.3", {kRpm}).find("is no number"), std::string::npos);
  EXPECT_NE(refused("--3", {kRpm}).find("is no number"), std::string::npos);
  EXPECT_NE(refused("999999999999999999h", {0xF7030000}).find("is too large"), std::string::npos);
}

TEST(Quantity, OfADriveIsShownInAnotherUnit) {
  EXPECT_DOUBLE_EQ(*tav::host::value_in(300, {kRpm}, 0x00B40300, {}), 5.0);
  EXPECT_NEAR(*tav::host::value_in(1146, {kRpm}, 0x00010300, kMechanics), 1.2, 1e-3);
  EXPECT_EQ(tav::host::value_in(300, {kRpm}, 0x00010300, {}), std::nullopt);
  EXPECT_EQ(tav::host::quantity_text(-300, {kRpm}), "-300 rpm");
  EXPECT_EQ(tav::host::quantity_text(7, {0}), "7");
}

TEST(Quantity, UsesTheMechanicsOfTheConfiguration) {
  tav::host::HostConfiguration file;
  ASSERT_TRUE(file.read("share/tav/tav.ini").ok());
  const Mechanics mechanics = tav::host::mechanics_of(file.units()[0]);
  EXPECT_EQ(mechanics.reduction, 10.0);
  EXPECT_EQ(mechanics.wheel_diameter, 200.0);
  EXPECT_EQ(mechanics.increments_per_revolution, 360 * 7);
}

TEST(UnitsOfADrive, AreReadFromIt) {
  DriveBeside beside;
  tav::host::Result result;
  const auto unit = tav::host::Unit::open(beside.settings(), result);
  ASSERT_NE(unit, nullptr);
  tav::host::DriveUnits units;
  ASSERT_TRUE(tav::host::read_units(*unit, units).ok());
  EXPECT_EQ(unit_text(units.velocity.unit), "rpm");
  EXPECT_EQ(unit_text(units.position.unit), "inc");
  EXPECT_EQ(unit_text(units.acceleration.unit), "rev/s^2");
  EXPECT_EQ(unit_text(units.time.unit), "ms");
  EXPECT_EQ(units.target_velocity.unit, kRpm);
  EXPECT_EQ(units.target_velocity.numerator, 1);
  EXPECT_EQ(units.target_velocity.denominator, 1);
}

TEST(UnitsOfADrive, ApplyToItsObjects) {
  using nkr::tools::ObjectID;
  const tav::host::DriveUnits units;
  EXPECT_EQ(scale_of(units, ObjectID(0x6042, 0)), &units.target_velocity);
  EXPECT_EQ(scale_of(units, ObjectID(0x6046, 1)), &units.target_velocity);
  EXPECT_EQ(scale_of(units, ObjectID(0x6046, 0)), nullptr) << "a number of entries";
  EXPECT_EQ(scale_of(units, ObjectID(0x606C, 0)), &units.velocity);
  EXPECT_EQ(scale_of(units, ObjectID(0x6064, 0)), &units.position);
  EXPECT_EQ(scale_of(units, ObjectID(0x6041, 0)), nullptr);
}

}  // namespace
}  // namespace tests::host

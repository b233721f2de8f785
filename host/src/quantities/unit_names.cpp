#include <algorithm>
#include <tav/host/Quantity.hpp>
#include <tav/host/words.hpp>
#include <utility>

#include "UnitCode.hpp"

namespace tav::host {

namespace {

constexpr int kMostPower = 9;

constexpr std::pair<int, std::string_view> kLetters[] = {
    {9, "G"}, {6, "M"}, {3, "k"}, {2, "h"}, {1, "da"}, {-1, "d"}, {-2, "c"}, {-3, "m"}, {-6, "u"}, {-9, "n"}};

int power_of(std::uint32_t unit) {
  constexpr int kSign = 0x80;  // an INTEGER8
  return (static_cast<int>(unit >> 24) ^ kSign) - kSign;
}

const UnitCode* numerator_of(std::uint32_t unit) {
  return unit_code(static_cast<std::uint8_t>(unit >> 16));
}

const UnitCode* denominator_of(std::uint32_t unit) {
  return unit_code(static_cast<std::uint8_t>(unit >> 8));
}

std::string plain_power(int power) {
  if (power == 0) return {};
  if (power > 0) return '1' + std::string(static_cast<std::size_t>(power), '0') + ' ';
  return "0." + std::string(static_cast<std::size_t>(-power - 1), '0') + "1 ";
}

std::string power_text(int power, const UnitCode& numerator) {
  if (numerator.has_letters) {
    for (const auto& [of_letter, letter] : kLetters) {
      if (of_letter == power) return std::string(letter);
    }
  }
  return plain_power(power);
}

std::uint32_t composed(int power, std::uint8_t numerator, std::uint8_t denominator) {
  return static_cast<std::uint32_t>(power & 0xFF) << 24 | static_cast<std::uint32_t>(numerator) << 16 |
         static_cast<std::uint32_t>(denominator) << 8;
}

const UnitCode* code_named(std::string_view name) {
  for (const UnitCode& code : unit_codes()) {
    if (code.name == name) return &code;
  }
  return nullptr;
}

/** "0.001 " or "100" in front of a unit, as a power of ten; cut off. */
int take_power(std::string_view& text) {
  for (int power = -kMostPower; power <= kMostPower; ++power) {
    std::string number = plain_power(power);
    if (number.empty()) continue;
    number.pop_back();
    const bool stands_there = text.substr(0, number.size()) == number;
    const std::string_view rest = stands_there ? text.substr(number.size()) : text;
    const bool goes_on = !rest.empty() && (rest[0] == '.' || (rest[0] >= '0' && rest[0] <= '9'));
    if (!stands_there || goes_on || rest.empty()) continue;
    text = rest.substr(std::min(rest.find_first_not_of(' '), rest.size()));
    return power;
  }
  return 0;
}

struct Numerator {
  const UnitCode* code = nullptr;
  int power = 0;
};

Numerator numerator_named(std::string_view text) {
  if (const UnitCode* const code = code_named(text)) return {code, 0};
  for (const auto& [power, letter] : kLetters) {
    if (text.substr(0, letter.size()) != letter) continue;
    const UnitCode* const code = code_named(text.substr(letter.size()));
    if (code != nullptr && code->has_letters) return {code, power};
  }
  return {};
}

}  // namespace

bool is_unit(std::uint32_t unit) {
  const int power = power_of(unit);
  return (unit & 0xFF) == 0 && power >= -kMostPower && power <= kMostPower && numerator_of(unit) != nullptr &&
         denominator_of(unit) != nullptr;
}

std::string unit_text(std::uint32_t unit) {
  if (!is_unit(unit)) return "unknown unit " + hex(unit, 8);
  const UnitCode& numerator = *numerator_of(unit);
  const UnitCode& denominator = *denominator_of(unit);
  const std::string power = power_text(power_of(unit), numerator);
  if ((unit & 0x00FFFFFF) == kRpm) return power + "rpm";
  const std::string over = denominator.code == 0 ? "" : '/' + std::string(denominator.name);
  return power + std::string(numerator.name) + over;
}

std::optional<std::uint32_t> unit_named(std::string_view text) {
  const int before = take_power(text);
  if (text == "rpm" || text == "U/min" || text == "1/min") text = "rev/min";
  const std::size_t slash = text.find('/');
  const Numerator numerator = numerator_named(text.substr(0, slash));
  const UnitCode* const denominator = slash == text.npos ? unit_code(0) : code_named(text.substr(slash + 1));
  const int power = before + numerator.power;
  if (numerator.code == nullptr || denominator == nullptr) return std::nullopt;
  if (power < -kMostPower || power > kMostPower) return std::nullopt;
  return composed(power, numerator.code->code, denominator->code);
}

UnitKind unit_kind(std::uint32_t unit) {
  if (!is_unit(unit)) return UnitKind::OTHER;
  const Dimension above = numerator_of(unit)->dimension;
  const Dimension below = denominator_of(unit)->dimension;
  if (above == Dimension::TIME && below == Dimension::NONE) return UnitKind::TIME;
  const bool is_way = above == Dimension::TURN || above == Dimension::LENGTH || above == Dimension::INCREMENT;
  if (!is_way) return UnitKind::OTHER;
  if (below == Dimension::NONE) return UnitKind::POSITION;
  if (below == Dimension::TIME) return UnitKind::VELOCITY;
  return below == Dimension::TIME_2 ? UnitKind::ACCELERATION : UnitKind::OTHER;
}

}  // namespace tav::host

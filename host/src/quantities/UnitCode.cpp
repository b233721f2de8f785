#include "UnitCode.hpp"

namespace tav::host {

const std::vector<UnitCode>& unit_codes() {
  using D = Dimension;
  static const std::vector<UnitCode> codes = {
      {0x00, "1", D::NONE, {1}, false},
      {0x01, "m", D::LENGTH, {1}, true},
      {0x02, "kg", D::OTHER, {1}, false},
      {0x03, "s", D::TIME, {1}, true},
      {0x04, "A", D::OTHER, {1}, true},
      {0x05, "K", D::OTHER, {1}, true},
      {0x06, "mol", D::OTHER, {1}, true},
      {0x07, "cd", D::OTHER, {1}, true},
      {0x10, "rad", D::TURN, {1, 2, -1}, true},
      {0x20, "Hz", D::OTHER, {1}, true},
      {0x21, "N", D::OTHER, {1}, true},
      {0x22, "Pa", D::OTHER, {1}, true},
      {0x23, "J", D::OTHER, {1}, true},
      {0x24, "W", D::OTHER, {1}, true},
      {0x26, "V", D::OTHER, {1}, true},
      {0x2D, "degC", D::OTHER, {1}, false},
      {0x40, "gon", D::TURN, {1, 400}, true},
      {0x41, "deg", D::TURN, {1, 360}, true},
      {0x42, "arcmin", D::TURN, {1, 21'600}, false},
      {0x43, "arcsec", D::TURN, {1, 1'296'000}, false},
      {0x47, "min", D::TIME, {60}, false},
      {0x48, "h", D::TIME, {3600}, false},
      {0x49, "d", D::TIME, {86'400}, false},
      {0x57, "s^2", D::TIME_2, {1}, false},
      {0xA0, "s^3", D::TIME_3, {1}, false},
      {0xAC, "step", D::OTHER, {1}, false},
      {0xB4, "rev", D::TURN, {1}, false},
      {0xB5, "inc", D::INCREMENT, {1}, false},
      {0xC1, "inch", D::LENGTH, {254, 10'000}, false},
      {0xC2, "ft", D::LENGTH, {3048, 10'000}, false},
  };
  return codes;
}

const UnitCode* unit_code(std::uint8_t code) {
  for (const UnitCode& known : unit_codes()) {
    if (known.code == code) return &known;
  }
  return nullptr;
}

}  // namespace tav::host

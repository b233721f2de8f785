#include <tav/host/words.hpp>

namespace tav::host {

namespace {

/** SI unit codes of CiA 303-2, as far as drives use them. */
std::string unit_name(unsigned code) {
  switch (code) {
    case 0x00:
      return "1";
    case 0x01:
      return "m";
    case 0x03:
      return "s";
    case 0x04:
      return "A";
    case 0x10:
      return "rad";
    case 0x20:
      return "Hz";
    case 0x21:
      return "N";
    case 0x26:
      return "V";
    case 0x41:
      return "deg";
    case 0x47:
      return "min";
    case 0x48:
      return "h";
    case 0x57:
      return "s^2";
    case 0xB4:
      return "rev";
    case 0xB5:
      return "inc";
    default:
      return "unit " + hex(code, 2);
  }
}

std::string prefix_name(int exponent) {
  switch (exponent) {
    case 0:
      return {};
    case 3:
      return "k";
    case 6:
      return "M";
    case -3:
      return "m";
    case -6:
      return "u";
    default:
      return "10^" + std::to_string(exponent) + ' ';
  }
}

}  // namespace

std::string unit_text(std::uint32_t unit) {
  constexpr int kSign = 0x80;  // the exponent is an INTEGER8
  const int exponent = (static_cast<int>(unit >> 24) ^ kSign) - kSign;
  const unsigned numerator = unit >> 16 & 0xFF;
  const unsigned denominator = unit >> 8 & 0xFF;
  std::string text = prefix_name(exponent) + unit_name(numerator);
  if (denominator != 0) text += '/' + unit_name(denominator);
  return text;
}

}  // namespace tav::host

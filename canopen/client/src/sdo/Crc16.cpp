#include "sdo/Crc16.hpp"

#include <array>

namespace nkr::canopen::sdo {
namespace {

constexpr std::uint16_t kPolynomial = 0x1021;

constexpr std::uint16_t shifted(std::uint16_t value) {
  const bool carry = (value & 0x8000U) != 0;
  return static_cast<std::uint16_t>(static_cast<unsigned>(value) << 1 ^ (carry ? kPolynomial : 0U));
}

constexpr std::array<std::uint16_t, 256> make_table() {
  std::array<std::uint16_t, 256> table{};
  for (unsigned byte = 0; byte < table.size(); ++byte) {
    auto value = static_cast<std::uint16_t>(byte << 8);
    for (int bit = 0; bit < 8; ++bit) value = shifted(value);
    table[byte] = value;
  }
  return table;
}

constexpr std::array<std::uint16_t, 256> kTable = make_table();

}  // namespace

void Crc16::add(const std::uint8_t* bytes, std::size_t size) {
  for (std::size_t i = 0; i < size; ++i) {
    const unsigned position = (value_ >> 8 ^ bytes[i]) & 0xFFU;
    value_ = static_cast<std::uint16_t>(static_cast<unsigned>(value_) << 8 ^ kTable[position]);
  }
}

}  // namespace nkr::canopen::sdo

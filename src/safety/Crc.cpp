// CRC-16-CCITT: polynomial 0x1021, initial value 0, no reflection, no final XOR (CRC-16/XMODEM).

#include <tavcore/CANOpenDispatcher.hpp>

namespace nkr::tavcore {
namespace {

constexpr std::uint32_t kPolynomial = 0x1021;

constexpr std::uint16_t table_entry(std::uint32_t high_byte) {
  std::uint32_t crc = high_byte << 8;
  for (int bit = 0; bit < 8; ++bit) {
    const bool carry = (crc & 0x8000) != 0;
    crc = (crc << 1) & 0xFFFF;
    if (carry) crc ^= kPolynomial;
  }
  return static_cast<std::uint16_t>(crc);
}

constexpr std::array<std::uint16_t, 256> make_table() {
  std::array<std::uint16_t, 256> table{};
  for (std::uint32_t i = 0; i < table.size(); ++i) table[i] = table_entry(i);
  return table;
}

constexpr std::array<std::uint16_t, 256> kTable = make_table();

}  // namespace

const std::array<std::uint16_t, 256> CANOpenDispatcher::CRC_PRECOMPUTED_VALUE = kTable;

template <class T>
std::uint16_t CANOpenDispatcher::crcComputation(int crc, T& value) {
  static_assert(sizeof(bool) == 1, "a bool is fed as one byte");
  auto reg = static_cast<std::uint16_t>(crc);
  const auto bits = static_cast<std::uint32_t>(value);
  for (std::size_t k = 0; k < sizeof(T); ++k) {
    const std::uint32_t byte = bits >> (8 * k) & 0xFF;
    const std::uint32_t index = byte ^ static_cast<std::uint32_t>(reg >> 8);
    reg = static_cast<std::uint16_t>(kTable[index] ^ (reg << 8));
  }
  return reg;
}

#define TAV_INSTANTIATE_CRC(T)                                                 \
  template std::uint16_t CANOpenDispatcher::crcComputation(int crc, T& value); \
  template std::uint16_t CANOpenDispatcher::crcComputation(int crc, const T& value);

TAV_INSTANTIATE_CRC(bool)
TAV_INSTANTIATE_CRC(std::uint8_t)
TAV_INSTANTIATE_CRC(std::uint16_t)
TAV_INSTANTIATE_CRC(std::uint32_t)

}  // namespace nkr::tavcore

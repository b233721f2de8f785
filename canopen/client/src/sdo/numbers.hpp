#ifndef NKR_CANOPEN_SDO_NUMBERS_HPP
#define NKR_CANOPEN_SDO_NUMBERS_HPP

#include <array>
#include <cstddef>
#include <cstdint>

/** Numbers as CiA 301 puts them into bytes: little endian, negative ones in two's complement (7.1.4). */
namespace nkr::canopen {

constexpr unsigned kBitsPerByte = 8;

/** The lowest `bits` bits (1 to 64) as a signed number in 64 bits. */
constexpr std::uint64_t sign_extended(std::uint64_t number, unsigned bits) {
  const std::uint64_t sign = std::uint64_t{1} << (bits - 1);
  return (number ^ sign) - sign;
}

template <class Unsigned>
std::array<std::uint8_t, sizeof(Unsigned)> bytes_of(Unsigned number) {
  std::array<std::uint8_t, sizeof(Unsigned)> bytes{};
  for (std::size_t i = 0; i < bytes.size(); ++i)
    bytes.at(i) = static_cast<std::uint8_t>(number >> (kBitsPerByte * i));
  return bytes;
}

template <class Bytes>
std::uint64_t number_of(const Bytes& bytes, std::size_t size) {
  std::uint64_t number = 0;
  for (std::size_t i = size; i-- > 0;) number = number << kBitsPerByte | bytes.at(i);
  return number;
}

}  // namespace nkr::canopen

#endif

#ifndef NKR_CANOPEN_SDO_CRC16_HPP
#define NKR_CANOPEN_SDO_CRC16_HPP

#include <cstddef>
#include <cstdint>

namespace nkr::canopen::sdo {

/** The checksum of SDO block transfers (CiA 301, 7.2.4.3.16): CRC-16-CCITT, polynomial 1021h, start 0. */
class Crc16 {
 public:
  void add(const std::uint8_t* bytes, std::size_t size);
  [[nodiscard]] std::uint16_t value() const { return value_; }

 private:
  std::uint16_t value_ = 0;
};

}  // namespace nkr::canopen::sdo

#endif

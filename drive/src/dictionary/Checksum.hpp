#ifndef TAV_DRIVE_SRC_DICTIONARY_CHECKSUM_HPP
#define TAV_DRIVE_SRC_DICTIONARY_CHECKSUM_HPP

#include <cstddef>
#include <cstdint>

#include "dictionary/Object.hpp"

namespace tav::drive {

/**
 * The checksum of safety configurations: CRC-16, polynomial 0x1021, start value 0, most significant bit
 * first, numbers fed least significant byte first (EN 50325-5 for SRDO; the drive's signatures alike).
 */
class Checksum {
 public:
  /** Feeds the low bytes of a number. */
  void feed(std::uint64_t number, std::size_t bytes);
  /** Feeds the value of an object; zeros where there is no object. */
  void feed(const Object* object, std::size_t bytes);
  [[nodiscard]] std::uint16_t value() const { return register_; }

 private:
  std::uint16_t register_ = 0;
};

}  // namespace tav::drive

#endif

#ifndef NKR_CANOPEN_EMERGENCY_HPP
#define NKR_CANOPEN_EMERGENCY_HPP

#include <nkr/export.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace nkr::canopen {

/** One emergency message of a node (CiA 301, 7.2.7). */
struct Emergency {
  std::uint8_t node = 0;
  std::uint16_t code = 0;                     ///< error code; 00xxh: an error is gone, or none is left
  std::uint8_t error_register = 0;            ///< copy of object 1001h
  std::array<std::uint8_t, 5> vendor_data{};  ///< what the maker adds
  std::chrono::system_clock::time_point when;

  /** True for a message that tells of the end of an error (CiA 301, table 26). */
  [[nodiscard]] bool is_reset() const { return code >> 8 == 0; }
};

/**
 * What an error code means: the text of the code itself where CiA 301 or CiA 402 define it, else that of the
 * narrowest class it belongs to. Never empty.
 */
[[nodiscard]] NKR_EXPORT std::string emergency_text(std::uint16_t code);

/** The names of the bits that are set in an error register (object 1001h), from bit 0. */
[[nodiscard]] NKR_EXPORT std::vector<std::string> error_register_names(std::uint8_t error_register);

/** One line: node, code, meaning, error register and the maker's bytes. */
[[nodiscard]] NKR_EXPORT std::string to_string(const Emergency& emergency);

}  // namespace nkr::canopen

#endif

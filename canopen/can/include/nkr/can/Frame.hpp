#ifndef NKR_CAN_FRAME_HPP
#define NKR_CAN_FRAME_HPP

#include <nkr/export.h>

#include <array>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

namespace nkr::can {

/** One classical CAN frame (ISO 11898-1). */
struct NKR_EXPORT Frame {
  std::uint32_t id = 0;   ///< 11-bit identifier, or 29-bit when `extended`
  bool extended = false;  ///< 29-bit identifier
  bool remote = false;    ///< remote transmission request: no data
  bool error = false;     ///< error frame of the controller: `id` holds its class bits, `data` its details
  std::uint8_t size = 0;  ///< number of data bytes, 0 to 8
  std::array<std::uint8_t, 8> data{};  ///< bytes from `size` on are 0

  Frame() = default;
  /** A data frame with an 11-bit identifier. At most 8 bytes are taken. */
  Frame(std::uint32_t identifier, std::initializer_list<std::uint8_t> bytes);

  friend bool operator==(const Frame& a, const Frame& b) {
    return a.id == b.id && a.extended == b.extended && a.remote == b.remote && a.error == b.error &&
           a.size == b.size && a.data == b.data;
  }
  friend bool operator!=(const Frame& a, const Frame& b) { return !(a == b); }
};

/** The frame as candump writes it: "60A#4018100100000000", "123#R", "123#R2", "12345678#". */
[[nodiscard]] NKR_EXPORT std::string to_string(const Frame& frame);

/**
 * Reads what to_string writes, and what people type: lower-case digits, and dots between bytes.
 * @return empty when the text is no classical CAN frame
 */
[[nodiscard]] NKR_EXPORT std::optional<Frame> parse_frame(std::string_view text);

}  // namespace nkr::can

#endif

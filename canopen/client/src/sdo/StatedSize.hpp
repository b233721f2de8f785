#ifndef NKR_CANOPEN_SDO_STATEDSIZE_HPP
#define NKR_CANOPEN_SDO_STATEDSIZE_HPP

#include <nkr/error.h>

#include <cstddef>
#include <optional>

namespace nkr::canopen::sdo {

/** The size that a server stated, against what it sends. */
class StatedSize {
 public:
  /** `size`: none when none is stated, or it is not to be relied on. */
  explicit StatedSize(std::optional<std::size_t> size) : size_(size) {}

  [[nodiscard]] std::optional<std::size_t> value() const { return size_; }
  /** So many bytes came, and perhaps more will: NKR_OK or NKR_SDO_LENGTH_HIGH. */
  [[nodiscard]] nkr_error_t check_so_far(std::size_t came) const {
    return size_ && came > *size_ ? NKR_SDO_LENGTH_HIGH : NKR_OK;
  }
  /** So many bytes came in all: NKR_OK, NKR_SDO_LENGTH_HIGH or NKR_SDO_LENGTH_LOW. */
  [[nodiscard]] nkr_error_t check_all(std::size_t came) const {
    return size_ && came < *size_ ? NKR_SDO_LENGTH_LOW : check_so_far(came);
  }

 private:
  const std::optional<std::size_t> size_;
};

}  // namespace nkr::canopen::sdo

#endif

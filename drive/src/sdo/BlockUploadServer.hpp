#ifndef TAV_DRIVE_SRC_SDO_BLOCKUPLOADSERVER_HPP
#define TAV_DRIVE_SRC_SDO_BLOCKUPLOADSERVER_HPP

#include <cstdint>
#include <nkr/can/Frame.hpp>

#include "dictionary/Object.hpp"

namespace tav::drive {

/**
 * A value on its way out in a block upload: its segments, sub-block by sub-block (CiA 301, 7.2.4.3.13 to
 * .15).
 */
class BlockUploadServer {
 public:
  /** @param block_size  segments that the client wants before it acknowledges */
  void begin(Bytes bytes, std::uint8_t block_size);
  /** A block has 1 to 127 segments. */
  [[nodiscard]] static bool is_block_size(std::uint8_t size) { return size >= 1 && size <= 127; }

  /** The next segment of the sub-block; what was lost of the last one comes again first. */
  nkr::can::Frame segment(std::uint32_t identifier);
  /** All segments of the sub-block have been taken. */
  [[nodiscard]] bool sub_block_over() const;
  /**
   * The client has the segments up to that number, and wants so many next.
   * @return false when it was never sent so many
   */
  bool acknowledge(std::uint8_t sequence, std::uint8_t block_size);
  /** The client has everything. */
  [[nodiscard]] bool complete() const { return complete_; }
  /** The frame that ends the transfer: bytes of the last segment that are no data, checksum. */
  [[nodiscard]] nkr::can::Frame end(std::uint32_t identifier) const;

 private:
  [[nodiscard]] std::size_t segments_left() const;

  Bytes bytes_;
  std::size_t acknowledged_ = 0;  // segments, of the whole
  std::uint8_t sent_ = 0;         // segments, of the sub-block
  std::uint8_t block_size_ = 0;
  bool complete_ = false;
};

}  // namespace tav::drive

#endif

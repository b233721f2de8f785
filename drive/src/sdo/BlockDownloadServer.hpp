#ifndef TAV_DRIVE_SRC_SDO_BLOCKDOWNLOADSERVER_HPP
#define TAV_DRIVE_SRC_SDO_BLOCKDOWNLOADSERVER_HPP

#include <cstdint>
#include <nkr/can/Frame.hpp>

#include "dictionary/Abort.hpp"
#include "dictionary/Object.hpp"

namespace tav::drive {

/** The segments that a client sends in a block download, and what they make (CiA 301, 7.2.4.3.9 to .12). */
class BlockDownloadServer {
 public:
  /** So many segments are wanted before each acknowledgement. */
  static constexpr std::uint8_t kBlockSize = 127;

  /**
   * @param most     bytes that the object takes
   * @param checked  the client sends a checksum at the end
   */
  void begin(std::size_t most, bool checked);

  /** It is the next one in sequence. */
  [[nodiscard]] bool awaits(const nkr::can::Frame& segment) const;
  enum class Progress : std::uint8_t { UNDER_WAY, SUB_BLOCK_OVER, TOO_LONG };
  /** Takes a segment; one that is not the next in sequence is dropped, and all after it. */
  Progress take(const nkr::can::Frame& segment);
  /** At the end of a sub-block: the number of its last segment in sequence. The next one begins. */
  std::uint8_t acknowledge();
  /** The last segment of all came, and all before it. */
  [[nodiscard]] bool complete() const { return complete_; }
  /** Takes the client's end of the transfer: cuts what is no data, and compares the checksum. */
  Abort end(const nkr::can::Frame& frame);
  [[nodiscard]] const Bytes& bytes() const { return bytes_; }

 private:
  std::size_t most_ = 0;
  bool checked_ = false;
  bool complete_ = false;
  std::uint8_t last_in_sequence_ = 0;
  Bytes bytes_;
};

}  // namespace tav::drive

#endif

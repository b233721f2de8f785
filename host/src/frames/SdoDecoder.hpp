#ifndef TAV_HOST_SRC_FRAMES_SDODECODER_HPP
#define TAV_HOST_SRC_FRAMES_SDODECODER_HPP

#include <cstdint>
#include <map>
#include <nkr/can/Frame.hpp>
#include <optional>
#include <string>
#include <tav/host/ObjectText.hpp>
#include <vector>

namespace tav::host {

/**
 * Follows the SDO transfers of every node (CiA 301, 7.2.4): expedited, segmented and block. Frames are to be
 * given in the order in which they went over the bus.
 */
class SdoDecoder {
 public:
  explicit SdoDecoder(const ObjectText& objects) : objects_(objects) {}

  struct Meaning {
    std::string text;
    std::optional<ObjectBytes> stated;  ///< the value that the text gives, when it gives a whole one
    std::optional<ObjectBytes> agreed;  ///< what the node holds for certain now: read, or written and taken
  };
  [[nodiscard]] Meaning request(std::uint8_t node, const nkr::can::Frame& frame);
  [[nodiscard]] Meaning reply(std::uint8_t node, const nkr::can::Frame& frame);

 private:
  /** The transfer that a node's server is in. */
  struct Transfer {
    /** Who sends the segments of a block at this moment. */
    enum class Sender { NOBODY, CLIENT, SERVER };

    ObjectBytes so_far;
    bool download = false;
    bool segmented = false;
    bool whole = false;  ///< a download whose last bytes have been sent
    Sender block_sender = Sender::NOBODY;
    std::size_t block_start = 0;  ///< bytes before the present block
    unsigned sequence = 0;        ///< of the last segment in the present block
    bool last_segment = false;    ///< of the whole block transfer
  };

  [[nodiscard]] static Transfer started(const nkr::can::Frame& frame, bool download, bool segmented);
  [[nodiscard]] Meaning states(const Transfer& transfer) const;
  [[nodiscard]] Meaning expedited(Transfer& transfer, const nkr::can::Frame& frame) const;
  [[nodiscard]] Meaning segment(Transfer& transfer, const nkr::can::Frame& frame) const;
  [[nodiscard]] Meaning taken(const Transfer& transfer, const std::string& what) const;
  [[nodiscard]] Meaning aborted(Transfer& transfer, const nkr::can::Frame& frame,
                                const std::string& who) const;
  [[nodiscard]] Meaning block_segment(Transfer& transfer, const nkr::can::Frame& frame) const;
  [[nodiscard]] Meaning block_acknowledged(Transfer& transfer, const nkr::can::Frame& frame) const;
  [[nodiscard]] Meaning block_end(Transfer& transfer, const nkr::can::Frame& frame) const;
  [[nodiscard]] Meaning block_upload_request(Transfer& transfer, const nkr::can::Frame& frame) const;
  [[nodiscard]] Meaning block_upload_reply(Transfer& transfer, const nkr::can::Frame& frame) const;
  [[nodiscard]] Meaning block_download_request(Transfer& transfer, const nkr::can::Frame& frame) const;
  [[nodiscard]] Meaning block_download_reply(Transfer& transfer, const nkr::can::Frame& frame) const;

  const ObjectText& objects_;
  std::map<std::uint8_t, Transfer> transfers_;
};

}  // namespace tav::host

#endif

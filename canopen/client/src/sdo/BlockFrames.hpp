#ifndef NKR_CANOPEN_SDO_BLOCKFRAMES_HPP
#define NKR_CANOPEN_SDO_BLOCKFRAMES_HPP

#include <cstddef>
#include <cstdint>
#include <nkr/can/Frame.hpp>
#include <optional>

#include "sdo/Multiplexer.hpp"

/** The frames of SDO block transfers (CiA 301, 7.2.4.3.9 to .15), as bytes. */
namespace nkr::canopen::sdo {

constexpr std::uint8_t kMostSegments = 127;  ///< of a sub-block

/** @name Of both directions
 * @{ */
/** Segment `sequence` (1 to 127) of a sub-block; 7 bytes of data, fewer in the last. */
can::Frame block_segment(std::uint8_t node, std::uint8_t sequence, bool last, const std::uint8_t* bytes,
                         std::size_t size);
std::uint8_t sequence_of(const can::Frame& segment);
bool is_last(const can::Frame& segment);
/** Whether the reply to the request says that its side knows the checksum. */
bool has_checksum(const can::Frame& initiate_reply);
/** @} */

/** @name Block download
 * @{ */
can::Frame block_download_request(std::uint8_t node, Multiplexer object, std::size_t size);
/** `unused`: bytes of the last segment that are no data. */
can::Frame block_download_end(std::uint8_t node, std::size_t unused, std::uint16_t checksum);
enum class BlockDownloadReply { INITIATE, SEGMENTS_TAKEN, END, UNKNOWN };
BlockDownloadReply block_download_reply(const can::Frame& frame);
/** Of a reply that acknowledges segments: the last one taken in sequence, and how many come next. */
std::uint8_t acknowledged(const can::Frame& frame);
std::uint8_t next_block_size(const can::Frame& frame);
/** Of the reply that opens the transfer. */
std::uint8_t first_block_size(const can::Frame& frame);
/** @} */

/** @name Block upload
 * @{ */
/** The size that the reply to the request states; none when it states none, or is too short for one. */
std::optional<std::size_t> stated_size(const can::Frame& initiate_reply);
/** Bytes of data in a segment. */
std::size_t sent_in(const can::Frame& segment);
/** `threshold`: the server may answer as to an ordinary upload when the object has no more bytes. */
can::Frame block_upload_request(std::uint8_t node, Multiplexer object, std::uint8_t block_size,
                                std::uint8_t threshold);
can::Frame block_upload_start(std::uint8_t node);
can::Frame block_upload_acknowledge(std::uint8_t node, std::uint8_t sequence, std::uint8_t block_size);
can::Frame block_upload_end(std::uint8_t node);
bool is_block_upload_end(const can::Frame& frame);
std::size_t unused_in_last(const can::Frame& end);
/** None when the frame is too short for one. */
std::optional<std::uint16_t> checksum_of(const can::Frame& end);
/** @} */

}  // namespace nkr::canopen::sdo

#endif

#ifndef NKR_CANOPEN_SDO_FRAMES_HPP
#define NKR_CANOPEN_SDO_FRAMES_HPP

#include <nkr/error.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <nkr/can/Frame.hpp>

#include "sdo/Multiplexer.hpp"

/** The frames of the SDO protocols (CiA 301, 7.2.4.3), as bytes. */
namespace nkr::canopen::sdo {

constexpr std::uint32_t kRequestId = 0x600;
constexpr std::uint32_t kReplyId = 0x580;
constexpr std::uint8_t kAbort = 0x80;  ///< first byte of an abort, either way
constexpr std::size_t kExpeditedBytes = 4;
constexpr std::size_t kSegmentBytes = 7;
constexpr std::size_t kDataOffset = 4;  ///< of the data in a frame that names its object

/** The upper three bits of a server's first byte. */
enum class Reply : std::uint8_t {
  UPLOAD_SEGMENT = 0,
  DOWNLOAD_SEGMENT = 1,
  UPLOAD_INITIATE = 2,
  DOWNLOAD_INITIATE = 3,
  ABORT = 4,
  BLOCK_DOWNLOAD = 5,
  BLOCK_UPLOAD = 6,
  UNKNOWN = 7,
};

/** @name Requests of a client to the node
 * @{ */
/** Eight bytes with this first one, zeros behind it. */
inline can::Frame request(std::uint8_t node, std::uint8_t command) {
  can::Frame frame;
  frame.id = kRequestId + node;
  frame.size = 8;
  frame.data[0] = command;
  return frame;
}
inline can::Frame request(std::uint8_t node, std::uint8_t command, Multiplexer object) {
  can::Frame frame = request(node, command);
  frame.data[1] = static_cast<std::uint8_t>(object.index);
  frame.data[2] = static_cast<std::uint8_t>(object.index >> 8);
  frame.data[3] = object.subindex;
  return frame;
}
/** Bytes 4 to 7 as a little-endian number. */
void put_long_word(can::Frame& frame, std::uint32_t value);
inline can::Frame upload_request(std::uint8_t node, Multiplexer object) {
  constexpr std::uint8_t kUploadRequest = 0x40;
  return request(node, kUploadRequest, object);
}
can::Frame upload_segment_request(std::uint8_t node, bool toggle);
/** 1 to 4 bytes at once. */
can::Frame expedited_download(std::uint8_t node, Multiplexer object, const std::uint8_t* bytes,
                              std::size_t size);
can::Frame download_request(std::uint8_t node, Multiplexer object, std::size_t size);
/** Up to 7 bytes of a segmented download. */
can::Frame download_segment(std::uint8_t node, bool toggle, bool last, const std::uint8_t* bytes,
                            std::size_t size);
can::Frame abort_frame(std::uint8_t node, Multiplexer object, nkr_error_t code);
/** @} */

/** What kind of reply it is; unknown for a frame without data. */
inline Reply reply_kind(const can::Frame& frame) {
  return frame.size == 0 ? Reply::UNKNOWN : static_cast<Reply>(frame.data[0] >> 5);
}
/** The object that an initiate reply or an abort names. False when the frame is too short to name one. */
inline bool names_object(const can::Frame& frame, Multiplexer object) {
  return frame.size >= kDataOffset && frame.data[1] == (object.index & 0xFF) &&
         frame.data[2] == object.index >> 8 && frame.data[3] == object.subindex;
}
/** Whether the frame is an abort of a transfer of the object. There are servers that name 0000h:00 in the
 * abort of a request that they did not understand. */
inline bool aborts(const can::Frame& frame, Multiplexer object) {
  return reply_kind(frame) == Reply::ABORT &&
         (names_object(frame, object) || names_object(frame, Multiplexer{}));
}
/** Bytes 4 to 7 as a little-endian number; bytes that were not sent count as 0. */
std::uint32_t long_word(const can::Frame& frame);
/**
 * The result that an abort stands for: its code, or general error for a code below 0x05000000, which no
 * standard defines and which would read as a result of the library's own (1 as success).
 */
nkr_error_t abort_result(const can::Frame& frame);

/** Bytes of data that the frame carries after the first `offset`. */
inline std::size_t sent_after(const can::Frame& frame, std::size_t offset) {
  const std::size_t size = std::min<std::size_t>(frame.size, frame.data.size());
  return size > offset ? size - offset : 0;
}

/** An upload's initiate reply. */
struct UploadInitiate {
  bool expedited = false;
  bool size_stated = false;
  /** Bytes of data in an expedited reply, as stated, else as many as were sent; of the whole object in any
   * other, when it is stated. */
  std::size_t size = 0;
  bool whole = true;  ///< the frame holds all that it states
};
inline UploadInitiate upload_initiate(const can::Frame& frame) {
  constexpr std::uint8_t kExpedited = 0x02;
  constexpr std::uint8_t kSizeStated = 0x01;
  const std::uint8_t command = frame.data[0];
  const std::size_t sent = std::min(kExpeditedBytes, sent_after(frame, kDataOffset));
  UploadInitiate reply;
  reply.expedited = (command & kExpedited) != 0;
  reply.size_stated = (command & kSizeStated) != 0;
  if (!reply.size_stated) {
    reply.size = sent;
  } else if (reply.expedited) {
    reply.size = kExpeditedBytes - ((command >> 2) & 3U);
    reply.whole = sent >= reply.size;
  } else {
    reply.size = long_word(frame);
    reply.whole = sent == kExpeditedBytes;
  }
  return reply;
}

/** A segment of an upload. */
struct UploadSegment {
  bool toggle = false;
  bool last = false;
  std::size_t size = 0;  ///< bytes of data, as stated
  bool whole = true;     ///< the frame holds them
};
UploadSegment upload_segment(const can::Frame& frame);

/** The toggle bit of a segment, either way. */
bool toggle_of(const can::Frame& frame);

}  // namespace nkr::canopen::sdo

#endif

#include "sdo/Frames.hpp"

#include <algorithm>

namespace nkr::canopen::sdo {
namespace {

constexpr std::uint8_t kUploadSegmentRequest = 0x60;
constexpr std::uint8_t kExpeditedDownload = 0x23;
constexpr std::uint8_t kDownloadRequest = 0x21;
constexpr std::uint8_t kToggle = 0x10;
constexpr std::uint8_t kLast = 0x01;
constexpr std::size_t kSegmentOffset = 1;

std::uint8_t unused_bytes(std::size_t room, std::size_t size, unsigned shift) {
  return static_cast<std::uint8_t>((room - size) << shift);
}

}  // namespace

void put_long_word(can::Frame& frame, std::uint32_t value) {
  for (std::size_t i = 0; i < kExpeditedBytes; ++i)
    frame.data[kDataOffset + i] = static_cast<std::uint8_t>(value >> (8 * i));
}

can::Frame upload_segment_request(std::uint8_t node, bool toggle) {
  return request(node, static_cast<std::uint8_t>(kUploadSegmentRequest | (toggle ? kToggle : 0)));
}

can::Frame expedited_download(std::uint8_t node, Multiplexer object, const std::uint8_t* bytes,
                              std::size_t size) {
  const auto command = static_cast<std::uint8_t>(kExpeditedDownload | unused_bytes(kExpeditedBytes, size, 2));
  can::Frame frame = request(node, command, object);
  std::copy_n(bytes, size, frame.data.begin() + kDataOffset);
  return frame;
}

can::Frame download_request(std::uint8_t node, Multiplexer object, std::size_t size) {
  can::Frame frame = request(node, kDownloadRequest, object);
  put_long_word(frame, static_cast<std::uint32_t>(size));
  return frame;
}

can::Frame download_segment(std::uint8_t node, bool toggle, bool last, const std::uint8_t* bytes,
                            std::size_t size) {
  const auto command = static_cast<std::uint8_t>((toggle ? kToggle : 0) | (last ? kLast : 0) |
                                                 unused_bytes(kSegmentBytes, size, 1));
  can::Frame frame = request(node, command);
  std::copy_n(bytes, size, frame.data.begin() + kSegmentOffset);
  return frame;
}

can::Frame abort_frame(std::uint8_t node, Multiplexer object, nkr_error_t code) {
  can::Frame frame = request(node, kAbort, object);
  put_long_word(frame, static_cast<std::uint32_t>(code));
  return frame;
}

std::uint32_t long_word(const can::Frame& frame) {
  std::uint32_t value = 0;
  for (std::size_t i = std::min(kExpeditedBytes, sent_after(frame, kDataOffset)); i-- > 0;)
    value = value << 8 | frame.data[kDataOffset + i];
  return value;
}

nkr_error_t abort_result(const can::Frame& frame) {
  constexpr std::uint32_t kFirstAbortCode = 0x05000000;
  const std::uint32_t code = long_word(frame);
  return code < kFirstAbortCode ? NKR_SDO_GENERAL : static_cast<nkr_error_t>(code);
}

UploadSegment upload_segment(const can::Frame& frame) {
  const std::uint8_t command = frame.data[0];
  UploadSegment segment;
  segment.toggle = toggle_of(frame);
  segment.last = (command & kLast) != 0;
  segment.size = kSegmentBytes - ((command >> 1) & 7U);
  segment.whole = sent_after(frame, kSegmentOffset) >= segment.size;
  return segment;
}

bool toggle_of(const can::Frame& frame) {
  return (frame.data[0] & kToggle) != 0;
}

}  // namespace nkr::canopen::sdo

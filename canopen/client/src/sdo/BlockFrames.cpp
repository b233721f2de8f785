#include "sdo/BlockFrames.hpp"

#include <algorithm>

#include "sdo/Frames.hpp"

namespace nkr::canopen::sdo {
namespace {

constexpr std::uint8_t kDownloadRequest = 0xC6;  // with checksum, size stated
constexpr std::uint8_t kEnd = 0xC1;
constexpr std::uint8_t kUploadRequest = 0xA4;  // with checksum
constexpr std::uint8_t kUploadEnd = 0xA1;
constexpr std::uint8_t kUploadAcknowledge = 0xA2;
constexpr std::uint8_t kUploadStart = 0xA3;
constexpr std::uint8_t kChecksum = 0x04;
constexpr std::uint8_t kSizeStated = 0x02;
constexpr std::uint8_t kLastSegment = 0x80;
constexpr std::uint8_t kSubcommand = 0x03;

}  // namespace

can::Frame block_segment(std::uint8_t node, std::uint8_t sequence, bool last, const std::uint8_t* bytes,
                         std::size_t size) {
  can::Frame frame = request(node, static_cast<std::uint8_t>(sequence | (last ? kLastSegment : 0)));
  std::copy_n(bytes, size, frame.data.begin() + 1);
  return frame;
}

std::uint8_t sequence_of(const can::Frame& segment) {
  return static_cast<std::uint8_t>(segment.data[0] & ~kLastSegment);
}

bool is_last(const can::Frame& segment) {
  return (segment.data[0] & kLastSegment) != 0;
}

bool has_checksum(const can::Frame& initiate_reply) {
  return (initiate_reply.data[0] & kChecksum) != 0;
}

can::Frame block_download_request(std::uint8_t node, Multiplexer object, std::size_t size) {
  can::Frame frame = request(node, kDownloadRequest, object);
  put_long_word(frame, static_cast<std::uint32_t>(size));
  return frame;
}

can::Frame block_download_end(std::uint8_t node, std::size_t unused, std::uint16_t checksum) {
  can::Frame frame = request(node, static_cast<std::uint8_t>(kEnd | unused << 2));
  frame.data[1] = static_cast<std::uint8_t>(checksum);
  frame.data[2] = static_cast<std::uint8_t>(checksum >> 8);
  return frame;
}

BlockDownloadReply block_download_reply(const can::Frame& frame) {
  switch (frame.data[0] & kSubcommand) {
    case 0:
      return BlockDownloadReply::INITIATE;
    case 1:
      return BlockDownloadReply::END;
    case 2:
      return BlockDownloadReply::SEGMENTS_TAKEN;
    default:
      return BlockDownloadReply::UNKNOWN;
  }
}

std::uint8_t acknowledged(const can::Frame& frame) {
  return frame.data[1];
}

std::uint8_t next_block_size(const can::Frame& frame) {
  return frame.data[2];
}

std::uint8_t first_block_size(const can::Frame& frame) {
  return frame.data[4];
}

std::optional<std::size_t> stated_size(const can::Frame& initiate_reply) {
  const bool is_stated = (initiate_reply.data[0] & kSizeStated) != 0;
  if (!is_stated || sent_after(initiate_reply, kDataOffset) < kExpeditedBytes) return std::nullopt;
  return long_word(initiate_reply);
}

std::size_t sent_in(const can::Frame& segment) {
  return sent_after(segment, 1);
}

can::Frame block_upload_request(std::uint8_t node, Multiplexer object, std::uint8_t block_size,
                                std::uint8_t threshold) {
  can::Frame frame = request(node, kUploadRequest, object);
  frame.data[4] = block_size;
  frame.data[5] = threshold;
  return frame;
}

can::Frame block_upload_start(std::uint8_t node) {
  return request(node, kUploadStart);
}

can::Frame block_upload_acknowledge(std::uint8_t node, std::uint8_t sequence, std::uint8_t block_size) {
  can::Frame frame = request(node, kUploadAcknowledge);
  frame.data[1] = sequence;
  frame.data[2] = block_size;
  return frame;
}

can::Frame block_upload_end(std::uint8_t node) {
  return request(node, kUploadEnd);
}

bool is_block_upload_end(const can::Frame& frame) {
  return (frame.data[0] & kSubcommand) == 1;
}

std::size_t unused_in_last(const can::Frame& end) {
  return end.data[0] >> 2 & 7U;
}

std::optional<std::uint16_t> checksum_of(const can::Frame& end) {
  constexpr std::size_t kWithChecksum = 3;
  if (end.size < kWithChecksum) return std::nullopt;
  return static_cast<std::uint16_t>(end.data[1] | end.data[2] << 8);
}

}  // namespace nkr::canopen::sdo

#include "sdo/BlockUploadServer.hpp"

#include <algorithm>
#include <utility>

#include "dictionary/Checksum.hpp"

namespace tav::drive {
namespace {

using nkr::can::Frame;

constexpr std::size_t kSegmentBytes = 7;
constexpr std::uint8_t kLastSegment = 0x80;

Frame eight_bytes(std::uint32_t identifier) {
  return Frame(identifier, {0, 0, 0, 0, 0, 0, 0, 0});
}

/** An empty value has one empty segment. */
std::size_t segments_of(const Bytes& bytes) {
  return std::max<std::size_t>(1, (bytes.size() + kSegmentBytes - 1) / kSegmentBytes);
}

}  // namespace

void BlockUploadServer::begin(Bytes bytes, std::uint8_t block_size) {
  bytes_ = std::move(bytes);
  acknowledged_ = 0;
  sent_ = 0;
  block_size_ = block_size;
  complete_ = false;
}

std::size_t BlockUploadServer::segments_left() const {
  return segments_of(bytes_) - acknowledged_;
}

bool BlockUploadServer::sub_block_over() const {
  return sent_ == std::min<std::size_t>(block_size_, segments_left());
}

Frame BlockUploadServer::segment(std::uint32_t identifier) {
  const std::size_t begin = (acknowledged_ + sent_) * kSegmentBytes;
  const std::size_t size = std::min(kSegmentBytes, bytes_.size() - begin);
  ++sent_;
  Frame frame = eight_bytes(identifier);
  frame.data[0] = static_cast<std::uint8_t>(sent_ | (sent_ == segments_left() ? kLastSegment : 0U));
  std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(begin), size, frame.data.begin() + 1);
  return frame;
}

bool BlockUploadServer::acknowledge(std::uint8_t sequence, std::uint8_t block_size) {
  if (sequence > sent_) return false;
  acknowledged_ += sequence;
  sent_ = 0;
  block_size_ = block_size;
  complete_ = segments_left() == 0;
  return true;
}

Frame BlockUploadServer::end(std::uint32_t identifier) const {
  constexpr std::uint8_t kEnd = 0xC1;
  const std::size_t unused = segments_of(bytes_) * kSegmentBytes - bytes_.size();
  Checksum checksum;
  for (const std::uint8_t byte : bytes_) checksum.feed(byte, 1);
  Frame frame = eight_bytes(identifier);
  frame.data[0] = static_cast<std::uint8_t>(kEnd | unused << 2);
  frame.data[1] = static_cast<std::uint8_t>(checksum.value());
  frame.data[2] = static_cast<std::uint8_t>(checksum.value() >> 8);
  return frame;
}

}  // namespace tav::drive

#include "sdo/BlockDownloadServer.hpp"

#include <utility>

#include "dictionary/Checksum.hpp"

namespace tav::drive {
namespace {

constexpr std::size_t kSegmentBytes = 7;
constexpr std::uint8_t kLastSegment = 0x80;

}  // namespace

void BlockDownloadServer::begin(std::size_t most, bool checked) {
  most_ = most;
  checked_ = checked;
  complete_ = false;
  last_in_sequence_ = 0;
  bytes_.clear();
}

bool BlockDownloadServer::awaits(const nkr::can::Frame& segment) const {
  return (segment.data[0] & ~kLastSegment) == last_in_sequence_ + 1;
}

BlockDownloadServer::Progress BlockDownloadServer::take(const nkr::can::Frame& segment) {
  const auto sequence = static_cast<std::uint8_t>(segment.data[0] & ~kLastSegment);
  const bool last = (segment.data[0] & kLastSegment) != 0;
  if (sequence == last_in_sequence_ + 1) {
    last_in_sequence_ = sequence;
    complete_ = last;
    bytes_.insert(bytes_.end(), segment.data.begin() + 1, segment.data.begin() + 1 + kSegmentBytes);
    if (bytes_.size() >= most_ + kSegmentBytes) return Progress::TOO_LONG;
  }
  return last || sequence == kBlockSize ? Progress::SUB_BLOCK_OVER : Progress::UNDER_WAY;
}

std::uint8_t BlockDownloadServer::acknowledge() {
  return std::exchange(last_in_sequence_, std::uint8_t{0});
}

Abort BlockDownloadServer::end(const nkr::can::Frame& frame) {
  const std::size_t unused = (frame.data[0] >> 2) & 7U;
  bytes_.resize(bytes_.size() - unused);
  if (!checked_) return Abort::NONE;
  Checksum checksum;
  for (const std::uint8_t byte : bytes_) checksum.feed(byte, 1);
  return checksum.value() == (frame.data[1] | frame.data[2] << 8) ? Abort::NONE : Abort::CHECKSUM;
}

}  // namespace tav::drive

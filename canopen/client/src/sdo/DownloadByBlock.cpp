#include "sdo/DownloadByBlock.hpp"

#include <algorithm>

#include "sdo/BlockFrames.hpp"
#include "sdo/Crc16.hpp"
#include "sdo/Exchange.hpp"

namespace nkr::canopen::sdo {
namespace {

/** So often in a row a sub-block may be lost altogether. */
constexpr int kPatience = 5;

class Sender {
 public:
  Sender(Exchange& exchange, const std::uint8_t* bytes, std::size_t size)
      : exchange_(exchange), bytes_(bytes), size_(size) {}

  nkr_error_t run(const can::Frame& opening) {
    nkr_error_t result = use_block_size(first_block_size(opening));
    while (result == NKR_OK && done_ < size_) result = send_block();
    return result == NKR_OK ? send_end(has_checksum(opening)) : result;
  }

 private:
  nkr_error_t use_block_size(std::uint8_t segments) {
    block_size_ = segments;
    const bool valid = segments >= 1 && segments <= kMostSegments;
    return valid ? NKR_OK : exchange_.fail(NKR_SDO_BLOCK_SIZE);
  }

  nkr_error_t send_block() {
    const std::size_t segments = (size_ - done_ + kSegmentBytes - 1) / kSegmentBytes;
    const auto count = static_cast<std::uint8_t>(std::min<std::size_t>(segments, block_size_));
    for (std::uint8_t sequence = 1; sequence < count; ++sequence) {
      const nkr_error_t result = exchange_.send(segment(sequence));
      if (result != NKR_OK) return result;
    }
    can::Frame reply;
    const nkr_error_t result = exchange_.continue_with(segment(count), Reply::BLOCK_DOWNLOAD, reply);
    if (result != NKR_OK) return result;
    if (block_download_reply(reply) != BlockDownloadReply::SEGMENTS_TAKEN)
      return exchange_.fail(NKR_SDO_UNKNOWN_COMMAND);
    return take_acknowledgement(reply, count);
  }

  can::Frame segment(std::uint8_t sequence) const {
    const std::size_t from = done_ + (sequence - std::size_t{1}) * kSegmentBytes;
    const std::size_t part = std::min(kSegmentBytes, size_ - from);
    return block_segment(exchange_.node(), sequence, from + part == size_, bytes_ + from, part);
  }

  nkr_error_t take_acknowledgement(const can::Frame& reply, std::uint8_t sent) {
    const std::uint8_t taken = acknowledged(reply);
    if (taken > sent) return exchange_.fail(NKR_SDO_BLOCK_SEQUENCE);
    patience_ = taken > 0 ? kPatience : patience_ - 1;
    if (patience_ == 0) return exchange_.fail(NKR_SDO_BLOCK_SEQUENCE);
    done_ = std::min(size_, done_ + taken * kSegmentBytes);
    return done_ == size_ ? NKR_OK : use_block_size(next_block_size(reply));
  }

  nkr_error_t send_end(bool with_checksum) {
    Crc16 checksum;
    if (with_checksum) checksum.add(bytes_, size_);
    const std::size_t unused = (kSegmentBytes - size_ % kSegmentBytes) % kSegmentBytes;
    can::Frame reply;
    const nkr_error_t result = exchange_.continue_with(
        block_download_end(exchange_.node(), unused, checksum.value()), Reply::BLOCK_DOWNLOAD, reply);
    if (result != NKR_OK) return result;
    return block_download_reply(reply) == BlockDownloadReply::END ? NKR_OK
                                                                  : exchange_.fail(NKR_SDO_UNKNOWN_COMMAND);
  }

  Exchange& exchange_;
  const std::uint8_t* const bytes_;
  const std::size_t size_;
  std::size_t done_ = 0;  ///< bytes that the server has
  std::uint8_t block_size_ = 0;
  int patience_ = kPatience;
};

}  // namespace

nkr_error_t block_download(Link& link, Multiplexer object, const std::uint8_t* bytes, std::size_t size) {
  Exchange exchange(link, object);
  can::Frame reply;
  const nkr_error_t result =
      exchange.initiate(block_download_request(link.node(), object, size), {Reply::BLOCK_DOWNLOAD}, reply);
  return result == NKR_OK ? Sender(exchange, bytes, size).run(reply) : result;
}

}  // namespace nkr::canopen::sdo

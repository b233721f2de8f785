#include "sdo/UploadByBlock.hpp"

#include <algorithm>
#include <array>

#include "sdo/BlockFrames.hpp"
#include "sdo/Crc16.hpp"
#include "sdo/Exchange.hpp"
#include "sdo/Upload.hpp"

namespace nkr::canopen::sdo {
namespace {

/** So often in a row a sub-block may bring nothing new. */
constexpr int kPatience = 5;

class Receiver {
 public:
  Receiver(Exchange& exchange, UploadSink& sink, bool with_checksum)
      : exchange_(exchange), sink_(sink), with_checksum_(with_checksum) {}

  nkr_error_t run() {
    nkr_error_t result = exchange_.send(block_upload_start(exchange_.node()));
    while (result == NKR_OK && !complete_) result = take_block();
    return result == NKR_OK ? finish() : result;
  }

 private:
  /** A sub-block ends with its last segment, in sequence or not, or when no more come. */
  nkr_error_t take_block() {
    std::uint8_t taken = 0;
    for (bool more = true; more;) {
      can::Frame segment;
      const nkr_error_t result = exchange_.next_segment(segment);
      if (result == NKR_SDO_TIMED_OUT && taken > 0) break;
      if (result == NKR_SDO_TIMED_OUT) return exchange_.fail(result);
      if (result != NKR_OK) return result;
      more = !is_last(segment) && sequence_of(segment) < kMostSegments;
      if (sequence_of(segment) != taken + 1) continue;
      if (!take(segment)) return exchange_.fail(NKR_SDO_LENGTH);
      ++taken;
      complete_ = is_last(segment);
    }
    patience_ = taken > 0 ? kPatience : patience_ - 1;
    if (patience_ == 0) return exchange_.fail(NKR_SDO_BLOCK_SEQUENCE);
    return complete_ ? acknowledge_end(taken) : acknowledge(taken);
  }

  nkr_error_t acknowledge(std::uint8_t taken) {
    return exchange_.send(block_upload_acknowledge(exchange_.node(), taken, kMostSegments));
  }

  nkr_error_t acknowledge_end(std::uint8_t taken) {
    const can::Frame request = block_upload_acknowledge(exchange_.node(), taken, kMostSegments);
    const nkr_error_t result = exchange_.continue_with(request, Reply::BLOCK_UPLOAD, end_);
    if (result != NKR_OK) return result;
    return is_block_upload_end(end_) ? NKR_OK : exchange_.fail(NKR_SDO_UNKNOWN_COMMAND);
  }

  /** Only the end tells how many bytes of the last segment are data: each segment waits for the next one. */
  bool take(const can::Frame& segment) {
    if (!pass_on(waiting_)) return false;
    std::copy_n(segment.data.begin() + 1, kSegmentBytes, last_.begin());
    waiting_ = kSegmentBytes;
    return true;
  }

  bool pass_on(std::size_t size) {
    checksum_.add(last_.data(), size);
    return sink_.append(last_.data(), size);
  }

  nkr_error_t finish() {
    if (!pass_on(waiting_ - unused_in_last(end_))) return exchange_.fail(NKR_SDO_LENGTH);
    if (with_checksum_ && checksum_of(end_) != checksum_.value()) return exchange_.fail(NKR_SDO_BLOCK_CRC);
    return exchange_.send(block_upload_end(exchange_.node()));
  }

  Exchange& exchange_;
  UploadSink& sink_;
  const bool with_checksum_;
  Crc16 checksum_;
  std::array<std::uint8_t, kSegmentBytes> last_{};
  std::size_t waiting_ = 0;  ///< bytes in last_
  bool complete_ = false;
  int patience_ = kPatience;
  can::Frame end_;
};

}  // namespace

nkr_error_t block_upload(Link& link, Multiplexer object, std::uint8_t threshold, UploadSink& sink,
                         bool& refused) {
  Exchange exchange(link, object);
  can::Frame reply;
  const nkr_error_t result =
      exchange.initiate(block_upload_request(link.node(), object, kMostSegments, threshold),
                        {Reply::BLOCK_UPLOAD, Reply::UPLOAD_INITIATE}, reply);
  refused = result == NKR_SDO_UNKNOWN_COMMAND;
  if (result != NKR_OK) return result;
  if (reply_kind(reply) == Reply::UPLOAD_INITIATE) return take_upload(exchange, reply, sink);
  return Receiver(exchange, sink, has_checksum(reply)).run();
}

}  // namespace nkr::canopen::sdo

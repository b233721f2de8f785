#include "sdo/UploadByBlock.hpp"

#include <algorithm>
#include <array>
#include <chrono>
#include <nkr/time/clock.hpp>

#include "sdo/BlockFrames.hpp"
#include "sdo/Crc16.hpp"
#include "sdo/Exchange.hpp"
#include "sdo/StatedSize.hpp"
#include "sdo/Upload.hpp"

namespace nkr::canopen::sdo {
namespace {

/** So often in a row a sub-block may bring nothing new. */
constexpr int kPatience = 5;

/** What a segment may take at most, others' frames between: 20 kbit/s carry one in 7 ms. */
constexpr std::chrono::milliseconds kSegmentTime{20};

class Receiver {
 public:
  Receiver(Exchange& exchange, UploadSink& sink, const can::Frame& opening)
      : exchange_(exchange),
        sink_(sink),
        with_checksum_(has_checksum(opening)),
        stated_(exchange.link().timing().relies_on_sizes ? stated_size(opening) : std::nullopt) {}

  nkr_error_t run() {
    begin_ = time::now();
    nkr_error_t result = exchange_.send(block_upload_start(exchange_.node()));
    while (result == NKR_OK && !complete_) result = take_block();
    return result == NKR_OK ? finish() : result;
  }

 private:
  /** A sub-block ends with its last segment, in sequence or not, or when no more come in time. */
  nkr_error_t take_block() {
    const can::Clock::time_point end = end_of_transfer();
    const can::Clock::time_point now = time::now();
    if (now >= end) return exchange_.fail(NKR_SDO_TIMED_OUT);
    exchange_.link().limit(std::min(end, time_for(now, kMostSegments, 1)));
    exchange_.link().wait_anew();
    std::uint8_t taken = 0;
    const nkr_error_t result = take_segments(taken);
    if (result == NKR_SDO_TIMED_OUT && taken == 0) return exchange_.fail(result);
    if (result != NKR_OK && result != NKR_SDO_TIMED_OUT) return result;
    patience_ = taken > 0 ? kPatience : patience_ - 1;
    if (patience_ == 0) return exchange_.fail(NKR_SDO_BLOCK_SEQUENCE);
    return complete_ ? acknowledge_end(taken) : acknowledge(taken);
  }

  /** Only what comes in sequence gives the server more time. */
  nkr_error_t take_segments(std::uint8_t& taken) {
    for (bool more = true; more;) {
      can::Frame segment;
      const nkr_error_t result = exchange_.next_segment(segment);
      if (result != NKR_OK) return result;
      more = !is_last(segment) && sequence_of(segment) < kMostSegments;
      if (sequence_of(segment) != taken + 1) continue;
      const nkr_error_t fits = take(segment);
      if (fits != NKR_OK) return exchange_.fail(fits);
      ++taken;
      complete_ = is_last(segment);
      exchange_.link().wait_anew();
    }
    return NKR_OK;
  }

  /** So long after `begin` so many segments and answers have come. */
  [[nodiscard]] can::Clock::time_point time_for(can::Clock::time_point begin, std::size_t segments,
                                                int answers) const {
    can::Clock::time_point end = can::time_after(begin, kSegmentTime * static_cast<std::int64_t>(segments));
    for (; answers > 0; --answers) end = can::time_after(end, exchange_.link().timing().each);
    return end;
  }

  /** In proportion to the size, with room for as much again: lost segments come a second time. */
  [[nodiscard]] can::Clock::time_point end_of_transfer() const {
    constexpr int kAnswers = 4;
    const std::size_t segments =
        stated_.value() ? *stated_.value() / kSegmentBytes + 1 : segments_ + kMostSegments;
    return time_for(begin_, 2 * segments, kAnswers);
  }

  nkr_error_t acknowledge(std::uint8_t taken) {
    return exchange_.send(block_upload_acknowledge(exchange_.node(), taken, kMostSegments));
  }

  nkr_error_t acknowledge_end(std::uint8_t taken) {
    exchange_.link().limit(can::Clock::time_point::max());
    const can::Frame request = block_upload_acknowledge(exchange_.node(), taken, kMostSegments);
    const nkr_error_t result = exchange_.continue_with(request, Reply::BLOCK_UPLOAD, end_);
    if (result != NKR_OK) return result;
    return is_block_upload_end(end_) ? NKR_OK : exchange_.fail(NKR_SDO_UNKNOWN_COMMAND);
  }

  /** Only the end tells how many bytes of the last segment are data: each segment waits for the next one. */
  nkr_error_t take(const can::Frame& segment) {
    const std::size_t sent = sent_in(segment);
    if (sent < kSegmentBytes && !is_last(segment)) return NKR_SDO_LENGTH_LOW;
    const nkr_error_t passed = pass_on(waiting_);
    if (passed != NKR_OK) return passed;
    ++segments_;
    std::copy_n(segment.data.begin() + 1, kSegmentBytes, last_.begin());
    waiting_ = sent;
    return NKR_OK;
  }

  nkr_error_t pass_on(std::size_t size) {
    came_ += size;
    const nkr_error_t fits = stated_.check_so_far(came_);
    if (fits != NKR_OK) return fits;
    checksum_.add(last_.data(), size);
    return sink_.append(last_.data(), size) ? NKR_OK : NKR_SDO_LENGTH;
  }

  nkr_error_t finish() {
    const std::size_t size = kSegmentBytes - unused_in_last(end_);
    if (size > waiting_) return exchange_.fail(NKR_SDO_LENGTH_LOW);
    nkr_error_t result = pass_on(size);
    if (result == NKR_OK) result = stated_.check_all(came_);
    if (result != NKR_OK) return exchange_.fail(result);
    if (with_checksum_ && checksum_of(end_) != checksum_.value()) return exchange_.fail(NKR_SDO_BLOCK_CRC);
    return exchange_.send(block_upload_end(exchange_.node()));
  }

  Exchange& exchange_;
  UploadSink& sink_;
  const bool with_checksum_;
  const StatedSize stated_;
  can::Clock::time_point begin_;
  Crc16 checksum_;
  std::array<std::uint8_t, kSegmentBytes> last_{};
  std::size_t waiting_ = 0;   ///< bytes in last_
  std::size_t came_ = 0;      ///< bytes passed on
  std::size_t segments_ = 0;  ///< taken
  bool complete_ = false;
  int patience_ = kPatience;
  can::Frame end_;
};

}  // namespace

nkr_error_t block_upload(Link& link, Multiplexer object, std::uint8_t threshold, UploadSink& sink) {
  Exchange exchange(link, object);
  can::Frame reply;
  const nkr_error_t result =
      exchange.initiate(block_upload_request(link.node(), object, kMostSegments, threshold),
                        {Reply::BLOCK_UPLOAD, Reply::UPLOAD_INITIATE}, reply);
  if (result != NKR_OK) return result;
  if (reply_kind(reply) == Reply::UPLOAD_INITIATE) return take_upload(exchange, reply, sink);
  return Receiver(exchange, sink, reply).run();
}

}  // namespace nkr::canopen::sdo

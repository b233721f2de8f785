#include "sdo/Exchange.hpp"

#include <algorithm>

namespace nkr::canopen::sdo {

nkr_error_t Exchange::fail(nkr_error_t code) {
  link_.abort(abort_frame(node(), object_, code));
  return code;
}

nkr_error_t Exchange::next(can::Frame& frame) {
  const nkr_error_t result = link_.receive(frame);
  return result == NKR_SDO_TIMED_OUT ? fail(result) : result;
}

nkr_error_t Exchange::initiate(const can::Frame& request, std::initializer_list<Reply> wanted,
                               can::Frame& reply) {
  nkr_error_t result = link_.open(request);
  while (result == NKR_OK) {
    result = next(reply);
    if (result != NKR_OK) break;
    if (aborts(reply, object_)) return link_.aborted_with(reply);
    const Reply kind = reply_kind(reply);
    const bool segment = kind == Reply::UPLOAD_SEGMENT || kind == Reply::DOWNLOAD_SEGMENT;
    if (segment || !names_object(reply, object_)) continue;
    const bool by_block = kind == Reply::BLOCK_UPLOAD || kind == Reply::BLOCK_DOWNLOAD;
    const bool is_wanted = std::find(wanted.begin(), wanted.end(), kind) != wanted.end();
    if (by_block && !is_wanted && link_.earlier_answer_until() != can::Clock::time_point{}) continue;
    if (!is_wanted) return fail(NKR_SDO_UNKNOWN_COMMAND);
    opening_ = reply;
    return NKR_OK;
  }
  return result;
}

bool Exchange::is_stray(const can::Frame& frame) const {
  switch (reply_kind(frame)) {
    case Reply::UPLOAD_INITIATE:
    case Reply::DOWNLOAD_INITIATE:
      return !names_object(frame, object_) || frame == opening_;
    case Reply::ABORT:
      return !aborts(frame, object_);
    default:
      return frame.size == 0;
  }
}

/** A stray frame within an upload. An expedited answer leaves a server's transfer as it is; one that opens a
 * transfer puts it in the place of ours, and every segment that comes is of that one. */
bool Exchange::is_taken_over(const can::Frame& frame) {
  if (frame.size < kDataOffset || names_object(frame, object_) || link_.last_was_owed()) return false;
  foreign_seen_ = true;
  taken_over_ = reply_kind(frame) == Reply::UPLOAD_INITIATE && !upload_initiate(frame).expedited;
  return taken_over_;
}

bool Exchange::is_disturbed(nkr_error_t result) const {
  if (taken_over_) return true;
  switch (result) {
    case NKR_SDO_TOGGLE_BIT:  // also in place of a first answer: another client's segment caused it
      return true;
    case NKR_SDO_UNKNOWN_COMMAND:
      return link_.is_opened();
    case NKR_SDO_LENGTH:
    case NKR_SDO_LENGTH_HIGH:
    case NKR_SDO_LENGTH_LOW:
    case NKR_SDO_GENERAL:
      return foreign_seen_;
    default:
      return false;
  }
}

nkr_error_t Exchange::continue_with(const can::Frame& request, Reply wanted, can::Frame& reply) {
  nkr_error_t result = send(request);
  if (result == NKR_SDO_TIMED_OUT) return fail(result);
  for (bool doubled = false; result == NKR_OK;) {
    result = link_.receive(reply);
    if (result == NKR_SDO_TIMED_OUT) return fail(doubled ? NKR_SDO_TOGGLE_BIT : result);
    if (result != NKR_OK) break;
    if (is_stray(reply)) {
      if (wanted == Reply::UPLOAD_SEGMENT && is_taken_over(reply)) return NKR_SDO_TOGGLE_BIT;
      continue;
    }
    if (reply == last_segment_) {
      doubled = true;
      continue;
    }
    const Reply kind = reply_kind(reply);
    if (kind == Reply::ABORT) return link_.aborted_with(reply);
    if (kind == Reply::UPLOAD_SEGMENT || kind == Reply::DOWNLOAD_SEGMENT) last_segment_ = reply;
    return kind == wanted ? NKR_OK : fail(NKR_SDO_UNKNOWN_COMMAND);
  }
  return result;
}

nkr_error_t Exchange::next_segment(can::Frame& segment) {
  while (true) {
    const nkr_error_t result = link_.receive(segment);
    if (result != NKR_OK) return result;
    if (segment.size == 0) continue;
    if (segment.data[0] != kAbort) return NKR_OK;  // a segment with the sequence number 0 does not exist
    if (aborts(segment, object_)) return link_.aborted_with(segment);
  }
}

}  // namespace nkr::canopen::sdo

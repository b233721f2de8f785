#include "sdo/Exchange.hpp"

#include <algorithm>

namespace nkr::canopen::sdo {

nkr_error_t Exchange::fail(nkr_error_t code) {
  link_.send_abort(abort_frame(node(), object_, code));
  return code;
}

nkr_error_t Exchange::next(can::Frame& frame) {
  const nkr_error_t result = link_.receive(frame);
  return result == NKR_SDO_TIMED_OUT ? fail(result) : result;
}

nkr_error_t Exchange::initiate(const can::Frame& request, std::initializer_list<Reply> wanted,
                               can::Frame& reply) {
  nkr_error_t result = link_.send(request);
  while (result == NKR_OK) {
    result = next(reply);
    if (result != NKR_OK) break;
    if (aborts(reply, object_)) return abort_result(reply);
    const Reply kind = reply_kind(reply);
    const bool segment = kind == Reply::UPLOAD_SEGMENT || kind == Reply::DOWNLOAD_SEGMENT;
    if (segment || !names_object(reply, object_)) continue;
    if (std::find(wanted.begin(), wanted.end(), kind) == wanted.end()) return fail(NKR_SDO_UNKNOWN_COMMAND);
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

nkr_error_t Exchange::continue_with(const can::Frame& request, Reply wanted, can::Frame& reply) {
  nkr_error_t result = send(request);
  for (bool doubled = false; result == NKR_OK;) {
    result = link_.receive(reply);
    if (result == NKR_SDO_TIMED_OUT) return fail(doubled ? NKR_SDO_TOGGLE_BIT : result);
    if (result != NKR_OK) break;
    if (is_stray(reply)) continue;
    if (reply == last_segment_) {
      doubled = true;
      continue;
    }
    const Reply kind = reply_kind(reply);
    if (kind == Reply::ABORT) return abort_result(reply);
    if (kind == Reply::UPLOAD_SEGMENT || kind == Reply::DOWNLOAD_SEGMENT) last_segment_ = reply;
    return kind == wanted ? NKR_OK : fail(NKR_SDO_UNKNOWN_COMMAND);
  }
  return result;
}

nkr_error_t Exchange::next_segment(can::Frame& segment) {
  link_.wait_anew();
  while (true) {
    const nkr_error_t result = link_.receive(segment);
    if (result != NKR_OK) return result;
    if (segment.size == 0) continue;
    if (segment.data[0] != kAbort) return NKR_OK;  // a segment with the sequence number 0 does not exist
    if (aborts(segment, object_)) return abort_result(segment);
  }
}

}  // namespace nkr::canopen::sdo

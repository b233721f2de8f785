#include "sdo/Upload.hpp"

#include "sdo/Frames.hpp"

namespace nkr::canopen::sdo {
namespace {

nkr_error_t take_expedited(const can::Frame& reply, UploadSink& sink) {
  const UploadInitiate initiate = upload_initiate(reply);
  const std::uint8_t* const bytes = reply.data.data() + 4;
  if (!initiate.size_stated) {
    sink.append_unsized(bytes, initiate.size);
    return NKR_OK;
  }
  return sink.append(bytes, initiate.size) ? NKR_OK : NKR_SDO_LENGTH;
}

/** The size that the initiate reply states is not relied on: there are servers that state a wrong one. */
nkr_error_t take_segments(Exchange& exchange, UploadSink& sink) {
  for (bool toggle = false;; toggle = !toggle) {
    can::Frame reply;
    const nkr_error_t result =
        exchange.continue_with(upload_segment_request(exchange.node(), toggle), Reply::UPLOAD_SEGMENT, reply);
    if (result != NKR_OK) return result;
    const UploadSegment segment = upload_segment(reply);
    if (segment.toggle != toggle) return exchange.fail(NKR_SDO_TOGGLE_BIT);
    if (!sink.append(reply.data.data() + 1, segment.size)) return exchange.fail(NKR_SDO_LENGTH);
    if (segment.last) return NKR_OK;
    if (segment.size == 0) return exchange.fail(NKR_SDO_GENERAL);  // a server that would go on forever
  }
}

}  // namespace

nkr_error_t take_upload(Exchange& exchange, const can::Frame& reply, UploadSink& sink) {
  return upload_initiate(reply).expedited ? take_expedited(reply, sink) : take_segments(exchange, sink);
}

nkr_error_t upload(Link& link, Multiplexer object, UploadSink& sink) {
  Exchange exchange(link, object);
  const can::Frame request = upload_request(link.node(), object);
  can::Frame reply;
  nkr_error_t result = exchange.initiate(request, {Reply::UPLOAD_INITIATE}, reply);
  if (result == NKR_SDO_UNKNOWN_COMMAND) {
    exchange.fail(NKR_SDO_GENERAL);
    result = exchange.initiate(request, {Reply::UPLOAD_INITIATE}, reply);
  }
  return result == NKR_OK ? take_upload(exchange, reply, sink) : result;
}

}  // namespace nkr::canopen::sdo

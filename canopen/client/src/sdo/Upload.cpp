#include "sdo/Upload.hpp"

#include "sdo/Frames.hpp"
#include "sdo/StatedSize.hpp"

namespace nkr::canopen::sdo {
namespace {

nkr_error_t take_expedited(Exchange& exchange, const can::Frame& reply, const UploadInitiate& initiate,
                           UploadSink& sink) {
  if (!initiate.whole) return exchange.fail(NKR_SDO_LENGTH_LOW);
  const std::uint8_t* const bytes = reply.data.data() + kDataOffset;
  if (!initiate.size_stated) {
    sink.append_unsized(bytes, initiate.size);
    return NKR_OK;
  }
  return sink.append(bytes, initiate.size) ? NKR_OK : NKR_SDO_LENGTH;
}

nkr_error_t take_segment(const can::Frame& reply, const UploadSegment& segment, const StatedSize& stated,
                         std::size_t& came, UploadSink& sink) {
  if (!segment.whole) return NKR_SDO_LENGTH_LOW;
  came += segment.size;
  const nkr_error_t fits = segment.last ? stated.check_all(came) : stated.check_so_far(came);
  if (fits != NKR_OK) return fits;
  if (!sink.append(reply.data.data() + 1, segment.size)) return NKR_SDO_LENGTH;
  const bool goes_on_forever = segment.size == 0 && !segment.last;
  return goes_on_forever ? NKR_SDO_GENERAL : NKR_OK;
}

nkr_error_t take_segments(Exchange& exchange, const StatedSize& stated, UploadSink& sink) {
  std::size_t came = 0;
  UploadSegment segment;
  for (bool toggle = false; !segment.last; toggle = !toggle) {
    can::Frame reply;
    nkr_error_t result =
        exchange.continue_with(upload_segment_request(exchange.node(), toggle), Reply::UPLOAD_SEGMENT, reply);
    if (result != NKR_OK) return result;
    segment = upload_segment(reply);
    if (segment.toggle != toggle) return exchange.fail(NKR_SDO_TOGGLE_BIT);
    result = take_segment(reply, segment, stated, came, sink);
    if (result != NKR_OK) return exchange.fail(result);
  }
  return NKR_OK;
}

nkr_error_t upload_once(Exchange& exchange, UploadSink& sink) {
  const can::Frame request = upload_request(exchange.node(), exchange.object());
  can::Frame reply;
  nkr_error_t result = exchange.initiate(request, {Reply::UPLOAD_INITIATE}, reply);
  if (result == NKR_SDO_UNKNOWN_COMMAND) {
    exchange.fail(NKR_SDO_GENERAL);
    result = exchange.initiate(request, {Reply::UPLOAD_INITIATE}, reply);
  }
  return result == NKR_OK ? take_upload(exchange, reply, sink) : result;
}

}  // namespace

nkr_error_t take_upload(Exchange& exchange, const can::Frame& reply, UploadSink& sink) {
  const UploadInitiate initiate = upload_initiate(reply);
  if (initiate.expedited) return take_expedited(exchange, reply, initiate, sink);
  const bool counts = initiate.size_stated && exchange.link().timing().relies_on_sizes;
  if (counts && !initiate.whole) return exchange.fail(NKR_SDO_LENGTH_LOW);
  const StatedSize stated(counts ? std::optional(initiate.size) : std::nullopt);
  return take_segments(exchange, stated, sink);
}

nkr_error_t upload(Link& link, Multiplexer object, UploadSink& sink) {
  while (true) {
    Exchange exchange(link, object);
    const nkr_error_t result = upload_once(exchange, sink);
    if (result == NKR_OK || !exchange.is_disturbed(result) || !link.pause()) return result;
    sink.clear();
  }
}

}  // namespace nkr::canopen::sdo

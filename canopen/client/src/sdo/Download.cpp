#include "sdo/Download.hpp"

#include <algorithm>

#include "sdo/Exchange.hpp"
#include "sdo/Frames.hpp"

namespace nkr::canopen::sdo {
namespace {

nkr_error_t send_segments(Exchange& exchange, const std::uint8_t* bytes, std::size_t size) {
  bool toggle = false;
  for (bool last = false; !last; toggle = !toggle) {
    const std::size_t part = std::min(size, kSegmentBytes);
    last = part == size;
    can::Frame reply;
    const nkr_error_t result = exchange.continue_with(
        download_segment(exchange.node(), toggle, last, bytes, part), Reply::DOWNLOAD_SEGMENT, reply);
    if (result != NKR_OK) return result;
    if (toggle_of(reply) != toggle) return exchange.fail(NKR_SDO_TOGGLE_BIT);
    bytes += part;
    size -= part;
  }
  return NKR_OK;
}

}  // namespace

nkr_error_t download(Link& link, Multiplexer object, const std::uint8_t* bytes, std::size_t size) {
  Exchange exchange(link, object);
  can::Frame reply;
  const bool expedited = size > 0 && size <= kExpeditedBytes;
  const can::Frame request = expedited ? expedited_download(link.node(), object, bytes, size)
                                       : download_request(link.node(), object, size);
  const nkr_error_t result = exchange.initiate(request, {Reply::DOWNLOAD_INITIATE}, reply);
  if (result == NKR_SDO_UNKNOWN_COMMAND) return exchange.fail(result);
  if (result != NKR_OK || expedited) return result;
  return send_segments(exchange, bytes, size);
}

}  // namespace nkr::canopen::sdo

#include "sdo/ObjectTransfer.hpp"

#include <algorithm>

#include "sdo/Download.hpp"
#include "sdo/DownloadByBlock.hpp"
#include "sdo/Upload.hpp"
#include "sdo/UploadByBlock.hpp"

namespace nkr::canopen::sdo {
namespace {

/** One may be a lost frame; then the server is taken for one that has its own idea of blocks. */
constexpr int kMostSpoiled = 2;

/** What servers refuse a block transfer with that they do not know, apart from what they say of the object.
 */
bool refuses_blocks(nkr_error_t code) {
  switch (code) {
    case NKR_SDO_UNKNOWN_COMMAND:
    case NKR_SDO_BLOCK_SIZE:
    case NKR_SDO_UNSUPPORTED_ACCESS:
    case NKR_SDO_DEVICE_INCOMPATIBLE:
    case NKR_SDO_GENERAL:
      return true;
    default:
      return false;
  }
}

/** Time-outs, sequence, checksum and the like: 0503xxxxh and 0504xxxxh. */
bool is_of_protocol(nkr_error_t code) {
  constexpr std::uint32_t kClass = 0xFF000000;
  constexpr std::uint32_t kProtocol = 0x05000000;
  return (static_cast<std::uint32_t>(code) & kClass) == kProtocol;
}

}  // namespace

nkr_error_t read_object(Link& link, Multiplexer object, UploadSink& sink, std::size_t block_threshold) {
  constexpr std::size_t kMostThreshold = 255;
  Server& server = link.server();
  if (block_threshold == 0 || server.knows_no_block) return upload(link, object, sink);
  const auto threshold = static_cast<std::uint8_t>(std::min(block_threshold - 1, kMostThreshold));
  const nkr_error_t by_block = block_upload(link, object, threshold, sink);
  if (by_block == NKR_OK) server.spoiled_blocks = 0;
  if (by_block == NKR_OK || (!is_of_protocol(by_block) && !refuses_blocks(by_block))) return by_block;
  const bool was_opened = link.is_opened();
  if (!was_opened && by_block == NKR_SDO_UNKNOWN_COMMAND) server.knows_no_block = true;
  sink.clear();
  nkr_error_t result = link.start_anew();
  if (result == NKR_OK) result = upload(link, object, sink);
  if (result == NKR_OK) server.knows_no_block = !was_opened || ++server.spoiled_blocks >= kMostSpoiled;
  return result;
}

nkr_error_t write_object(Link& link, Multiplexer object, const std::uint8_t* bytes, std::size_t size,
                         std::size_t block_threshold) {
  Server& server = link.server();
  const bool by_block = block_threshold > 0 && size >= block_threshold && !server.knows_no_block;
  if (!by_block) return download(link, object, bytes, size);
  nkr_error_t result = block_download(link, object, bytes, size);
  if (link.is_opened()) return result;
  if (link.answer_is_owed()) server.knows_no_block = result == NKR_SDO_TIMED_OUT;
  if (!link.is_aborted() || !refuses_blocks(result)) return result;
  if (result == NKR_SDO_UNKNOWN_COMMAND) server.knows_no_block = true;
  result = link.start_anew();
  if (result == NKR_OK) result = download(link, object, bytes, size);
  if (result == NKR_OK) server.knows_no_block = true;
  return result;
}

}  // namespace nkr::canopen::sdo

// Messages of the unix bus: a frame that was taken is the same frame after it was passed on.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <unix/unix_wire.hpp>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const auto message = nkr::can::decode_unix_message(bytes, size);
  if (message && message->kind == nkr::can::UnixMessage::Kind::FILTER) {
    const auto filter = nkr::can::encode_filter(message->filter, message->is_last_filter);
    if (!std::equal(filter.begin(), filter.end(), bytes)) std::abort();
  }
  if (!message || message->kind != nkr::can::UnixMessage::Kind::FRAME) return 0;
  const auto passed_on = nkr::can::encode_frame(message->frame);
  const auto again = nkr::can::decode_unix_message(passed_on.data(), passed_on.size());
  if (!again || again->frame != message->frame) std::abort();
  return 0;
}

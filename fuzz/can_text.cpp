// Frame texts and candump lines: whatever was read is read again, equal, from what is written for it.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <nkr/can/candump.hpp>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(bytes), size);
  const auto frame = nkr::can::parse_frame(text);
  if (frame && nkr::can::parse_frame(to_string(*frame)) != frame) std::abort();
  const auto line = nkr::can::parse_log_line(text);
  if (!line) return 0;
  const auto again = nkr::can::parse_log_line(to_string(*line));
  if (!again || again->when != line->when || again->bus_name != line->bus_name || again->frame != line->frame)
    std::abort();
  return 0;
}

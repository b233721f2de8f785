// Logs of any content: no line without end, numbers that go up by one, and frames that candump could have
// written.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <nkr/can/candump.hpp>
#include <sstream>
#include <string>
#include <tav/host/LogReader.hpp>

namespace {

constexpr std::size_t kAnyLine = 65536;

void require(bool holds) {
  if (!holds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  std::istringstream stream(std::string(reinterpret_cast<const char*>(bytes), size));
  tav::host::LogReader reader(stream);
  std::uint64_t last = 0;
  while (reader.next()) {
    require(reader.number() > last && reader.number() <= size);
    last = reader.number();
    require(!reader.line().empty() && reader.line().size() <= kAnyLine);
    const auto logged = reader.frame();
    if (!logged) continue;
    require(logged->frame.size <= logged->frame.data.size());
    require(nkr::can::parse_frame(to_string(logged->frame)) == logged->frame);
  }
  require(!reader.next());
  return 0;
}

// Frames of any content and in any order are told in words that a terminal can show; so are their values.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <nkr/can/Frame.hpp>
#include <nkr/tools/EDSParser.hpp>
#include <tav/host/FrameDecoder.hpp>
#include <tav/host/ObjectText.hpp>

namespace {

using nkr::can::Frame;

constexpr std::uint8_t kNode = 10;
constexpr std::size_t kBytesOfFrame = 11;
/** So much is looked at: longer sequences show nothing new. */
constexpr std::size_t kMost = 200 * kBytesOfFrame;
/** What the predefined connection set knows, mostly of one node; 0: any identifier. */
constexpr std::uint32_t kIdentifiers[] = {0x60A, 0x58A, 0x60A, 0x58A, 0x000, 0x080, 0x100, 0x08A,
                                          0x18A, 0x20A, 0x38A, 0x70A, 0x7E4, 0x7E5, 0x101, 0};

Frame frame_of(const std::uint8_t* bytes) {
  constexpr unsigned kRemote = 0x10;
  constexpr unsigned kError = 0x20;
  constexpr unsigned kExtended = 0x40;
  Frame frame;
  frame.id = kIdentifiers[bytes[0] & 15U];
  if (frame.id == 0) frame.id = (bytes[1] | static_cast<std::uint32_t>(bytes[2]) << 8) & 0x7FFU;
  frame.remote = (bytes[0] & kRemote) != 0;
  frame.error = (bytes[0] & kError) != 0;
  frame.extended = (bytes[0] & kExtended) != 0;
  frame.size = (bytes[0] & 0x80U) != 0 ? static_cast<std::uint8_t>(bytes[1] % 9U) : 8;
  for (std::size_t i = 0; i < frame.size; ++i) frame.data.at(i) = bytes[3 + i];
  return frame;
}

void require(bool holds) {
  if (!holds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const nkr::tools::EDSParser* const kDescription = [] {
    auto* const parser = new nkr::tools::EDSParser;
    std::ifstream file(TAV_DESCRIPTION);
    require(parser->parse(file, false));
    return parser;
  }();
  tav::host::FrameDecoder decoder(*kDescription, kNode);
  for (std::size_t at = 0; at + kBytesOfFrame <= std::min(size, kMost); at += kBytesOfFrame) {
    const tav::host::FrameMeaning meaning = decoder.decode(frame_of(data + at));
    require(!meaning.title.empty());
    for (const tav::host::ObjectBytes& object : meaning.objects) {
      require(!decoder.objects().name(object.object).empty());
      static_cast<void>(decoder.objects().value(object));
    }
  }
  return 0;
}

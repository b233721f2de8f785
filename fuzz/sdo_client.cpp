// A server that answers anything at all: no transfer of the client may run away, read outside a frame or
// return a code that is no failure without a value.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "sdo/Download.hpp"
#include "sdo/DownloadByBlock.hpp"
#include "sdo/Upload.hpp"
#include "sdo/UploadByBlock.hpp"

namespace {

using nkr::can::Frame;
using nkr::canopen::sdo::Multiplexer;

/** Answers with the fuzzer's bytes: a length, then as many bytes of a frame. Silent when they are used up. */
class FuzzedServer final : public nkr::canopen::sdo::Link {
 public:
  FuzzedServer(const std::uint8_t* bytes, std::size_t size) : bytes_(bytes), end_(bytes + size) {}

  [[nodiscard]] std::uint8_t node() const override { return 1; }
  nkr_error_t send(const Frame& frame) override {
    if (frame.size != 8 || frame.id != 0x601) std::abort();
    return NKR_OK;
  }
  nkr_error_t send_within(const Frame& frame) override { return send(frame); }
  nkr_error_t receive(Frame& frame) override {
    if (bytes_ == end_) return NKR_SDO_TIMED_OUT;
    frame = Frame();
    frame.id = 0x581;
    frame.size = *bytes_++ % 9;
    for (std::size_t i = 0; i < frame.size && bytes_ != end_; ++i) frame.data.at(i) = *bytes_++;
    return NKR_OK;
  }
  void wait_anew() override {}
  void send_abort(const Frame& frame) override { send(frame); }

 private:
  const std::uint8_t* bytes_;
  const std::uint8_t* const end_;
};

void upload_number(FuzzedServer& server, Object object) {
  nkr::canopen::sdo::NumberSink sink(4);
  const nkr_error_t result = upload(server, object, sink);
  if (sink.size() > 4 || result == 0) std::abort();
}

void upload_bytes(FuzzedServer& server, Object object) {
  nkr::canopen::sdo::BytesSink sink;
  bool refused = false;
  if (block_upload(server, object, 20, sink, refused) == 0) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  if (size == 0) return 0;
  const Object object{0x6041, 0};
  const std::vector<std::uint8_t> value(300, 0x55);
  FuzzedServer server(bytes + 1, size - 1);
  bool refused = false;
  switch (*bytes % 5) {
    case 0:
      upload_number(server, object);
      break;
    case 1:
      upload_bytes(server, object);
      break;
    case 2:
      download(server, object, value.data(), 4);
      break;
    case 3:
      download(server, object, value.data(), 60);
      break;
    default:
      block_download(server, object, value.data(), value.size(), refused);
      break;
  }
  return 0;
}

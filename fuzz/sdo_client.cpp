// A server that answers anything at all: no transfer of the client may run away, read outside a frame or
// return a code that is no failure without a value.
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "sdo/ObjectTransfer.hpp"

namespace {

using nkr::can::Clock;
using nkr::can::Deadline;
using nkr::can::Frame;
using nkr::canopen::sdo::Link;
using nkr::canopen::sdo::Multiplexer;

/** Answers with the fuzzer's bytes: a length, then as many bytes of a frame. Silent when they are used up. */
class FuzzedServer final : public nkr::can::Port {
 public:
  FuzzedServer(const std::uint8_t* bytes, std::size_t size) : bytes_(bytes), end_(bytes + size) {}

  nkr_error_t send(const Frame& frame, const Deadline& /*deadline*/) override {
    if (frame.size != 8 || frame.id != 0x601) std::abort();
    return NKR_OK;
  }
  nkr_error_t receive(Frame& frame, const Deadline& /*deadline*/,
                      std::chrono::system_clock::time_point* /*when*/) override {
    if (bytes_ == end_) return NKR_CAN_TIMED_OUT;
    frame = Frame();
    frame.id = 0x581;
    frame.size = *bytes_++ % 9;
    for (std::size_t i = 0; i < frame.size && bytes_ != end_; ++i) frame.data.at(i) = *bytes_++;
    return NKR_OK;
  }
  void close() override {}

 private:
  const std::uint8_t* bytes_;
  const std::uint8_t* const end_;
};

void read_number(Link& link, Multiplexer object) {
  nkr::canopen::sdo::NumberSink sink(4);
  if (read_object(link, object, sink, 0) == 0 || sink.size() > 4) std::abort();
}

void read_bytes(Link& link, Multiplexer object) {
  nkr::canopen::sdo::BytesSink sink;
  if (read_object(link, object, sink, 21) == 0) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  if (size == 0) return 0;
  const Multiplexer object{0x6041, 0};
  const std::vector<std::uint8_t> value(300, 0x55);
  FuzzedServer port(bytes + 1, size - 1);
  nkr::canopen::HeardTimes heard;
  nkr::canopen::sdo::Server server(1, heard);
  const Clock::duration time = std::chrono::milliseconds(5);
  const nkr::canopen::sdo::Timing timing{Deadline(time), time, Clock::duration::zero(), *bytes % 2 == 0};
  Link link(port, server, timing);
  switch (*bytes / 2 % 5) {
    case 0:
      read_number(link, object);
      break;
    case 1:
      read_bytes(link, object);
      break;
    case 2:
      write_object(link, object, value.data(), 4, 64);
      break;
    case 3:
      write_object(link, object, value.data(), 60, 64);
      break;
    default:
      write_object(link, object, value.data(), value.size(), 64);
      break;
  }
  return 0;
}

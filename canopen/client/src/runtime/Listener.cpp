#include "runtime/Listener.hpp"

#include <utility>

namespace nkr::canopen {
namespace {

void listen(can::Port& port, const Listener::Handler& handler) {
  can::Frame frame;
  nkr_error_t result = NKR_OK;
  while (result != NKR_CAN_CLOSED) {
    result = port.receive(frame, can::Clock::time_point::max());
    if (result != NKR_CAN_CLOSED) handler(result, frame);
  }
}

}  // namespace

bool Listener::start(can::Port& port, Handler handler) {
  return thread_.start([&port, handle = std::move(handler)] { listen(port, handle); }, "nkr-listener");
}

}  // namespace nkr::canopen

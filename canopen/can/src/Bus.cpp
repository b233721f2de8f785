#include <algorithm>
#include <nkr/can/Bus.hpp>
#include <utility>

#include "ListeningPort.hpp"
#include "system/without_exceptions.hpp"

namespace nkr::can {

bool passes(const std::vector<Filter>& filters, const Frame& frame) {
  if (filters.empty()) return true;
  if (frame.extended || frame.error) return false;
  return std::any_of(filters.begin(), filters.end(),
                     [&](const Filter& filter) { return ((frame.id ^ filter.id) & filter.mask) == 0; });
}

const char* to_string(BusState state) {
  switch (state) {
    case BusState::ERROR_ACTIVE:
      return "error active";
    case BusState::ERROR_WARNING:
      return "error warning";
    case BusState::ERROR_PASSIVE:
      return "error passive";
    case BusState::BUS_OFF:
      return "bus off";
    case BusState::INTERFACE_GONE:
      return "interface gone";
  }
  return "unknown";
}

nkr_error_t Port::drain(const FrameHandler& taken, const Deadline& /*deadline*/) {
  Frame frame;
  for (;;) {
    const nkr_error_t result = receive(frame, Deadline::passed());
    if (result == NKR_OK) taken(frame);
    if (result == NKR_CAN_TIMED_OUT) return NKR_OK;
    if (result == NKR_CAN_CLOSED) return result;
  }
}

std::unique_ptr<Port> Bus::open_handler(const std::vector<Filter>& filters, FrameHandler handler,
                                        nkr_error_t& result) {
  result = NKR_ERROR;
  if (!handler) return nullptr;
  auto port = open(filters, result);
  if (!port) return nullptr;
  return without_exceptions(
      result, [&] { return ListeningPort::start(std::move(port), std::move(handler), result); });
}

bool Bus::set_state(BusState /*state*/) {
  return false;
}

}  // namespace nkr::can

#include <algorithm>
#include <nkr/can/Bus.hpp>

namespace nkr::can {

bool passes(const std::vector<Filter>& filters, const Frame& frame) {
  if (filters.empty()) return true;
  if (frame.extended || frame.error) return false;
  return std::any_of(filters.begin(), filters.end(),
                     [&](const Filter& filter) { return ((frame.id ^ filter.id) & filter.mask) == 0; });
}

const char* to_string(BusState state) {
  switch (state) {
    case BusState::error_active:
      return "error active";
    case BusState::error_warning:
      return "error warning";
    case BusState::error_passive:
      return "error passive";
    case BusState::bus_off:
      return "bus off";
    case BusState::interface_gone:
      return "interface gone";
  }
  return "unknown";
}

nkr_error_t Port::receive_stamped(Frame& frame, Clock::time_point deadline,
                                  std::chrono::system_clock::time_point& when) {
  const nkr_error_t result = receive(frame, deadline);
  if (result == NKR_OK) when = std::chrono::system_clock::now();
  return result;
}

nkr_error_t Port::send_within(const Frame& frame, Deadline& deadline) {
  return send(frame, deadline.time());
}

nkr_error_t Port::receive_within(Frame& frame, Deadline& deadline,
                                 std::chrono::system_clock::time_point* when) {
  return when == nullptr ? receive(frame, deadline.time()) : receive_stamped(frame, deadline.time(), *when);
}

}  // namespace nkr::can

#include "socketcan/error_frame.hpp"

#include <linux/can/error.h>

namespace nkr::can {
namespace {

#ifdef CAN_ERR_CNT
constexpr std::uint32_t kCountersValid = CAN_ERR_CNT;
#else
constexpr std::uint32_t kCountersValid = 0x200U;
#endif

BusState controller_state(std::uint8_t bits, BusState before) {
  if ((bits & (CAN_ERR_CRTL_RX_PASSIVE | CAN_ERR_CRTL_TX_PASSIVE)) != 0) return BusState::ERROR_PASSIVE;
  if ((bits & (CAN_ERR_CRTL_RX_WARNING | CAN_ERR_CRTL_TX_WARNING)) != 0) return BusState::ERROR_WARNING;
  if ((bits & CAN_ERR_CRTL_ACTIVE) != 0) return BusState::ERROR_ACTIVE;
  return before;
}

}  // namespace

void apply_error_frame(const Frame& frame, BusStatus& status) {
  if ((frame.id & CAN_ERR_ACK) != 0) ++status.unacknowledged;
  if ((frame.id & CAN_ERR_CRTL) != 0) status.state = controller_state(frame.data[1], status.state);
  // Before the counters had a flag of their own, drivers sent them with each change of the controller's
  // state.
  if ((frame.id & (kCountersValid | CAN_ERR_CRTL)) != 0) {
    status.tx_errors = frame.data[6];
    status.rx_errors = frame.data[7];
  }
  if ((frame.id & CAN_ERR_RESTARTED) != 0) {
    ++status.restarts;
    status.state = BusState::ERROR_ACTIVE;
  }
  if ((frame.id & CAN_ERR_BUSOFF) != 0) status.state = BusState::BUS_OFF;
}

}  // namespace nkr::can

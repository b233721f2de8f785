#include "cli/Failure.hpp"

namespace tavctl {

ExitCode exit_code_of(nkr_error_t code) {
  switch (code) {
    case NKR_OK:
      return ExitCode::OK;
    case NKR_NOT_AVAILABLE:
    case NKR_CAN_INVALID_NODE:
      return ExitCode::CONFIGURATION;
    case NKR_INTERRUPTED:
    case NKR_CAN_CANCELLED:
      return ExitCode::INTERRUPTED;
    case NKR_INVALID_STATE:
    case NKR_SDO_LOCAL_CONTROL:
    case NKR_SDO_DEVICE_STATE:
      return ExitCode::WRONG_STATE;
    case NKR_SDO_TIMED_OUT:
    case NKR_CAN_TIMED_OUT:
      return ExitCode::NO_ANSWER;
    case NKR_CAN_BUS_OFF:
    case NKR_CAN_INTERFACE_GONE:
    case NKR_CAN_NOT_CONNECTED:
    case NKR_CAN_CLOSED:
    case NKR_CAN_NO_INTERFACE:
    case NKR_CAN_PERMISSION:
    case NKR_CAN_TX_OVERFLOW:
      return ExitCode::CONNECTION;
    default:
      return ExitCode::REFUSED;
  }
}

std::string hint_for(nkr_error_t code) {
  switch (code) {
    case NKR_SDO_TIMED_OUT:
      return "is the drive powered, its node id right (--node) and the bit rate the bus's? Try: tavctl "
             "doctor";
    case NKR_SDO_READ_ONLY:
      return "the object can only be read; tavctl list NAME shows its access";
    case NKR_SDO_WRITE_ONLY:
      return "the object can only be written";
    case NKR_SDO_NO_OBJECT:
    case NKR_SDO_NO_SUBINDEX:
      return "the drive has no such object: does the description belong to this drive? Try: tavctl doctor";
    case NKR_SDO_VALUE_HIGH:
    case NKR_SDO_VALUE_LOW:
    case NKR_SDO_INVALID_VALUE:
      return "tavctl list NAME shows the limits that the description gives";
    case NKR_SDO_DEVICE_STATE:
    case NKR_SDO_LOCAL_CONTROL:
      return "the drive refuses this in its present state; tavctl state shows it";
    default:
      return {};
  }
}

}  // namespace tavctl

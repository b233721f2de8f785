#include <nkr/Error.hpp>

namespace nkr {
namespace {

class ErrorCategory : public std::error_category {
 public:
  [[nodiscard]] const char* name() const noexcept override { return "nkr"; }
  [[nodiscard]] std::string message(int code) const override { return nkr_error_text(code); }
  [[nodiscard]] std::error_condition default_error_condition(int code) const noexcept override {
    switch (code) {
      case NKR_SDO_TIMED_OUT:
      case NKR_CAN_TIMED_OUT:
        return std::errc::timed_out;
      case NKR_SDO_OUT_OF_MEMORY:
        return std::errc::not_enough_memory;
      case NKR_CAN_BUS_OFF:
      case NKR_CAN_INTERFACE_GONE:
        return std::errc::network_down;
      case NKR_CAN_NOT_CONNECTED:
        return std::errc::not_connected;
      case NKR_CAN_INVALID_NODE:
        return std::errc::invalid_argument;
      case NKR_CAN_CLOSED:
        return std::errc::operation_canceled;
      case NKR_CAN_NO_INTERFACE:
        return std::errc::no_such_device;
      case NKR_CAN_PERMISSION:
        return std::errc::permission_denied;
      case NKR_CAN_TX_OVERFLOW:
        return std::errc::no_buffer_space;
      case NKR_CAN_WOULD_DEADLOCK:
        return std::errc::resource_deadlock_would_occur;
      default:
        return {code, *this};
    }
  }
};

}  // namespace

const std::error_category& error_category() noexcept {
  static const ErrorCategory instance;
  return instance;
}

}  // namespace nkr

#include "DriveFaults.hpp"

#include <support/Operation.hpp>

namespace tavtest {
namespace {

/** How many bytes an expedited answer to a read has; 0 for what goes in segments. */
std::size_t expedited_bytes(const Access& access) {
  if (const auto* const text = std::get_if<std::string>(&access.value)) {
    return text->size() <= 4 ? text->size() : 0;
  }
  return address_bits(type_of(access.value)) / 8;
}

bool is_read(const Access& access) {
  return access.kind == AccessKind::READ;
}

bool in_segments(const Access& access) {
  return std::holds_alternative<std::string>(access.value) && expedited_bytes(access) == 0;
}

nkr_error_t fine(const Access& /*access*/) {
  return NKR_OK;
}

nkr_error_t timed_out(const Access& /*access*/) {
  return NKR_SDO_TIMED_OUT;
}

nkr_error_t hardware_error(const Access& /*access*/) {
  return NKR_SDO_HARDWARE;
}

nkr_error_t bus_off(const Access& /*access*/) {
  return NKR_CAN_BUS_OFF;
}

nkr_error_t interface_gone(const Access& /*access*/) {
  return NKR_CAN_INTERFACE_GONE;
}

/** A read that is disturbed once is made again by the client. The reply to an expedited write has no toggle
 * bit: where it would be is reserved, and not looked at. */
nkr_error_t toggle_noticed(const Access& access) {
  return !is_read(access) && in_segments(access) ? NKR_SDO_TOGGLE_BIT : NKR_OK;
}

/** A byte more than the type has is refused, one less extends the value; the size that a segmented transfer
 * announces is not relied on, and neither are the bytes of a confirmation. */
nkr_error_t size_noticed(const Access& access) {
  const std::size_t bytes = is_read(access) ? expedited_bytes(access) : 0;
  const bool number = !std::holds_alternative<std::string>(access.value);
  const bool real = std::holds_alternative<float>(access.value);
  return number && (bytes == 1 || bytes == 2 || (real && bytes == 4)) ? NKR_SDO_LENGTH : NKR_OK;
}

}  // namespace

const std::vector<Fault>& drive_faults() {
  static const std::vector<Fault> faults = {
      {"reply lost", "reply lost", timed_out},
      {"reply late", "reply late 400ms", timed_out, false, true},
      {"reply twice", "reply twice", fine},
      {"abort", "reply abort 0x06060000", hardware_error},
      {"wrong toggle", "reply wrong-toggle", toggle_noticed},
      {"wrong index", "reply wrong-index", timed_out},
      {"wrong size", "reply wrong-size", size_noticed, false, false, true},
      {"reset before the access", "reset", timed_out},
      {"reset in mid-transfer", "reset amid", timed_out},
      {"bus off", "bus off", bus_off, true},
      {"interface gone", "bus gone", interface_gone, true},
      {"emergency between", "emcy 0x8130", fine},
  };
  return faults;
}

}  // namespace tavtest

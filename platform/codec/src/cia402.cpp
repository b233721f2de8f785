#include <nkr/cia402.h>

#include <cstdint>

namespace {

constexpr bool has_bit(std::uint16_t word, unsigned bit) {
  return ((static_cast<unsigned>(word) >> bit) & 1U) != 0;
}

constexpr unsigned bit_if(bool flag, unsigned bit) {
  return flag ? 1U << bit : 0U;
}

}  // namespace

nkr_error_t nkr_cia402_decode_status_word(uint16_t statusWord, nkr_cia402_status_word_t* out) {
  if (out == nullptr) return NKR_ERROR;
  out->ready_to_switch_on = has_bit(statusWord, 0);
  out->switched_on = has_bit(statusWord, 1);
  out->operation_enabled = has_bit(statusWord, 2);
  out->fault = has_bit(statusWord, 3);
  out->voltage_enabled = has_bit(statusWord, 4);
  out->quick_stop = has_bit(statusWord, 5);
  out->switch_on_disabled = has_bit(statusWord, 6);
  out->warning = has_bit(statusWord, 7);
  out->manufacturer_8 = has_bit(statusWord, 8);
  out->remote = has_bit(statusWord, 9);
  out->target_reached = has_bit(statusWord, 10);
  out->internal_limit_active = has_bit(statusWord, 11);
  out->mode_specific_12 = has_bit(statusWord, 12);
  out->mode_specific_13 = has_bit(statusWord, 13);
  out->manufacturer_14 = has_bit(statusWord, 14);
  out->manufacturer_15 = has_bit(statusWord, 15);
  return NKR_OK;
}

nkr_error_t nkr_cia402_encode_control_word(const nkr_cia402_control_word_t* command, uint16_t* out) {
  if (command == nullptr || out == nullptr) return NKR_ERROR;
  *out = static_cast<std::uint16_t>(bit_if(command->switch_on, 0) | bit_if(command->enable_voltage, 1) |
                                    bit_if(command->quick_stop, 2) | bit_if(command->enable_operation, 3) |
                                    bit_if(command->fault_reset, 7) | bit_if(command->halt, 8));
  return NKR_OK;
}

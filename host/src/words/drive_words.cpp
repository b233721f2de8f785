#include <cstddef>
#include <nkr/canopen/Emergency.hpp>
#include <tav/host/words.hpp>

namespace tav::host {

using NMTState = nkr::tavcore::INMTService::NMTState;
using State = nkr::tavcore::IPDSService::PDSState;

std::string nmt_name(NMTState state) {
  switch (state) {
    case NMTState::UNKNOWN:
      return "not heard";
    case NMTState::STOPPED:
      return "stopped";
    case NMTState::OPERATIONAL:
      return "operational";
    case NMTState::PRE_OPERATIONAL:
      return "pre-operational";
  }
  return "unknown state " + std::to_string(static_cast<unsigned>(state));
}

std::string state_name(State state) {
  switch (state) {
    case State::NOT_READY_TO_SWITCH_ON:
      return "NOT_READY_TO_SWITCH_ON";
    case State::SWITCH_ON_DISABLED:
      return "SWITCH_ON_DISABLED";
    case State::READY_TO_SWITCH_ON:
      return "READY_TO_SWITCH_ON";
    case State::SWITCHED_ON:
      return "SWITCHED_ON";
    case State::OPERATION_ENABLED:
      return "OPERATION_ENABLED";
    case State::QUICK_STOP_ACTIVE:
      return "QUICK_STOP_ACTIVE";
    case State::FAULT_REACTION_ACTIVE:
      return "FAULT_REACTION_ACTIVE";
    case State::FAULT:
      return "FAULT";
  }
  return "unknown state " + std::to_string(static_cast<int>(state));
}

std::optional<State> state_of(std::uint16_t status_word) {
  struct Row {
    unsigned mask;
    unsigned value;
    State state;
  };
  constexpr Row kRows[] = {
      {0x4F, 0x00, State::NOT_READY_TO_SWITCH_ON}, {0x4F, 0x40, State::SWITCH_ON_DISABLED},
      {0x6F, 0x21, State::READY_TO_SWITCH_ON},     {0x6F, 0x23, State::SWITCHED_ON},
      {0x6F, 0x27, State::OPERATION_ENABLED},      {0x6F, 0x07, State::QUICK_STOP_ACTIVE},
      {0x4F, 0x0F, State::FAULT_REACTION_ACTIVE},  {0x4F, 0x08, State::FAULT}};
  for (const Row& row : kRows) {
    if ((status_word & row.mask) == row.value) return row.state;
  }
  return std::nullopt;
}

std::vector<std::string> status_bits(std::uint16_t status_word) {
  constexpr const char* kNames[16] = {"ready_to_switch_on",
                                      "switched_on",
                                      "operation_enabled",
                                      "fault",
                                      "voltage_enabled",
                                      "quick_stop_inactive",
                                      "switch_on_disabled",
                                      "warning",
                                      "bit 8",
                                      "remote",
                                      "target_reached",
                                      "internal_limit_active",
                                      "bit 12",
                                      "bit 13",
                                      "bit 14",
                                      "bit 15"};
  std::vector<std::string> names;
  for (std::size_t bit = 0; bit < 16; ++bit) {
    if ((static_cast<unsigned>(status_word) >> bit & 1U) != 0) names.emplace_back(kNames[bit]);
  }
  return names;
}

std::string status_word_text(std::uint16_t status_word) {
  const std::optional<State> state = state_of(status_word);
  return state ? state_name(*state) : "no state of CiA 402";
}

std::string control_word_text(std::uint16_t word) {
  const auto has = [word](unsigned bits) { return (word & bits) == bits; };
  std::string command = "disable voltage";
  if (has(0x80)) {
    command = "fault reset";
  } else if (has(0x0F)) {
    command = "enable operation";
  } else if (has(0x07)) {
    command = "switch on";
  } else if (has(0x06)) {
    command = "shutdown";
  } else if (has(0x02)) {
    command = "quick stop";
  }
  if (has(0x70)) command += ", follow the ramp";
  if (has(0x100)) command += ", halt";
  return command;
}

std::string error_register_text(std::uint8_t error_register) {
  return error_register == 0 ? "no error" : joined(nkr::canopen::error_register_names(error_register));
}

std::string last_error_text(std::uint16_t code) {
  constexpr int kDigits = 4;
  return code == 0 ? "none" : hex(code, kDigits) + ' ' + nkr::canopen::emergency_text(code);
}

std::string joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : ", ") + word;
  return text;
}

}  // namespace tav::host

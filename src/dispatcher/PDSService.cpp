#include <nkr/cia402.h>

#include <tavcore/CANOpenDispatcher.hpp>

#include "../logging/LogRecord.hpp"
#include "Steps.hpp"
#include "bits.hpp"

namespace nkr::tavcore {
namespace {

using PDSState = IPDSService::PDSState;

constexpr std::uint32_t kTavVendorId = 2599;

// Polarity object 0x607E.
constexpr std::uint8_t kVelocityPolarity = 0x40;
constexpr std::uint8_t kPositionPolarity = 0x80;

constexpr std::uint32_t kVelocityModeSupported = 0x2;  // object 0x6502, bit 1

/** The flags that tell the states apart, as one number: the columns of the table below. */
std::uint32_t state_flags(const nkr_cia402_status_word_t& word) {
  std::uint32_t flags = 0;
  for (const bool flag : {word.ready_to_switch_on, word.switched_on, word.operation_enabled, word.fault,
                          word.quick_stop, word.switch_on_disabled}) {
    flags = flags << 1 | (flag ? 1U : 0U);
  }
  return flags;
}

struct StatePattern {
  PDSState state;
  std::uint32_t looked_at;
  std::uint32_t wanted;
};

// One digit a flag: ready to switch on, switched on, operation enabled, fault, quick stop, switch on
// disabled.
constexpr StatePattern kStatePatterns[] = {
    {PDSState::NOT_READY_TO_SWITCH_ON, 0b111101, 0b000000},
    {PDSState::SWITCH_ON_DISABLED, 0b111101, 0b000001},
    {PDSState::READY_TO_SWITCH_ON, 0b111111, 0b100010},
    {PDSState::SWITCHED_ON, 0b111111, 0b110010},
    {PDSState::OPERATION_ENABLED, 0b111111, 0b111010},
    {PDSState::QUICK_STOP_ACTIVE, 0b111111, 0b111000},
    {PDSState::FAULT_REACTION_ACTIVE, 0b111101, 0b111100},
    {PDSState::FAULT, 0b111101, 0b000100},
};

/** The state that a status word shows, or null when it shows none. */
const PDSState* classify(const nkr_cia402_status_word_t& word) {
  const std::uint32_t flags = state_flags(word);
  for (const StatePattern& pattern : kStatePatterns) {
    if ((flags & pattern.looked_at) == pattern.wanted) return &pattern.state;
  }
  return nullptr;
}

// Commands: switch on, enable voltage, quick stop (demanded while clear), enable operation, fault reset,
// halt.
constexpr nkr_cia402_control_word_t kDisableVoltage{false, false, false, false, false, false};
constexpr nkr_cia402_control_word_t kShutdown{false, true, true, false, false, false};
constexpr nkr_cia402_control_word_t kQuickStop{false, true, false, false, false, false};
constexpr nkr_cia402_control_word_t kSwitchOn{true, true, true, false, false, false};
constexpr nkr_cia402_control_word_t kEnableOperation{true, true, true, true, false, false};
constexpr nkr_cia402_control_word_t kDisableOperation = kSwitchOn;  // CiA 402: the same word

template <class OptionCode>
void read_option_code(Steps& steps, const Object<std::int16_t>& object, OptionCode& code) {
  std::int16_t value = 0;
  steps.read(object, value);
  if (steps.completed()) code = static_cast<OptionCode>(value);
}

template <class OptionCode>
void write_option_code(Steps& steps, const Object<std::int16_t>& object, OptionCode code) {
  const auto value = static_cast<std::int16_t>(code);
  steps.write(object, value);
}

constexpr Object<std::int16_t> kAbortConnectionOptionCode{"abort_connection_option_code"};
constexpr Object<std::int16_t> kQuickStopOptionCode{"quick_stop_option_code"};
constexpr Object<std::int16_t> kShutdownOptionCode{"shutdown_option_code"};
constexpr Object<std::int16_t> kDisableOperationOptionCode{"disable_operation_option_code"};
constexpr Object<std::int16_t> kHaltOptionCode{"halt_option_code"};
constexpr Object<std::int16_t> kFaultReactionOptionCode{"fault_reaction_option_code"};
constexpr Object<std::uint8_t> kPolarity{"polarity"};

template <class Field, class Units>
void unit_fields(Field field, Units& units) {
  field(kTimeUnit, units.time_unit);
  field(kPositionUnit, units.position_unit);
  field(kVelocityUnit, units.velocity_unit);
  field(kAccelerationUnit, units.acceleration_unit);
}

}  // namespace

nkr_error_t CANOpenDispatcher::getCIA402StatusWord(std::uint16_t& word) const {
  Steps steps = Steps::guarded(*this);
  steps.read(kStatusword, word);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::sendCIA402ControlWord(const nkr_cia402_control_word_t* command) const {
  Steps steps = Steps::guarded(*this);
  std::uint32_t vendor_id = 0;
  steps.read(kVendorId, vendor_id);
  if (!steps.completed()) return steps.result();
  if (vendor_id != kTavVendorId) return NKR_NOT_AVAILABLE;

  std::uint16_t word = 0;
  const nkr_error_t encoded = nkr_cia402_encode_control_word(command, &word);
  if (encoded != NKR_OK) {
    log_record({context(), NKR_LOG_FAILURE, Here::now(), kDispatcherClass},
               "nkr_cia402_encode_control_word failed !");
    return encoded;
  }
  steps.write(kControlword, word);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getPDSState(PDSState& state) const {
  Steps steps = Steps::guarded(*this);
  std::uint16_t word = 0;
  steps.once([&] { return getCIA402StatusWord(word); });
  if (!steps.completed()) return steps.result();

  nkr_cia402_status_word_t flags{};
  const nkr_error_t decoded = nkr_cia402_decode_status_word(word, &flags);
  if (decoded != NKR_OK) {
    log_record({context(), NKR_LOG_FAILURE, Here::now(), kDispatcherClass},
               "nkr_cia402_decode_status_word failed !");
    return decoded;
  }
  const PDSState* const found = classify(flags);
  if (found != nullptr) {
    state = *found;
  } else {
    log_record_with({context(), NKR_LOG_FAILURE, Here::now(), kDispatcherClass},
                    [&] { return " Invalid cia402 statusword " + log_text_of(word); });
  }
  log_record_with({context(), NKR_LOG_TRACE, Here::now(), kDispatcherClass},
                  [&] { return " got " + log_text_of(static_cast<std::int32_t>(state)); });
  return found != nullptr ? NKR_OK : NKR_INVALID_STATE;
}

nkr_error_t CANOpenDispatcher::disableVoltage() const {
  const Steps steps = Steps::guarded(*this);
  return steps.completed() ? sendCIA402ControlWord(&kDisableVoltage) : steps.result();
}

nkr_error_t CANOpenDispatcher::shutdown() const {
  const Steps steps = Steps::guarded(*this);
  return steps.completed() ? sendCIA402ControlWord(&kShutdown) : steps.result();
}

nkr_error_t CANOpenDispatcher::quickStop() const {
  const Steps steps = Steps::guarded(*this);
  return steps.completed() ? sendCIA402ControlWord(&kQuickStop) : steps.result();
}

nkr_error_t CANOpenDispatcher::switchOn() const {
  const Steps steps = Steps::guarded(*this);
  return steps.completed() ? sendCIA402ControlWord(&kSwitchOn) : steps.result();
}

nkr_error_t CANOpenDispatcher::enableOperation() const {
  const Steps steps = Steps::guarded(*this);
  return steps.completed() ? sendCIA402ControlWord(&kEnableOperation) : steps.result();
}

nkr_error_t CANOpenDispatcher::disableOperation() const {
  const Steps steps = Steps::guarded(*this);
  return steps.completed() ? sendCIA402ControlWord(&kDisableOperation) : steps.result();
}

nkr_error_t CANOpenDispatcher::faultReset(const bool& reset) const {
  const Steps steps = Steps::guarded(*this);
  nkr_cia402_control_word_t command = kDisableVoltage;
  command.fault_reset = reset;
  return steps.completed() ? sendCIA402ControlWord(&command) : steps.result();
}

nkr_error_t CANOpenDispatcher::getAbortConnectionOptionCode(AbortConnectionOptionCode& code) const {
  Steps steps = Steps::guarded(*this);
  read_option_code(steps, kAbortConnectionOptionCode, code);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::setAbortConnectionOptionCode(const AbortConnectionOptionCode& code) const {
  Steps steps = Steps::guarded(*this);
  write_option_code(steps, kAbortConnectionOptionCode, code);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getQuickStopOptionCode(QuickStopOptionCode& code) const {
  Steps steps = Steps::guarded(*this);
  read_option_code(steps, kQuickStopOptionCode, code);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::setQuickStopOptionCode(const QuickStopOptionCode& code) const {
  Steps steps = Steps::guarded(*this);
  write_option_code(steps, kQuickStopOptionCode, code);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getShutdownOptionCode(ShutdownOptionCode& code) const {
  Steps steps = Steps::guarded(*this);
  read_option_code(steps, kShutdownOptionCode, code);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::setShutdownOptionCode(const ShutdownOptionCode& code) const {
  Steps steps = Steps::guarded(*this);
  write_option_code(steps, kShutdownOptionCode, code);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getDisableOperationOptionCode(DisableOperationOptionCode& code) const {
  Steps steps = Steps::guarded(*this);
  read_option_code(steps, kDisableOperationOptionCode, code);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::setDisableOperationOptionCode(const DisableOperationOptionCode& code) const {
  Steps steps = Steps::guarded(*this);
  write_option_code(steps, kDisableOperationOptionCode, code);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getHaltOptionCode(HaltOptionCode& code) const {
  Steps steps = Steps::guarded(*this);
  read_option_code(steps, kHaltOptionCode, code);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::setHaltOptionCode(const HaltOptionCode& code) const {
  Steps steps = Steps::guarded(*this);
  write_option_code(steps, kHaltOptionCode, code);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getFaultReactionOptionCode(FaultReactionOptionCode& code) const {
  Steps steps = Steps::guarded(*this);
  read_option_code(steps, kFaultReactionOptionCode, code);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::setFaultReactionOptionCode(const FaultReactionOptionCode& code) const {
  Steps steps = Steps::guarded(*this);
  write_option_code(steps, kFaultReactionOptionCode, code);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getPeripheralStatus(PeripheralStatus& status) const {
  Steps steps = Steps::guarded(*this);
  steps.read("status_peripheral status_peripheral_brake_applied", status.brake_applied);
  steps.read("status_peripheral status_peripheral_low_power_applied", status.low_power_applied);
  steps.read("status_peripheral status_peripheral_high_power_applied", status.high_power_applied);
  steps.read("status_peripheral status_peripheral_driver_enabled", status.driver_enabled);
  steps.read("status_peripheral status_peripheral_configuration_allowed", status.configuration_allowed);
  steps.read("status_peripheral status_peripheral_communication_enabled", status.communication_enabled);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getOperationModes(OperationMode& mode, OperationMode& mode_display) const {
  Steps steps = Steps::guarded(*this);
  signed char code = 0;
  steps.read("modes_of_operation", code);
  if (steps.completed()) mode = static_cast<OperationMode>(code);
  steps.read("modes_of_operation_display", code);
  if (steps.completed()) mode_display = static_cast<OperationMode>(code);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::isDriveModeSupported(const OperationMode& mode, bool& supported) const {
  Steps steps = Steps::guarded(*this);
  std::uint32_t modes = 0;
  steps.read("supported_drive_modes", modes);
  // The library drives the velocity mode alone: any other is not supported, whatever the drive can do.
  if (steps.completed()) {
    supported = mode == OperationMode::VELOCITY && has_bit(modes, kVelocityModeSupported);
  }
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getUnitParameters(UnitParameters& units) const {
  Steps steps = Steps::guarded(*this);
  unit_fields(steps.reads(), units);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::setUnitParameters(const UnitParameters& units) {
  Steps steps = Steps::guarded(*this);
  unit_fields(steps.writes(), units);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getPolarityParameters(PolarityParameters& polarity) const {
  Steps steps = Steps::guarded(*this);
  std::uint8_t value = 0;
  steps.read(kPolarity, value);
  if (steps.completed()) {
    polarity.velocity_polarity = has_bit(value, kVelocityPolarity);
    polarity.position_polarity = has_bit(value, kPositionPolarity);
  }
  return steps.result();
}

nkr_error_t CANOpenDispatcher::setPolarityParameters(const PolarityParameters& polarity) {
  Steps steps = Steps::guarded(*this);
  std::uint8_t value = 0;
  value = with_bit(value, kVelocityPolarity, polarity.velocity_polarity);
  value = with_bit(value, kPositionPolarity, polarity.position_polarity);
  steps.write(kPolarity, value);
  return steps.result();
}

}  // namespace nkr::tavcore

#include <nkr/cia402.h>

#include <tavcore/CANOpenDispatcher.hpp>

#include "../logging/LogRecord.hpp"
#include "../objects/DriveObjects.hpp"
#include "../objects/Steps.hpp"
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
  steps.read(object, [&](std::int16_t value) { code = static_cast<OptionCode>(value); });
}

template <class OptionCode>
void write_option_code(Steps& steps, const Object<std::int16_t>& object, OptionCode code) {
  steps.write(object, static_cast<std::int16_t>(code));
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
  Steps steps = Steps::guarded(*dictionary_);
  steps.read(kStatusword, word);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::sendCIA402ControlWord(const nkr_cia402_control_word_t* command) const {
  Steps steps = Steps::guarded(*dictionary_);
  std::uint32_t vendor_id = 0;
  if (!steps.read(kVendorId, vendor_id)) return steps.result();
  if (vendor_id != kTavVendorId) return NKR_NOT_AVAILABLE;

  std::uint16_t word = 0;
  const nkr_error_t encoded = nkr_cia402_encode_control_word(command, &word);
  if (encoded != NKR_OK) {
    log_record({dictionary_->context(), NKR_LOG_FAILURE, Here::now(), kDispatcherClass},
               "nkr_cia402_encode_control_word failed !");
    return encoded;
  }
  steps.write(kControlword, word);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getPDSState(PDSState& state) const {
  Steps steps = Steps::guarded(*dictionary_);
  std::uint16_t word = 0;
  if (!steps.once([&] { return getCIA402StatusWord(word); })) return steps.result();

  nkr_cia402_status_word_t flags{};
  const nkr_error_t decoded = nkr_cia402_decode_status_word(word, &flags);
  if (decoded != NKR_OK) {
    log_record({dictionary_->context(), NKR_LOG_FAILURE, Here::now(), kDispatcherClass},
               "nkr_cia402_decode_status_word failed !");
    return decoded;
  }
  const PDSState* const found = classify(flags);
  if (found != nullptr) {
    state = *found;
  } else {
    log_record_with({dictionary_->context(), NKR_LOG_FAILURE, Here::now(), kDispatcherClass},
                    [&] { return " Invalid cia402 statusword " + log_text_of(word); });
  }
  log_record_with({dictionary_->context(), NKR_LOG_TRACE, Here::now(), kDispatcherClass},
                  [&] { return " got " + log_text_of(static_cast<std::int32_t>(state)); });
  return found != nullptr ? NKR_OK : NKR_INVALID_STATE;
}

nkr_error_t CANOpenDispatcher::disableVoltage() const {
  Steps steps = Steps::guarded(*dictionary_);
  steps.once([&] { return sendCIA402ControlWord(&kDisableVoltage); });
  return steps.result();
}

nkr_error_t CANOpenDispatcher::shutdown() const {
  Steps steps = Steps::guarded(*dictionary_);
  steps.once([&] { return sendCIA402ControlWord(&kShutdown); });
  return steps.result();
}

nkr_error_t CANOpenDispatcher::quickStop() const {
  Steps steps = Steps::guarded(*dictionary_);
  steps.once([&] { return sendCIA402ControlWord(&kQuickStop); });
  return steps.result();
}

nkr_error_t CANOpenDispatcher::switchOn() const {
  Steps steps = Steps::guarded(*dictionary_);
  steps.once([&] { return sendCIA402ControlWord(&kSwitchOn); });
  return steps.result();
}

nkr_error_t CANOpenDispatcher::enableOperation() const {
  Steps steps = Steps::guarded(*dictionary_);
  steps.once([&] { return sendCIA402ControlWord(&kEnableOperation); });
  return steps.result();
}

nkr_error_t CANOpenDispatcher::disableOperation() const {
  Steps steps = Steps::guarded(*dictionary_);
  steps.once([&] { return sendCIA402ControlWord(&kDisableOperation); });
  return steps.result();
}

nkr_error_t CANOpenDispatcher::faultReset(const bool& reset) const {
  Steps steps = Steps::guarded(*dictionary_);
  nkr_cia402_control_word_t command = kDisableVoltage;
  command.fault_reset = reset;
  steps.once([&] { return sendCIA402ControlWord(&command); });
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getAbortConnectionOptionCode(AbortConnectionOptionCode& code) const {
  Steps steps = Steps::guarded(*dictionary_);
  read_option_code(steps, kAbortConnectionOptionCode, code);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::setAbortConnectionOptionCode(const AbortConnectionOptionCode& code) const {
  Steps steps = Steps::guarded(*dictionary_);
  write_option_code(steps, kAbortConnectionOptionCode, code);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getQuickStopOptionCode(QuickStopOptionCode& code) const {
  Steps steps = Steps::guarded(*dictionary_);
  read_option_code(steps, kQuickStopOptionCode, code);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::setQuickStopOptionCode(const QuickStopOptionCode& code) const {
  Steps steps = Steps::guarded(*dictionary_);
  write_option_code(steps, kQuickStopOptionCode, code);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getShutdownOptionCode(ShutdownOptionCode& code) const {
  Steps steps = Steps::guarded(*dictionary_);
  read_option_code(steps, kShutdownOptionCode, code);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::setShutdownOptionCode(const ShutdownOptionCode& code) const {
  Steps steps = Steps::guarded(*dictionary_);
  write_option_code(steps, kShutdownOptionCode, code);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getDisableOperationOptionCode(DisableOperationOptionCode& code) const {
  Steps steps = Steps::guarded(*dictionary_);
  read_option_code(steps, kDisableOperationOptionCode, code);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::setDisableOperationOptionCode(const DisableOperationOptionCode& code) const {
  Steps steps = Steps::guarded(*dictionary_);
  write_option_code(steps, kDisableOperationOptionCode, code);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getHaltOptionCode(HaltOptionCode& code) const {
  Steps steps = Steps::guarded(*dictionary_);
  read_option_code(steps, kHaltOptionCode, code);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::setHaltOptionCode(const HaltOptionCode& code) const {
  Steps steps = Steps::guarded(*dictionary_);
  write_option_code(steps, kHaltOptionCode, code);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getFaultReactionOptionCode(FaultReactionOptionCode& code) const {
  Steps steps = Steps::guarded(*dictionary_);
  read_option_code(steps, kFaultReactionOptionCode, code);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::setFaultReactionOptionCode(const FaultReactionOptionCode& code) const {
  Steps steps = Steps::guarded(*dictionary_);
  write_option_code(steps, kFaultReactionOptionCode, code);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getPeripheralStatus(PeripheralStatus& status) const {
  Steps steps = Steps::guarded(*dictionary_);
  steps.read(Object<bool>{"status_peripheral status_peripheral_brake_applied"}, status.brake_applied);
  steps.read(Object<bool>{"status_peripheral status_peripheral_low_power_applied"}, status.low_power_applied);
  steps.read(Object<bool>{"status_peripheral status_peripheral_high_power_applied"},
             status.high_power_applied);
  steps.read(Object<bool>{"status_peripheral status_peripheral_driver_enabled"}, status.driver_enabled);
  steps.read(Object<bool>{"status_peripheral status_peripheral_configuration_allowed"},
             status.configuration_allowed);
  steps.read(Object<bool>{"status_peripheral status_peripheral_communication_enabled"},
             status.communication_enabled);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getOperationModes(OperationMode& mode, OperationMode& mode_display) const {
  Steps steps = Steps::guarded(*dictionary_);
  std::int8_t code = 0;
  if (steps.read(Object<std::int8_t>{"modes_of_operation"}, code)) mode = OperationMode{code};
  if (steps.read(Object<std::int8_t>{"modes_of_operation_display"}, code)) mode_display = OperationMode{code};
  return steps.result();
}

nkr_error_t CANOpenDispatcher::isDriveModeSupported(const OperationMode& mode, bool& supported) const {
  Steps steps = Steps::guarded(*dictionary_);
  steps.read(Object<std::uint32_t>{"supported_drive_modes"}, [&](std::uint32_t modes) {
    // The library drives the velocity mode alone: any other is not supported, whatever the drive can do.
    supported = mode == OperationMode::VELOCITY && has_bit(modes, kVelocityModeSupported);
  });
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getUnitParameters(UnitParameters& units) const {
  Steps steps = Steps::guarded(*dictionary_);
  unit_fields(steps.reads(), units);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::setUnitParameters(const UnitParameters& units) {
  Steps steps = Steps::guarded(*dictionary_);
  unit_fields(steps.writes(), units);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getPolarityParameters(PolarityParameters& polarity) const {
  Steps steps = Steps::guarded(*dictionary_);
  steps.read(kPolarity, [&](std::uint8_t value) {
    polarity.velocity_polarity = has_bit(value, kVelocityPolarity);
    polarity.position_polarity = has_bit(value, kPositionPolarity);
  });
  return steps.result();
}

nkr_error_t CANOpenDispatcher::setPolarityParameters(const PolarityParameters& polarity) {
  Steps steps = Steps::guarded(*dictionary_);
  std::uint8_t value = 0;
  value = with_bit(value, kVelocityPolarity, polarity.velocity_polarity);
  value = with_bit(value, kPositionPolarity, polarity.position_polarity);
  steps.write(kPolarity, value);
  return steps.result();
}

}  // namespace nkr::tavcore

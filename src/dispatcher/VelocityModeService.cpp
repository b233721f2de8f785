#include <tavcore/CANOpenDispatcher.hpp>

#include "../objects/DriveObjects.hpp"
#include "../objects/Steps.hpp"
#include "bits.hpp"

namespace nkr::tavcore {
namespace {

constexpr std::uint16_t kInternalLimitActive = 0x0800;  // status word
constexpr std::uint16_t kEnableRamp = 0x0010;           // control word, as the next three
constexpr std::uint16_t kUnlockRamp = 0x0020;
constexpr std::uint16_t kReferenceRamp = 0x0040;
constexpr std::uint16_t kHalt = 0x0100;

/** The fields that are both read and written, in order. */
template <class Field, class Parameters>
void velocity_mode_fields(Field field, Parameters& parameters) {
  field(Object<std::uint32_t>{"vl_velocity_min_max_amount vl_velocity_min_max_amount_vl_velocity_min_amount"},
        parameters.min_amount);
  field(Object<std::uint32_t>{"vl_velocity_min_max_amount vl_velocity_min_max_amount_vl_velocity_max_amount"},
        parameters.max_amount);
  field(Object<std::uint32_t>{"vl_velocity_acceleration vl_velocity_acceleration_delta_speed"},
        parameters.acceleration_delta_speed);
  field(Object<std::uint16_t>{"vl_velocity_acceleration vl_velocity_acceleration_delta_time"},
        parameters.acceleration_delta_time);
  field(Object<std::uint32_t>{"vl_velocity_deceleration vl_velocity_deceleration_delta_speed"},
        parameters.deceleration_delta_speed);
  field(Object<std::uint16_t>{"vl_velocity_deceleration vl_velocity_deceleration_delta_time"},
        parameters.deceleration_delta_time);
  field(Object<std::uint32_t>{"vl_velocity_quick_stop vl_velocity_quick_stop_delta_speed"},
        parameters.quick_stop_delta_speed);
  field(Object<std::uint16_t>{"vl_velocity_quick_stop vl_velocity_quick_stop_delta_time"},
        parameters.quick_stop_delta_time);
  field(Object<std::int16_t>{"vl_set_point_factor vl_set_point_factor_numerator"},
        parameters.set_point_factor_numerator);
  field(Object<std::int16_t>{"vl_set_point_factor vl_set_point_factor_denominator"},
        parameters.set_point_factor_denominator);
}

void change_controlword(Steps& steps, std::uint16_t mask, bool on) {
  steps.read(kControlword,
             [&](std::uint16_t controlword) { steps.write(kControlword, with_bit(controlword, mask, on)); });
}

}  // namespace

nkr_error_t CANOpenDispatcher::setTargetVelocity(const short& velocity) {
  Steps steps = Steps::guarded(*dictionary_);
  steps.write(kTargetVelocity, velocity);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getTargetVelocity(short& velocity) const {
  Steps steps = Steps::guarded(*dictionary_);
  steps.read(kTargetVelocity, velocity);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getVelocityActualValue(int& velocity) const {
  Steps steps = Steps::guarded(*dictionary_);
  steps.read(kVelocityActualValue, velocity);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getVelocityDemand(short& velocity) const {
  Steps steps = Steps::guarded(*dictionary_);
  steps.read(Object<std::int16_t>{"vl_velocity_demand"}, velocity);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getPositionValue(int& position) const {
  Steps steps = Steps::guarded(*dictionary_);
  steps.read(kPositionValue, position);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getVelocityModeParameters(VelocityModeParameters& parameters) const {
  Steps steps = Steps::guarded(*dictionary_);
  velocity_mode_fields(steps.reads(), parameters);
  steps.read(Object<std::int32_t>{"vl_dimension_factor vl_dimension_factor_numerator"},
             parameters.dimension_factor_numerator);
  steps.read(Object<std::int32_t>{"vl_dimension_factor vl_dimension_factor_denominator"},
             parameters.dimension_factor_denominator);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::setVelocityModeParameters(const VelocityModeParameters& parameters) {
  Steps steps = Steps::guarded(*dictionary_);
  velocity_mode_fields(steps.writes(), parameters);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getVelocityModeStatusword(VelocityModeStatusword& statusword) const {
  Steps steps = Steps::guarded(*dictionary_);
  steps.read(kStatusword, [&](std::uint16_t word) {
    statusword.internal_limit_active = has_bit(word, kInternalLimitActive);
  });
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getVelocityModeControlword(VelocityModeControlword& controlword) const {
  Steps steps = Steps::guarded(*dictionary_);
  steps.read(kControlword, [&](std::uint16_t word) {
    controlword.enable_ramp = has_bit(word, kEnableRamp);
    controlword.unlock_ramp = has_bit(word, kUnlockRamp);
    controlword.reference_ramp = has_bit(word, kReferenceRamp);
    controlword.halt = has_bit(word, kHalt);
  });
  return steps.result();
}

nkr_error_t CANOpenDispatcher::setEnableRamp(const bool& on) {
  Steps steps = Steps::guarded(*dictionary_);
  change_controlword(steps, kEnableRamp, on);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::setUnlockRamp(const bool& on) {
  Steps steps = Steps::guarded(*dictionary_);
  change_controlword(steps, kUnlockRamp, on);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::setReferenceRamp(const bool& on) {
  Steps steps = Steps::guarded(*dictionary_);
  change_controlword(steps, kReferenceRamp, on);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::setHalt(const bool& on) {
  Steps steps = Steps::guarded(*dictionary_);
  change_controlword(steps, kHalt, on);
  return steps.result();
}

}  // namespace nkr::tavcore

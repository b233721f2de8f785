#include "Member.hpp"

#include <cstdlib>
#include <tav/host/words.hpp>

namespace tav::host {

namespace {

constexpr std::uint8_t kStatusBytes = 8;  // 6041h:16, 6044h:16, 6064h:32
constexpr std::uint32_t kFirstRpdo = 0x200;

constexpr std::uint16_t kDisableVoltage = 0x0000;
constexpr std::uint16_t kShutdown = 0x0006;
constexpr std::uint16_t kSwitchOn = 0x0007;  // from OPERATION_ENABLED it is "disable operation"
constexpr std::uint16_t kFaultReset = 0x0080;

std::uint16_t word_at(const nkr::can::Frame& frame, std::size_t byte) {
  return static_cast<std::uint16_t>(frame.data.at(byte) | frame.data.at(byte + 1) << 8);
}

}  // namespace

std::optional<Member::State> Member::state() const {
  return feedback.last ? state_of(feedback.last->status_word) : std::nullopt;
}

bool Member::has_torque() const {
  return is(State::OPERATION_ENABLED) || is(State::QUICK_STOP_ACTIVE) || is(State::FAULT_REACTION_ACTIVE);
}

bool Member::stands(int standstill) const {
  return feedback.last && std::abs(int{feedback.last->velocity}) <= standstill;
}

bool Member::decode(const nkr::can::Frame& frame, std::uint64_t cycle, Time at) {
  if (frame.size != kStatusBytes) return false;
  Measurement& last = feedback.last ? *feedback.last : feedback.last.emplace();
  last.status_word = word_at(frame, 0);
  last.velocity = static_cast<std::int16_t>(word_at(frame, 2));
  last.position =
      static_cast<std::int32_t>(word_at(frame, 4) | static_cast<std::uint32_t>(word_at(frame, 6)) << 16);
  last.cycle = cycle;
  last.at = at;
  return true;
}

std::uint16_t Member::enabling_word(bool all_are_ready, bool reset_fault) const {
  if (!feedback.is_fresh) return disabling_word();
  switch (state().value_or(State::NOT_READY_TO_SWITCH_ON)) {
    case State::SWITCH_ON_DISABLED:
      return kShutdown;
    case State::READY_TO_SWITCH_ON:
      return kSwitchOn;
    case State::SWITCHED_ON:
      return all_are_ready ? kFollowRamp : kSwitchOn;
    case State::OPERATION_ENABLED:
      return kFollowRamp;
    case State::FAULT:  // the reset is an edge
      return reset_fault && feedback.control_word != kFaultReset ? kFaultReset : kDisableVoltage;
    default:
      return kShutdown;
  }
}

/** From OPERATION_ENABLED the drive itself slows down first (0x605C). A quick stop or a fault reaction is let
 * finish: without voltage the motor would coast. */
std::uint16_t Member::disabling_word() const {
  switch (state().value_or(State::NOT_READY_TO_SWITCH_ON)) {
    case State::OPERATION_ENABLED:
      return kSwitchOn;
    case State::SWITCHED_ON:
    case State::QUICK_STOP_ACTIVE:
    case State::FAULT_REACTION_ACTIVE:
      return kShutdown;
    default:
      return kDisableVoltage;
  }
}

nkr::can::Frame Member::order() const {
  const auto velocity = static_cast<std::uint16_t>(feedback.order);
  const std::uint16_t word = feedback.control_word;
  return {kFirstRpdo + settings.node,
          {static_cast<std::uint8_t>(word), static_cast<std::uint8_t>(word >> 8),
           static_cast<std::uint8_t>(velocity), static_cast<std::uint8_t>(velocity >> 8)}};
}

}  // namespace tav::host

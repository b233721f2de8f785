#include "power/PowerStateMachine.hpp"

#include <string>
#include <utility>

namespace tav::drive {
namespace {

// Control word (CiA 402-2, 8.4.1).
constexpr std::uint16_t kSwitchOn = 1U << 0;
constexpr std::uint16_t kEnableVoltage = 1U << 1;
constexpr std::uint16_t kNoQuickStop = 1U << 2;
constexpr std::uint16_t kEnableOperation = 1U << 3;
constexpr std::uint16_t kFaultReset = 1U << 7;
constexpr std::uint16_t kHalt = 1U << 8;

// Status word (CiA 402-2, 8.4.2), besides the state.
constexpr unsigned kVoltageEnabled = 1U << 4;
constexpr unsigned kWarning = 1U << 7;
constexpr unsigned kRemote = 1U << 9;
constexpr unsigned kTargetReached = 1U << 10;
constexpr unsigned kInternalLimit = 1U << 11;

/** The bits of the status word that tell the state. */
unsigned state_bits(PowerState state) {
  switch (state) {
    case PowerState::NOT_READY_TO_SWITCH_ON:
      return 0x00;
    case PowerState::SWITCH_ON_DISABLED:
      return 0x40;
    case PowerState::READY_TO_SWITCH_ON:
      return 0x21;
    case PowerState::SWITCHED_ON:
      return 0x23;
    case PowerState::OPERATION_ENABLED:
      return 0x27;
    case PowerState::QUICK_STOP_ACTIVE:
      return 0x07;
    case PowerState::FAULT_REACTION_ACTIVE:
      return 0x0F;
    case PowerState::FAULT:
      return 0x08;
  }
  return 0;
}

std::string hexadecimal(std::uint16_t number) {
  std::string text = "0x";
  for (int shift = 12; shift >= 0; shift -= 4) text += "0123456789ABCDEF"[(number >> shift) & 15];
  return text;
}

// Values that several option codes share (CiA 402-2, 8.4.5 to 8.4.10).
constexpr std::int16_t kDisable = 0;
constexpr std::int16_t kSlowDown = 1;
constexpr std::int16_t kQuickStop = 2;
constexpr std::int16_t kVoltageLimit = 4;

// Quick stop option code: from here on the drive stays in QUICK_STOP_ACTIVE.
constexpr std::int16_t kSlowDownAndStay = 5;
constexpr std::int16_t kQuickStopAndStay = 6;
constexpr std::int16_t kVoltageLimitAndStay = 8;

// Abort connection option code.
constexpr std::int16_t kFaultSignal = 1;
constexpr std::int16_t kDisableVoltageCommand = 2;
constexpr std::int16_t kQuickStopCommand = 3;

/** Emergency error code of a host that stopped or reset the node while the motor had torque. */
constexpr std::uint16_t kCommunicationGone = 0x8100;

}  // namespace

PowerStateMachine::Peripherals::Peripherals(ObjectDictionary& dictionary)
    : brake_applied(dictionary.find("status_peripheral status_peripheral_brake_applied")),
      low_power_applied(dictionary.find("status_peripheral status_peripheral_low_power_applied")),
      high_power_applied(dictionary.find("status_peripheral status_peripheral_high_power_applied")),
      driver_enabled(dictionary.find("status_peripheral status_peripheral_driver_enabled")),
      configuration_allowed(dictionary.find("status_peripheral status_peripheral_configuration_allowed")),
      communication_enabled(dictionary.find("status_peripheral status_peripheral_communication_enabled")) {}

PowerStateMachine::PowerStateMachine(Context& context, VelocityMode& motion, Errors& errors)
    : context_(context),
      motion_(motion),
      errors_(errors),
      controlword_(context.dictionary, 0x6040, 0),
      statusword_(context.dictionary, 0x6041, 0),
      unit_statusword_(context.dictionary.find("nkr_tav_status_word")),
      mode_display_(context.dictionary, 0x6061, 0),
      abort_connection_option_(context.dictionary, 0x6007, 0, kFaultSignal),
      quick_stop_option_(context.dictionary, 0x605A, 0, kQuickStop),
      shutdown_option_(context.dictionary, 0x605B, 0, kDisable),
      disable_operation_option_(context.dictionary, 0x605C, 0, kSlowDown),
      halt_option_(context.dictionary, 0x605D, 0, kSlowDown),
      fault_reaction_option_(context.dictionary, 0x605E, 0, kQuickStop),
      peripherals_(context.dictionary) {
  motion_.when_settled([this] { motion_settled(); });
  guard_option_codes();
  watch_objects();
}

/** An option code that no standard defines is none (CiA 402-2, 8.4.5 to 8.4.10). */
void PowerStateMachine::guard_option_codes() {
  const auto allow = [](const Variable<std::int16_t>& option, std::int16_t first, std::int16_t last) {
    if (option.object() == nullptr) return;
    option.object()->refuse_when([first, last](const Bytes& bytes) {
      const std::int64_t code = signed_of(bytes);
      return code >= first && code <= last ? Abort::NONE : Abort::INVALID_VALUE;
    });
  };
  allow(abort_connection_option_, kDisable, kQuickStopCommand);
  allow(quick_stop_option_, kDisable, kVoltageLimitAndStay);
  allow(shutdown_option_, kDisable, kSlowDown);
  allow(disable_operation_option_, kDisable, kSlowDown);
  allow(halt_option_, kSlowDown, kVoltageLimit);
  allow(fault_reaction_option_, kDisable, kVoltageLimit);
}

void PowerStateMachine::watch_objects() {
  if (Object* object = controlword_.object()) object->when_written([this] { controlword_written(); });
  for (Object* object : {halt_option_.object(), quick_stop_option_.object()}) {
    if (object != nullptr) object->when_written([this] { move(); });
  }
  for (Object* object : {statusword_.object(), unit_statusword_.object()}) {
    if (object == nullptr) continue;
    object->refresh = [this] {
      show_statusword();
      return Abort::NONE;
    };
  }
  for (Object* object :
       {mode_display_.object(), peripherals_.brake_applied.object(), peripherals_.low_power_applied.object(),
        peripherals_.high_power_applied.object(), peripherals_.driver_enabled.object(),
        peripherals_.configuration_allowed.object(), peripherals_.communication_enabled.object()}) {
    if (object == nullptr) continue;
    object->refresh = [this] {
      show_peripherals();
      return Abort::NONE;
    };
  }
}

void PowerStateMachine::reset(Reset kind) {
  if (kind == Reset::COMMUNICATION) return;
  last_controlword_ = 0;
  torque_inhibited_ = false;
  if (kind == Reset::POWER_ON) commutated_ = false;
  supply_ = true;
  warning_ = false;
  enter(PowerState::NOT_READY_TO_SWITCH_ON);
  enter(PowerState::SWITCH_ON_DISABLED);
}

void PowerStateMachine::nmt_changed(NMTState /*before*/) {
  if (context_.nmt == NMTState::STOPPED || context_.nmt == NMTState::INITIALISING) {
    connection_lost(kCommunicationGone, {});
  }
}

void PowerStateMachine::controlword_written() {
  const std::uint16_t word = controlword_.get();
  const bool reset_edge = (word & kFaultReset) != 0 && (last_controlword_ & kFaultReset) == 0;
  last_controlword_ = word;
  const Because because(context_, "control word " + hexadecimal(word));
  if (state_ == PowerState::FAULT) {
    if (reset_edge) reset_fault();
  } else if ((word & kEnableVoltage) == 0) {
    disable_voltage();
  } else if ((word & kNoQuickStop) == 0) {
    quick_stop();
  } else if ((word & kFaultReset) != 0) {
    // No command that gives torque has this bit (CiA 402-2, table of commands).
  } else if ((word & kSwitchOn) == 0) {
    shutdown();
  } else if ((word & kEnableOperation) == 0) {
    switch_on();
  } else {
    enable_operation();
  }
  move();
}

void PowerStateMachine::reset_fault() {
  if (errors_.acknowledge()) enter(PowerState::SWITCH_ON_DISABLED);
}

void PowerStateMachine::disable_voltage() {
  if (state_ == PowerState::READY_TO_SWITCH_ON || state_ == PowerState::SWITCHED_ON ||
      state_ == PowerState::OPERATION_ENABLED || state_ == PowerState::QUICK_STOP_ACTIVE) {
    enter(PowerState::SWITCH_ON_DISABLED);
  }
}

void PowerStateMachine::quick_stop() {
  if (state_ == PowerState::READY_TO_SWITCH_ON || state_ == PowerState::SWITCHED_ON) {
    enter(PowerState::SWITCH_ON_DISABLED);
  } else if (state_ == PowerState::OPERATION_ENABLED) {
    // Without a ramp the transition that ends the quick stop follows at once.
    const bool without_ramp = quick_stop_option_.get() == kDisable;
    enter(without_ramp ? PowerState::SWITCH_ON_DISABLED : PowerState::QUICK_STOP_ACTIVE);
  }
}

void PowerStateMachine::shutdown() {
  if (state_ == PowerState::SWITCH_ON_DISABLED) {
    if (!torque_inhibited_) approach(PowerState::READY_TO_SWITCH_ON);
  } else if (state_ == PowerState::SWITCHED_ON) {
    enter(PowerState::READY_TO_SWITCH_ON);
  } else if (state_ == PowerState::OPERATION_ENABLED) {
    leave_after_stop(PowerState::READY_TO_SWITCH_ON, shutdown_option_.get() == kSlowDown);
  }
}

void PowerStateMachine::switch_on() {
  if (state_ == PowerState::READY_TO_SWITCH_ON) {
    approach(PowerState::SWITCHED_ON);
  } else if (state_ == PowerState::OPERATION_ENABLED) {
    leave_after_stop(PowerState::SWITCHED_ON, disable_operation_option_.get() == kSlowDown);
  }
}

void PowerStateMachine::enable_operation() {
  const bool quick_stop_ends =
      state_ == PowerState::QUICK_STOP_ACTIVE && quick_stop_option_.get() >= kSlowDownAndStay;
  if (state_ == PowerState::OPERATION_ENABLED) {
    after_stop_.reset();
  } else if (state_ == PowerState::READY_TO_SWITCH_ON || state_ == PowerState::SWITCHED_ON ||
             quick_stop_ends) {
    approach(PowerState::OPERATION_ENABLED);
  }
}

void PowerStateMachine::leave_after_stop(PowerState next, bool slows_down) {
  if (!slows_down) return enter(next);
  after_stop_ = next;
  move();
  motion_settled();
}

void PowerStateMachine::fault() {
  if (state_ == PowerState::FAULT || state_ == PowerState::FAULT_REACTION_ACTIVE) return;
  const Because because(context_, "error " + hexadecimal(errors_.last_code()));
  enter(has_torque() ? PowerState::FAULT_REACTION_ACTIVE : PowerState::FAULT);
}

bool PowerStateMachine::connection_lost(std::uint16_t code, const VendorBytes& vendor) {
  if (state_ != PowerState::OPERATION_ENABLED && state_ != PowerState::QUICK_STOP_ACTIVE) return false;
  switch (abort_connection_option_.get()) {
    case kFaultSignal:
      errors_.raise(code, vendor, Errors::Ends::ACKNOWLEDGED, false);
      fault();
      return true;
    case kDisableVoltageCommand:
      disable_voltage();
      return false;
    case kQuickStopCommand:
      quick_stop();
      return false;
    default:
      return false;
  }
}

void PowerStateMachine::inhibit_torque(bool inhibited) {
  torque_inhibited_ = inhibited;
  if (!inhibited) return;
  const Because because(context_, context_.cause.empty() ? "no torque is allowed" : context_.cause);
  if (state_ == PowerState::FAULT_REACTION_ACTIVE) {
    enter(PowerState::FAULT);
  } else {
    disable_voltage();
  }
}

/** A transition towards OPERATION_ENABLED takes its time, once it is asked for; any other one comes before
 * it. */
void PowerStateMachine::approach(PowerState state) {
  const Timing& timing = context_.settings.timing;
  Duration time = timing.transition;
  if (state == PowerState::OPERATION_ENABLED && !commutated_) time += timing.commutation;
  if (time == Duration::zero()) return enter(state);
  if (next_at_ != Time::max() && next_ == state) return;
  next_ = state;
  next_at_ = context_.now + time;
}

/** The command that stands by then leads on, or back. */
void PowerStateMachine::run() {
  if (next_at_ > context_.now) return;
  next_at_ = Time::max();
  if (torque_inhibited_) return;
  const Because because(context_, "control word " + hexadecimal(controlword_.get()));
  enter(next_);
  const std::uint16_t word = controlword_.get();
  if ((word & kFaultReset) == 0) controlword_written();
}

/** States that end by themselves do so when the motor stands. */
void PowerStateMachine::enter(PowerState state) {
  next_at_ = Time::max();
  commutated_ = commutated_ || state == PowerState::OPERATION_ENABLED;
  if (state != state_) context_.report(Event::Kind::POWER_STATE, static_cast<std::uint32_t>(state), {});
  state_ = state;
  after_stop_.reset();
  move();
  motion_settled();
}

void PowerStateMachine::move() {
  motion_.command(movement(), ends_when_stopped());
}

/** The state ends by itself, and with it the torque. */
bool PowerStateMachine::ends_when_stopped() const {
  if (state_ == PowerState::OPERATION_ENABLED) return after_stop_.has_value();
  if (state_ == PowerState::QUICK_STOP_ACTIVE) return quick_stop_option_.get() < kSlowDownAndStay;
  return state_ == PowerState::FAULT_REACTION_ACTIVE;
}

void PowerStateMachine::motion_settled() {
  if (!ends_when_stopped() || !motion_.standstill()) return;
  const Because because(context_, "the motor stands");
  if (state_ == PowerState::OPERATION_ENABLED) {
    enter(*after_stop_);
  } else if (state_ == PowerState::QUICK_STOP_ACTIVE) {
    enter(PowerState::SWITCH_ON_DISABLED);
  } else {
    enter(PowerState::FAULT);
  }
}

bool PowerStateMachine::has_torque() const {
  return state_ == PowerState::OPERATION_ENABLED || state_ == PowerState::QUICK_STOP_ACTIVE ||
         state_ == PowerState::FAULT_REACTION_ACTIVE;
}

void PowerStateMachine::set_safe_brake(bool applied) {
  if (std::exchange(safe_brake_, applied) != applied) move();
}

void PowerStateMachine::short_circuit_phases(bool shorted) {
  if (std::exchange(phases_shorted_, shorted) != shorted) move();
}

Movement PowerStateMachine::movement() const {
  if (safe_brake_) return Movement::BRAKE;
  switch (state_) {
    case PowerState::OPERATION_ENABLED:
      if (after_stop_) return Movement::SLOW_DOWN;
      return (controlword_.get() & kHalt) != 0 ? halt_movement() : Movement::FOLLOW;
    case PowerState::QUICK_STOP_ACTIVE:
      return quick_stop_movement();
    case PowerState::FAULT_REACTION_ACTIVE:
      return fault_movement();
    default:
      return phases_shorted_ ? Movement::SHORT_CIRCUIT : Movement::COAST;
  }
}

Movement PowerStateMachine::halt_movement() const {
  if (halt_option_.get() == kSlowDown) return Movement::SLOW_DOWN;
  return halt_option_.get() == kQuickStop ? Movement::QUICK_STOP : Movement::STOP_AT_LIMIT;
}

Movement PowerStateMachine::quick_stop_movement() const {
  const std::int16_t option = quick_stop_option_.get();
  if (option == kSlowDown || option == kSlowDownAndStay) return Movement::SLOW_DOWN;
  return option == kQuickStop || option == kQuickStopAndStay ? Movement::QUICK_STOP : Movement::STOP_AT_LIMIT;
}

Movement PowerStateMachine::fault_movement() const {
  const std::int16_t option = fault_reaction_option_.get();
  if (option == kDisable) return Movement::COAST;
  if (option == kSlowDown) return Movement::SLOW_DOWN;
  return option == kQuickStop ? Movement::QUICK_STOP : Movement::STOP_AT_LIMIT;
}

std::uint16_t PowerStateMachine::statusword() {
  unsigned word = state_bits(state_) | kRemote;
  if (supply_) word |= kVoltageEnabled;
  if (warning_) word |= kWarning;
  if (motion_.target_reached()) word |= kTargetReached;
  if (motion_.limited()) word |= kInternalLimit;
  return static_cast<std::uint16_t>(word);
}

void PowerStateMachine::show_statusword() {
  const std::uint16_t word = statusword();
  statusword_.set(word);
  unit_statusword_.set(word);
}

bool PowerStateMachine::brake_applied() {
  return motion_.brake_applied().value_or(!has_torque() || safe_brake_);
}

void PowerStateMachine::show_peripherals() {
  mode_display_.set(motion_.mode());
  peripherals_.brake_applied.set(brake_applied() ? 1 : 0);
  peripherals_.low_power_applied.set(1);
  peripherals_.high_power_applied.set(supply_ ? 1 : 0);
  peripherals_.driver_enabled.set(has_torque() ? 1 : 0);
  peripherals_.configuration_allowed.set(has_torque() ? 0 : 1);
  peripherals_.communication_enabled.set(1);
}

}  // namespace tav::drive

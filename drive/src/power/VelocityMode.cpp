#include "power/VelocityMode.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tav::drive {
namespace {

// Control word in velocity mode (CiA 402-2, 11.3).
constexpr std::uint16_t kEnableRamp = 1U << 4;
constexpr std::uint16_t kUnlockRamp = 1U << 5;
constexpr std::uint16_t kReferenceRamp = 1U << 6;

// Modes of operation, 0x6060.
constexpr std::int8_t kNoMode = 0;
constexpr std::int8_t kVelocityMode = 2;

// Polarity, 0x607E.
constexpr std::uint8_t kVelocityReversed = 1U << 6;
constexpr std::uint8_t kPositionReversed = 1U << 7;

template <class T>
T rounded(double value) {
  const double low = std::numeric_limits<T>::min();
  const double high = std::numeric_limits<T>::max();
  return static_cast<T>(std::clamp(std::nearbyint(value), low, high));
}

double ratio(double numerator, double denominator) {
  return denominator == 0 ? 1.0 : numerator / denominator;
}

double divided(double value, double factor) {
  return factor == 0 ? 0.0 : value / factor;
}

}  // namespace

VelocityMode::Ramp::Ramp(ObjectDictionary& dictionary, std::uint16_t index)
    : speed(dictionary, index, 1, 1000), time(dictionary, index, 2, 1) {}

double VelocityMode::Ramp::per_second() const {
  return time.get() == 0 ? 0.0 : static_cast<double>(speed.get()) / time.get();
}

VelocityMode::VelocityMode(Context& context)
    : context_(context),
      axis_(context.settings.mechanics),
      mode_(context.dictionary, 0x6060, 0, kVelocityMode),
      controlword_(context.dictionary, 0x6040, 0),
      target_(context.dictionary, 0x6042, 0),
      demand_(context.dictionary, 0x6043, 0),
      actual_(context.dictionary, 0x6044, 0),
      velocity_(context.dictionary, 0x606C, 0),
      position_(context.dictionary, 0x6064, 0),
      polarity_(context.dictionary, 0x607E, 0),
      min_amount_(context.dictionary, 0x6046, 1, 0),
      max_amount_(context.dictionary, 0x6046, 2, std::numeric_limits<std::uint32_t>::max()),
      acceleration_(context.dictionary, 0x6048),
      deceleration_(context.dictionary, 0x6049),
      quick_stop_(context.dictionary, 0x604A),
      set_point_numerator_(context.dictionary, 0x604B, 1, 1),
      set_point_denominator_(context.dictionary, 0x604B, 2, 1),
      dimension_numerator_(context.dictionary, 0x604C, 1, 1),
      dimension_denominator_(context.dictionary, 0x604C, 2, 1),
      uses_brake_(context.dictionary.find("cia402_use_internal_brake"), 1),
      proportional_(context.dictionary.find("motctrl_speed_pid_p"), 1000),
      integral_(context.dictionary.find("motctrl_speed_pid_i"), 100),
      differential_(context.dictionary.find("motctrl_speed_pid_d"), 0) {
  if (context.settings.motor) {
    MotorParameters motor = *context.settings.motor;
    const double brake = std::chrono::duration<double>(context.settings.timing.brake).count();
    if (brake > 0) motor.brake_release_time = motor.brake_apply_time = brake;
    driven_ = std::make_unique<DrivenAxis>(motor, context.settings.mechanics);
  }
  watch_objects();
}

void VelocityMode::watch_objects() {
  if (Object* const mode = mode_.object()) {
    mode->refuse_when([](const Bytes& bytes) {
      const std::int64_t number = signed_of(bytes);
      return number == kNoMode || number == kVelocityMode ? Abort::NONE : Abort::INVALID_VALUE;
    });
  }
  for (Object* object :
       {mode_.object(), target_.object(), polarity_.object(), min_amount_.object(), max_amount_.object(),
        acceleration_.speed.object(), acceleration_.time.object(), deceleration_.speed.object(),
        deceleration_.time.object(), quick_stop_.speed.object(), quick_stop_.time.object(),
        set_point_numerator_.object(), set_point_denominator_.object(), dimension_numerator_.object(),
        dimension_denominator_.object()}) {
    if (object != nullptr) object->when_written([this] { apply(); });
  }
  for (Object* object :
       {uses_brake_.object(), proportional_.object(), integral_.object(), differential_.object()}) {
    if (object != nullptr && driven_) object->when_written([this] { take_gains(); });
  }
  for (Object* object : {set_point_denominator_.object(), dimension_denominator_.object()}) {
    if (object == nullptr) continue;
    object->refuse_when(
        [](const Bytes& bytes) { return unsigned_of(bytes) == 0 ? Abort::INVALID_VALUE : Abort::NONE; });
  }
  for (Object* object : {demand_.object(), actual_.object(), velocity_.object(), position_.object()}) {
    if (object == nullptr) continue;
    object->moves = true;
    object->refresh = [this] {
      show_values();
      return Abort::NONE;
    };
  }
}

void VelocityMode::power_on() {
  fresh_ = false;
  power_on_ = context_.now;
  if (driven_) driven_->power_on(context_.now);
}

void VelocityMode::reset(Reset kind) {
  if (kind == Reset::COMMUNICATION) return;
  if (driven_) take_gains();
  command(Movement::COAST);
}

void VelocityMode::command(Movement movement, bool ends) {
  movement_ = movement;
  ends_ = ends;
  apply();
}

void VelocityMode::turn() {
  if (driven_) {
    driven_->advance(context_.now);
  } else {
    axis_.advance(context_.now);
  }
}

double VelocityMode::velocity() {
  turn();
  return actual();
}

std::int32_t VelocityMode::position() {
  turn();
  return driven_ ? driven_->position() : axis_.position();
}

void VelocityMode::forget_position() {
  fresh_ = false;
  turn();
  if (driven_) {
    driven_->encoder().restart();
  } else {
    axis_.forget_position();
  }
}

bool VelocityMode::standstill() {
  if (!driven_) return velocity() == 0;
  turn();
  return driven_->stopped();
}

std::optional<bool> VelocityMode::brake_applied() {
  if (!driven_) return std::nullopt;
  turn();
  return driven_->brake_applied();
}

bool VelocityMode::moving() const {
  return driven_ ? !driven_->resting() : axis_.velocity() != 0 || !axis_.settled();
}

bool VelocityMode::target_reached() {
  if (movement_ == Movement::COAST) return false;
  turn();
  const double wanted = movement_ == Movement::FOLLOW ? wanted_velocity() : 0.0;
  if (!driven_) return axis_.velocity() == wanted;
  if (movement_ == Movement::FOLLOW) return driven_->settled() && driven_->demand() == wanted;
  return driven_->standstill();
}

void VelocityMode::run() {
  turn();
  if (driven_) return look();
  if (axis_.settled() && settled_) settled_();
}

/** A motor that is not ideal is looked at every 10 ms from power-on; one that rests, while it is warm. */
void VelocityMode::look() {
  constexpr std::chrono::milliseconds kCycle(10);
  constexpr std::chrono::milliseconds kWhileWarm(1000);
  if (looked_) looked_(driven_->sensed());
  if (driven_->standstill() && settled_) settled_();
  const bool rests = driven_->resting();
  const Duration cycle = rests ? kWhileWarm : kCycle;
  const bool over = rests && driven_->motor().cold();
  look_due_ = over ? Time::max() : power_on_ + ((context_.now - power_on_) / cycle + 1) * cycle;
}

void VelocityMode::wake() {
  fresh_ = false;
  look_due_ = std::min(look_due_, context_.now);
}

void VelocityMode::take_gains() {
  turn();
  driven_->set_gains({proportional_.get(), integral_.get(), differential_.get()});
  apply();
}

void VelocityMode::run_to(double velocity, double acceleration, double deceleration) {
  if (driven_) {
    driven_->run_to(velocity, acceleration, deceleration);
  } else {
    axis_.run_to(velocity, acceleration, deceleration);
  }
}

/** What a motor that is not ideal does is the power stage's and the brake's work. */
void VelocityMode::apply_to_stage() {
  using Mode = DrivenAxis::Mode;
  const bool brakes = movement_ == Movement::BRAKE || uses_brake_.get() != 0;
  switch (movement_) {
    case Movement::COAST:
    case Movement::BRAKE:
      driven_->command(Mode::FREE, brakes, false);
      break;
    case Movement::SHORT_CIRCUIT:
      driven_->command(Mode::SHORTED, brakes, false);
      break;
    default:
      driven_->command(Mode::CONTROLLED, brakes, ends_ && brakes);
  }
  wake();
}

void VelocityMode::apply() {
  fresh_ = false;
  take_factors();
  turn();
  limited_ = false;
  if (driven_) apply_to_stage();
  const Mechanics& mechanics = context_.settings.mechanics;
  switch (movement_) {
    case Movement::COAST:
      return run_to(0, 0, mechanics.coast_deceleration);
    case Movement::FOLLOW:
      return follow();
    case Movement::SLOW_DOWN:
      return run_to(0, 0, per_second(deceleration_));
    case Movement::QUICK_STOP:
      return run_to(0, 0, per_second(quick_stop_));
    case Movement::STOP_AT_LIMIT:
      // A motor that is not ideal has its limits of current and voltage itself.
      return run_to(0, 0, driven_ ? 0 : mechanics.limit_deceleration);
    case Movement::SHORT_CIRCUIT:
      return run_to(0, 0, mechanics.short_circuit_deceleration);
    case Movement::BRAKE:
      return run_to(0, 0, mechanics.brake_deceleration);
  }
}

void VelocityMode::follow() {
  // A locked ramp generator keeps its output (CiA 402-2, control word bit 5).
  const bool locked = ramp_bit(kEnableRamp) && !ramp_bit(kUnlockRamp);
  const double wanted = wanted_velocity();
  run_to(locked ? demand() : wanted, per_second(acceleration_), per_second(deceleration_));
}

double VelocityMode::wanted_velocity() {
  if (mode() == kNoMode || !ramp_bit(kEnableRamp) || !ramp_bit(kReferenceRamp)) {
    limited_ = false;
    return 0;
  }
  const double sign = (polarity_.get() & kVelocityReversed) != 0 ? -1.0 : 1.0;
  return within_limits(sign * target_.get() * set_point_factor()) * dimension_factor();
}

std::int8_t VelocityMode::mode() const {
  return mode_.get() == kVelocityMode ? kVelocityMode : kNoMode;
}

double VelocityMode::per_second(const Ramp& ramp) const {
  return ramp.per_second() * std::abs(dimension_factor());
}

double VelocityMode::within_limits(double velocity) {
  const double amount = std::abs(velocity);
  const double low = min_amount_.get();
  const double high = std::max<double>(max_amount_.get(), low);
  // A set-point of 0 is a wish to stand: the lower limit does not make the motor turn.
  const double allowed = amount == 0 ? 0 : std::clamp(amount, low, high);
  limited_ = allowed != amount;
  return std::copysign(allowed, velocity);
}

void VelocityMode::take_factors() {
  set_point_factor_ = ratio(set_point_numerator_.get(), set_point_denominator_.get());
  dimension_factor_ = ratio(dimension_numerator_.get(), dimension_denominator_.get());
}

void VelocityMode::show_values() {
  // The objects that a PDO maps are asked one by one: in one instant they are computed once.
  if (fresh_ && shown_at_ == context_.now) return;
  fresh_ = true;
  shown_at_ = context_.now;
  turn();
  const double sign = (polarity_.get() & kVelocityReversed) != 0 ? -1.0 : 1.0;
  const auto in_user_units = [&](double speed) { return sign * divided(speed, dimension_factor()); };
  const auto in_set_point_units = [&](double speed) {
    return rounded<std::int16_t>(divided(in_user_units(speed), set_point_factor()));
  };
  demand_.set(movement_ == Movement::COAST ? std::int16_t{0} : in_set_point_units(demand()));
  actual_.set(in_set_point_units(actual()));
  velocity_.set(rounded<std::int32_t>(in_user_units(actual())));
  // Turned round, the lowest position has no counterpart in 32 bits: it stays itself, as the counter wraps.
  const auto counted = static_cast<std::uint32_t>(position());
  const bool reversed = (polarity_.get() & kPositionReversed) != 0;
  position_.set(static_cast<std::int32_t>(reversed ? 0U - counted : counted));
}

}  // namespace tav::drive

#include "power/Health.hpp"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

namespace tav::drive {
namespace {

// Places in the list of supervised quantities, in the order of "nkr_system_error_states_status": low and high
// voltage and the current come before.
constexpr std::size_t kMosfet = 3;
constexpr std::size_t kDriver = 4;

constexpr std::uint16_t kCalibrationMissing = 0x7122;

/** The driver circuit has fixed limits of its own, in degrees Celsius. */
constexpr std::int32_t kDriverTooHot = 120;
constexpr std::int32_t kDriverCooled = 110;

const char* const kConfig = "nkr_system_error_public_config ";

std::int32_t limit(const Object* object) {
  if (object == nullptr) return 0;
  return static_cast<std::int32_t>(object->kind == Kind::SIGNED
                                       ? signed_of(object->value)
                                       : static_cast<std::int64_t>(unsigned_of(object->value)));
}

constexpr std::int32_t Environment::*kSensors[] = {
    &Environment::battery_mv, &Environment::phase_current_ma, &Environment::mosfet_1_celsius,
    &Environment::mosfet_2_celsius, &Environment::driver_celsius};

}  // namespace

Health::Health(Context& context, Errors& errors, Effects effects)
    : context_(context),
      errors_(errors),
      effects_(std::move(effects)),
      limits_{config("battery_uv_warning"),        config("battery_uv_error"),
              config("battery_ov_warning"),        config("battery_ov_error"),
              config("phase_oc_warning"),          config("phase_oc_error"),
              config("phase_over_board_factor"),   config("temp_hysteresis_rise_mos1"),
              config("temp_hysteresis_rise_mos2"), config("temp_hysteresis_fall_mos1"),
              config("temp_hysteresis_fall_mos2")},
      watches_{{{0x3220,
                 {context.dictionary.find("nkr_system_error_states_status battery_uv")},
                 {config("battery_uv_warning_timeout_ms")}},
                {0x3210,
                 {context.dictionary.find("nkr_system_error_states_status battery_ov")},
                 {config("battery_ov_warning_timeout_ms")}},
                {0x2310,
                 {context.dictionary.find("nkr_system_error_states_status phase_oc")},
                 {config("phase_oc_warning_timeout_ms")}},
                {0x4310, {context.dictionary.find("nkr_system_error_states_status mos_ot")}, {nullptr}},
                {0x4210, {context.dictionary.find("nkr_system_error_states_status drv_ot")}, {nullptr}}}},
      self_tests_{{{0x5200,
                    {context.dictionary.find("self_test self_test_status_auto_init")},
                    {context.dictionary.find("self_test self_test_simulate_auto_init_error")}},
                   {0x5400,
                    {context.dictionary.find("self_test self_test_status_motor_driver")},
                    {context.dictionary.find("self_test self_test_simulate_motor_driver_error")}}}},
      protect_state_(context.dictionary.find("nkr_system_error_protect_state")),
      previous_protect_state_(context.dictionary.find("nkr_system_error_previous_protect_state")),
      level_one_(context.dictionary.find("error_type_lvl_1")),
      calibration_valid_(context.dictionary.find("nkr_hall_public_config is_valid"), 1) {
  for (Object& object : context.dictionary.objects()) {
    if (object.name.rfind(kConfig, 0) == 0) object.when_written([this] { evaluate(); });
  }
  for (SelfTest& test : self_tests_) {
    if (test.simulated.object() != nullptr) test.simulated.object()->when_written([this] { test_itself(); });
  }
  if (Object* object = calibration_valid_.object()) object->when_written([this] { check_calibration(); });
}

Object* Health::config(const std::string& name) {
  return context_.dictionary.find(kConfig + name);
}

void Health::measure(const Environment& environment) {
  environment_ = environment;
  forced_.assign(std::begin(kSensors), std::end(kSensors));
  if (context_.nmt != NMTState::INITIALISING) evaluate();
}

void Health::force(Sensor sensor, std::int32_t value) {
  environment_.*sensor = value;
  if (std::find(forced_.begin(), forced_.end(), sensor) == forced_.end()) forced_.push_back(sensor);
  if (context_.nmt != NMTState::INITIALISING) evaluate();
}

void Health::release(Sensor sensor) {
  forced_.erase(std::remove(forced_.begin(), forced_.end(), sensor), forced_.end());
  sense(measured_);
}

void Health::sense(const Environment& measured) {
  measured_ = measured;
  const bool supplied = has_supply();
  for (const Sensor sensor : kSensors) {
    if (std::find(forced_.begin(), forced_.end(), sensor) == forced_.end()) {
      environment_.*sensor = measured.*sensor;
    }
  }
  const std::array<Level, 5> now = levels();
  bool same = supplied == has_supply();
  for (std::size_t i = 0; i < now.size(); ++i) same = same && now[i] == watches_[i].level;
  if (!same && context_.nmt != NMTState::INITIALISING) evaluate();
}

void Health::reset(Reset kind) {
  if (kind == Reset::COMMUNICATION) return;
  for (Watch& watch : watches_) {
    watch.level = Level::WELL;
    watch.warned_until = Time::max();
  }
  protection_ = Protection::NONE;
  protection_ends_ = Time::max();
  calibrated_ = true;
  evaluate();
  test_itself();
  check_calibration();
}

std::array<Health::Level, 5> Health::levels() const {
  return {voltage_low(), voltage_high(), current(), mosfet(watches_[kMosfet].level),
          driver(watches_[kDriver].level)};
}

void Health::evaluate() {
  const std::array<Level, 5> now = levels();
  for (std::size_t i = 0; i < now.size(); ++i) set_level(watches_[i], now[i]);
  show_levels();
  effects_.may_turn();
}

Health::Level Health::voltage_low() const {
  if (limits_.voltage_low_error == nullptr) return Level::WELL;
  if (environment_.battery_mv < limit(limits_.voltage_low_error)) return Level::ERROR;
  return environment_.battery_mv < limit(limits_.voltage_low_warning) ? Level::WARNING : Level::WELL;
}

Health::Level Health::voltage_high() const {
  if (limits_.voltage_high_error == nullptr) return Level::WELL;
  if (environment_.battery_mv > limit(limits_.voltage_high_error)) return Level::ERROR;
  return environment_.battery_mv > limit(limits_.voltage_high_warning) ? Level::WARNING : Level::WELL;
}

Health::Level Health::current() const {
  if (limits_.current_error == nullptr) return Level::WELL;
  const Object* const board = limits_.current_factor;
  const double factor = board == nullptr ? 1.0 : static_cast<double>(number_in(*board, board->value));
  const double amount = std::abs(environment_.phase_current_ma * factor);
  if (amount > limit(limits_.current_error)) return Level::ERROR;
  return amount > limit(limits_.current_warning) ? Level::WARNING : Level::WELL;
}

/** Too hot from the upper threshold of either MOSFET on, until both are below their lower one. */
Health::Level Health::mosfet(Level before) const {
  if (limits_.mosfet_1_hot == nullptr) return Level::WELL;
  const bool hot = environment_.mosfet_1_celsius >= limit(limits_.mosfet_1_hot) ||
                   environment_.mosfet_2_celsius >= limit(limits_.mosfet_2_hot);
  const bool cool = environment_.mosfet_1_celsius < limit(limits_.mosfet_1_cool) &&
                    environment_.mosfet_2_celsius < limit(limits_.mosfet_2_cool);
  if (hot) return Level::ERROR;
  return cool ? Level::WELL : before;
}

Health::Level Health::driver(Level before) const {
  if (environment_.driver_celsius >= kDriverTooHot) return Level::ERROR;
  return environment_.driver_celsius < kDriverCooled ? Level::WELL : before;
}

void Health::set_level(Watch& watch, Level level) {
  // A warning that was given up waiting for stays an error until it is over.
  if (level == Level::WARNING && watch.level == Level::ERROR) return;
  if (level == watch.level) return;
  const Level before = std::exchange(watch.level, level);
  watch.warned_until = Time::max();
  if (level == Level::WARNING && watch.timeout.object() != nullptr) {
    watch.warned_until = context_.now + std::chrono::milliseconds(watch.timeout.get());
  }
  if (level == Level::ERROR) {
    errors_.raise(watch.code, {}, Errors::Ends::ACKNOWLEDGED, true);
    effects_.fault();
    start_protection();
  } else if (before == Level::ERROR) {
    errors_.clear_code(watch.code);
  }
}

/** The states, and the errors as one word: a bit each, in their order, then the steps of the self test. */
void Health::show_levels() {
  std::uint32_t errors = 0;
  bool warning = false;
  for (std::size_t i = 0; i < watches_.size(); ++i) {
    Watch& watch = watches_[i];
    watch.state.set(static_cast<std::uint8_t>(watch.level));
    if (watch.level == Level::ERROR) errors |= std::uint32_t{1} << i;
    warning = warning || watch.level == Level::WARNING;
  }
  for (std::size_t i = 0; i < self_tests_.size(); ++i) {
    if (self_tests_[i].status.get() != 0) errors |= std::uint32_t{1} << (watches_.size() + i);
  }
  level_one_.set(errors);
  effects_.warning(warning);
}

void Health::start_protection() {
  if (protection_ != Protection::NONE) return;
  protect(Protection::ZERO_TORQUE);
}

void Health::protect(Protection next) {
  previous_protect_state_.set(static_cast<std::uint32_t>(protection_));
  protection_ = next;
  protect_state_.set(static_cast<std::uint32_t>(next));
  protection_ends_ = Time::max();
  effects_.may_turn();
  if (next == Protection::NONE) return;
  const bool first = next == Protection::ZERO_TORQUE;
  const Variable<std::uint32_t> time(
      config(first ? "time_ms_zero_torque_protect" : "time_ms_brake_cc_protect"));
  protection_ends_ = context_.now + std::chrono::milliseconds(time.get());
}

void Health::test_itself() {
  for (SelfTest& test : self_tests_) {
    const std::uint8_t status = test.simulated.get();
    const std::uint8_t before = test.status.get();
    test.status.set(status);
    if (status != 0 && before == 0) {
      errors_.raise(test.code, {}, Errors::Ends::ACKNOWLEDGED, true);
      effects_.fault();
    } else if (status == 0 && before != 0) {
      errors_.clear_code(test.code);
    }
  }
  show_levels();
}

void Health::check_calibration() {
  const bool valid = calibration_valid_.get() != 0;
  if (std::exchange(calibrated_, valid) == valid) return;
  if (valid) {
    errors_.clear(kCalibrationMissing, {});
  } else {
    errors_.raise(kCalibrationMissing, {}, Errors::Ends::WITH_ITS_CAUSE, true);
  }
  effects_.may_turn();
}

Time Health::next_due() const {
  Time due = protection_ends_;
  for (const Watch& watch : watches_) due = std::min(due, watch.warned_until);
  return due;
}

void Health::run() {
  for (Watch& watch : watches_) {
    if (watch.warned_until > context_.now) continue;
    watch.warned_until = Time::max();
    set_level(watch, Level::ERROR);
  }
  if (protection_ends_ <= context_.now) {
    protect(protection_ == Protection::ZERO_TORQUE ? Protection::BRAKE_SHORT_CIRCUIT : Protection::NONE);
  }
  show_levels();
}

}  // namespace tav::drive

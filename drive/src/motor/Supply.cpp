#include "motor/Supply.hpp"

#include <algorithm>
#include <cmath>

#include "motor/Grid.hpp"

namespace tav::drive {
namespace {

/** What draws constant power draws no more current than at this voltage. */
constexpr double kLeastVoltage = 1.0;
/** The chopper rests again when the voltage is that part of where it began. */
constexpr double kChopperRests = 0.97;

}  // namespace

Supply::Supply(const MotorParameters& parameters)
    : source_(parameters.battery_voltage),
      capacitance_(parameters.link_capacitance),
      takes_back_(parameters.takes_back != 0),
      chopper_voltage_(parameters.chopper_voltage),
      chopper_resistance_(parameters.chopper_resistance),
      other_load_(parameters.other_load),
      voltage_(parameters.battery_voltage) {
  set_resistance(parameters.battery_resistance);
}

void Supply::set_resistance(double ohm) {
  resistance_ = ohm;
  decay_ = ohm > 0 ? std::exp(-kMotorStepSeconds / (ohm * capacitance_)) : 0.0;
}

void Supply::set_source(double volts) {
  source_ = volts;
  settled_ = false;
}

void Supply::connect(bool connected) {
  connected_ = connected;
  settled_ = false;
}

double Supply::chopper() {
  if (chopper_voltage_ <= 0) return 0;
  if (voltage_ >= chopper_voltage_) chopping_ = true;
  if (voltage_ < chopper_voltage_ * kChopperRests) chopping_ = false;
  return chopping_ ? voltage_ * voltage_ / chopper_resistance_ : 0.0;
}

void Supply::step(double power) {
  chopper_power_ = chopper();
  other_power_ = other_load_ * std::min(1.0, voltage_ / kLeastVoltage);
  const double drawn = power + chopper_power_ + other_power_;
  const double current = drawn / std::max(voltage_, kLeastVoltage);
  const double steady = source_ - resistance_ * current;
  const bool blocked = !takes_back_ && voltage_ >= source_ && steady >= source_;
  const double before = voltage_;
  if (!connected_ || blocked) {
    step_alone(drawn);
    settled_ = drawn == 0;
    return;
  }
  voltage_ = std::max(0.0, steady + (before - steady) * decay_);
  const double flowing = current + capacitance_ * (voltage_ - before) / kMotorStepSeconds;
  battery_power_ = source_ * flowing;
  battery_loss_ = resistance_ * flowing * flowing;
  settled_ = drawn == 0 && voltage_ == before;
}

/** The capacitor alone: its energy changes by what is drawn. */
void Supply::step_alone(double power) {
  const double square = voltage_ * voltage_ - 2 * power * kMotorStepSeconds / capacitance_;
  voltage_ = std::sqrt(std::max(0.0, square));
  battery_power_ = battery_loss_ = 0;
}

}  // namespace tav::drive

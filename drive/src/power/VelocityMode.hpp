#ifndef TAV_DRIVE_SRC_POWER_VELOCITYMODE_HPP
#define TAV_DRIVE_SRC_POWER_VELOCITYMODE_HPP

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include "node/Part.hpp"
#include "power/Axis.hpp"
#include "power/DrivenAxis.hpp"

namespace tav::drive {

/** What the power stage makes of the motor. */
enum class Movement : std::uint8_t {
  COAST,          ///< no torque
  FOLLOW,         ///< the set-point of the velocity mode
  SLOW_DOWN,      ///< stop on the deceleration ramp, 0x6049
  QUICK_STOP,     ///< stop on the quick-stop ramp, 0x604A
  STOP_AT_LIMIT,  ///< stop as hard as the motor can
  SHORT_CIRCUIT,  ///< no torque; the short-circuited phases brake
  BRAKE,          ///< the mechanical brake is applied, torque or not
};

/**
 * Velocity mode (CiA 402-2, vl): set-point, factors, limits, ramps; demand and actual values; position.
 * Set-point, limits and ramps are in the units of the user, which the dimension factor turns into 1/min. It
 * is the only mode: while 0x6060 asks for another one there is no set-point. What resets the node stops no
 * motor and moves no counter.
 *
 * The motor is the ideal one, or, where the settings give it, one with load, supply and heat; that one is
 * looked at every 10 ms while it does not rest.
 */
class VelocityMode : public Part {
 public:
  explicit VelocityMode(Context& context);

  /** Called whenever the wanted speed is reached. */
  void when_settled(std::function<void()> action) { settled_ = std::move(action); }

  /** Called after each look at a motor that is not ideal, with what the sensors measure of it. */
  void when_looked(std::function<void(const Environment&)> action) { looked_ = std::move(action); }

  /** @param ends  torque is taken away when the motor stands: its brake is applied before */
  void command(Movement movement, bool ends = false);
  /** It stands and, where its torque is to end, its brake holds it. */
  [[nodiscard]] bool standstill();
  /** The motor's speed now, in 1/min, whatever the polarity. */
  [[nodiscard]] double velocity();
  /** In electrical steps, whatever the polarity. */
  [[nodiscard]] std::int32_t position();
  /** The counter begins at 0, where the motor is. */
  void forget_position();
  /** The mode of operation that acts, as 0x6061 tells it: this one, or 0 for none. */
  [[nodiscard]] std::int8_t mode() const;
  /** Speed and position change by themselves. */
  [[nodiscard]] bool moving() const;
  /** Whether the brake holds, of a motor that is not ideal. */
  [[nodiscard]] std::optional<bool> brake_applied();
  /** The motor that is not ideal; null for the ideal one. */
  [[nodiscard]] DrivenAxis* driven() { return driven_.get(); }
  /** Something was done to the motor from outside. */
  void wake();
  /** Status word bit 10: the motor turns as the set-point asks, or stands when it is to stand. */
  [[nodiscard]] bool target_reached();
  /** Status word bit 11: the set-point lies outside 0x6046. */
  [[nodiscard]] bool limited() const { return limited_; }

  /** The motor begins to stand at position 0. */
  void power_on();
  void reset(Reset kind) override;
  [[nodiscard]] Time next_due() const override { return driven_ ? look_due_ : axis_.settles_at(); }
  void run() override;

 private:
  /** Delta speed over delta time (0x6048, 0x6049, 0x604A). */
  struct Ramp {
    Ramp(ObjectDictionary& dictionary, std::uint16_t index);
    /** In the units of the user. */
    [[nodiscard]] double per_second() const;
    Variable<std::uint32_t> speed;
    Variable<std::uint16_t> time;
  };

  void turn();
  [[nodiscard]] double actual() const { return driven_ ? driven_->velocity() : axis_.velocity(); }
  [[nodiscard]] double demand() const { return driven_ ? driven_->demand() : axis_.velocity(); }
  void run_to(double velocity, double acceleration, double deceleration);
  void apply();
  void apply_to_stage();
  void follow();
  void look();
  void take_gains();
  [[nodiscard]] double wanted_velocity();
  [[nodiscard]] double within_limits(double velocity);
  void take_factors();
  [[nodiscard]] double set_point_factor() const { return set_point_factor_; }
  [[nodiscard]] double dimension_factor() const { return dimension_factor_; }
  [[nodiscard]] double per_second(const Ramp& ramp) const;
  [[nodiscard]] bool ramp_bit(std::uint16_t bit) const { return (controlword_.get() & bit) != 0; }
  void show_values();
  void watch_objects();

  Context& context_;
  Axis axis_;
  std::unique_ptr<DrivenAxis> driven_;
  std::function<void()> settled_;
  std::function<void(const Environment&)> looked_;
  Movement movement_ = Movement::COAST;
  bool ends_ = false;
  Time power_on_{};
  Time look_due_ = Time::max();
  bool limited_ = false;
  double set_point_factor_ = 1;  ///< 0x604B
  double dimension_factor_ = 1;  ///< 0x604C
  bool fresh_ = false;           ///< what the objects show is that of the instant `shown_at_`
  Time shown_at_{};

  Variable<std::int8_t> mode_;
  Variable<std::uint16_t> controlword_;
  Variable<std::int16_t> target_;
  Variable<std::int16_t> demand_;
  Variable<std::int16_t> actual_;
  Variable<std::int32_t> velocity_;
  Variable<std::int32_t> position_;
  Variable<std::uint8_t> polarity_;
  Variable<std::uint32_t> min_amount_;
  Variable<std::uint32_t> max_amount_;
  Ramp acceleration_;
  Ramp deceleration_;
  Ramp quick_stop_;
  Variable<std::int16_t> set_point_numerator_;
  Variable<std::int16_t> set_point_denominator_;
  Variable<std::int32_t> dimension_numerator_;
  Variable<std::int32_t> dimension_denominator_;
  Variable<std::uint8_t> uses_brake_;
  Variable<std::uint32_t> proportional_;
  Variable<std::uint32_t> integral_;
  Variable<std::uint32_t> differential_;
};

}  // namespace tav::drive

#endif

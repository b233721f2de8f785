#ifndef TAV_DRIVE_SRC_POWER_HEALTH_HPP
#define TAV_DRIVE_SRC_POWER_HEALTH_HPP

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "network/Errors.hpp"
#include "node/Part.hpp"

namespace tav::drive {

/**
 * The drive's look at its own hardware: supply, phase current and temperatures against the thresholds of
 * "nkr_system_error_public_config"; self test and calibration.
 *
 * A state is 0 when all is well, 1 for a warning, 2 for an error. A warning of supply or current that lasts
 * longer than its time-out becomes an error. On an error the protection runs: 1 zero torque, then 2 short
 * circuit of the phases, each for its time, then 0: there is no torque as long.
 */
class Health : public Part {
 public:
  /** What protects the power stage after an error. */
  enum class Protection : std::uint8_t { NONE = 0, ZERO_TORQUE = 1, BRAKE_SHORT_CIRCUIT = 2 };

  struct Effects {
    std::function<void()> fault;        ///< an error has come up
    std::function<void(bool)> warning;  ///< whether there is a warning
    std::function<void()> may_turn;     ///< may_give_torque() or protection() may have changed
  };
  Health(Context& context, Errors& errors, Effects effects);

  /** What the sensors show from now on, whatever there is to measure. */
  void measure(const Environment& environment);
  /** One of them shows that from now on, whatever there is to measure. */
  void force(std::int32_t Environment::*sensor, std::int32_t value);
  /** They show again what there is to measure. */
  void release(std::int32_t Environment::*sensor);
  /** What there is to measure: shown by sensors that nothing else was said of. */
  void sense(const Environment& measured);
  [[nodiscard]] const Environment& environment() const { return environment_; }
  /** A motor cannot be driven without its calibration, without supply, and while the protection runs. */
  [[nodiscard]] bool may_give_torque() const {
    return calibrated_ && has_supply() && protection_ == Protection::NONE;
  }
  [[nodiscard]] bool has_supply() const { return environment_.battery_mv > 0; }
  [[nodiscard]] Protection protection() const { return protection_; }

  void reset(Reset kind) override;
  [[nodiscard]] Time next_due() const override;
  void run() override;

 private:
  enum class Level : std::uint8_t { WELL = 0, WARNING = 1, ERROR = 2 };

  /** One supervised quantity. */
  struct Watch {
    std::uint16_t code;  ///< error code (CiA 402-2, 0x603F)
    Variable<std::uint8_t> state;
    Variable<std::uint32_t> timeout;  ///< of a warning, in ms
    Level level = Level::WELL;
    Time warned_until = Time::max();
  };
  /** A step of the self test. */
  struct SelfTest {
    std::uint16_t code;
    Variable<std::uint8_t> status;
    Variable<std::uint8_t> simulated;
  };

  /** The thresholds; each is null where the description has none. */
  struct Limits {
    Object* voltage_low_warning;
    Object* voltage_low_error;
    Object* voltage_high_warning;
    Object* voltage_high_error;
    Object* current_warning;
    Object* current_error;
    Object* current_factor;
    Object* mosfet_1_hot;
    Object* mosfet_2_hot;
    Object* mosfet_1_cool;
    Object* mosfet_2_cool;
  };
  using Sensor = std::int32_t Environment::*;

  [[nodiscard]] Object* config(const std::string& name);
  [[nodiscard]] std::array<Level, 5> levels() const;
  void evaluate();
  [[nodiscard]] Level voltage_low() const;
  [[nodiscard]] Level voltage_high() const;
  [[nodiscard]] Level current() const;
  [[nodiscard]] Level mosfet(Level before) const;
  [[nodiscard]] Level driver(Level before) const;
  void set_level(Watch& watch, Level level);
  void show_levels();
  void start_protection();
  void protect(Protection next);
  void test_itself();
  void check_calibration();

  Context& context_;
  Errors& errors_;
  Effects effects_;
  Environment environment_;
  Environment measured_;
  std::vector<Sensor> forced_;
  Limits limits_;
  std::array<Watch, 5> watches_;
  std::array<SelfTest, 2> self_tests_;
  Variable<std::uint32_t> protect_state_;
  Variable<std::uint32_t> previous_protect_state_;
  Variable<std::uint32_t> level_one_;
  Variable<std::uint8_t> calibration_valid_;
  Protection protection_ = Protection::NONE;
  Time protection_ends_ = Time::max();
  bool calibrated_ = true;
};

}  // namespace tav::drive

#endif

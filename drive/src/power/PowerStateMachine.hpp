#ifndef TAV_DRIVE_SRC_POWER_POWERSTATEMACHINE_HPP
#define TAV_DRIVE_SRC_POWER_POWERSTATEMACHINE_HPP

#include <cstdint>
#include <optional>

#include "network/Errors.hpp"
#include "node/Part.hpp"
#include "power/VelocityMode.hpp"

namespace tav::drive {

/**
 * The CiA 402 state machine: control word 0x6040 in, status word 0x6041 out, transitions 0 to 16, the option
 * codes 0x605A to 0x605E and 0x6007. It tells the motion what to do in each state.
 */
class PowerStateMachine : public Part {
 public:
  PowerStateMachine(Context& context, VelocityMode& motion, Errors& errors);

  /** A fault occurred (transition 13). */
  void fault();
  /**
   * The host is gone: does what 0x6007 says, when the motor is driven.
   * @return true when that was a fault; it is reported with this code
   */
  bool connection_lost(std::uint16_t code, const VendorBytes& vendor);
  /** While true there is no torque, whatever the control word says: the drive stays in SWITCH_ON_DISABLED. */
  void inhibit_torque(bool inhibited);
  /** Supply of the power stage. */
  void set_supply(bool present) { supply_ = present; }
  void set_warning(bool warning) { warning_ = warning; }
  /** The brake is applied, torque or not: it stops the motor. */
  void set_safe_brake(bool applied);
  /** A power stage without torque short-circuits the phases of the motor, which brakes it. */
  void short_circuit_phases(bool shorted);

  [[nodiscard]] PowerState state() const { return state_; }
  /** The brake holds the motor: of an ideal one as soon as it is told to. */
  [[nodiscard]] bool brake_applied();

  void reset(Reset kind) override;
  void nmt_changed(NMTState before) override;
  [[nodiscard]] Time next_due() const override { return next_at_; }
  void run() override;

 private:
  /** The six peripheral status flags. */
  struct Peripherals {
    explicit Peripherals(ObjectDictionary& dictionary);
    Variable<std::uint8_t> brake_applied;
    Variable<std::uint8_t> low_power_applied;
    Variable<std::uint8_t> high_power_applied;
    Variable<std::uint8_t> driver_enabled;
    Variable<std::uint8_t> configuration_allowed;
    Variable<std::uint8_t> communication_enabled;
  };

  void guard_option_codes();
  void watch_objects();
  void controlword_written();
  void reset_fault();
  void disable_voltage();
  void quick_stop();
  void shutdown();
  void switch_on();
  void enable_operation();
  void leave_after_stop(PowerState next, bool slows_down);
  void approach(PowerState state);
  void enter(PowerState state);
  void motion_settled();
  void move();
  [[nodiscard]] bool ends_when_stopped() const;
  [[nodiscard]] Movement movement() const;
  [[nodiscard]] Movement halt_movement() const;
  [[nodiscard]] Movement quick_stop_movement() const;
  [[nodiscard]] Movement fault_movement() const;
  [[nodiscard]] bool has_torque() const;
  [[nodiscard]] std::uint16_t statusword();
  void show_statusword();
  void show_peripherals();

  Context& context_;
  VelocityMode& motion_;
  Errors& errors_;
  PowerState state_ = PowerState::NOT_READY_TO_SWITCH_ON;
  std::optional<PowerState> after_stop_;              ///< where an operation that is being ended leads
  PowerState next_ = PowerState::SWITCH_ON_DISABLED;  ///< where a transition that takes time leads
  Time next_at_ = Time::max();
  bool commutated_ = false;  ///< it was in OPERATION_ENABLED since power-on
  std::uint16_t last_controlword_ = 0;
  bool torque_inhibited_ = false;
  bool supply_ = true;
  bool warning_ = false;
  bool safe_brake_ = false;
  bool phases_shorted_ = false;

  Variable<std::uint16_t> controlword_;
  Variable<std::uint16_t> statusword_;
  Variable<std::uint16_t> unit_statusword_;
  Variable<std::int8_t> mode_display_;
  Variable<std::int16_t> abort_connection_option_;
  Variable<std::int16_t> quick_stop_option_;
  Variable<std::int16_t> shutdown_option_;
  Variable<std::int16_t> disable_operation_option_;
  Variable<std::int16_t> halt_option_;
  Variable<std::int16_t> fault_reaction_option_;
  Peripherals peripherals_;
};

}  // namespace tav::drive

#endif

#ifndef TAV_DRIVE_SRC_MACHINE_HPP
#define TAV_DRIVE_SRC_MACHINE_HPP

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "network/BusConnection.hpp"
#include "network/EmergencyProducer.hpp"
#include "network/Errors.hpp"
#include "network/HeartbeatConsumer.hpp"
#include "network/HeartbeatProducer.hpp"
#include "network/NMTSlave.hpp"
#include "node/Part.hpp"
#include "pdo/ProcessDataObjects.hpp"
#include "power/Health.hpp"
#include "power/PowerStateMachine.hpp"
#include "power/VelocityMode.hpp"
#include "safety/GlobalFailSafeCommand.hpp"
#include "safety/SRDOConfiguration.hpp"
#include "safety/SRDOConsumer.hpp"
#include "safety/SRDOProducer.hpp"
#include "safety/SafeMotion.hpp"
#include "safety/SafetyControl.hpp"
#include "safety/SignatureSupervision.hpp"
#include "scenario/ScenarioPlayer.hpp"
#include "sdo/SDOServer.hpp"
#include "storage/ParameterStore.hpp"

namespace tav::drive {

/** The drive as a whole, without locks: its parts, and how frames, time and resets reach them. */
class Machine {
 public:
  /** What comes out of it, in order. */
  struct Outputs {
    std::function<void(const nkr::can::Frame&)> transmit;
    std::function<void(nkr::can::BusState)> bus_state;
  };
  Machine(std::vector<Object> objects, const Settings& settings, Outputs outputs);

  void power_on(Time now);
  void receive(const nkr::can::Frame& frame, Time now);
  void advance(Time now);
  void raise_fault(std::uint16_t code, bool lasting, const VendorBytes& vendor);
  void clear_fault(std::uint16_t code);
  void measure(const Environment& environment);
  bool play(const Scenario& scenario, std::string& problem);
  std::vector<Verdict> finish_scenario() { return player_.finish(); }
  [[nodiscard]] bool scenario_stopped() const { return player_.stopped(); }
  /** False when the file of the non-volatile memory is damaged. */
  [[nodiscard]] bool memory_readable() const { return store_.readable(); }
  [[nodiscard]] Time now() const { return context_.now; }
  [[nodiscard]] Time next_due() const { return next_due_; }
  [[nodiscard]] std::uint8_t node_id() const { return context_.node_id; }
  [[nodiscard]] NMTState nmt_state() const { return context_.nmt; }
  [[nodiscard]] PowerState power_state() const { return power_.state(); }
  /** The object of that name as a read finds it now; null when there is none, or none to read. */
  [[nodiscard]] const Object* read(std::string_view name);
  /** What happened since the last call, the oldest first. */
  [[nodiscard]] std::vector<Event> take_events() { return std::exchange(events_, {}); }

 private:
  [[nodiscard]] BusConnection::Effects effects_of_bus(Outputs outputs);
  [[nodiscard]] ScenarioPlayer::Effects effects_of_scenario();
  [[nodiscard]] HeartbeatConsumer::Events heartbeat_events();
  [[nodiscard]] Health::Effects effects_of_health();
  [[nodiscard]] SafeMotion::Effects effects_of_safe_motion();
  void follow_safety();
  [[nodiscard]] std::string reason_for_no_torque(bool sound) const;
  void safety_violated(const SafeMotion::Violation& violation);
  void set_sensor(Action::Sensor sensor, std::int32_t value);
  [[nodiscard]] std::string to_machine(const Action& action, bool only_asks);
  [[nodiscard]] double quantity(Action::Quantity quantity);
  [[nodiscard]] std::optional<double> signal(Signal signal);
  void set_power(bool on);
  void die();
  void communication_lost(std::uint16_t code, const VendorBytes& vendor);
  void behave_on_error(std::uint8_t subindex);
  void behave_on_error_of(std::uint16_t code);
  void enter(NMTState state);
  void reset(Reset kind);
  void boot();
  [[nodiscard]] Duration boot_time(Reset kind) const;
  void take(const nkr::can::Frame& frame);
  [[nodiscard]] bool booting() const { return boot_at_ != Time::max(); }
  void deliver_node_id();
  void load_values(Reset kind);
  void set_power_on_value(Object& object);
  void plan();
  [[nodiscard]] bool acts(const Part& part) const;
  void remember(Event::Kind kind, std::uint32_t code, const std::string& text);

  Context context_;
  Variable<std::uint8_t> node_id_setting_;
  BusConnection bus_;
  ParameterStore store_;
  NMTSlave nmt_slave_;
  std::vector<std::unique_ptr<SDOServer>> sdo_servers_;
  HeartbeatProducer heartbeat_producer_;
  EmergencyProducer emergencies_;
  Errors errors_;
  VelocityMode velocity_mode_;
  PowerStateMachine power_;
  HeartbeatConsumer heartbeat_consumer_;
  SafetyControl safety_control_;
  SignatureSupervision signatures_;
  SafeMotion safe_motion_;
  SRDOConfiguration srdo_configuration_;
  SRDOConsumer srdo_consumer_;
  SRDOProducer srdo_producer_;
  GlobalFailSafeCommand global_fail_safe_;
  Health health_;
  ScenarioPlayer player_;
  ProcessDataObjects process_data_;
  std::vector<Part*> parts_;      // all of them, in the order in which they act
  std::vector<Part*> receivers_;  // of frames, in that order
  Time next_due_ = Time::max();
  Time powered_{};  ///< for the first time
  bool supplied_ = true;
  bool off_ = false;            ///< without supply for longer than it bears
  Time dies_at_ = Time::max();  ///< without supply
  Reset boots_after_ = Reset::POWER_ON;
  Time boot_at_ = Time::max();  ///< when the drive that boots is ready
  std::vector<Event> events_;
};

}  // namespace tav::drive

#endif

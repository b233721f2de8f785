#ifndef TAV_DRIVE_SRC_MACHINE_HPP
#define TAV_DRIVE_SRC_MACHINE_HPP

#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "Errors.hpp"
#include "Health.hpp"
#include "HeartbeatProducer.hpp"
#include "Line.hpp"
#include "ParameterStore.hpp"
#include "Part.hpp"
#include "PowerStateMachine.hpp"
#include "ProcessData.hpp"
#include "SafeMotion.hpp"
#include "SafetyFunctions.hpp"
#include "SafetySignatures.hpp"
#include "ScenarioPlayer.hpp"

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
  /** False when the file of the non-volatile memory is damaged. */
  [[nodiscard]] bool memory_readable() const { return store_->readable(); }
  [[nodiscard]] Time now() const { return context_.now; }
  [[nodiscard]] Time next_due() const { return next_due_; }
  [[nodiscard]] std::uint8_t node_id() const { return context_.node_id; }

 private:
  template <class Kind, class... Arguments>
  Kind& add(Arguments&&... arguments) {
    auto part = std::make_unique<Kind>(context_, std::forward<Arguments>(arguments)...);
    Kind& reference = *part;
    parts_.push_back(std::move(part));
    return reference;
  }
  void add_line(Outputs outputs);
  void add_scenario_player();
  void add_sdo_servers();
  void add_power_drive();
  void add_heartbeat_consumer();
  void add_safety();
  void add_srdo();
  void add_health();
  void follow_safety();
  void safety_violated(const SafeMotion::Violation& violation);
  void show(Action::Sensor sensor, std::int32_t value);
  void communication_lost(std::uint16_t code, const VendorBytes& vendor);
  void behave_on_error(std::uint8_t subindex);
  void enter(NMTState state);
  void reset(Reset kind);
  void deliver_node_id();
  void load_values(Reset kind);
  void set_power_on_value(Object& object);
  void plan();

  Context context_;
  Variable<std::uint8_t> node_id_setting_;
  std::vector<std::unique_ptr<Part>> parts_;
  Line* line_ = nullptr;
  ScenarioPlayer* player_ = nullptr;
  ParameterStore* store_ = nullptr;
  HeartbeatProducer* heartbeat_ = nullptr;
  Motion* motion_ = nullptr;
  ProcessData* process_data_ = nullptr;
  Health* health_ = nullptr;
  EmergencyProducer* emergencies_ = nullptr;
  Errors* errors_ = nullptr;
  PowerStateMachine* power_ = nullptr;
  SafetyFunctions* safety_functions_ = nullptr;
  SafetySignatures* safety_signatures_ = nullptr;
  SafeMotion* safe_motion_ = nullptr;
  Time next_due_ = Time::max();
};

}  // namespace tav::drive

#endif

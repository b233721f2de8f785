#include "Machine.hpp"

#include <algorithm>

#include "dictionary/ElectronicDataSheet.hpp"
#include "network/IdentifierRules.hpp"

namespace tav::drive {
namespace {

// Sub-indices of the error behaviour object, 0x1029.
constexpr std::uint8_t kCommunicationError = 1;
constexpr std::uint8_t kProfileError = 2;
constexpr std::uint8_t kManufacturerError = 3;

/** A server for the default channel and for each that the description has besides (CiA 301, 7.5.2.34). */
std::vector<std::unique_ptr<SDOServer>> make_sdo_servers(Context& context) {
  constexpr std::uint16_t kChannels = 128;
  constexpr std::uint16_t kFirst = 0x1200;
  std::vector<std::unique_ptr<SDOServer>> servers;
  for (std::uint16_t channel = 0; channel < kChannels; ++channel) {
    const auto index = static_cast<std::uint16_t>(kFirst + channel);
    if (channel > 0 && context.dictionary.find(index, 1) == nullptr) continue;
    servers.push_back(std::make_unique<SDOServer>(context, channel));
  }
  return servers;
}

void disturb_encoder(Encoder& encoder, const Action& action) {
  using Fault = Action::EncoderFault;
  switch (static_cast<Fault>(action.code)) {
    case Fault::OK:
      encoder.disturb(0);
      return encoder.fail(Encoder::Fault::NONE);
    case Fault::STUCK:
      return encoder.fail(Encoder::Fault::STUCK);
    case Fault::INVERTED:
      return encoder.fail(Encoder::Fault::INVERTED);
    case Fault::OFFSET:
      return encoder.jump(action.value);
    case Fault::NOISE:
      return encoder.disturb(action.value);
  }
}

void disturb_brake(HoldingBrake& brake, const Action& action) {
  using Fault = Action::BrakeFault;
  const auto fault = static_cast<Fault>(action.code);
  brake.wear(fault == Fault::WORN ? action.number : 0.0);
  brake.fail(fault == Fault::STUCK_OPEN     ? HoldingBrake::Fault::STUCK_OPEN
             : fault == Fault::STUCK_CLOSED ? HoldingBrake::Fault::STUCK_CLOSED
                                            : HoldingBrake::Fault::NONE);
}

void change_quantity(Motor& motor, const Action& action) {
  using Quantity = Action::Quantity;
  MotorParameters parameters = motor.parameters();
  switch (action.quantity) {
    case Quantity::LOAD:
      parameters.mass = action.number;
      break;
    case Quantity::SLOPE:
      parameters.slope = action.number;
      break;
    case Quantity::FRICTION:
      parameters.friction_torque = action.number;
      break;
    case Quantity::AMBIENT:
      parameters.ambient = action.number;
      break;
    case Quantity::VOLTAGE:
      return motor.supply().set_source(action.number);
  }
  motor.load(parameters);
}

double quantity_of(const Motor& motor, Action::Quantity quantity) {
  switch (quantity) {
    case Action::Quantity::LOAD:
      return motor.parameters().mass;
    case Action::Quantity::SLOPE:
      return motor.parameters().slope;
    case Action::Quantity::FRICTION:
      return motor.parameters().friction_torque;
    case Action::Quantity::AMBIENT:
      return motor.parameters().ambient;
    case Action::Quantity::VOLTAGE:
      break;
  }
  return motor.supply().source();
}

void disturb_motor(DrivenAxis& axis, const Action& action) {
  switch (action.kind) {
    case Action::Kind::QUANTITY:
      return change_quantity(axis.motor(), action);
    case Action::Kind::ENCODER:
      return disturb_encoder(axis.encoder(), action);
    case Action::Kind::BRAKE:
      return disturb_brake(axis.motor().brake(), action);
    case Action::Kind::PHASE:
      return axis.motor().lose_phase(!action.on);
    case Action::Kind::BATTERY:
      return axis.motor().supply().connect(action.on);
    default:
      return;
  }
}

std::int32_t Environment::*place_of(Action::Sensor sensor) {
  switch (sensor) {
    case Action::Sensor::BATTERY_VOLTAGE:
      return &Environment::battery_mv;
    case Action::Sensor::PHASE_CURRENT:
      return &Environment::phase_current_ma;
    case Action::Sensor::MOSFET_1:
      return &Environment::mosfet_1_celsius;
    case Action::Sensor::MOSFET_2:
      return &Environment::mosfet_2_celsius;
    case Action::Sensor::DRIVER:
      break;
  }
  return &Environment::driver_celsius;
}

/** Communication objects (CiA 301, 7.1.2): what a reset of the communication starts anew. */
bool is_communication(const Object& object) {
  return object.index >= 0x1000 && object.index < 0x2000;
}

}  // namespace

Machine::Machine(std::vector<Object> objects, const Settings& settings, Outputs outputs)
    : context_{settings,
               ObjectDictionary(std::move(objects)),
               Time{},
               0,
               NMTState::INITIALISING,
               {},
               {},
               Duration::zero(),
               {},
               {}},
      node_id_setting_(context_.dictionary.find("Node ID"), 1),
      bus_(context_, effects_of_bus(std::move(outputs))),
      store_(context_),
      nmt_slave_(context_, {[this](NMTState state) { enter(state); }, [this](Reset kind) { reset(kind); }}),
      sdo_servers_(make_sdo_servers(context_)),
      heartbeat_producer_(context_),
      emergencies_(context_),
      errors_(context_, emergencies_),
      velocity_mode_(context_),
      power_(context_, velocity_mode_, errors_),
      heartbeat_consumer_(context_, heartbeat_events()),
      safety_control_(context_, [this] { follow_safety(); }),
      signatures_(context_, errors_, [this] { follow_safety(); }),
      safe_motion_(context_, safety_control_, velocity_mode_, effects_of_safe_motion()),
      srdo_configuration_(context_),
      srdo_consumer_(context_, errors_, [this](bool missing) { safety_control_.set_data_missing(missing); }),
      srdo_producer_(context_),
      global_fail_safe_(context_, [this] { safety_control_.violate(); }),
      health_(context_, errors_, effects_of_health()),
      player_(context_, bus_, effects_of_scenario()),
      process_data_(context_, errors_, [this] { return velocity_mode_.moving(); }) {
  guard_identifiers(context_.dictionary);
  velocity_mode_.when_looked([this](const Environment& measured) { health_.sense(measured); });
  context_.transmit = [this](const nkr::can::Frame& frame) { bus_.transmit(frame); };
  context_.reply = [this](const nkr::can::Frame& frame) { bus_.reply(frame); };
  context_.report = [this](Event::Kind kind, std::uint32_t code, const std::string& text) {
    remember(kind, code, text);
  };
  context_.admit = [this](const Access& access) { return player_.admit(access); };
  parts_ = {&bus_, &store_, &nmt_slave_};
  for (const auto& server : sdo_servers_) parts_.push_back(server.get());
  parts_.insert(parts_.end(),
                {&heartbeat_producer_, &emergencies_, &errors_, &velocity_mode_, &power_,
                 &heartbeat_consumer_, &safety_control_, &signatures_, &safe_motion_, &srdo_configuration_,
                 &srdo_consumer_, &srdo_producer_, &global_fail_safe_, &health_, &player_, &process_data_});
  receivers_ = {&nmt_slave_};
  for (const auto& server : sdo_servers_) receivers_.push_back(server.get());
  receivers_.insert(receivers_.end(),
                    {&heartbeat_consumer_, &srdo_consumer_, &global_fail_safe_, &process_data_});
  deliver_node_id();
  load_values(Reset::POWER_ON);
}

BusConnection::Effects Machine::effects_of_bus(Outputs outputs) {
  constexpr std::uint16_t kRecoveredFromBusOff = 0x8140;
  return {std::move(outputs.transmit),
          std::move(outputs.bus_state),
          [this] { reset(Reset::NODE); },
          [this] { communication_lost(kRecoveredFromBusOff, {}); },
          [this] { errors_.clear(kRecoveredFromBusOff, {}); },
          [this](const nkr::can::Frame& frame) { take(frame); }};
}

ScenarioPlayer::Effects Machine::effects_of_scenario() {
  return {[this] { reset(Reset::NODE); },
          [this](std::uint16_t code, bool lasting) { raise_fault(code, lasting, {}); },
          [this](std::uint16_t code) { errors_.clear_code(code); },
          [this](std::uint16_t code) { emergencies_.send(code, errors_.error_register(), {}); },
          [this](bool demanded) { safety_control_.set_torque_off_input(demanded); },
          [this](Action::Sensor sensor, std::int32_t value) { set_sensor(sensor, value); },
          [this](Action::Sensor sensor) { health_.release(place_of(sensor)); },
          [this](const Action& action, bool only_asks) { return to_machine(action, only_asks); },
          [this](Action::Quantity which) { return quantity(which); },
          [this](const nkr::can::Frame& frame) { bus_.receive_from_bus(frame); },
          [this](Signal which) { return signal(which); },
          [this] { return power_.state(); }};
}

HeartbeatConsumer::Events Machine::heartbeat_events() {
  constexpr std::uint16_t kHeartbeatError = 0x8130;
  return {[this](std::uint8_t node) { communication_lost(kHeartbeatError, VendorBytes{node}); },
          [this](std::uint8_t node) { errors_.clear(kHeartbeatError, VendorBytes{node}); }};
}

Health::Effects Machine::effects_of_health() {
  const auto follow = [this] {
    power_.set_supply(health_.has_supply());
    power_.short_circuit_phases(health_.protection() == Health::Protection::BRAKE_SHORT_CIRCUIT);
    follow_safety();
  };
  return {[this] { power_.fault(); }, [this](bool warning) { power_.set_warning(warning); }, follow};
}

SafeMotion::Effects Machine::effects_of_safe_motion() {
  return {[this](const SafeMotion::Violation& violation) { safety_violated(violation); },
          [this](bool applied) { power_.set_safe_brake(applied); }};
}

std::string Machine::reason_for_no_torque(bool sound) const {
  if (safety_control_.torque_off()) return "STO";
  if (!sound) return "a safety signature differs";
  return health_.may_give_torque() ? context_.cause : "the power stage may not give torque";
}

/** No torque while STO acts, a safety signature differs, or the drive's own hardware does not allow it. */
void Machine::follow_safety() {
  const bool sound = signatures_.agree();
  const Because because(context_, reason_for_no_torque(sound));
  power_.inhibit_torque(safety_control_.torque_off() || !sound || !health_.may_give_torque());
  safety_control_.set_configuration_sound(sound);
  safe_motion_.follow();
}

void Machine::safety_violated(const SafeMotion::Violation& violation) {
  constexpr std::uint16_t kSpeedController = 0x8400;
  const VendorBytes vendor{static_cast<std::uint8_t>(violation.command_index),
                           static_cast<std::uint8_t>(violation.command_index >> 8), violation.instance};
  errors_.raise(kSpeedController, vendor, Errors::Ends::ACKNOWLEDGED, false);
  power_.fault();
  if (violation.torque_off) safety_control_.violate();
  behave_on_error_of(kSpeedController);
}

/** What 0x6007 and 0x1029 make of a loss of communication. */
void Machine::communication_lost(std::uint16_t code, const VendorBytes& vendor) {
  if (!power_.connection_lost(code, vendor)) {
    errors_.raise(code, vendor, Errors::Ends::WITH_ITS_CAUSE, true);
  }
  behave_on_error(kCommunicationError);
}

/** The error behaviour object, 0x1029: what an operational node does. */
void Machine::behave_on_error(std::uint8_t subindex) {
  constexpr std::uint8_t kPreOperational = 0;
  constexpr std::uint8_t kStopped = 2;
  if (context_.nmt != NMTState::OPERATIONAL) return;
  const auto behaviour = Variable<std::uint8_t>(context_.dictionary, 0x1029, subindex, kPreOperational).get();
  if (behaviour == kPreOperational) enter(NMTState::PRE_OPERATIONAL);
  if (behaviour == kStopped) enter(NMTState::STOPPED);
}

void Machine::behave_on_error_of(std::uint16_t code) {
  const std::uint8_t bits = Errors::class_bit(code);
  if ((bits & Errors::kCommunicationBit) != 0) behave_on_error(kCommunicationError);
  if ((bits & Errors::kProfileBit) != 0) behave_on_error(kProfileError);
  if ((bits & Errors::kManufacturerBit) != 0) behave_on_error(kManufacturerError);
}

void Machine::raise_fault(std::uint16_t code, bool lasting, const VendorBytes& vendor) {
  if (context_.nmt == NMTState::INITIALISING) return;
  errors_.raise(code, vendor, Errors::Ends::ACKNOWLEDGED, lasting);
  power_.fault();
  behave_on_error_of(code);
  process_data_.sample();
  plan();
}

void Machine::clear_fault(std::uint16_t code) {
  errors_.clear_code(code);
  process_data_.sample();
  plan();
}

void Machine::measure(const Environment& environment) {
  health_.measure(environment);
  process_data_.sample();
  plan();
}

/** One of the drive's sensors shows another value. */
void Machine::set_sensor(Action::Sensor sensor, std::int32_t value) {
  health_.force(place_of(sensor), value);
}

/** What happens to motor, supply and memory. @return why it has no effect; empty when it has */
std::string Machine::to_machine(const Action& action, bool only_asks) {
  using Does = Action::Kind;
  if (action.kind == Does::POWER) {
    if (!only_asks) set_power(action.on);
    return {};
  }
  if (action.kind == Does::FLASH) {
    if (!only_asks) store_.fail(!action.on);
    return {};
  }
  DrivenAxis* const axis = velocity_mode_.driven();
  if (axis == nullptr) return "on an ideal motor this has no effect (tav-drive --motor, Settings::motor)";
  if (only_asks) return {};
  (void)velocity_mode_.velocity();  // until now it was as it was
  disturb_motor(*axis, action);
  velocity_mode_.wake();
  return {};
}

double Machine::quantity(Action::Quantity which) {
  const DrivenAxis* const axis = velocity_mode_.driven();
  return axis == nullptr ? 0.0 : quantity_of(axis->motor(), which);
}

std::optional<double> Machine::signal(Signal which) {
  constexpr double kThousandth = 1000;
  const double speed = velocity_mode_.velocity();
  const DrivenAxis* const axis = velocity_mode_.driven();
  switch (which) {
    case Signal::SPEED:
      return speed;
    case Signal::POSITION:
      return static_cast<double>(velocity_mode_.position());
    case Signal::CURRENT:
      return axis != nullptr ? axis->motor().current() : health_.environment().phase_current_ma / kThousandth;
    case Signal::VOLTAGE:
      return axis != nullptr ? axis->motor().supply().voltage()
                             : health_.environment().battery_mv / kThousandth;
    case Signal::STAGE:
      return axis != nullptr ? axis->motor().stage_temperature()
                             : static_cast<double>(health_.environment().mosfet_1_celsius);
    case Signal::BRAKE:
      return power_.brake_applied() ? 1.0 : 0.0;
    case Signal::TIME:
      return std::chrono::duration<double>(context_.now - powered_).count();
    case Signal::TORQUE:
      if (axis == nullptr) return std::nullopt;
      return axis->motor().parameters().torque_constant * axis->motor().current();
    case Signal::WINDING:
      break;
  }
  return axis == nullptr ? std::nullopt : std::optional(axis->motor().winding_temperature());
}

/** The supply goes or comes. The drive bears to be without for a moment. */
void Machine::set_power(bool on) {
  constexpr std::chrono::milliseconds kHoldUp(20);
  if (std::exchange(supplied_, on) == on) return;
  if (DrivenAxis* const axis = velocity_mode_.driven()) {
    (void)velocity_mode_.velocity();
    axis->motor().supply().connect(on);
    velocity_mode_.wake();
  }
  dies_at_ = on || off_ ? Time::max() : context_.now + kHoldUp;
  if (!on || !off_) return;
  off_ = false;
  velocity_mode_.forget_position();
  reset(Reset::POWER_ON);
}

void Machine::die() {
  dies_at_ = boot_at_ = Time::max();
  const Because because(context_, "the supply is off");
  enter(NMTState::INITIALISING);
  off_ = true;
  velocity_mode_.command(Movement::COAST);
}

bool Machine::play(const Scenario& scenario, std::string& problem) {
  if (!player_.play(scenario, problem)) return false;
  plan();
  (void)player_.take_refusal();
  advance(context_.now);
  const std::optional<std::string> refusal = player_.take_refusal();
  if (refusal) problem = *refusal;
  return !refusal;
}

const Object* Machine::read(std::string_view name) {
  Object* const object = context_.dictionary.find(name);
  if (object == nullptr || !object->readable) return nullptr;
  return ObjectDictionary::refresh(*object) == Abort::NONE ? object : nullptr;
}

void Machine::remember(Event::Kind kind, std::uint32_t code, const std::string& text) {
  constexpr std::size_t kMost = 1000;
  if (events_.size() == kMost) events_.erase(events_.begin());
  events_.push_back({context_.now, kind, code, text, context_.cause});
  player_.happened(events_.back());
}

/** The node id that the drive's maker gave it, as if stored at delivery. */
void Machine::deliver_node_id() {
  Object* setting = node_id_setting_.object();
  if (context_.settings.node_id == 0) return;
  if (setting == nullptr) {
    node_id_setting_.set(context_.settings.node_id);
    return;
  }
  setting->value = default_value(*setting, 0);
  node_id_setting_.set(context_.settings.node_id);
  store_.deliver(*setting);
}

void Machine::set_power_on_value(Object& object) {
  object.forced.reset();
  if (!store_.load(object)) object.value = default_value(object, context_.node_id);
}

void Machine::load_values(Reset kind) {
  const bool network_too = kind != Reset::COMMUNICATION || store_.network_restored();
  for (Object& object : context_.dictionary.objects()) {
    if (network_too && ParameterStore::is_network(object)) set_power_on_value(object);
  }
  context_.node_id = node_id_setting_.get();
  for (Object& object : context_.dictionary.objects()) {
    if (ParameterStore::is_network(object)) continue;
    // No NMT command ends what a safety function was told to do.
    if (kind == Reset::NODE && safety_control_.demand_by(object)) continue;
    if (kind != Reset::COMMUNICATION || is_communication(object)) set_power_on_value(object);
  }
}

void Machine::power_on(Time now) {
  if (context_.nmt != NMTState::INITIALISING) return;
  context_.now = now;
  powered_ = now;
  player_.power_on();
  velocity_mode_.power_on();
  reset(Reset::POWER_ON);
  plan();
  advance(now);
}

Duration Machine::boot_time(Reset kind) const {
  const Timing& timing = context_.settings.timing;
  return kind == Reset::COMMUNICATION ? timing.communication_reset : timing.boot;
}

/** The node starts anew: at once, or after the time that takes it. */
void Machine::reset(Reset kind) {
  enter(NMTState::INITIALISING);
  // What is cut short by a reset of more is part of that one.
  boots_after_ = booting() ? std::min(boots_after_, kind) : kind;
  const Duration time = boot_time(boots_after_);
  boot_at_ = context_.now + time;
  if (kind != Reset::COMMUNICATION) velocity_mode_.command(Movement::COAST);
  if (time == Duration::zero()) boot();
}

void Machine::boot() {
  const Reset kind = boots_after_;
  boot_at_ = Time::max();
  load_values(kind);
  for (Part* const part : parts_) part->reset(kind);
  context_.work = Duration::zero();
  heartbeat_producer_.send_boot_up();
  enter(NMTState::PRE_OPERATIONAL);
}

void Machine::enter(NMTState state) {
  const NMTState before = context_.nmt;
  if (state == before) return;
  context_.nmt = state;
  context_.report(Event::Kind::NMT_STATE, static_cast<std::uint32_t>(state), {});
  for (Part* const part : parts_) part->nmt_changed(before);
}

void Machine::receive(const nkr::can::Frame& frame, Time now) {
  constexpr std::size_t kMostBytes = 8;
  advance(now);
  if (context_.nmt == NMTState::INITIALISING) return;
  if (frame.extended || frame.remote || frame.error || frame.size > kMostBytes) return;
  // Most of what a drive hears are the heartbeats of others.
  if (!context_.pass && heartbeat_consumer_.is_unheard(frame)) return;
  bus_.receive_from_bus(frame);
  process_data_.sample();
  plan();
}

void Machine::take(const nkr::can::Frame& frame) {
  if (context_.nmt == NMTState::INITIALISING) return;
  for (Part* const part : receivers_) part->receive(frame);
}

void Machine::advance(Time now) {
  if (context_.nmt == NMTState::INITIALISING && !booting() && !off_) return;
  while (next_due_ <= now) {
    context_.now = std::max(context_.now, next_due_);
    if (dies_at_ <= context_.now) die();
    if (boot_at_ <= context_.now) boot();
    for (Part* const part : parts_) {
      if (part->next_due() <= context_.now && acts(*part)) part->run();
    }
    process_data_.sample();
    plan();
  }
  context_.now = std::max(context_.now, now);
}

/** While the drive boots nothing of it acts but what happens to it. */
bool Machine::acts(const Part& part) const {
  return !(booting() || off_) || &part == &player_ || &part == &bus_ || &part == &velocity_mode_;
}

void Machine::plan() {
  next_due_ = std::min(boot_at_, dies_at_);
  for (Part* const part : parts_) {
    if (acts(*part)) next_due_ = std::min(next_due_, part->next_due());
  }
}

}  // namespace tav::drive

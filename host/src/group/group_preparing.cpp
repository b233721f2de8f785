// Before a group moves: who else is there, what the units are like, and what they are to hold.
#include <algorithm>
#include <nkr/time/clock.hpp>
#include <set>
#include <sstream>
#include <tav/host/Interrupt.hpp>
#include <tav/host/Presence.hpp>
#include <tav/host/text.hpp>
#include <tav/host/words.hpp>
#include <tavcore/CANOpenDispatcher.hpp>
#include <thread>
#include <utility>

#include "GroupImpl.hpp"

namespace tav::host {

using nkr::can::Frame;
using nkr::canopen::Event;
using nkr::canopen::NodeConfiguration;
using nkr::canopen::object_value;
using nkr::tavcore::CANOpenDispatcher;
using std::chrono::milliseconds;

namespace {

constexpr std::uint8_t kLastNode = 127;
constexpr std::uint32_t kNode = 0x7F;
constexpr milliseconds kConfiguring{20'000};
constexpr milliseconds kLook{5};
constexpr std::int8_t kVelocityMode = 2;

template <class Number>
Result read(tav::host::Unit& unit, std::uint32_t address, Number& number, const char* what) {
  return unit.check(unit.dispatcher()->get_value_by_address(address, number), what);
}

double per_second(std::uint32_t speed, std::uint16_t time) {
  return time == 0 ? 0 : static_cast<double>(speed) / time;
}

}  // namespace

Result Group::Impl::prepare() {
  if (is_running) {
    return Result(explanation(Cause::REFUSED, NKR_INVALID_STATE, "the group runs: it is prepared"));
  }
  is_prepared = false;
  preparation = GroupPreparation{};
  preparation.heartbeat_timeout = settings.heartbeat_timeout;
  ramps.assign(units.size(), {});
  preparation.units.resize(units.size());
  for (Result (Impl::*const step)() :
       {&Impl::see_units, &Impl::see_load, &Impl::listen, &Impl::choose_host_node}) {
    Result result = (this->*step)();
    if (!result.ok()) return result;
  }
  for (std::size_t i = 0; i < units.size(); ++i) {
    Result result = look_at(i);
    if (!result.ok()) return result;
  }
  Result result = see_equal_ramps();
  if (result.ok()) result = configure();
  is_prepared = result.ok();
  return result;
}

Result Group::Impl::see_units() {
  std::set<std::uint8_t> nodes;
  for (const tav::host::Unit* const unit : units) {
    std::string what;
    if (unit->shared_client() != client) what = "all units of a group must be on one client";
    if (!nodes.insert(unit->node_id()).second) what = "a unit is in the group twice";
    if (unit->is_enabled()) what = "the unit is enabled: disable it first";
    if (what.empty()) continue;
    return Result(explanation(Cause::REFUSED, NKR_INVALID_STATE, what, unit->node_id()));
  }
  if (!units.empty()) return {};
  return Result(explanation(Cause::REFUSED, NKR_ERROR, "a group needs a unit"));
}

Result Group::Impl::see_load() {
  if (settings.bit_rate == 0) return {};
  preparation.load = group_load(units.size(), settings.period, settings.bit_rate);
  const GroupLoad& load = preparation.load;
  if (load.fits()) return {};
  std::ostringstream detail;
  detail << units.size() << " units at " << settings.period.count() << " us take " << load.bits
         << " bits a cycle: " << static_cast<int>(load.share * 100) << " % of " << settings.bit_rate / 1000
         << " kbit/s, at most " << static_cast<int>(GroupLoad::kMost * 100)
         << " % may be; the period that fits is " << load.shortest_period.count() << " us";
  if (load.bit_rate_needed != 0) detail << ", the bit rate " << load.bit_rate_needed / 1000 << " kbit/s";
  Explanation refused = explanation(Cause::BUS_LOAD, NKR_ERROR, "run the group");
  refused.detail = detail.str();
  return Result(std::move(refused));
}

/** Whoever commands the units goes on doing so: it is heard before anything is sent. */
Result Group::Impl::listen() {
  nkr_error_t opened = NKR_OK;
  const auto listener = units.front()->bus().open({}, opened);
  if (!listener) return units.front()->check(opened, "listen to the bus");
  const Time end = nkr::time::now() + settings.listening;
  std::set<std::uint8_t> nodes;
  while (nkr::time::now() < end) {
    Frame frame;
    const nkr_error_t received = listener->receive(frame, std::min(end, nkr::time::now() + milliseconds(50)));
    if (is_interrupted())
      return Result(explanation(Cause::INTERRUPTED, NKR_INTERRUPTED, "listen to the bus"));
    if (received == NKR_CAN_TIMED_OUT) continue;
    if (received != NKR_OK) return units.front()->check(received, "listen to the bus");
    if (frame.extended || frame.error || frame.remote) continue;
    const auto node = static_cast<std::uint8_t>(frame.id & kNode);
    if ((frame.id & ~kNode) == 0x700 && node != 0) nodes.insert(node);
    Result judged = judge(frame);
    if (!judged.ok()) return judged;
  }
  preparation.heard.assign(nodes.begin(), nodes.end());
  return {};
}

Result Group::Impl::judge(const Frame& frame) {
  const auto node = static_cast<std::uint8_t>(frame.id & kNode);
  const bool is_member = index_of(node) < units.size();
  std::string what;
  if (frame.id == 0x080) what = "SYNC";
  if ((frame.id & ~kNode) == 0x200 && is_member) what = "orders to node " + std::to_string(node);
  if (frame.id == 0x000 && frame.size == 2 &&
      (frame.data[1] == 0 || index_of(frame.data[1]) < units.size())) {
    what = "NMT commands";
  }
  if (what.empty()) return {};
  Explanation other =
      explanation(Cause::OTHER_HOST, NKR_INVALID_STATE, "prepare the group", is_member ? node : 0);
  other.detail = "it sends " + what + ": " + to_string(frame);
  return Result(std::move(other));
}

Result Group::Impl::choose_host_node() {
  const auto is_taken = [this](std::uint8_t node) {
    return index_of(node) < units.size() ||
           std::find(preparation.heard.begin(), preparation.heard.end(), node) != preparation.heard.end();
  };
  std::vector<std::uint8_t> free;
  for (std::uint8_t node = kLastNode; node > 0 && free.size() < 3; --node) {
    if (!is_taken(node)) free.push_back(node);
  }
  const std::uint8_t wanted = settings.host_node_id;
  if (wanted == 0 ? !free.empty() : !is_taken(wanted)) {
    preparation.host_node = wanted == 0 ? free.front() : wanted;
    return {};
  }
  Explanation taken = explanation(wanted == 0 ? Cause::NO_HOST_NODE : Cause::HOST_NODE_TAKEN, NKR_ERROR,
                                  "take a node id for this host");
  taken.host_node = wanted;
  taken.free_nodes = free;
  return Result(std::move(taken));
}

Result Group::Impl::look_at(std::size_t index) {
  tav::host::Unit& unit = *units[index];
  const Presence presence = look_for_node(unit.bus(), *client, unit.node_id());
  if (!presence.is_there) {
    Explanation absent =
        explanation(Cause::NEVER_HEARD, presence.asked, "look for the drive", unit.node_id());
    absent.heard = unit.heard();
    return Result(std::move(absent));
  }
  PowerFacts facts;
  Result result = unit.read_power(facts);
  if (!result.ok()) return result;
  using State = nkr::tavcore::IPDSService::PDSState;
  if (facts.state == State::OPERATION_ENABLED || facts.state == State::QUICK_STOP_ACTIVE) {
    Explanation refused =
        explanation(Cause::REFUSED, NKR_INVALID_STATE, "the drive is enabled already", unit.node_id());
    refused.action += " (node " + std::to_string(unit.node_id()) + " on " + unit.bus().name() + ')';
    refused.detail = "somebody else enabled it, or it was left so: stop and disable it first";
    return Result(std::move(refused));
  }
  Ramps& held = ramps[index];
  result = read(unit, 0x60460120, held.least, "read the least velocity");
  if (result.ok()) result = read(unit, 0x60460220, held.most, "read the greatest velocity");
  if (result.ok()) result = read(unit, 0x60480120, held.acceleration_speed, "read the acceleration");
  if (result.ok()) result = read(unit, 0x60480210, held.acceleration_time, "read the acceleration");
  if (result.ok()) result = read(unit, 0x60490120, held.deceleration_speed, "read the deceleration");
  if (result.ok()) result = read(unit, 0x60490210, held.deceleration_time, "read the deceleration");
  if (!result.ok()) return result;
  GroupPreparation::Unit& found = preparation.units[index];
  found.node = unit.node_id();
  found.acceleration = per_second(held.acceleration_speed, held.acceleration_time);
  found.deceleration = per_second(held.deceleration_speed, held.deceleration_time);
  found.most_velocity = static_cast<int>(std::min<std::uint32_t>(held.most, INT16_MAX));
  const double reacting = std::chrono::duration<double>(settings.heartbeat_timeout).count();
  found.stopping_way = found.most_velocity * reacting;
  if (found.deceleration > 0) {
    found.stopping_way += found.most_velocity * (found.most_velocity / found.deceleration) / 2;
  }
  return {};
}

/** Wheels that follow one set-point by different ramps turn the vehicle. */
Result Group::Impl::see_equal_ramps() {
  for (std::size_t i = 1; i < units.size(); ++i) {
    const Ramps& first = ramps.front();
    const Ramps& other = ramps[i];
    const GroupPreparation::Unit& of_first = preparation.units.front();
    const GroupPreparation::Unit& of_other = preparation.units[i];
    struct Row {
      const char* what;
      double first, other;
    };
    for (const Row& row :
         {Row{"least velocity (0x6046:01)", double(first.least), double(other.least)},
          Row{"greatest velocity (0x6046:02)", double(first.most), double(other.most)},
          Row{"acceleration per second (0x6048)", of_first.acceleration, of_other.acceleration},
          Row{"deceleration per second (0x6049)", of_first.deceleration, of_other.deceleration}}) {
      if (row.first == row.other) continue;
      Explanation differ =
          explanation(Cause::RAMPS_DIFFER, NKR_INVALID_STATE, "prepare the group", of_other.node);
      std::ostringstream detail;
      detail << row.what << ": node " << int{of_first.node} << " has " << row.first << ", node "
             << int{of_other.node} << " has " << row.other;
      differ.detail = detail.str();
      return Result(std::move(differ));
    }
  }
  return {};
}

/** All at once: the client serves several nodes beside each other. */
Result Group::Impl::configure() {
  configured.assign(units.size(), Progress::NONE);
  failures.assign(units.size(), {});
  if (subscription == 0) {
    subscription = client->subscribe([this](const Event& event) { heard(event); });
  }
  for (std::size_t i = 0; i < units.size(); ++i) {
    Result result = configure(i);
    if (!result.ok()) return result;
  }
  const Time end = nkr::time::now() + kConfiguring;
  while (true) {
    {
      const std::lock_guard<std::mutex> lock(mutex);
      const auto failed = std::find(configured.begin(), configured.end(), Progress::FAILED);
      if (failed != configured.end()) {
        const Event& event = failures[static_cast<std::size_t>(failed - configured.begin())];
        Explanation refused = explanation(event.result == NKR_ERROR ? Cause::NOT_KEPT : Cause::REQUEST,
                                          event.result, "set up its process data", event.node);
        refused.detail = address_text({event.address.index, event.address.subindex});
        return Result(std::move(refused));
      }
      if (std::count(configured.begin(), configured.end(), Progress::NONE) == 0) return {};
    }
    if (is_interrupted())
      return Result(explanation(Cause::INTERRUPTED, NKR_INTERRUPTED, "prepare the group"));
    if (nkr::time::now() > end) {
      return Result(explanation(Cause::REQUEST, NKR_SDO_TIMED_OUT, "set up the process data"));
    }
    nkr::time::sleep_for(kLook);
  }
}

Result Group::Impl::configure(std::size_t index) {
  tav::host::Unit& unit = *units[index];
  Result result =
      unit.check(client->setNMTState(unit.node_id(), nkr::canopencore::NMTCommand::ENTER_PRE_OPERATIONAL),
                 "enter pre-operational");
  std::int8_t mode = 0;
  if (result.ok()) {
    result = unit.check(client->getValue(unit.node_id(), 0x60600008, mode), "read the mode of operation");
  }
  if (result.ok() && mode != kVelocityMode) {
    result = unit.check(client->setValue(unit.node_id(), 0x60600008, kVelocityMode), "set the velocity mode");
  }
  // What was demanded of it before must not make it move now.
  if (result.ok()) result = unit.check(unit.dispatcher()->setTargetVelocity(0), "set target velocity 0");
  NodeConfiguration configuration = group_process_data(unit.node_id());
  if (result.ok()) result = let_watch(index, configuration);
  if (!result.ok()) return result;
  return unit.check(client->setNodeConfiguration(unit.node_id(), std::move(configuration)),
                    "keep its process data set up");
}

Result Group::Impl::let_watch(std::size_t index, NodeConfiguration& configuration) {
  tav::host::Unit& unit = *units[index];
  GroupPreparation::Unit& found = preparation.units[index];
  HostMonitoring held;
  std::string action;
  Result result = unit.check(read_host_monitoring(*unit.dispatcher(), held, action), action);
  if (!result.ok()) return result;
  const std::uint8_t host = preparation.host_node;
  auto entry = std::find_if(held.consumers.begin(), held.consumers.end(),
                            [host](const auto& c) { return c.node == host; });
  if (entry == held.consumers.end()) {
    entry = std::find_if(held.consumers.begin(), held.consumers.end(),
                         [](const auto& c) { return !c.is_active(); });
  }
  if (entry != held.consumers.end()) {
    found.watch_entry = entry->subindex;
    const auto time = static_cast<std::uint16_t>(settings.heartbeat_timeout.count());
    entry->node = host;
    entry->time_ms = time;
    configuration.push_back(
        object_value({0x1016, entry->subindex}, static_cast<std::uint32_t>(host) << 16 | time));
  }
  if (held.behavior == CANOpenDispatcher::ErrorBehavior::NO_CHANGE) {
    configuration.push_back(object_value({0x1029, 1}, std::uint8_t{0}));
    held.behavior = CANOpenDispatcher::ErrorBehavior::PRE_OPERATIONAL;
  }
  if (held.abort_connection == CANOpenDispatcher::AbortConnectionOptionCode::NO_ACTION) {
    constexpr std::int16_t kQuickStopCommand = 3;
    configuration.push_back(object_value({0x6007, 0}, kQuickStopCommand));
    held.abort_connection = CANOpenDispatcher::AbortConnectionOptionCode::QUICK_STOP;
  }
  found.weakness = held.watches(host) ? held.weakness() : "it watches no host (no free entry in 0x1016)";
  if (found.weakness.empty()) return {};
  Explanation weak = explanation(Cause::UNPROTECTED, NKR_OK, "let the drive watch this host", found.node);
  weak.detail = found.weakness;
  warn(weak);
  return {};
}

/** On a thread of the client. A unit that restarted is started again when it is set up; it gives no torque.
 */
void Group::Impl::heard(const Event& event) {
  const std::size_t index = index_of(event.node);
  if (index == units.size()) return;
  if (event.kind == Event::Kind::CONFIGURATION_FAILED) {
    const std::lock_guard<std::mutex> lock(mutex);
    configured[index] = Progress::FAILED;
    failures[index] = event;
  } else if (event.kind == Event::Kind::CONFIGURED) {
    const std::lock_guard<std::mutex> lock(mutex);
    configured[index] = Progress::DONE;
  } else if (event.kind == Event::Kind::RECOVERED) {
    const std::lock_guard<std::mutex> lock(mutex);
    configured[index] = Progress::DONE;
    if (!port || !is_running) return;
    static_cast<void>(port->send({0x000, {0x01, event.node}}, nkr::time::now() + milliseconds(100)));
    cycle->restored(event.node);
  }
}

}  // namespace tav::host

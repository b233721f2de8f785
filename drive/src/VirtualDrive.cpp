#include <fstream>
#include <mutex>
#include <nkr/time/Condition.hpp>
#include <tav/drive/VirtualDrive.hpp>
#include <utility>
#include <variant>
#include <vector>

#include "Machine.hpp"
#include "dictionary/ElectronicDataSheet.hpp"

namespace tav::drive {
namespace {

constexpr std::uint8_t kLargestNodeId = 127;

bool is_usable(const Settings& settings, std::string& problem) {
  if (settings.node_id <= kLargestNodeId) return true;
  problem = "the node id " + std::to_string(settings.node_id) + " is not one of 1 to 127";
  return false;
}

/** Something became due: the drive's clock is to be looked at. */
struct Wake {};
/** What the drive has to say, in order. */
using Outgoing = std::variant<nkr::can::Frame, nkr::can::BusState, Wake>;

}  // namespace

// Frames are collected under the lock and handed out without it, so that an output may wait, or bring the
// next frame in. One thread at a time hands out; what others cause meanwhile is handed out by it, in order.
struct VirtualDrive::Impl {
  Impl(std::vector<Object> objects, const Settings& settings)
      : machine(std::move(objects), settings,
                {[this](const nkr::can::Frame& frame) { outbox.emplace_back(frame); },
                 [this](nkr::can::BusState state) { outbox.emplace_back(state); }}) {}

  void hand_out(const Outgoing& outgoing) const {
    if (const auto* const frame = std::get_if<nkr::can::Frame>(&outgoing)) {
      if (output) output(*frame);
    } else if (const auto* const state = std::get_if<nkr::can::BusState>(&outgoing)) {
      if (events.bus_state) events.bus_state(*state);
    } else if (events.wake) {
      events.wake();
    }
  }

  /** After a call that may have made something due earlier. */
  void hand_out_and_wake(std::unique_lock<std::mutex>& lock) {
    outbox.emplace_back(Wake{});
    hand_out(lock);
  }

  void hand_out(std::unique_lock<std::mutex>& lock) {
    if (handing_out) return;
    handing_out = true;
    while (!outbox.empty()) {
      going_out.swap(outbox);
      lock.unlock();
      for (const Outgoing& outgoing : going_out) hand_out(outgoing);
      going_out.clear();
      lock.lock();
    }
    handing_out = false;
    idle.notify_all();
  }

  std::mutex mutex;
  nkr::time::Condition idle;  // nobody hands out
  Machine machine;
  Output output;
  Events events;
  std::vector<Outgoing> outbox;
  std::vector<Outgoing> going_out;  // used by the thread that hands out, without the lock
  bool handing_out = false;
};

VirtualDrive::VirtualDrive(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
VirtualDrive::~VirtualDrive() = default;

std::unique_ptr<VirtualDrive> VirtualDrive::create(std::istream& eds, const Settings& settings,
                                                   std::string& problem) {
  if (!is_usable(settings, problem)) return nullptr;
  std::vector<Object> objects;
  if (!read_description(eds, objects, problem)) return nullptr;
  auto impl = std::make_unique<Impl>(std::move(objects), settings);
  if (!impl->machine.memory_readable()) {
    problem = settings.store_path + " is damaged: remove it to start from the defaults";
    return nullptr;
  }
  const std::uint8_t node_id = impl->machine.node_id();
  if (node_id == 0 || node_id > kLargestNodeId) {
    problem = "no node id is given, and the description's own (\"Node ID\") is not one of 1 to 127";
    return nullptr;
  }
  return std::unique_ptr<VirtualDrive>(new VirtualDrive(std::move(impl)));
}

std::unique_ptr<VirtualDrive> VirtualDrive::from_file(const std::string& eds_path, const Settings& settings,
                                                      std::string& problem) {
  if (!is_usable(settings, problem)) return nullptr;
  std::ifstream eds(eds_path, std::ios::binary);
  if (!eds) {
    problem = "cannot open " + eds_path;
    return nullptr;
  }
  auto drive = create(eds, settings, problem);
  if (!drive) problem = eds_path + ": " + problem;
  return drive;
}

void VirtualDrive::connect(Output output, Events events) {
  std::unique_lock<std::mutex> lock(impl_->mutex);
  impl_->idle.wait(lock, [this] { return !impl_->handing_out; });
  impl_->output = std::move(output);
  impl_->events = std::move(events);
}

void VirtualDrive::power_on(Time now) {
  std::unique_lock<std::mutex> lock(impl_->mutex);
  impl_->machine.power_on(now);
  impl_->hand_out(lock);
}

void VirtualDrive::receive(const nkr::can::Frame& frame) {
  std::unique_lock<std::mutex> lock(impl_->mutex);
  impl_->machine.receive(frame, impl_->machine.now());
  impl_->hand_out(lock);
}

Time VirtualDrive::receive(const nkr::can::Frame& frame, Time now) {
  std::unique_lock<std::mutex> lock(impl_->mutex);
  impl_->machine.receive(frame, now);
  impl_->hand_out(lock);
  return impl_->machine.next_due();
}

Time VirtualDrive::advance(Time now) {
  std::unique_lock<std::mutex> lock(impl_->mutex);
  impl_->machine.advance(now);
  impl_->hand_out(lock);
  return impl_->machine.next_due();
}

void VirtualDrive::raise_fault(std::uint16_t code, bool lasting, const std::array<std::uint8_t, 5>& vendor) {
  std::unique_lock<std::mutex> lock(impl_->mutex);
  impl_->machine.raise_fault(code, lasting, vendor);
  impl_->hand_out_and_wake(lock);
}

void VirtualDrive::clear_fault(std::uint16_t code) {
  std::unique_lock<std::mutex> lock(impl_->mutex);
  impl_->machine.clear_fault(code);
  impl_->hand_out_and_wake(lock);
}

void VirtualDrive::measure(const Environment& environment) {
  std::unique_lock<std::mutex> lock(impl_->mutex);
  impl_->machine.measure(environment);
  impl_->hand_out_and_wake(lock);
}

bool VirtualDrive::play(const Scenario& scenario, std::string& problem) {
  std::unique_lock<std::mutex> lock(impl_->mutex);
  const bool played = impl_->machine.play(scenario, problem);
  impl_->hand_out_and_wake(lock);
  return played;
}

std::vector<Verdict> VirtualDrive::finish_scenario() {
  const std::lock_guard<std::mutex> lock(impl_->mutex);
  return impl_->machine.finish_scenario();
}

bool VirtualDrive::scenario_stopped() const {
  const std::lock_guard<std::mutex> lock(impl_->mutex);
  return impl_->machine.scenario_stopped();
}

std::uint8_t VirtualDrive::node_id() const {
  const std::lock_guard<std::mutex> lock(impl_->mutex);
  return impl_->machine.node_id();
}

NMTState VirtualDrive::nmt_state() const {
  const std::lock_guard<std::mutex> lock(impl_->mutex);
  return impl_->machine.nmt_state();
}

PowerState VirtualDrive::power_state() const {
  const std::lock_guard<std::mutex> lock(impl_->mutex);
  return impl_->machine.power_state();
}

std::optional<std::int64_t> VirtualDrive::value(std::string_view name) const {
  const std::lock_guard<std::mutex> lock(impl_->mutex);
  const Object* const object = impl_->machine.read(name);
  if (object == nullptr) return std::nullopt;
  switch (object->kind) {
    case Kind::SIGNED:
      return signed_of(object->value);
    case Kind::UNSIGNED:
      return static_cast<std::int64_t>(unsigned_of(object->value));
    case Kind::REAL:
    case Kind::TEXT:
      break;
  }
  return std::nullopt;
}

std::optional<std::vector<std::uint8_t>> VirtualDrive::bytes(std::string_view name) const {
  const std::lock_guard<std::mutex> lock(impl_->mutex);
  const Object* const object = impl_->machine.read(name);
  return object == nullptr ? std::nullopt : std::optional(object->value);
}

std::vector<Event> VirtualDrive::take_events() {
  const std::lock_guard<std::mutex> lock(impl_->mutex);
  return impl_->machine.take_events();
}

}  // namespace tav::drive

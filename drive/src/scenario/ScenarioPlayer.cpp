#include "scenario/ScenarioPlayer.hpp"

#include <nkr/error.h>

#include <algorithm>
#include <utility>

#include "dictionary/ElectronicDataSheet.hpp"

namespace tav::drive {
namespace {

using nkr::can::BusState;

bool concerns(const Trigger& when, const Access& access) {
  if (when.kind == Trigger::Kind::READ && access.write) return false;
  if (when.kind == Trigger::Kind::WRITE && !access.write) return false;
  return when.any_object || (when.object.index == access.index && when.object.subindex == access.subindex);
}

std::string refusal(const Action& action, const Object& object, Abort abort) {
  return "the drive refuses \"" + action.text + "\" for " + object.name + ": " +
         nkr_error_text(static_cast<nkr_error_t>(abort));
}

}  // namespace

ScenarioPlayer::ScenarioPlayer(Context& context, BusConnection& bus, Effects effects)
    : context_(context), bus_(bus), effects_(std::move(effects)) {}

bool ScenarioPlayer::play(const Scenario& scenario, std::string& problem) {
  std::vector<ScenarioEvent> events = scenario.events;
  for (ScenarioEvent& event : events) {
    if (resolve(event, problem)) continue;
    if (event.line != 0) problem.insert(0, "line " + std::to_string(event.line) + ": ");
    return false;
  }
  for (const ScenarioEvent& event : events) add(event);
  return true;
}

bool ScenarioPlayer::resolve(ScenarioEvent& event, std::string& problem) {
  const bool at_access = event.when.kind != Trigger::Kind::TIME && !event.when.any_object;
  if (at_access && !resolve(event.when.object, problem)) return false;
  if (event.action.kind != Action::Kind::SET) return true;
  return resolve(event.action.object, problem) && fits(event.action, problem);
}

/** Gives an object that is named its address. */
bool ScenarioPlayer::resolve(ObjectReference& object, std::string& problem) {
  if (object.name.empty()) return true;
  const Object* const found = context_.dictionary.find(object.name);
  if (found == nullptr) {
    problem = "no object is called \"" + object.name + "\"";
    return false;
  }
  object.index = found->index;
  object.subindex = found->subindex;
  return true;
}

bool ScenarioPlayer::fits(const Action& action, std::string& problem) {
  const Object* const object = context_.dictionary.find(action.object.index, action.object.subindex);
  if (object == nullptr) {
    problem = "the drive has no such object";
    return false;
  }
  const std::optional<Bytes> value = value_of(*object, action.text);
  if (!value) {
    problem = "\"" + action.text + "\" is no value of " + object->name;
    return false;
  }
  const Abort abort = object->writable ? ObjectDictionary::check_value(*object, *value) : Abort::NONE;
  if (abort != Abort::NONE) problem = refusal(action, *object, abort);
  return abort == Abort::NONE;
}

void ScenarioPlayer::add(const ScenarioEvent& event) {
  if (event.when.kind != Trigger::Kind::TIME) {
    accesses_.push_back({event.when, event.action});
    return;
  }
  const Time due = context_.now + event.when.time;
  const auto later = std::upper_bound(timed_.begin(), timed_.end(), due,
                                      [](Time time, const TimedEvent& other) { return time < other.due; });
  timed_.insert(later, {due, event.action});
}

void ScenarioPlayer::power_on() {
  for (TimedEvent& event : timed_) event.due += context_.now - Time{};
}

Time ScenarioPlayer::next_due() const {
  return timed_.empty() ? Time::max() : timed_.front().due;
}

void ScenarioPlayer::run() {
  while (next_due() <= context_.now) {
    const Action action = std::move(timed_.front().action);
    timed_.erase(timed_.begin());
    perform(action);
    admission_.served = true;  // the next access finds the drive as it is then
  }
}

Admission ScenarioPlayer::admit(const Access& access) {
  for (AccessEvent& event : accesses_) {
    if (event.over || !concerns(event.when, access)) continue;
    ++event.count;
    event.over = event.count == event.when.nth;
    if (event.over || event.when.nth == 0) perform(event.action);
  }
  const Admission admission = std::exchange(admission_, {});
  const BusConnection::ReplyFault fault = std::exchange(reply_, {});
  if (admission.served) bus_.disturb(access, fault);
  return admission;
}

void ScenarioPlayer::perform(const Action& action) {
  using Does = Action::Kind;
  switch (action.kind) {
    case Does::REPLY_LOST:
      reply_.lost = true;
      return;
    case Does::REPLY_LATE:
      reply_.late = action.duration;
      return;
    case Does::REPLY_TWICE:
      reply_.twice = true;
      return;
    case Does::REPLY_ABORT:
      admission_.refused = static_cast<Abort>(action.code);
      return;
    case Does::REPLY_WRONG_TOGGLE:
      reply_.wrong_toggle = admission_.in_segments = true;
      return;
    case Does::REPLY_WRONG_INDEX:
      reply_.wrong_index = true;
      return;
    case Does::REPLY_WRONG_SIZE:
      reply_.wrong_size = true;
      return;
    case Does::RESET:
      admission_.served = false;
      return effects_.reset();
    case Does::RESET_AMID:
      reply_.reset_amid = true;
      return;
    case Does::BUS_OFF:
      return cut_bus(BusState::BUS_OFF, action.duration);
    case Does::BUS_GONE:
      return cut_bus(BusState::INTERFACE_GONE, action.duration);
    case Does::BUS_BACK:
      return bus_.restore();
    case Does::EMERGENCY:
      return effects_.emergency(static_cast<std::uint16_t>(action.code));
    case Does::FAULT:
      if (action.on) raised_.insert(static_cast<std::uint16_t>(action.code));
      return effects_.raise_fault(static_cast<std::uint16_t>(action.code), action.on);
    case Does::CLEAR:
      return clear(static_cast<std::uint16_t>(action.code));
    case Does::SAFE_TORQUE_OFF:
      return effects_.torque_off_input(action.on);
    case Does::MEASURE:
      return effects_.measure(action.sensor, action.value);
    case Does::SILENCE:
      return bus_.silence(action.duration);
    case Does::SET:
      return set(action);
  }
}

void ScenarioPlayer::cut_bus(BusState state, Duration duration) {
  admission_.served = false;
  bus_.cut(state, duration);
}

void ScenarioPlayer::clear(std::uint16_t code) {
  if (code != 0) {
    raised_.erase(code);
    return effects_.clear_fault(code);
  }
  for (const std::uint16_t raised : std::exchange(raised_, {})) effects_.clear_fault(raised);
}

/**
 * What a client may write is written as by a client, and may be refused; the rest just takes the value. What
 * the drive computes on reading has it until the node starts anew.
 */
void ScenarioPlayer::set(const Action& action) {
  Object* const object = context_.dictionary.find(action.object.index, action.object.subindex);
  if (object == nullptr) return;
  const std::optional<Bytes> value = value_of(*object, action.text);
  if (!value) return;
  if (object->writable) {
    const Abort abort = ObjectDictionary::write(*object, *value);
    if (abort != Abort::NONE) return refused(action, *object, abort);
  } else {
    object->value = *value;
  }
  const bool computed = object->refresh && object->stands_for == nullptr;
  if (computed) object->forced = *value;
}

void ScenarioPlayer::refused(const Action& action, const Object& object, Abort abort) {
  const std::string text = refusal(action, object, abort);
  if (!refusal_) refusal_ = text;
  context_.report(Event::Kind::REFUSED, static_cast<std::uint32_t>(abort), text);
}

}  // namespace tav::drive

#include "scenario/ScenarioPlayer.hpp"

#include <nkr/error.h>

#include <algorithm>
#include <utility>

#include "dictionary/ElectronicDataSheet.hpp"
#include "scenario/FrameMatcher.hpp"

namespace tav::drive {
namespace {

using nkr::can::BusState;

/** How often conditions, checks and quantities on their way are looked at. */
constexpr std::chrono::milliseconds kLook(1);

bool waits_for_access(const Trigger& when) {
  return when.kind == Trigger::Kind::READ || when.kind == Trigger::Kind::WRITE ||
         when.kind == Trigger::Kind::ACCESS;
}

bool concerns(const Trigger& when, const Access& access) {
  if (!waits_for_access(when)) return false;
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
    : context_(context),
      bus_(bus),
      effects_(std::move(effects)),
      conditions_(context, effects_.signal, effects_.power_state),
      checks_(context, conditions_),
      seed_(context.settings.timing.seed) {}

bool ScenarioPlayer::play(const Scenario& scenario, std::string& problem) {
  std::vector<ScenarioEvent> events;
  std::string problems;
  for (ScenarioEvent event : scenario.events) {
    if (event.node != 0 && event.node != context_.node_id) continue;
    std::string mistake;
    if (resolve(event, mistake) && fits(event, mistake)) {
      events.push_back(std::move(event));
      continue;
    }
    const std::string line = event.line == 0 ? "" : "line " + std::to_string(event.line) + ": ";
    const std::string file = event.file.empty() ? "" : event.file + ": ";
    problems += (problems.empty() ? "" : "\n") + file + line + mistake;
  }
  if (!problems.empty()) {
    problem = problems;
    return false;
  }
  if (scenario.seed) seed_ = *scenario.seed;
  began_ = context_.now;
  for (const ScenarioEvent& event : events) add(event);
  plan_look();
  return true;
}

bool ScenarioPlayer::resolve(ScenarioEvent& event, std::string& problem) {
  const bool at_access = waits_for_access(event.when) && !event.when.any_object;
  if (at_access && !resolve(event.when.object, problem)) return false;
  if (!resolve(event.when.condition, problem)) return false;
  if (!resolve(event.action.check.condition, problem)) return false;
  if (event.action.kind != Action::Kind::SET) return true;
  return resolve(event.action.object, problem) && fits(event.action, problem);
}

bool ScenarioPlayer::resolve(Condition& condition, std::string& problem) {
  for (auto& terms : condition.any_of) {
    for (Condition::Term& term : terms) {
      if (term.kind == Condition::Term::Kind::SIGNAL && !conditions_.has(term.signal)) {
        problem = "an ideal motor has no such signal (tav-drive --motor, Settings::motor)";
        return false;
      }
      if (term.kind != Condition::Term::Kind::OBJECT) continue;
      if (!resolve(term.object, problem)) return false;
      if (context_.dictionary.find(term.object.index, term.object.subindex) != nullptr) continue;
      problem = "the drive has no such object";
      return false;
    }
  }
  return true;
}

/** Nothing is said to be done that has no effect. */
bool ScenarioPlayer::fits(const ScenarioEvent& event, std::string& problem) {
  using Does = Action::Kind;
  switch (event.action.kind) {
    case Does::QUANTITY:
    case Does::ENCODER:
    case Does::PHASE:
    case Does::BRAKE:
    case Does::BATTERY:
      problem = effects_.to_machine(event.action, true);
      return problem.empty();
    default:
      return true;
  }
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
  using When = Trigger::Kind;
  if (event.when.kind == When::TIME) return add_timed(event, began_ + event.when.time, Duration::zero());
  if (event.when.kind == When::EVERY) return add_timed(event, began_ + event.when.time, event.when.time);
  // A line of its own has numbers of its own: another one beside it shifts them not.
  const std::string purpose = event.text + '#' + std::to_string(same_lines_[event.text]++);
  waiting_.push_back({event, began_, Random(seed_, purpose)});
  if (event.when.kind == When::FRAME) watch_frames();
}

void ScenarioPlayer::watch_frames() {
  if (context_.pass) return;
  context_.pass = [this](const nkr::can::Frame& frame) { return pass(frame); };
}

void ScenarioPlayer::add_timed(const ScenarioEvent& event, Time due, Duration period) {
  const auto later = std::upper_bound(timed_.begin(), timed_.end(), due,
                                      [](Time time, const TimedEvent& other) { return time < other.due; });
  const Time until = event.when.until.count() == 0 ? Time::max() : began_ + event.when.until;
  timed_.insert(later, {due, period, until, event});
}

void ScenarioPlayer::power_on() {
  const Duration since = context_.now - Time{};
  for (TimedEvent& timed : timed_) {
    timed.due += since;
    if (timed.until != Time::max()) timed.until += since;
  }
  for (WaitingEvent& waiting : waiting_) waiting.began += since;
  began_ += since;
  plan_look();
}

bool ScenarioPlayer::looks() const {
  const auto watches = [](const WaitingEvent& waiting) {
    return waiting.event.when.kind == Trigger::Kind::CONDITION && !waiting.over;
  };
  return !ramps_.empty() || checks_.any() || std::any_of(waiting_.begin(), waiting_.end(), watches);
}

Time ScenarioPlayer::next_due() const {
  if (!ready_.empty()) return context_.now;
  Time due = timed_.empty() ? Time::max() : timed_.front().due;
  return stopped_ ? Time::max() : std::min(due, look_due_);
}

void ScenarioPlayer::run() {
  move_quantities();
  while (!stopped_ && !timed_.empty() && timed_.front().due <= context_.now) {
    TimedEvent timed = std::move(timed_.front());
    timed_.erase(timed_.begin());
    perform(timed.event);
    admission_.served = true;  // the next access finds the drive as it is then
    const Time next = timed.due + timed.period;
    if (timed.period > Duration::zero() && next <= timed.until) add_timed(timed.event, next, timed.period);
  }
  for (const ScenarioEvent& event : std::exchange(ready_, {})) {
    perform(event);
    admission_.served = true;
  }
  look_at_conditions();
  checks_.look();
  plan_look();
}

/** Looks stay on a grid from where the scenario began. */
void ScenarioPlayer::plan_look() {
  look_due_ = looks() ? began_ + ((context_.now - began_) / kLook + 1) * kLook : Time::max();
}

/** Whether what it waits for, which happened once more, is its turn. */
bool ScenarioPlayer::its_turn(WaitingEvent& waiting) const {
  const Trigger& when = waiting.event.when;
  ++waiting.count;
  if (when.every != 0) return waiting.count % when.every == 0;
  if (when.nth == 0) return true;
  const std::uint32_t last = std::max(when.nth, when.last);
  waiting.over = waiting.count >= last;
  return waiting.count >= when.nth && waiting.count <= last;
}

Admission ScenarioPlayer::admit(const Access& access) {
  for (WaitingEvent& waiting : waiting_) {
    if (waiting.over || !concerns(waiting.event.when, access) || !its_turn(waiting)) continue;
    waiting.fired = true;
    perform(waiting.event);
    plan_look();
  }
  const Admission admission = std::exchange(admission_, {});
  const BusConnection::ReplyFault fault = std::exchange(reply_, {});
  if (admission.served) bus_.disturb(access, fault);
  return admission;
}

Passage ScenarioPlayer::pass(const nkr::can::Frame& frame) {
  Passage passage{frame};
  checks_.frame_passed(frame);
  for (WaitingEvent& waiting : waiting_) {
    const Trigger& when = waiting.event.when;
    if (waiting.over || when.kind != Trigger::Kind::FRAME) continue;
    if (context_.now < waiting.began + when.time || !matches(when.frame, frame, context_)) continue;
    if (!its_turn(waiting)) continue;
    if (waiting.event.action.kind == Action::Kind::FRAME_FAULT) {
      disturb(waiting, passage);
    } else {
      waiting.fired = true;
      ready_.push_back(waiting.event);
    }
  }
  return passage;
}

void ScenarioPlayer::disturb(WaitingEvent& waiting, Passage& passage) {
  using Disturbs = FrameFault::Kind;
  const FrameFault& fault = waiting.event.action.fault;
  const bool over = fault.until.count() != 0 && context_.now > waiting.began + fault.until;
  if (over || (fault.count != 0 && waiting.disturbed >= fault.count)) {
    waiting.over = true;
    return;
  }
  if (fault.probability < 1 && waiting.random.part() >= fault.probability) return;
  waiting.fired = true;
  ++waiting.disturbed;
  if (fault.kind == Disturbs::LOSE) passage.copies = 0;
  if (fault.kind == Disturbs::DUPLICATE) passage.copies *= 2;
  if (fault.kind == Disturbs::LATE) passage.delay += fault.delay + waiting.random.up_to(fault.jitter);
  if (fault.kind == Disturbs::CORRUPT && passage.frame.size > 0) {
    const std::uint64_t bits = 8U * passage.frame.size;
    const std::uint64_t bit =
        fault.bit >= 0 ? static_cast<std::uint64_t>(fault.bit) % bits : waiting.random.next() % bits;
    passage.frame.data[bit / 8] ^= static_cast<std::uint8_t>(1U << (bit % 8));
  }
  log(waiting.event, ": " + nkr::can::to_string(passage.frame));
}

void ScenarioPlayer::log(const ScenarioEvent& event, const std::string& more) {
  if (!context_.settings.logs_scenario) return;
  context_.report(Event::Kind::ACTION, static_cast<std::uint32_t>(event.line), event.text + more);
}

void ScenarioPlayer::happened(const Event& event) {
  if (event.kind == Event::Kind::EMERGENCY) checks_.emergency_sent(event.code);
  const bool power = event.kind == Event::Kind::POWER_STATE;
  if (!power && event.kind != Event::Kind::NMT_STATE) return;
  const auto kind = power ? Trigger::Kind::POWER_STATE : Trigger::Kind::NMT_STATE;
  for (WaitingEvent& waiting : waiting_) {
    if (waiting.over || waiting.event.when.kind != kind || waiting.event.when.code != event.code) continue;
    waiting.fired = waiting.over = true;
    ready_.push_back(waiting.event);
  }
}

/** A condition fires once, when it was true for its time. */
void ScenarioPlayer::look_at_conditions() {
  std::vector<ScenarioEvent> fired;
  for (WaitingEvent& waiting : waiting_) {
    const Trigger& when = waiting.event.when;
    if (waiting.over || when.kind != Trigger::Kind::CONDITION) continue;
    if (!conditions_.hold(when.condition, {})) {
      waiting.true_since = Time::max();
      continue;
    }
    waiting.true_since = std::min(waiting.true_since, context_.now);
    if (context_.now - waiting.true_since < when.duration) continue;
    waiting.fired = waiting.over = true;
    fired.push_back(waiting.event);
  }
  for (const ScenarioEvent& event : fired) perform(event);
}

void ScenarioPlayer::move_quantities() {
  for (const Ramp& ramp : ramps_) {
    const double whole = std::chrono::duration<double>(ramp.end - ramp.begin).count();
    const double over = std::chrono::duration<double>(context_.now - ramp.begin).count();
    Action action;
    action.kind = Action::Kind::QUANTITY;
    action.quantity = ramp.quantity;
    action.number = over >= whole ? ramp.to : ramp.from + (ramp.to - ramp.from) * over / whole;
    (void)effects_.to_machine(action, false);
  }
  const auto arrived = [this](const Ramp& ramp) { return ramp.end <= context_.now; };
  ramps_.erase(std::remove_if(ramps_.begin(), ramps_.end(), arrived), ramps_.end());
}

std::vector<Verdict> ScenarioPlayer::finish() {
  checks_.finish();
  std::vector<Verdict> verdicts = std::exchange(checks_.verdicts(), {});
  const auto open = [&](const ScenarioEvent& event) {
    verdicts.push_back({Verdict::Kind::INCONCLUSIVE, event,
                        std::chrono::duration_cast<std::chrono::microseconds>(context_.now - began_),
                        "it did not happen"});
  };
  for (const TimedEvent& timed : timed_) {
    if (timed.period == Duration::zero() && !stopped_) open(timed.event);
  }
  for (const WaitingEvent& waiting : waiting_) {
    if (!waiting.fired && !stopped_) open(waiting.event);
  }
  timed_.clear();
  waiting_.clear();
  return verdicts;
}

void ScenarioPlayer::perform(const ScenarioEvent& event) {
  if (stopped_) return;
  if (event.action.kind == Action::Kind::CHECK) {
    watch_frames();
    return checks_.begin(event, began_);
  }
  log(event, {});
  const Because because(context_, "the scenario: " + event.text);
  perform(event.action);
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
    case Does::SENSOR_OK:
      return effects_.measure_again(action.sensor);
    case Does::QUANTITY:
      return change(action);
    case Does::POWER:
      admission_.served = false;
      (void)effects_.to_machine(action, false);
      return;
    case Does::BATTERY:
    case Does::ENCODER:
    case Does::PHASE:
    case Does::BRAKE:
    case Does::FLASH:
      (void)effects_.to_machine(action, false);
      return;
    case Does::SEND:
      return effects_.receive(*nkr::can::parse_frame(action.text));
    case Does::STOP:
      stopped_ = true;
      return;
    case Does::FRAME_FAULT:
    case Does::CHECK:
      return;
  }
}

void ScenarioPlayer::change(const Action& action) {
  const auto same = [&](const Ramp& ramp) { return ramp.quantity == action.quantity; };
  ramps_.erase(std::remove_if(ramps_.begin(), ramps_.end(), same), ramps_.end());
  if (action.duration.count() == 0) {
    (void)effects_.to_machine(action, false);
    return;
  }
  ramps_.push_back({action.quantity, effects_.quantity(action.quantity), action.number, context_.now,
                    context_.now + action.duration});
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

#include "scenario/CheckList.hpp"

#include <algorithm>
#include <locale>
#include <sstream>

#include "scenario/FrameMatcher.hpp"

namespace tav::drive {
namespace {

using std::chrono::duration_cast;
using std::chrono::microseconds;

bool compare(double left, Condition::Term::Relation relation, double right) {
  using Relation = Condition::Term::Relation;
  switch (relation) {
    case Relation::LESS:
      return left < right;
    case Relation::NOT_MORE:
      return left <= right;
    case Relation::MORE:
      return left > right;
    case Relation::NOT_LESS:
      return left >= right;
    case Relation::EQUAL:
      return left == right;
    case Relation::OTHER:
      return left != right;
  }
  return false;
}

const char* name_of(Signal signal) {
  constexpr const char* kNames[] = {"velocity", "position", "current", "torque", "voltage",
                                    "winding",  "stage",    "brake",   "time"};
  return kNames[static_cast<std::size_t>(signal)];
}

std::string text_of(double number) {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text.precision(6);
  text << number;
  return text.str();
}

}  // namespace

std::optional<double> Conditions::value_of(const Condition::Term& term) const {
  if (term.kind == Condition::Term::Kind::SIGNAL) return signals_(term.signal);
  Object* const object = context_.dictionary.find(term.object.index, term.object.subindex);
  if (object == nullptr || ObjectDictionary::refresh(*object) != Abort::NONE) return std::nullopt;
  return static_cast<double>(number_in(*object, object->value));
}

bool Conditions::holds(const Condition::Term& term, const std::vector<std::uint32_t>& emergencies) const {
  using TermKind = Condition::Term::Kind;
  switch (term.kind) {
    case TermKind::POWER_STATE:
      return power_state_() == static_cast<PowerState>(term.code);
    case TermKind::NMT_STATE:
      return context_.nmt == static_cast<NMTState>(term.code);
    case TermKind::EMERGENCY:
      return std::find(emergencies.begin(), emergencies.end(), term.code) != emergencies.end();
    case TermKind::SIGNAL:
    case TermKind::OBJECT:
      break;
  }
  const std::optional<double> value = value_of(term);
  return value && compare(*value, term.relation, term.value);
}

bool Conditions::hold(const Condition& condition, const std::vector<std::uint32_t>& emergencies) const {
  return std::any_of(condition.any_of.begin(), condition.any_of.end(), [&](const auto& terms) {
    return std::all_of(terms.begin(), terms.end(),
                       [&](const Condition::Term& term) { return holds(term, emergencies) != term.negated; });
  });
}

std::string Conditions::found(const Condition& condition) const {
  using TermKind = Condition::Term::Kind;
  std::string text;
  for (const auto& terms : condition.any_of) {
    for (const Condition::Term& term : terms) {
      std::string one;
      if (term.kind == TermKind::POWER_STATE) {
        one = "the state is " + std::string(to_string(power_state_()));
      } else if (term.kind == TermKind::NMT_STATE) {
        one = "the NMT state is " + std::string(to_string(context_.nmt));
      } else if (term.kind == TermKind::EMERGENCY) {
        continue;
      } else {
        const std::optional<double> value = value_of(term);
        const Object* const object = context_.dictionary.find(term.object.index, term.object.subindex);
        const std::string name = term.kind == TermKind::SIGNAL ? name_of(term.signal)
                                 : object == nullptr           ? "the object"
                                                               : object->name;
        one = name + " is " + (value ? text_of(*value) : "not to be read");
      }
      text += (text.empty() ? "" : ", ") + one;
    }
  }
  return text.empty() ? "it did not come" : text;
}

void CheckList::begin(const ScenarioEvent& event, Time scenario_began) {
  const Check& check = event.action.check;
  Running running{event, context_.now, context_.now + check.time, scenario_began, {}, 0, false};
  if (check.kind == Check::Kind::NEVER) {
    running.deadline = check.time.count() == 0 ? Time::max() : scenario_began + check.time;
  }
  if (emergencies_at_ == context_.now) running.emergencies = emergencies_;
  if (check.kind == Check::Kind::NOW) running.deadline = context_.now;
  look_at(running);
  if (!running.over) running_.push_back(std::move(running));
}

void CheckList::frame_passed(const nkr::can::Frame& frame) {
  for (Running& running : running_) {
    const Check& check = running.event.action.check;
    const bool counts = check.kind == Check::Kind::FRAME_WITHIN || check.kind == Check::Kind::COUNT;
    if (counts && matches(check.frame, frame, context_)) ++running.frames;
  }
}

void CheckList::emergency_sent(std::uint32_t code) {
  for (Running& running : running_) running.emergencies.push_back(code);
  if (emergencies_at_ != context_.now) emergencies_.clear();
  emergencies_at_ = context_.now;
  emergencies_.push_back(code);
}

void CheckList::look() {
  for (Running& running : running_) look_at(running);
  running_.erase(
      std::remove_if(running_.begin(), running_.end(), [](const Running& one) { return one.over; }),
      running_.end());
}

void CheckList::look_at(Running& running) {
  using CheckKind = Check::Kind;
  const Check& check = running.event.action.check;
  const bool late = context_.now >= running.deadline;
  if (check.kind == CheckKind::FRAME_WITHIN) {
    if (running.frames > 0) return end(running, Verdict::Kind::PASSED, {});
    if (late) end(running, Verdict::Kind::FAILED, "no such frame came");
    return;
  }
  if (check.kind == CheckKind::COUNT) {
    const bool too_many = running.frames > check.high;
    if (!late && !too_many) return;
    const bool right = running.frames >= check.low && !too_many;
    return end(running, right ? Verdict::Kind::PASSED : Verdict::Kind::FAILED,
               right ? "" : std::to_string(running.frames) + " of them came");
  }
  const bool holds = conditions_.hold(check.condition, running.emergencies);
  const bool wanted = check.kind != CheckKind::NEVER;
  const bool first = check.kind == CheckKind::WITHIN;  // the first time that it holds decides
  if (first && holds) return end(running, Verdict::Kind::PASSED, {});
  if (!first && holds != wanted) {
    return end(running, Verdict::Kind::FAILED, conditions_.found(check.condition));
  }
  if (!late) return;
  end(running, first ? Verdict::Kind::FAILED : Verdict::Kind::PASSED,
      first ? conditions_.found(check.condition) : std::string());
}

void CheckList::end(Running& running, Verdict::Kind kind, const std::string& message) {
  running.over = true;
  verdicts_.push_back(
      {kind, running.event, duration_cast<microseconds>(context_.now - running.scenario_began), message});
  const char* const word = kind == Verdict::Kind::PASSED ? "passed: " : "failed: ";
  const std::string why = message.empty() ? "" : " (" + message + ")";
  context_.report(Event::Kind::CHECK, static_cast<std::uint32_t>(kind), word + running.event.text + why);
}

void CheckList::finish() {
  look();
  for (Running& running : running_) {
    const bool unbroken = running.event.action.check.kind == Check::Kind::NEVER;
    end(running, unbroken ? Verdict::Kind::PASSED : Verdict::Kind::INCONCLUSIVE,
        unbroken ? "" : "the scenario ended before");
  }
  running_.clear();
}

Time CheckList::next_deadline() const {
  Time due = Time::max();
  for (const Running& running : running_) due = std::min(due, running.deadline);
  return due;
}

}  // namespace tav::drive

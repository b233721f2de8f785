#ifndef TAV_DRIVE_SRC_SCENARIO_CHECKLIST_HPP
#define TAV_DRIVE_SRC_SCENARIO_CHECKLIST_HPP

#include <functional>
#include <optional>
#include <string>
#include <tav/drive/DriveStates.hpp>
#include <tav/drive/Scenario.hpp>
#include <vector>

#include "node/Part.hpp"

namespace tav::drive {

/** What conditions look at. */
class Conditions {
 public:
  using Signals = std::function<std::optional<double>(Signal)>;
  Conditions(Context& context, Signals signals, std::function<PowerState()> power_state)
      : context_(context), signals_(std::move(signals)), power_state_(std::move(power_state)) {}

  /** @param emergencies  error codes that were sent since it is asked */
  [[nodiscard]] bool hold(const Condition& condition, const std::vector<std::uint32_t>& emergencies) const;
  /** What there is instead: "velocity is 12". */
  [[nodiscard]] std::string found(const Condition& condition) const;
  /** Whether the drive has such a signal. */
  [[nodiscard]] bool has(Signal signal) const { return signals_(signal).has_value(); }

 private:
  [[nodiscard]] std::optional<double> value_of(const Condition::Term& term) const;
  [[nodiscard]] bool holds(const Condition::Term& term, const std::vector<std::uint32_t>& emergencies) const;

  Context& context_;
  Signals signals_;
  std::function<PowerState()> power_state_;
};

/** The checks of a scenario that are under way, and how those ended that are over. */
class CheckList {
 public:
  CheckList(Context& context, const Conditions& conditions) : context_(context), conditions_(conditions) {}

  void begin(const ScenarioEvent& event, Time scenario_began);
  void frame_passed(const nkr::can::Frame& frame);
  void emergency_sent(std::uint32_t code);
  /** Looks at all that are under way. */
  void look();
  /** The scenario ends: what was not broken has passed, what did not come is open. */
  void finish();

  [[nodiscard]] bool any() const { return !running_.empty(); }
  /** When one of them ends by itself; conditions are to be looked at more often. */
  [[nodiscard]] Time next_deadline() const;
  [[nodiscard]] std::vector<Verdict>& verdicts() { return verdicts_; }

 private:
  struct Running {
    ScenarioEvent event;
    Time began;
    Time deadline;
    Time scenario_began;
    std::vector<std::uint32_t> emergencies;
    std::uint32_t frames = 0;
    bool over = false;
  };

  void look_at(Running& running);
  void end(Running& running, Verdict::Kind kind, const std::string& message);

  Context& context_;
  const Conditions& conditions_;
  std::vector<Running> running_;
  std::vector<Verdict> verdicts_;
  Time emergencies_at_{};                   // of those that follow
  std::vector<std::uint32_t> emergencies_;  // sent in this instant: a check that begins in it counts them
};

}  // namespace tav::drive

#endif

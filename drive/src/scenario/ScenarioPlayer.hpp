#ifndef TAV_DRIVE_SRC_SCENARIO_SCENARIOPLAYER_HPP
#define TAV_DRIVE_SRC_SCENARIO_SCENARIOPLAYER_HPP

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <tav/drive/Scenario.hpp>
#include <utility>
#include <vector>

#include "network/BusConnection.hpp"
#include "node/Part.hpp"
#include "node/Random.hpp"
#include "scenario/CheckList.hpp"

namespace tav::drive {

/** Makes the events of scenarios happen, at their time or at their access. */
class ScenarioPlayer : public Part {
 public:
  struct Effects {
    std::function<void()> reset;
    std::function<void(std::uint16_t code, bool lasting)> raise_fault;
    std::function<void(std::uint16_t code)> clear_fault;
    std::function<void(std::uint16_t code)> emergency;
    std::function<void(bool)> torque_off_input;
    std::function<void(Action::Sensor, std::int32_t)> measure;
    std::function<void(Action::Sensor)> measure_again;
    /** Does what happens to motor, supply and memory. @return why it has no effect; empty when it has */
    std::function<std::string(const Action&, bool only_asks)> to_machine;
    std::function<double(Action::Quantity)> quantity;  ///< of the machine, now
    std::function<void(const nkr::can::Frame&)> receive;
    std::function<std::optional<double>(Signal)> signal;
    std::function<PowerState()> power_state;
  };
  ScenarioPlayer(Context& context, BusConnection& bus, Effects effects);

  /**
   * Adds a scenario that begins now, or when the drive is switched on.
   * @return false, and the reason in `problem`, when it names what the drive does not have; nothing of it is
   *         added then
   */
  bool play(const Scenario& scenario, std::string& problem);
  void power_on();
  /** What the drive refused since the last call, the first of it; nothing when it took everything. */
  [[nodiscard]] std::optional<std::string> take_refusal() { return std::exchange(refusal_, std::nullopt); }
  /** An access begins: what its events make of it. */
  Admission admit(const Access& access);

  /** The drive did something. */
  void happened(const Event& event);
  /** The scenario ends now: what it still waited for is open. @return how each check ended */
  std::vector<Verdict> finish();
  [[nodiscard]] bool stopped() const { return stopped_; }

  [[nodiscard]] Time next_due() const override;
  void run() override;

 private:
  struct TimedEvent {
    Time due;  // before the drive is switched on: since then
    Duration period;
    Time until;
    ScenarioEvent event;
  };
  /** One that waits for something else than a time. */
  struct WaitingEvent {
    ScenarioEvent event;
    Time began;
    Random random;
    std::uint32_t count = 0;  // of what it waits for
    std::uint32_t disturbed = 0;
    Time true_since = Time::max();
    bool fired = false;
    bool over = false;
  };
  /** A quantity on its way. */
  struct Ramp {
    Action::Quantity quantity;
    double from;
    double to;
    Time begin;
    Time end;
  };

  [[nodiscard]] bool resolve(ScenarioEvent& event, std::string& problem);
  [[nodiscard]] bool resolve(ObjectReference& object, std::string& problem);
  [[nodiscard]] bool resolve(Condition& condition, std::string& problem);
  [[nodiscard]] bool fits(const ScenarioEvent& event, std::string& problem);
  [[nodiscard]] bool fits(const Action& action, std::string& problem);
  void add(const ScenarioEvent& event);
  void add_timed(const ScenarioEvent& event, Time due, Duration period);
  void watch_frames();
  void plan_look();
  void log(const ScenarioEvent& event, const std::string& more);
  void perform(const ScenarioEvent& event);
  void perform(const Action& action);
  [[nodiscard]] bool its_turn(WaitingEvent& waiting) const;
  [[nodiscard]] Passage pass(const nkr::can::Frame& frame);
  void disturb(WaitingEvent& waiting, Passage& passage);
  void look_at_conditions();
  void move_quantities();
  [[nodiscard]] bool looks() const;
  void change(const Action& action);
  void cut_bus(nkr::can::BusState state, Duration duration);
  void clear(std::uint16_t code);
  void set(const Action& action);
  void refused(const Action& action, const Object& object, Abort abort);

  Context& context_;
  BusConnection& bus_;
  Effects effects_;
  Conditions conditions_;
  CheckList checks_;
  std::vector<TimedEvent> timed_;  // in the order in which they happen
  std::vector<WaitingEvent> waiting_;
  std::vector<ScenarioEvent> ready_;  // triggered by what may not be disturbed while it happens
  std::vector<Ramp> ramps_;
  std::map<std::string, int> same_lines_;
  Time began_{};  // the last scenario
  Time look_due_ = Time::max();
  std::uint64_t seed_;
  bool stopped_ = false;
  std::set<std::uint16_t> raised_;   // faults whose cause lasts
  BusConnection::ReplyFault reply_;  // of the access that begins, or of the next
  Admission admission_;
  std::optional<std::string> refusal_;
};

}  // namespace tav::drive

#endif

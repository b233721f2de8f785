#ifndef TAV_DRIVE_SRC_SCENARIO_SCENARIOPLAYER_HPP
#define TAV_DRIVE_SRC_SCENARIO_SCENARIOPLAYER_HPP

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <tav/drive/Scenario.hpp>
#include <utility>
#include <vector>

#include "network/BusConnection.hpp"
#include "node/Part.hpp"

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

  [[nodiscard]] Time next_due() const override;
  void run() override;

 private:
  struct TimedEvent {
    Time due;  // before the drive is switched on: since then
    Action action;
  };
  struct AccessEvent {
    Trigger when;
    Action action;
    std::uint32_t count = 0;
    bool over = false;
  };

  [[nodiscard]] bool resolve(ScenarioEvent& event, std::string& problem);
  [[nodiscard]] bool resolve(ObjectReference& object, std::string& problem);
  [[nodiscard]] bool fits(const Action& action, std::string& problem);
  void add(const ScenarioEvent& event);
  void perform(const Action& action);
  void cut_bus(nkr::can::BusState state, Duration duration);
  void clear(std::uint16_t code);
  void set(const Action& action);
  void refused(const Action& action, const Object& object, Abort abort);

  Context& context_;
  BusConnection& bus_;
  Effects effects_;
  std::vector<TimedEvent> timed_;  // in the order in which they happen
  std::vector<AccessEvent> accesses_;
  std::set<std::uint16_t> raised_;   // faults whose cause lasts
  BusConnection::ReplyFault reply_;  // of the access that begins, or of the next
  Admission admission_;
  std::optional<std::string> refusal_;
};

}  // namespace tav::drive

#endif

#ifndef TESTS_HOST_GROUP_STEPPEDGROUP_HPP
#define TESTS_HOST_GROUP_STEPPEDGROUP_HPP

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <nkr/can/Frame.hpp>
#include <string>
#include <tav/drive/VirtualDrive.hpp>
#include <tav/host/GroupCycle.hpp>
#include <vector>

namespace tests::host {

using std::chrono::microseconds;
using std::chrono::milliseconds;
using tav::host::CycleSettings;
using tav::host::GroupCycle;
using tav::host::GroupSnapshot;
using tav::host::GroupState;
using tav::host::StopReason;

/**
 * A group's cycle and its virtual drives in stepped time, with a wire between them that a test can script.
 * Nodes are 11, 12 ...; their process data are mapped and they are operational.
 */
class SteppedGroup {
 public:
  using Time = GroupCycle::Time;
  using Duration = nkr::can::Clock::duration;

  /** A frame that was on the wire. */
  struct Passed {
    Time at;
    nkr::can::Frame frame;
    std::uint8_t sender = 0;  ///< node; 0: the host, 255: somebody else
  };
  /** What becomes of a frame: lost, or delivered so much later. */
  struct Fate {
    bool is_lost = false;
    Duration delay{};
    bool is_doubled = false;
  };
  using Script = std::function<Fate(const nkr::can::Frame&, std::uint8_t sender)>;

  explicit SteppedGroup(std::size_t drives = 2, CycleSettings settings = {});
  ~SteppedGroup();

  [[nodiscard]] GroupCycle& cycle() { return *cycle_; }
  [[nodiscard]] tav::drive::VirtualDrive& drive(std::size_t index) { return *drives_.at(index); }
  [[nodiscard]] std::size_t size() const { return drives_.size(); }
  [[nodiscard]] Time now() const { return now_; }
  [[nodiscard]] Time beginning() const { return beginning_; }
  [[nodiscard]] const CycleSettings& settings() const { return settings_; }

  /** Decides on every frame from now on. */
  void script(Script script) { script_ = std::move(script); }
  /** What the host's bus answers to a send from now on. */
  void bus_answers(nkr_error_t result) { bus_ = result; }
  /** Lets the cycle's thread sleep until then: it neither hears nor sends. */
  void stall(Duration duration) { awake_at_ = now_ + duration; }
  /** Somebody else sends "080#". */
  void somebody_sends(const std::string& frame);
  /** A drive plays "at 0 reset". */
  void play(std::size_t index, const std::string& line);

  void begin();
  void run(Duration duration);
  /** The cycle is left to the caller, who then has the frames of that time. */
  void run_paced(Duration duration);
  void run_cycles(int cycles) { run(settings_.period * cycles); }
  /** Runs until the group is in that state; false after ten seconds. */
  bool reaches(GroupState state);
  /** Begins and enables; the test fails when that does not succeed. */
  void enable();
  /** Runs, and sets the same velocities in every cycle meanwhile. */
  void drive_at(const std::vector<int>& velocities, Duration duration);

  [[nodiscard]] GroupSnapshot snapshot() const { return cycle_->snapshot(); }
  [[nodiscard]] int velocity(std::size_t index) const;
  [[nodiscard]] bool all_stand() const;
  [[nodiscard]] unsigned status_bits(std::size_t index) const;

  /** What was on the wire since the last call of forget(). */
  [[nodiscard]] const std::vector<Passed>& wire() const { return wire_; }
  [[nodiscard]] std::vector<Passed> with_id(std::uint32_t id) const;
  void forget() { wire_.clear(); }
  /** The orders between each two SYNCs, by node; the last, unfinished interval included. */
  [[nodiscard]] std::vector<std::map<std::uint8_t, std::vector<nkr::can::Frame>>> orders() const;

 private:
  struct OnTheWay {
    nkr::can::Frame frame;
    std::uint8_t sender = 0;
  };
  void put(const nkr::can::Frame& frame, std::uint8_t sender);
  void deliver(const OnTheWay& item);
  void prepare(tav::drive::VirtualDrive& drive);
  void run_host();

  CycleSettings settings_;
  std::vector<std::unique_ptr<tav::drive::VirtualDrive>> drives_;
  std::vector<Time> drive_due_;
  std::unique_ptr<GroupCycle> cycle_;
  std::multimap<Time, OnTheWay> on_the_way_;
  std::vector<nkr::can::Frame> heard_;  ///< by a host that sleeps
  std::vector<Passed> wire_;
  Script script_;
  nkr_error_t bus_ = NKR_OK;
  Time now_{};
  Time beginning_{};
  Time awake_at_{};
  Time host_due_ = Time::max();
};

/** Control word and velocity of an order. */
unsigned word_of(const nkr::can::Frame& order);
int velocity_of(const nkr::can::Frame& order);

}  // namespace tests::host

#endif

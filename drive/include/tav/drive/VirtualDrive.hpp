#ifndef TAV_DRIVE_VIRTUALDRIVE_HPP
#define TAV_DRIVE_VIRTUALDRIVE_HPP

#include <nkr/export.h>

#include <array>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <nkr/can/Bus.hpp>
#include <nkr/can/Frame.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <tav/drive/DriveStates.hpp>
#include <tav/drive/Scenario.hpp>
#include <tav/drive/Settings.hpp>
#include <vector>

namespace tav::drive {

/**
 * A drive unit made of software: the object dictionary that a description (EDS) gives, and the behaviour that
 * CiA 301 and CiA 402 give to its objects.
 *
 * It is passive: frames and time are handed in, frames come out by a callback, on the thread of the call that
 * caused them. It has no clock and no thread of its own, so stepped time is exact; a Runner joins it to a bus
 * in real time. Any thread may call any operation.
 */
class NKR_EXPORT VirtualDrive {
 public:
  /** Takes the frames that the drive sends, in order, never two at once. Must not throw. */
  using Output = std::function<void(const nkr::can::Frame&)>;

  /** A drive of that description; null, and the reason in `problem`, when it cannot be used. */
  [[nodiscard]] static std::unique_ptr<VirtualDrive> create(std::istream& eds, const Settings& settings,
                                                            std::string& problem);
  [[nodiscard]] static std::unique_ptr<VirtualDrive> from_file(const std::string& eds_path,
                                                               const Settings& settings,
                                                               std::string& problem);
  ~VirtualDrive();
  VirtualDrive(const VirtualDrive&) = delete;
  VirtualDrive& operator=(const VirtualDrive&) = delete;

  /** What else the drive has to say to whom joins it to a bus; either function may be empty. */
  struct Events {
    /**
     * A scenario wants the bus in this state. Comes in order with the frames; the drive itself neither hears
     * nor speaks until the state is error_active again. Must not throw.
     */
    std::function<void(nkr::can::BusState)> bus_state;
    /** A call other than receive() and advance() made something due: advance() is to be called again. */
    std::function<void()> wake;
  };
  /** Where its frames go from now on; an empty function: nowhere. Not to be called from an output. */
  void connect(Output output, Events events = {});

  /** Switches the supply on: the drive boots and says so (CiA 301 boot-up message). Done once. */
  void power_on(Time now);

  /** Takes one frame from the bus, at the time of the last call that gave one. */
  void receive(const nkr::can::Frame& frame);
  /** Takes one frame from the bus at that time. @return when advance() is next to be called */
  Time receive(const nkr::can::Frame& frame, Time now);

  /**
   * Does everything that is due until then, in order and at its own time, however long the step. A time
   * before the last one changes nothing.
   * @return when the next thing is due, Time::max() when nothing is
   */
  Time advance(Time now);

  /**
   * Makes a fault happen: the drive does what 0x605E says, ends in FAULT and reports the code.
   * @param code    error code (CiA 402-2, 0x603F)
   * @param lasting the cause stays until clear_fault(): a fault reset before that is in vain
   * @param vendor  manufacturer-specific bytes of the emergency message
   */
  void raise_fault(std::uint16_t code, bool lasting = false, const std::array<std::uint8_t, 5>& vendor = {});
  /** Ends the cause of the faults of that code. The drive stays in FAULT until it is reset. */
  void clear_fault(std::uint16_t code);

  /** What the drive's sensors measure from now on; it warns and fails by its thresholds. */
  void measure(const Environment& environment);

  /**
   * Lets the events of a scenario happen, besides those under way: times and accesses count from now, or from
   * power_on(). Commands and values of a scenario are those of a drive, not of a client: no access rights.
   * @return false, and the reason in `problem`, when it names an object that the drive does not have, or a
   *         value that it cannot take: nothing happens then. Also when the drive refuses, in its present
   * state, a value that it is to take at once: the rest happens all the same. What it refuses later is told
   * by take_events().
   */
  [[nodiscard]] bool play(const Scenario& scenario, std::string& problem);

  /**
   * Ends the scenarios that were played: what they still waited for did not happen.
   * @return how their checks ended, in that order, and which events never came
   */
  [[nodiscard]] std::vector<Verdict> finish_scenario();
  /** A scenario said that it is over. */
  [[nodiscard]] bool scenario_stopped() const;

  /** The node id it answers to: 1 to 127. */
  [[nodiscard]] std::uint8_t node_id() const;
  /** Its NMT state; INITIALISING before it is switched on. */
  [[nodiscard]] NMTState nmt_state() const;
  /** Its state in the power drive system. */
  [[nodiscard]] PowerState power_state() const;
  /**
   * The whole number that an object has now, as a read by SDO finds it.
   * @param name as the description has it: "vl_target_velocity", "Identity Object Vendor Id"
   * @return nothing when no object has that name, or its value cannot be read or is no whole number
   */
  [[nodiscard]] std::optional<std::int64_t> value(std::string_view name) const;
  /** The bytes of any object, least significant first; nothing as above. */
  [[nodiscard]] std::optional<std::vector<std::uint8_t>> bytes(std::string_view name) const;
  /** What happened since the last call, the oldest first; of much the last 1000. */
  [[nodiscard]] std::vector<Event> take_events();

 private:
  struct NKR_HIDDEN Impl;
  explicit VirtualDrive(std::unique_ptr<Impl> impl);
  std::unique_ptr<Impl> impl_;
};

}  // namespace tav::drive

#endif

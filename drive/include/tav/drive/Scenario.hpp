#ifndef TAV_DRIVE_SCENARIO_HPP
#define TAV_DRIVE_SCENARIO_HPP

#include <nkr/export.h>

#include <chrono>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace tav::drive {

/** An object of the drive: by the name that its description gives it, or, without a name, by its address. */
struct ObjectReference {
  std::string name;
  std::uint16_t index = 0;
  std::uint8_t subindex = 0;
};

/** When an event happens. */
struct Trigger {
  enum class Kind : std::uint8_t {
    TIME,   ///< so long after the scenario began
    READ,   ///< when a client reads the object by SDO
    WRITE,  ///< when a client writes it
    ACCESS  ///< both
  };
  Kind kind = Kind::TIME;
  std::chrono::milliseconds time{0};
  std::uint32_t nth = 0;  ///< which access, from 1; 0: each of them
  bool any_object = false;
  ObjectReference object;
};

/**
 * What happens. Those called REPLY_... act on the answer to one SDO access: the one that triggers the event,
 * or, for an event at a time, the next.
 */
struct Action {
  enum class Kind : std::uint8_t {
    REPLY_LOST,          ///< the access takes effect and is not answered
    REPLY_LATE,          ///< the answer comes after `duration`
    REPLY_TWICE,         ///< the answer comes twice
    REPLY_ABORT,         ///< the access is refused with `code` and has no effect
    REPLY_WRONG_TOGGLE,  ///< a read is answered in segments, and the first segment has the wrong toggle bit
    REPLY_WRONG_INDEX,   ///< the answer names the object behind
    REPLY_WRONG_SIZE,    ///< a read states a byte more than there is (of 4, one less); else a cut frame
    RESET,               ///< the node starts anew; at an access: before it is served
    RESET_AMID,          ///< the node starts anew in mid-transfer: one exchange of it was served
    BUS_OFF,             ///< the bus is off, for `duration` (0: until BUS_BACK)
    BUS_GONE,            ///< the interface is gone, likewise
    BUS_BACK,            ///< the bus works again
    EMERGENCY,           ///< an emergency message with `code`, without a fault
    FAULT,               ///< a fault with `code`
    CLEAR,               ///< the cause of the faults with `code` ends; 0: of all faults of the scenario
    SAFE_TORQUE_OFF,     ///< the STO input is demanded (`on`) or not
    MEASURE,             ///< a sensor shows `value`
    SILENCE,             ///< the drive sends nothing for `duration`
    SET                  ///< an object takes the value `text`
  };
  /** The drive's sensors, in the units of Environment. */
  enum class Sensor : std::uint8_t { BATTERY_VOLTAGE, PHASE_CURRENT, MOSFET_1, MOSFET_2, DRIVER };

  Kind kind = Kind::RESET;
  std::uint32_t code = 0;
  std::chrono::milliseconds duration{0};
  bool on = false;  ///< SAFE_TORQUE_OFF; FAULT: its cause lasts
  Sensor sensor = Sensor::BATTERY_VOLTAGE;
  std::int32_t value = 0;
  ObjectReference object;
  std::string text;
};

/** One line of a scenario. */
struct ScenarioEvent {
  std::size_t line = 0;  ///< where it stands, from 1; 0: in no file
  Trigger when;
  Action action;
};

/** What happens to a drive, and when: faults and disturbances, to try out what its user does then. */
struct Scenario {
  std::vector<ScenarioEvent> events;
};

/**
 * Reads a scenario: one event a line, its format in docs/virtual-drive.md.
 * @return false, and line and mistake in `problem`, when a line is no event; `scenario` is then as before
 */
[[nodiscard]] NKR_EXPORT bool read_scenario(std::istream& text, Scenario& scenario, std::string& problem);
[[nodiscard]] NKR_EXPORT bool read_scenario_file(const std::string& path, Scenario& scenario,
                                                 std::string& problem);

/**
 * Adds the event of one line, if it holds one.
 * @return false, and the mistake in `problem`, when it is none
 */
[[nodiscard]] NKR_EXPORT bool read_scenario_line(std::string_view line, Scenario& scenario,
                                                 std::string& problem);

}  // namespace tav::drive

#endif

#ifndef TAV_DRIVE_SCENARIO_HPP
#define TAV_DRIVE_SCENARIO_HPP

#include <nkr/export.h>

#include <chrono>
#include <cstdint>
#include <iosfwd>
#include <optional>
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

/** Frames of one kind, as the drive's own objects give their identifiers. */
struct FrameClass {
  enum class Kind : std::uint8_t {
    ANY,
    NMT,
    GFC,
    SYNC,
    TIME,
    EMCY,
    SRDO,          ///< the plain frame
    SRDO_INVERSE,  ///< its inverse
    TPDO,          ///< the drive's, `number`; 0: all of them
    RPDO,
    SDO_REQUEST,
    SDO_REPLY,
    HEARTBEAT,
    BOOT_UP,
    LSS,
    IDENTIFIER  ///< from `number` to `last`
  };
  Kind kind = Kind::ANY;
  std::uint32_t number = 0;
  std::uint32_t last = 0;
  std::uint8_t node = 0;  ///< whose, where the identifier tells it; 0: anybody's
};

/** Something that changes by itself, as a number. */
enum class Signal : std::uint8_t {
  SPEED,     ///< measured, in 1/min
  POSITION,  ///< in steps
  CURRENT,   ///< of the motor, in A
  TORQUE,    ///< in Nm
  VOLTAGE,   ///< of the DC link, in V
  WINDING,   ///< temperature, in C
  STAGE,     ///< temperature of the power stage, in C
  BRAKE,     ///< 1 while it holds
  TIME       ///< since the scenario began, in s
};

/** Something that is so, or is not: terms, of which all of one list are true. */
struct Condition {
  struct Term {
    enum class Kind : std::uint8_t { SIGNAL, OBJECT, POWER_STATE, NMT_STATE, EMERGENCY };
    enum class Relation : std::uint8_t { LESS, NOT_MORE, MORE, NOT_LESS, EQUAL, OTHER };
    Kind kind = Kind::SIGNAL;
    bool negated = false;
    Signal signal = Signal::SPEED;
    ObjectReference object;
    Relation relation = Relation::EQUAL;
    double value = 0;
    std::uint32_t code = 0;  ///< a PowerState, an NMTState; an error code that was sent since the check began
  };
  std::vector<std::vector<Term>> any_of;
};

/** When an event happens. */
struct Trigger {
  enum class Kind : std::uint8_t {
    TIME,         ///< so long after the scenario began
    READ,         ///< when a client reads the object by SDO
    WRITE,        ///< when a client writes it
    ACCESS,       ///< both
    EVERY,        ///< every `time`, until `until`
    FRAME,        ///< when a frame passes the drive's end of the bus, either way
    POWER_STATE,  ///< when the drive enters the PowerState `code`
    NMT_STATE,    ///< when it enters the NMTState `code`
    CONDITION     ///< when the condition becomes true and is so for `duration`; once
  };
  Kind kind = Kind::TIME;
  std::chrono::milliseconds time{0};
  std::uint32_t nth = 0;    ///< which access or frame, from 1; 0: each of them
  std::uint32_t last = 0;   ///< the last of several from `nth` on; 0: `nth` alone
  std::uint32_t every = 0;  ///< every so many frames; 0: as `nth` says
  bool any_object = false;
  ObjectReference object;
  FrameClass frame;
  std::uint32_t code = 0;
  Condition condition;
  std::chrono::milliseconds duration{0};
  std::chrono::milliseconds until{0};  ///< 0: for ever
};

/** What becomes of a frame. */
struct FrameFault {
  enum class Kind : std::uint8_t { LOSE, LATE, DUPLICATE, CORRUPT };
  Kind kind = Kind::LOSE;
  std::chrono::milliseconds delay{0};
  std::chrono::milliseconds jitter{0};  ///< up to that more, at random
  std::int32_t bit = -1;                ///< that is wrong, counted from the first byte's lowest; below 0: any
  double probability = 1;
  std::uint32_t count = 0;             ///< so many at most; 0: all
  std::chrono::milliseconds until{0};  ///< since the scenario began; 0: for ever
};

/** What a drive is held against while a scenario runs. */
struct Check {
  enum class Kind : std::uint8_t {
    WITHIN,        ///< the condition becomes true within `time`
    LASTING,       ///< it is true for `time`
    NEVER,         ///< it is not true until `time` since the scenario began (0: until its end)
    NOW,           ///< it is true
    FRAME_WITHIN,  ///< a frame of the class passes within `time`
    COUNT          ///< `low` to `high` of them pass in `time`
  };
  Kind kind = Kind::WITHIN;
  Condition condition;
  FrameClass frame;
  std::chrono::milliseconds time{0};
  std::uint32_t low = 0;
  std::uint32_t high = 0;
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
    SET,                 ///< an object takes the value `text`
    FRAME_FAULT,         ///< the frames of the trigger are disturbed
    POWER,               ///< the supply is off, or (`on`) back
    BATTERY,             ///< it is cut off, or (`on`) connected
    QUANTITY,            ///< `quantity` becomes `number`, within `duration`
    ENCODER,             ///< `code` an EncoderFault, `value` counts
    PHASE,               ///< one is lost, or (`on`) not
    SENSOR_OK,           ///< a sensor shows again what there is
    BRAKE,               ///< `code` a BrakeFault, `number` the part of its torque that is lost
    FLASH,               ///< the memory cannot be written, or (`on`) can
    SEND,                ///< the frame `text` comes to the drive, from nobody
    CHECK,               ///< a check begins
    STOP                 ///< the scenario ends
  };
  /** What a machine can be made of. */
  enum class Quantity : std::uint8_t { LOAD, SLOPE, VOLTAGE, FRICTION, AMBIENT };
  enum class EncoderFault : std::uint8_t { OK, STUCK, INVERTED, OFFSET, NOISE };
  enum class BrakeFault : std::uint8_t { OK, WORN, STUCK_OPEN, STUCK_CLOSED };
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
  Quantity quantity = Quantity::LOAD;
  double number = 0;
  FrameFault fault;
  Check check;
};

/** One line of a scenario. */
struct ScenarioEvent {
  std::size_t line = 0;  ///< where it stands, from 1; 0: in no file
  Trigger when;
  Action action;
  std::uint8_t node = 0;  ///< of the drive that it concerns; 0: of every one
  std::string file;       ///< that was included; empty: the scenario's own
  std::string text;       ///< as it is written
  std::string case_name;  ///< of the block that it stands in
};

/** How a check, or an event that waits for something, ended. */
struct Verdict {
  enum class Kind : std::uint8_t { PASSED, FAILED, INCONCLUSIVE };
  Kind kind = Kind::INCONCLUSIVE;
  ScenarioEvent event;
  std::chrono::microseconds time{0};  ///< since the scenario began
  std::string message;                ///< why; empty when it passed
};

/** What happens to a drive, and when: faults and disturbances, to try out what its user does then. */
struct Scenario {
  std::vector<ScenarioEvent> events;
  std::optional<std::uint64_t> seed;   ///< of what is random
  std::chrono::milliseconds limit{0};  ///< how long it runs at most; 0: nothing said
};

/**
 * Reads a scenario: one event a line, its format in docs/virtual-drive.md. Files that it includes are looked
 * for beside the scenario's own, or, where that has no file, in the working folder.
 * @return false, and each mistake with its line in `problem`, one a line; `scenario` is then as before
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

#ifndef TAV_DRIVE_DRIVESTATES_HPP
#define TAV_DRIVE_DRIVESTATES_HPP

#include <nkr/export.h>

#include <cstdint>
#include <string>
#include <tav/drive/Settings.hpp>

namespace tav::drive {

/** NMT states of a device, by the code its heartbeat carries (CiA 301, 7.2.8.3.2.2). */
enum class NMTState : std::uint8_t { INITIALISING = 0, STOPPED = 4, OPERATIONAL = 5, PRE_OPERATIONAL = 127 };

/** States of the power drive system (CiA 402-2, 6.2). */
enum class PowerState : std::uint8_t {
  NOT_READY_TO_SWITCH_ON,
  SWITCH_ON_DISABLED,
  READY_TO_SWITCH_ON,
  SWITCHED_ON,
  OPERATION_ENABLED,
  QUICK_STOP_ACTIVE,
  FAULT_REACTION_ACTIVE,
  FAULT,
};

/** Something that the drive did, or that was done to it. */
struct Event {
  enum class Kind : std::uint8_t {
    NMT_STATE,    ///< it entered an NMT state; `code` is the NMTState
    POWER_STATE,  ///< it entered a state of the power drive system; `code` is the PowerState
    EMERGENCY,    ///< it sent an emergency message; `code` is its error code, 0x0000 when all errors are gone
    REFUSED,      ///< a scenario's `set` was refused; `code` is the abort code, `text` says what
    ACTION,       ///< an event of a scenario happened; `code` is its line, `text` what it says
    CHECK         ///< a check of a scenario ended; `code` is a Verdict::Kind, `text` says how
  };
  Time time{};
  Kind kind = Kind::NMT_STATE;
  std::uint32_t code = 0;
  std::string text;   ///< for people; empty where the code says it all
  std::string cause;  ///< what brought it about, for people: "control word 0x0006"; empty where nobody knows
};

[[nodiscard]] NKR_EXPORT const char* to_string(NMTState state);
[[nodiscard]] NKR_EXPORT const char* to_string(PowerState state);
/** The event in words: "12.345678 s: SWITCHED_ON (control word 0x0007)". @param began  the time that is 0 */
[[nodiscard]] NKR_EXPORT std::string to_text(const Event& event, Time began);
/** The same as one JSON object: t_us, drive, kind, code, text, cause. */
[[nodiscard]] NKR_EXPORT std::string to_json(const Event& event, Time began, std::uint8_t node);

}  // namespace tav::drive

#endif

#ifndef TAVCTL_SESSION_DRIVESTATE_HPP
#define TAVCTL_SESSION_DRIVESTATE_HPP

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <tavcore/INMTService.hpp>
#include <tavcore/IPDSService.hpp>

#include "session/Session.hpp"

namespace tavctl {

/** The node's NMT state; waits for a first heartbeat when none was heard yet. UNKNOWN when none came. */
[[nodiscard]] nkr::tavcore::INMTService::NMTState heard_nmt_state(Session& session,
                                                                  std::chrono::milliseconds patience);

/** What the drive does at this moment, read object by object. */
struct Snapshot {
  nkr::tavcore::INMTService::NMTState nmt;
  std::uint16_t status_word;
  std::optional<nkr::tavcore::IPDSService::PDSState> state;  ///< none for a status word that is no state
  int target_velocity;
  int velocity_demand;
  int velocity;
  int position;
  std::uint8_t error_register;
  int errors;  ///< entries of the pre-defined error field
};

[[nodiscard]] Snapshot read_snapshot(Session& session);

/** Failure(WRONG_STATE) when the drive is enabled: what a motor that may turn does is not changed under it.
 */
void see_not_enabled(Session& session, const std::string& what);

/** The drive's last error: "0x3220 DC link under-voltage"; "none" for 0. */
[[nodiscard]] std::string last_error_text(Session& session);

/** Whether safe torque off is demanded; the command bit is active-low. */
[[nodiscard]] bool sto_demanded(Session& session);

/** Why a drive is not in OPERATION_ENABLED: the transition that stalled, the status word's bits, the last
 * error, STO. One sentence a line. */
[[nodiscard]] std::string explain_stall(Session& session);

}  // namespace tavctl

#endif

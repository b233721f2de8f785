#ifndef TAV_HOST_STATE_HPP
#define TAV_HOST_STATE_HPP

#include <chrono>
#include <cstdint>
#include <nkr/canopencore/NMT.hpp>
#include <optional>
#include <tavcore/IPDSService.hpp>

namespace tav::host {

/** What the drive does at this moment, read object by object. Velocities and position in the drive's units.
 */
struct Snapshot {
  nkr::canopencore::NMTState nmt = nkr::canopencore::NMTState::UNKNOWN;  ///< by its heartbeat
  std::uint16_t status_word = 0;
  std::optional<nkr::tavcore::IPDSService::PDSState> state;  ///< none for a status word that is no state
  int target_velocity = 0;
  int velocity_demand = 0;  ///< behind the ramp
  int velocity = 0;
  int position = 0;
  std::uint8_t error_register = 0;
  int errors = 0;  ///< entries of the pre-defined error field
};

/** One look at a drive that is being followed. */
struct Look {
  std::chrono::steady_clock::time_point when;
  int velocity_demand = 0;
  int velocity = 0;
  int target_velocity = 0;
  std::uint16_t control_word = 0;
  std::uint16_t status_word = 0;
};

}  // namespace tav::host

#endif

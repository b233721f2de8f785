#ifndef TAV_DRIVE_TIMING_HPP
#define TAV_DRIVE_TIMING_HPP

#include <nkr/export.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tav::drive {

/** How long a drive takes for what it does. By default: no time at all. */
struct Timing {
  using Span = std::chrono::microseconds;

  Span boot{0};                       ///< from power-on or a reset of the node to the boot-up message
  Span communication_reset{0};        ///< likewise, of the communication
  Span transition{0};                 ///< each transition towards OPERATION_ENABLED (CiA 402-2)
  Span commutation{0};                ///< besides, the first one into it since power-on
  Span turnaround{0};                 ///< from an SDO request to its reply
  Span turnaround_jitter{0};          ///< more or less than that, each in a frame of its own
  Span store{0};                      ///< besides, where parameters are stored or restored
  bool silent_while_storing = false;  ///< it sends nothing meanwhile
  Span heartbeat_jitter{0};           ///< up to that much a heartbeat is late; the next is not for that
  Span brake{0};           ///< to open or to close the holding brake; 0: what the motor's parameters say
  std::uint64_t seed = 1;  ///< of what is random
};

/** Names of what timing_profile() knows: "ideal", "typical", "slow". */
[[nodiscard]] NKR_EXPORT std::vector<std::string> timing_profiles();
/** Takes the times of a profile, and leaves the seed. @return false, and nothing happens, for another name */
[[nodiscard]] NKR_EXPORT bool timing_profile(std::string_view name, Timing& timing);

}  // namespace tav::drive

#endif

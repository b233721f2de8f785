#ifndef TAV_HOST_GROUP_PROCESS_DATA_HPP
#define TAV_HOST_GROUP_PROCESS_DATA_HPP

#include <nkr/export.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <nkr/canopen/NodeConfiguration.hpp>

namespace tav::host {

/**
 * The process data of a unit in a group, as objects in the order in which CiA 301 (7.5.2.36, 7.5.2.38) wants
 * them written: each PDO is made invalid, its mapping emptied, filled and counted, its type set, and only
 * then is it valid again. RPDO 1: control word and target velocity. TPDO 1: status word, velocity and
 * position. Both on every SYNC; TPDO 2 is off.
 */
[[nodiscard]] NKR_EXPORT nkr::canopen::NodeConfiguration group_process_data(std::uint8_t node);

/** What a group's cycle takes of a bus, in the worst case of stuff bits (ISO 11898-1). */
struct NKR_EXPORT GroupLoad {
  unsigned bits = 0;  ///< of one cycle: SYNC, and an order and process data for each unit
  double share = 0;   ///< of the bus: 1 is all of it
  std::chrono::microseconds shortest_period{0};  ///< that fits
  unsigned bit_rate_needed = 0;  ///< for this period, in bit/s: the next one of CiA 301; 0: none is enough

  /** The rest is for SDO, emergencies, heartbeats and repeated frames. */
  static constexpr double kMost = 0.7;
  [[nodiscard]] bool fits() const { return share <= kMost; }
};

/** @param bit_rate  in bit/s, above 0 */
[[nodiscard]] NKR_EXPORT GroupLoad group_load(std::size_t units, std::chrono::microseconds period,
                                              unsigned bit_rate);

}  // namespace tav::host

#endif

#ifndef NKR_CANOPENSERVICE_TAV_HPP
#define NKR_CANOPENSERVICE_TAV_HPP

#include <cstdint>

namespace nkr::canopenservice {

/** What one process-data exchange with the drive is to carry. Addresses: index << 16 | subindex << 8 | bits.
 */
struct TavIn {
  std::uint8_t nodeId;              ///< CANopen node id
  std::uint32_t statusWordAddress;  ///< object that holds the status word
  std::uint32_t positionAddress;    ///< object that holds the actual position
  std::uint32_t velocityAddress;    ///< object that holds the actual velocity
  std::int32_t order;               ///< target velocity to send, in the drive's velocity unit
  bool flag;                        ///< whether `order` is sent
};

/** What one process-data exchange brought back, in the drive's units. */
struct TavOut {
  std::uint16_t statusWord;
  std::int32_t position;
  std::int32_t velocity;
};

}  // namespace nkr::canopenservice

#endif

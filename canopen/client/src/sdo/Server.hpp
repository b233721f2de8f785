#ifndef NKR_CANOPEN_SDO_SERVER_HPP
#define NKR_CANOPEN_SDO_SERVER_HPP

#include <cstdint>
#include <nkr/can/Bus.hpp>
#include <nkr/can/Frame.hpp>

#include "runtime/HeardTimes.hpp"
#include "sdo/LateReplies.hpp"

namespace nkr::canopen::sdo {

/** What a client knows of one node's SDO server, from one transfer to the next. */
class Server {
 public:
  Server(std::uint8_t node, HeardTimes& heard) : node_(node), heard_(heard) {}

  [[nodiscard]] std::uint8_t node() const { return node_; }
  /** A frame of the server came. True when it was owed: the late answer to an earlier request. */
  bool arrived(const can::Frame& frame);
  /** When the last frame came. */
  [[nodiscard]] can::Clock::time_point last_heard() const { return last_heard_; }

  LateReplies late_replies;
  can::Clock::time_point nameless_until;  ///< so long an answer that names no object may still come
  bool knows_no_block = false;            ///< it refuses block transfers, or does not answer to them
  int spoiled_blocks = 0;                 ///< block uploads in a row that failed after they were opened

 private:
  const std::uint8_t node_;
  HeardTimes& heard_;
  can::Clock::time_point last_heard_;
};

}  // namespace nkr::canopen::sdo

#endif

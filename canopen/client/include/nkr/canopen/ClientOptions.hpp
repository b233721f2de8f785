#ifndef NKR_CANOPEN_CLIENTOPTIONS_HPP
#define NKR_CANOPEN_CLIENTOPTIONS_HPP

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace nkr::canopen {

/** How a client behaves; every value has a default that suits a drive on a 250 to 1000 kbit/s bus. */
struct ClientOptions {
  /** How long one SDO request waits for its answer (each segment anew), unless the node, the object or the
   * calling thread has a time of its own. */
  std::chrono::milliseconds sdo_timeout{1000};
  /** The least time for objects 1010h and 1011h: storing parameters takes a device seconds. */
  std::chrono::milliseconds store_timeout{5000};
  /** How long the answer to a request that timed out may still come; meanwhile the same object is not asked
   * again, so that the late answer is not taken for the new one. */
  std::chrono::milliseconds late_reply_grace{500};
  /** Values of at least so many bytes are written by block transfer, and getBytes asks for one, where the
   * node knows it; where not, in segments. 0: no block transfers. */
  std::size_t block_threshold = 64;
  /** So many of the last frames are kept, to be written as a log and to go with the record of a failure. 0:
   * none. */
  std::size_t frame_history = 4096;
  /** A node whose heartbeat was heard counts as lost after this silence, unless it has a time of its own. */
  std::chrono::milliseconds heartbeat_timeout{1000};
  /** The host's own node id, under which it produces a heartbeat; 0: it produces none. A drive that consumes
   * it (object 1016h) notices when the host dies. */
  std::uint8_t host_node_id = 0;
  std::chrono::milliseconds host_heartbeat_period{100};
  /** 2 to 240: every SYNC carries a counter from 1 to there, as object 1019h of its consumers says; else
   * none.
   */
  std::uint8_t sync_counter_overflow = 0;
};

}  // namespace nkr::canopen

#endif

#ifndef TAVCTL_SESSION_NODESCAN_HPP
#define TAVCTL_SESSION_NODESCAN_HPP

#include <chrono>
#include <cstdint>
#include <nkr/canopencore/NMT.hpp>
#include <optional>
#include <string>
#include <vector>

#include "session/Session.hpp"

namespace tavctl {

/** A node that was heard on the bus, or answered. */
struct FoundNode {
  std::uint8_t node = 0;
  nkr::canopencore::NMTState nmt = nkr::canopencore::NMTState::UNKNOWN;  ///< by its heartbeat
  bool answers = false;                                                  ///< it answered SDO requests
  std::optional<std::uint32_t> device_type;
  std::optional<std::uint32_t> vendor_id;
  std::optional<std::uint32_t> product_code;
  std::optional<std::uint32_t> revision_number;
  std::optional<std::uint32_t> serial_number;
  std::string device_name;
  std::optional<std::uint16_t> status_word;  ///< of drives (CiA 402)
};

struct ScanRange {
  int first = 1;
  int last = 127;
  std::chrono::milliseconds listen{1000};  ///< before anything is asked
  std::chrono::milliseconds timeout{100};  ///< of one request
};

/**
 * Finds the nodes of a bus: listens, then asks every node id in the range for its identity, several at once.
 * Only SDO uploads are sent. Failure when the bus itself fails.
 */
[[nodiscard]] std::vector<FoundNode> scan_nodes(Session& session, const ScanRange& range);

}  // namespace tavctl

#endif

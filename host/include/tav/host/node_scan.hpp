#ifndef TAV_HOST_NODE_SCAN_HPP
#define TAV_HOST_NODE_SCAN_HPP

#include <nkr/error.h>
#include <nkr/export.h>

#include <chrono>
#include <cstdint>
#include <nkr/canopencore/NMT.hpp>
#include <optional>
#include <string>
#include <vector>

namespace nkr::canopen {
class Client;
}

namespace tav::host {

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
 * Only SDO uploads are sent.
 * @param found  by node id
 * @return NKR_OK, or what ended it: the bus itself failed
 */
[[nodiscard]] NKR_EXPORT nkr_error_t scan_nodes(nkr::canopen::Client& client, const ScanRange& range,
                                                std::vector<FoundNode>& found);

}  // namespace tav::host

#endif

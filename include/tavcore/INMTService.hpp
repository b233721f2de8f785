#ifndef TAVCORE_INMTSERVICE_HPP
#define TAVCORE_INMTSERVICE_HPP

#include <nkr/error.h>
#include <nkr/export.h>

#include <nkr/canopencore/NMT.hpp>

namespace nkr::tavcore {

/** Network management of the drive's node (CiA 301, 7.2.8). */
class NKR_EXPORT INMTService {
 public:
  using NMTState = canopencore::NMTState;
  using NMTCommand = canopencore::NMTCommand;

  virtual ~INMTService() = default;

  /** The node's NMT state as the client knows it; 0 with NKR_OK for a node never heard or lost. */
  NKR_NODISCARD virtual nkr_error_t getNMTState(NMTState& state) const = 0;
  /**
   * Sends an NMT command; NKR_OK says that it was sent, CiA 301 has no confirmation. A reset command that was
   * sent sets the node id back to the configured one: the one taken at the dispatcher's init() or by
   * _setNodeId().
   */
  NKR_NODISCARD virtual nkr_error_t setNMTState(const NMTCommand& command) = 0;
};

}  // namespace nkr::tavcore

#endif

#ifndef NKR_CANOPENCORE_ISERVICE_HPP
#define NKR_CANOPENCORE_ISERVICE_HPP

#include <nkr/error.h>
#include <nkr/export.h>

#include <cstdint>
#include <nkr/canopencore/NMT.hpp>
#include <nkr/canopenservice/Tav.hpp>
#include <string>
#include <vector>

namespace nkr::canopencore {

/**
 * A CANopen client as its users need it: typed reads and writes of a node's object dictionary, NMT, and one
 * process-data exchange.
 *
 * The order of the virtual operations is fixed. The pure operations alone make a client; the others have a
 * default body that answers NKR_NOT_AVAILABLE, so a test double implements the pure ones only.
 *
 * An address is index << 16 | subindex << 8 | length in bits (the layout of a PDO mapping entry, CiA 301).
 * The length byte may be 0: the C++ type of the value says how many bytes are written. Every operation
 * answers NKR_OK, an SDO abort code or a code of the client's own (see nkr/error.h). What an output holds
 * after a failure is the client's affair.
 */
class NKR_EXPORT IService {
 public:
  virtual ~IService() = default;

  /** True when the client is ready to carry requests. */
  [[nodiscard]] virtual bool isInitialized() const = 0;

  /** Reads an object as raw bytes, whatever its type (DOMAIN, OCTET_STRING; CiA 301, 7.2.4). */
  NKR_NODISCARD virtual nkr_error_t getBytes(const std::uint8_t& nodeId, const std::uint32_t& address,
                                             std::vector<std::uint8_t>& value) {
    return unsupported(nodeId, address, value);
  }
  /** Writes raw bytes to an object, whatever its type. */
  NKR_NODISCARD virtual nkr_error_t setBytes(const std::uint8_t& nodeId, const std::uint32_t& address,
                                             const std::vector<std::uint8_t>& value) {
    return unsupported(nodeId, address, value);
  }

  /** One process-data exchange: status word, position and velocity in, and the order out when `flag` is set.
   */
  NKR_NODISCARD virtual nkr_error_t sync(const canopenservice::TavIn& request,
                                         canopenservice::TavOut& out) = 0;

  /** Broadcasts an NMT command to every node (node id 0 on the wire; CiA 301, 7.2.8.3.1). */
  NKR_NODISCARD virtual nkr_error_t broadcastNMTCommand(const NMTCommand& command) {
    return unsupported(command);
  }
  /** Sends one SYNC frame (CiA 301, 7.2.5). */
  NKR_NODISCARD virtual nkr_error_t sendSync() { return unsupported(); }
  /** Time since the node was last heard, in milliseconds. */
  NKR_NODISCARD virtual nkr_error_t getTimeSinceHeard(const std::uint8_t& nodeId,
                                                      std::uint32_t& milliseconds) {
    return unsupported(nodeId, milliseconds);
  }
  /** A sentence on the node's last failed request: what was asked, what happened, and the likely cause. */
  NKR_NODISCARD virtual nkr_error_t getLastFailureText(const std::uint8_t& nodeId, std::string& text) {
    return unsupported(nodeId, text);
  }

  /** The node's NMT state as its heartbeat says; UNKNOWN (0) for a node never heard or whose heartbeat is
   * lost. */
  NKR_NODISCARD virtual nkr_error_t getNMTState(const std::uint8_t& nodeId, NMTState& state) = 0;
  /** Sends an NMT command to one node; there is no answer on the bus. */
  NKR_NODISCARD virtual nkr_error_t setNMTState(const std::uint8_t& nodeId, const NMTCommand& command) = 0;

  /** @name Typed reads (getValue) and writes (setValue) of one object
   * @{ */
  NKR_NODISCARD virtual nkr_error_t getValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                             std::string& value) = 0;
  NKR_NODISCARD virtual nkr_error_t setValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                             const std::string& value) = 0;
  NKR_NODISCARD virtual nkr_error_t getValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                             std::int64_t& value) = 0;
  NKR_NODISCARD virtual nkr_error_t setValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                             const std::int64_t& value) = 0;
  NKR_NODISCARD virtual nkr_error_t getValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                             std::int32_t& value) = 0;
  NKR_NODISCARD virtual nkr_error_t setValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                             const std::int32_t& value) = 0;
  NKR_NODISCARD virtual nkr_error_t getValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                             std::int16_t& value) = 0;
  NKR_NODISCARD virtual nkr_error_t setValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                             const std::int16_t& value) = 0;
  NKR_NODISCARD virtual nkr_error_t getValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                             std::int8_t& value) = 0;
  NKR_NODISCARD virtual nkr_error_t setValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                             const std::int8_t& value) = 0;
  NKR_NODISCARD virtual nkr_error_t getValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                             std::uint64_t& value) = 0;
  NKR_NODISCARD virtual nkr_error_t setValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                             const std::uint64_t& value) = 0;
  NKR_NODISCARD virtual nkr_error_t getValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                             std::uint32_t& value) = 0;
  NKR_NODISCARD virtual nkr_error_t setValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                             const std::uint32_t& value) = 0;
  NKR_NODISCARD virtual nkr_error_t getValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                             std::uint16_t& value) = 0;
  NKR_NODISCARD virtual nkr_error_t setValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                             const std::uint16_t& value) = 0;
  NKR_NODISCARD virtual nkr_error_t getValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                             std::uint8_t& value) = 0;
  NKR_NODISCARD virtual nkr_error_t setValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                             const std::uint8_t& value) = 0;
  NKR_NODISCARD virtual nkr_error_t getValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                             float& value) = 0;
  NKR_NODISCARD virtual nkr_error_t setValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                             const float& value) = 0;
  NKR_NODISCARD virtual nkr_error_t getValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                             double& value) = 0;
  NKR_NODISCARD virtual nkr_error_t setValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                             const double& value) = 0;
  NKR_NODISCARD virtual nkr_error_t getValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                             bool& value) = 0;
  NKR_NODISCARD virtual nkr_error_t setValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                             const bool& value) = 0;
  /** @} */

 private:
  template <class... Arguments>
  static nkr_error_t unsupported(const Arguments&... /*unused*/) {
    return NKR_NOT_AVAILABLE;
  }
};

}  // namespace nkr::canopencore

#endif

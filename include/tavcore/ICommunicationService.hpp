#ifndef TAVCORE_ICOMMUNICATIONSERVICE_HPP
#define TAVCORE_ICOMMUNICATIONSERVICE_HPP

#include <nkr/error.h>
#include <nkr/export.h>

#include <cstdint>
#include <vector>

namespace nkr::tavcore {

/** The CiA 301 communication settings of the drive. */
class NKR_EXPORT ICommunicationService {
 public:
  /** Parameter blocks (sub-indices of objects 0x1010 and 0x1011). */
  enum class BlocId : std::int32_t {
    ALL = 1,
    COMMUNICATION = 2,
    APPLICATION = 3,
    MANUFACTURER = 4,
  };

  /** Identity object 0x1018. */
  struct IdentityParameters {
    std::uint32_t vendor_id;
    std::uint32_t product_code;
    std::uint32_t revision_number;
    std::uint32_t serial_number;
  };

  struct NetworkParameters {
    std::uint32_t reserved;  ///< neither read nor written
    std::uint8_t node_id;
    bool termination;  ///< the drive's bus terminating resistor is switched in
  };

  struct CommunicationParameters {
    std::uint32_t cob_id_sync;              ///< object 0x1005, raw
    std::uint16_t producer_heartbeat_time;  ///< object 0x1017, milliseconds; 0: no heartbeat
  };

  /** A COB-ID with an 11-bit identifier (CiA 301, table 53 and 66). Bits 16 to 29 of the raw value are
   * dropped. */
  struct COBID {
    std::uint16_t id;
    bool valid;  ///< bit 31 is 0
    bool bit30;  ///< bit 30 is 1; for a PDO: no RTR allowed
  };

  /** Number of an SDO server channel, from 1; the low 8 bits count. */
  enum class SDOId : std::int32_t {};

  /** Object 0x1200 + n - 1. */
  struct SDOCommunicationParameters {
    COBID cob_id_client_to_server;
    COBID cob_id_server_to_client;
  };

  /** Number of a PDO, from 1; the low 16 bits count. */
  enum class PDOId : std::int32_t {};

  /** Object 0x1400 + n - 1 (receive) or 0x1800 + n - 1 (transmit). */
  struct PDOCommunicationParameters {
    COBID cob_id;
    std::uint8_t transmission_type;
    std::uint16_t inhibit_time;  ///< multiples of 100 us; read for receive PDO 1 to 5 only, never written
    std::uint16_t event_timer;   ///< milliseconds; read and written for receive PDO 1 to 5 only
  };

  /** Object 0x1600 + n - 1 (receive) or 0x1A00 + n - 1 (transmit). */
  struct PDOMappingParameters {
    std::uint8_t count;                  ///< number of mapped objects
    std::vector<std::uint32_t> entries;  ///< index << 16 | subindex << 8 | bits, entry i at sub-index i
  };

  virtual ~ICommunicationService() = default;

  /** Stores a block in non-volatile memory (0x1010, "save"). NKR_ERROR for another block (nothing is sent).
   */
  NKR_NODISCARD virtual nkr_error_t storeParameters(const BlocId& block) = 0;
  /**
   * Restores a block's defaults at the drive's next reset (0x1011, "load"; sent once). For ALL and
   * COMMUNICATION the library addresses the default node id of the description from now on, whatever the
   * write answered; the drive keeps its id until its reset.
   * @return NKR_ERROR for another block; NKR_NOT_AVAILABLE when the description has no "Node ID"
   */
  NKR_NODISCARD virtual nkr_error_t restoreDefaultParameters(const BlocId& block) = 0;
  NKR_NODISCARD virtual nkr_error_t getIdentityParameters(IdentityParameters& parameters) const = 0;
  NKR_NODISCARD virtual nkr_error_t getNetworkParameters(NetworkParameters& parameters) const = 0;
  /**
   * Writes node id and termination; the library addresses the new id from now on, the drive keeps its id
   * until its reset. A write that succeeds only on its repeat answers NKR_OK with the library's node id
   * unchanged.
   */
  NKR_NODISCARD virtual nkr_error_t setNetworkParameters(const NetworkParameters& parameters) = 0;
  NKR_NODISCARD virtual nkr_error_t getCommunicationParameters(CommunicationParameters& parameters) const = 0;
  NKR_NODISCARD virtual nkr_error_t setCommunicationParameters(const CommunicationParameters& parameters) = 0;
  NKR_NODISCARD virtual nkr_error_t getSDOCommunicationParameters(
      const SDOId& sdo, SDOCommunicationParameters& parameters) const = 0;
  NKR_NODISCARD virtual nkr_error_t setSDOCommunicationParameters(
      const SDOId& sdo, const SDOCommunicationParameters& parameters) = 0;
  NKR_NODISCARD virtual nkr_error_t getRPDOCommunicationParameters(
      const PDOId& pdo, PDOCommunicationParameters& parameters) const = 0;
  /** Makes the PDO invalid, writes, and gives it the caller's validity. A step that failed, or that succeeded
   * only on its repeat (NKR_OK), leaves it invalid: read it back. */
  NKR_NODISCARD virtual nkr_error_t setRPDOCommunicationParameters(
      const PDOId& pdo, const PDOCommunicationParameters& parameters) = 0;
  NKR_NODISCARD virtual nkr_error_t getTPDOCommunicationParameters(
      const PDOId& pdo, PDOCommunicationParameters& parameters) const = 0;
  /** As setRPDOCommunicationParameters(). */
  NKR_NODISCARD virtual nkr_error_t setTPDOCommunicationParameters(
      const PDOId& pdo, const PDOCommunicationParameters& parameters) = 0;
  /** The mapping; entries are appended: pass an empty record. */
  NKR_NODISCARD virtual nkr_error_t getRPDOMappingParameters(const PDOId& pdo,
                                                             PDOMappingParameters& parameters) const = 0;
  /**
   * Disables the PDO, writes the mapping and enables the PDO, also when it was disabled before. A step that
   * failed, or that succeeded only on its repeat (NKR_OK), leaves it disabled: read it back. NKR_ERROR, with
   * nothing sent, for fewer entries than `count`.
   *
   * When the very first read, that of the COB-ID, succeeds only on its repeat, the answer is NKR_OK too, and
   * the PDO is enabled with COB-ID and transmission type 0: read the communication parameters back as well.
   */
  NKR_NODISCARD virtual nkr_error_t setRPDOMappingParameters(const PDOId& pdo,
                                                             const PDOMappingParameters& parameters) = 0;
  /** As getRPDOMappingParameters(). */
  NKR_NODISCARD virtual nkr_error_t getTPDOMappingParameters(const PDOId& pdo,
                                                             PDOMappingParameters& parameters) const = 0;
  /** As setRPDOMappingParameters(). */
  NKR_NODISCARD virtual nkr_error_t setTPDOMappingParameters(const PDOId& pdo,
                                                             const PDOMappingParameters& parameters) = 0;
};

}  // namespace nkr::tavcore

#endif

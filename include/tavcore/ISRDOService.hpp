#ifndef TAVCORE_ISRDOSERVICE_HPP
#define TAVCORE_ISRDOSERVICE_HPP

#include <nkr/error.h>
#include <nkr/export.h>

#include <cstdint>
#include <vector>

namespace nkr::tavcore {

/**
 * Safety-relevant data objects (EN 50325-5): parameters, mapping and configuration validity.
 * A Linux host configures and observes safety functions; it does not perform them.
 */
class NKR_EXPORT ISRDOService {
 public:
  /** Number of an SRDO, from 1; the numbers that a drive has are its own matter. */
  enum class SRDOId : std::int32_t {};

  /** Information direction of an SRDO; fixed by its number: SRDO 2, 10 and 16 transmit, all others receive.
   */
  enum class SRDODirection : std::int32_t {
    TRANSMIT = 1,
    RECEIVE = 2,
  };

  /** Communication parameters, object 0x1300 + n. */
  struct SRDOParameters {
    bool enabled;                   ///< sub-index 1 is not 0
    std::uint16_t refreshTime;      ///< refresh time (transmit) or safety cycle time (receive), milliseconds
    std::uint8_t validationTime;    ///< safety-related validation time, milliseconds
    std::uint8_t transmissionType;  ///< not part of the signature
    std::uint16_t cobId1;           ///< identifier of the plain frame
    std::uint16_t cobId2;           ///< identifier of the inverted frame
  };

  /** Mapping, object 0x1380 + n. */
  struct SRDOMapping {
    std::uint8_t count;                  ///< number of mapped objects
    std::vector<std::uint32_t> entries;  ///< index << 16 | subindex << 8 | bits, plain and inverted in turn
  };

  virtual ~ISRDOService() = default;

  /** Parameters and the signature that the drive holds (0x13FF). The direction follows from the number. */
  NKR_NODISCARD virtual nkr_error_t getSRDOParameters(const SRDOId& srdo, SRDODirection& direction,
                                                      SRDOParameters& parameters,
                                                      unsigned short& signature) const = 0;
  /**
   * Writes the parameters, then the signature over them and the mapping that the drive holds.
   * An access that fails once and then succeeds answers NKR_OK with the later writes and the signature left
   * out; mapping entries that were not read are signed as 0. Read parameters and signature back. Any write
   * clears the drive's "Configuration valid".
   */
  NKR_NODISCARD virtual nkr_error_t setSRDOParameters(const SRDOId& srdo,
                                                      const SRDOParameters& parameters) = 0;
  /** The mapping; `entries` has `count` entries. After a repeated read the later ones are 0, and after a
   * repeat of the count's read `entries` is as it was. */
  NKR_NODISCARD virtual nkr_error_t getSRDOMapping(const SRDOId& srdo, SRDOMapping& mapping) const = 0;
  /** Whether the drive's SRDO configuration is declared valid (0x13FE holds 0xA5). */
  NKR_NODISCARD virtual nkr_error_t getSRDOConfigurationValidity(bool& valid) const = 0;
  /** Declares the SRDO configuration valid; the drive then checks the signatures. NKR_OK says that 0xA5 was
   * written, not that they are right: read the validity back. */
  NKR_NODISCARD virtual nkr_error_t setSRDOConfigurationValidity() = 0;
};

}  // namespace nkr::tavcore

#endif

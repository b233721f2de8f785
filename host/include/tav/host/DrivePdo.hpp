#ifndef TAV_HOST_DRIVEPDO_HPP
#define TAV_HOST_DRIVEPDO_HPP

#include <nkr/error.h>
#include <nkr/export.h>

#include <cstdint>
#include <string>
#include <tavcore/ICommunicationService.hpp>
#include <vector>

namespace tav::host {

using PdoParameters = nkr::tavcore::ICommunicationService::PDOCommunicationParameters;
using PdoMapping = nkr::tavcore::ICommunicationService::PDOMappingParameters;

/** One PDO of the drive, and the library's operations on it. */
struct DrivePdo {
  bool receive;
  int number;  ///< from 1

  [[nodiscard]] std::string name() const { return (receive ? "RPDO " : "TPDO ") + std::to_string(number); }
  /** Only receive PDOs 1 to 5 have their event timer served. */
  [[nodiscard]] bool has_timer() const { return receive && number <= 5; }
  [[nodiscard]] std::uint16_t communication_index() const {
    return static_cast<std::uint16_t>((receive ? 0x1400 : 0x1800) + number - 1);
  }

  nkr_error_t get(nkr::tavcore::ICommunicationService& drive, PdoParameters& parameters) const;
  nkr_error_t set(nkr::tavcore::ICommunicationService& drive, const PdoParameters& parameters) const;
  /** Into an empty record: the service appends. */
  nkr_error_t get(nkr::tavcore::ICommunicationService& drive, PdoMapping& mapping) const;
  nkr_error_t set(nkr::tavcore::ICommunicationService& drive, const PdoMapping& mapping) const;
};

/** Whether CiA 301 (7.3.5) leaves the identifier to PDOs. */
[[nodiscard]] NKR_EXPORT bool is_pdo_identifier(std::uint32_t identifier);

/** How mapping a PDO went. */
struct MappingOutcome {
  nkr_error_t result = NKR_OK;         ///< of the access that ended it
  std::vector<std::string> remedied;   ///< what was found wrong on reading back, and put right
  std::vector<std::string> different;  ///< what the drive still holds otherwise than wanted
};

/**
 * Maps objects to a PDO, enables it with these parameters, and sees by reading back that the drive holds all
 * of it. An access that succeeds only on its repeat lets the library's operation end early and well, with a
 * mapping half written or the PDO valid under COB-ID 0: what is found so is written again.
 */
[[nodiscard]] NKR_EXPORT MappingOutcome map_pdo(nkr::tavcore::ICommunicationService& drive,
                                                const DrivePdo& pdo, const PdoMapping& mapping,
                                                const PdoParameters& parameters);

}  // namespace tav::host

#endif

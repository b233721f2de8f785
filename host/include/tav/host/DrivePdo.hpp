#ifndef TAV_HOST_DRIVEPDO_HPP
#define TAV_HOST_DRIVEPDO_HPP

#include <nkr/error.h>
#include <nkr/export.h>

#include <cstdint>
#include <nkr/tools/EDSParser.hpp>
#include <optional>
#include <string>
#include <tavcore/CANOpenDispatcher.hpp>
#include <vector>

namespace tav::host {

using PdoParameters = nkr::tavcore::ICommunicationService::PDOCommunicationParameters;
using PdoMapping = nkr::tavcore::ICommunicationService::PDOMappingParameters;

/** The last PDO of each direction (CiA 301: objects 0x1400 to 0x15FF, 0x1800 to 0x19FF). */
inline constexpr int kMostPdos = 512;

/** One PDO of the drive, and the library's operations on it. */
struct NKR_EXPORT DrivePdo {
  bool receive;
  int number;  ///< from 1
  // Optional objects (CiA 301, 7.5.2.35) that the description may lack.
  bool is_inhibit_time_described = true;
  bool is_event_timer_described = true;

  [[nodiscard]] std::string name() const { return (receive ? "RPDO " : "TPDO ") + std::to_string(number); }
  /** Only receive PDOs 1 to 5 have their event timer served. */
  [[nodiscard]] bool has_timer() const { return receive && number <= 5 && is_event_timer_described; }
  [[nodiscard]] std::uint16_t communication_index() const {
    return static_cast<std::uint16_t>((receive ? 0x1400 : 0x1800) + number - 1);
  }

  /** What is not described is left out. */
  [[nodiscard]] nkr_error_t get(nkr::tavcore::CANOpenDispatcher& drive, PdoParameters& parameters) const;
  [[nodiscard]] nkr_error_t set(nkr::tavcore::CANOpenDispatcher& drive,
                                const PdoParameters& parameters) const;
  /** Into an empty record: the service appends. */
  [[nodiscard]] nkr_error_t get(nkr::tavcore::CANOpenDispatcher& drive, PdoMapping& mapping) const;
  [[nodiscard]] nkr_error_t set(nkr::tavcore::CANOpenDispatcher& drive, const PdoMapping& mapping) const;

 private:
  [[nodiscard]] bool lacks_a_time() const {
    return receive && number <= 5 && !(is_inhibit_time_described && is_event_timer_described);
  }
};

/** The PDO of that number, from 1, that the description holds; none when it holds no such. */
[[nodiscard]] NKR_EXPORT std::optional<DrivePdo> described_pdo(const nkr::tools::EDSParser& description,
                                                               bool receive, int number);
/** All that the description holds, what the drive receives first, by number. */
[[nodiscard]] NKR_EXPORT std::vector<DrivePdo> described_pdos(const nkr::tools::EDSParser& description);

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
[[nodiscard]] NKR_EXPORT MappingOutcome map_pdo(nkr::tavcore::CANOpenDispatcher& drive, const DrivePdo& pdo,
                                                const PdoMapping& mapping, const PdoParameters& parameters);

}  // namespace tav::host

#endif

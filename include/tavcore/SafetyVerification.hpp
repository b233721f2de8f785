#ifndef TAVCORE_SAFETYVERIFICATION_HPP
#define TAVCORE_SAFETYVERIFICATION_HPP

#include <nkr/error.h>
#include <nkr/export.h>

#include <cstdint>
#include <optional>
#include <string>
#include <tavcore/SafetyConfiguration.hpp>
#include <vector>

namespace nkr::tavcore {

class CANOpenDispatcher;

/** An input that the drive holds otherwise than expected. */
struct SafetyInputDifference {
  /** The object: its name in the device description; for a mapping object index and sub-index ("66F0:01"). */
  std::string input;
  std::uint32_t expected = 0;
  std::uint32_t actual = 0;
};

/** One signature of the drive: of an instance of a safety function, or of an SRDO. */
struct SafetySignatureCheck {
  std::string name;                       ///< "STO 1", "SLS 3", "SDI 2", "SBC 1", "SRDO 5"
  std::uint16_t stored = 0;               ///< as the drive holds it
  std::uint16_t computed = 0;             ///< over the inputs read from the drive
  std::optional<std::uint16_t> expected;  ///< over the expected configuration, where one was given
  /** The inputs of this signature that differ from the expected configuration. */
  std::vector<SafetyInputDifference> differences;

  /** The drive's signature is the one of what the drive holds. */
  [[nodiscard]] bool agrees() const { return stored == computed; }
  /** It agrees, and the inputs are the expected ones. Equal signatures do not prove equal inputs: 16 bits. */
  [[nodiscard]] bool passed() const { return agrees() && differences.empty(); }
};

/** What a drive is expected to hold. */
struct SafetyExpectation {
  std::optional<SafetyConfiguration> configuration;
  std::vector<SRDOConfiguration> srdos;  ///< compared by number with those that are read
};

/** What a drive holds, and whether its signatures fit. */
struct NKR_EXPORT SafetyVerification {
  /** NKR_OK: every object was read. Else the result of the read that failed; nothing below is complete. */
  nkr_error_t result = NKR_OK;
  std::string failed_object;  ///< the object that could not be read, named as in SafetyInputDifference

  SafetyConfiguration configuration;     ///< as read
  std::vector<SRDOConfiguration> srdos;  ///< as read
  std::uint8_t srdo_validity = 0;        ///< object 0x13FE; 0xA5 declares the SRDO configuration valid

  /** STO 1, SLS 1 to 8, SDI 1 and 2, SBC 1 to 3, then the SRDOs in the order asked for. */
  std::vector<SafetySignatureCheck> checks;
  /** Differences that no signature covers: "STO activate SBC", the mapping of safe input and safe output,
   * the transmission types of SRDOs. */
  std::vector<SafetyInputDifference> unsigned_differences;

  [[nodiscard]] bool srdo_configuration_valid() const { return srdo_validity == 0xA5; }
  /** Everything was read, every signature agrees, and nothing differs from what is expected. The validity of
   * the SRDO configuration is a question of its own. */
  [[nodiscard]] bool passed() const;
};

/** SRDO 1 to 16: those that the drive unit has. */
[[nodiscard]] NKR_EXPORT std::vector<std::int32_t> all_srdos();

/**
 * Reads every safety input and signature from the drive, computes the signatures anew and compares.
 *
 * Reads object by object, each repeated once when it fails, and trusts no operation that can answer NKR_OK
 * with something left out. Writes nothing. Not one moment: some 300 reads (with 16 SRDOs more than 400), so
 * nothing else may change the configuration meanwhile.
 *
 * @param srdos     numbers of the SRDOs to read; an SRDO that the drive lacks is a read that fails
 * @param expected  what the drive should hold; by default only agreement is checked
 */
[[nodiscard]] NKR_EXPORT SafetyVerification
verify_safety(const CANOpenDispatcher& dispatcher, const std::vector<std::int32_t>& srdos = all_srdos(),
              const SafetyExpectation& expected = {});

}  // namespace nkr::tavcore

#endif

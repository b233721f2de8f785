#ifndef TAVCORE_SIGNATURECALCULATOR_HPP
#define TAVCORE_SIGNATURECALCULATOR_HPP

#include <nkr/export.h>

#include <cstdint>
#include <tavcore/SafetyConfiguration.hpp>
#include <vector>

/** @file
 * Configuration signatures computed without a bus, from a configuration as a file or a person holds it.
 *
 * The computation shares nothing with the one that writes signatures to the drive: it lays the inputs out as
 * bytes and divides bit by bit, without a table. So a signature computed here and read from a drive was
 * computed twice.
 */
namespace nkr::tavcore {

/** The parameters of the service as the drive holds them. */
[[nodiscard]] NKR_EXPORT SLSConfiguration
sls_configuration(const ISafeMotionService::SLSParameters& parameters);

[[nodiscard]] NKR_EXPORT SafetySignatures compute_safety_signatures(const SafetyConfiguration& configuration);

/** The signature of 0x13FF that belongs to an SRDO; mapping entries after the 255th have no place in it. */
[[nodiscard]] NKR_EXPORT std::uint16_t compute_srdo_signature(const SRDOConfiguration& srdo);

/** CRC-16-CCITT of bytes: polynomial 0x1021, initial value 0, no reflection, no final XOR. */
[[nodiscard]] NKR_EXPORT std::uint16_t crc16_ccitt(const std::vector<std::uint8_t>& bytes);

}  // namespace nkr::tavcore

#endif

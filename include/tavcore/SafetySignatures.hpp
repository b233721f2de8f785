#ifndef TAVCORE_SAFETYSIGNATURES_HPP
#define TAVCORE_SAFETYSIGNATURES_HPP

#include <nkr/export.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <tavcore/IPDSService.hpp>
#include <tavcore/ISafeMotionService.hpp>
#include <vector>

/** @file
 * Configuration signatures computed without a bus, from a configuration as a file or a person holds it.
 *
 * The computation shares nothing with the one that writes signatures to the drive: it lays the inputs out as
 * bytes and divides bit by bit, without a table. So a signature computed here and read from a drive was
 * computed twice.
 */
namespace nkr::tavcore {

inline constexpr std::size_t kSLSCount = 8;
inline constexpr std::size_t kSDICount = 2;
inline constexpr std::size_t kSBCCount = 3;
inline constexpr std::size_t kSafetyMappingObjects = 128;
inline constexpr std::size_t kSafeInputBits = 6;
inline constexpr std::size_t kSafeOutputBits = 4;

/** Parameters of one SLS instance as the drive holds them. */
struct SLSConfiguration {
  std::uint16_t time_to_velocity_monitoring = 0;
  std::uint32_t velocity_limit = 0;
  std::uint16_t time_for_velocity_in_limits = 0;
  /** Object 0x6698:n. 0x66400000 is "safe torque off", 0 none; the services know no other value. */
  std::uint32_t error_reaction = 0;
};

/** The parameters of the service as the drive holds them. */
[[nodiscard]] NKR_EXPORT SLSConfiguration
sls_configuration(const ISafeMotionService::SLSParameters& parameters);

/** All inputs of the 14 signatures, and the inputs that no signature covers. */
struct SafetyConfiguration {
  /** Time, position, velocity and acceleration unit, objects 0x6600 to 0x6603. */
  IPDSService::UnitParameters units{};
  /** activateSBC is covered by no signature. */
  ISafeMotionService::STOParameters sto{};
  std::array<SLSConfiguration, kSLSCount> sls{};
  std::array<ISafeMotionService::SDIParameters, kSDICount> sdi{};
  std::array<ISafeMotionService::SBCParameters, kSBCCount> sbc{};
  /** Objects 0x66F0:01 to 0x66FF:08, by index, then sub-index: the mapping of the CAN safety words. */
  std::array<std::uint32_t, kSafetyMappingObjects> mapping{};
  /** Mapping of the safe input's and the safe output's bits: covered by no signature. */
  std::array<std::uint32_t, kSafeInputBits> safe_input_mapping{};
  std::array<std::uint32_t, kSafeOutputBits> safe_output_mapping{};
};

/** The signatures that belong to a configuration; instance n stands at place n - 1. */
struct SafetySignatures {
  std::uint16_t sto = 0;
  std::array<std::uint16_t, kSLSCount> sls{};
  std::array<std::uint16_t, kSDICount> sdi{};
  std::array<std::uint16_t, kSBCCount> sbc{};
};

[[nodiscard]] NKR_EXPORT SafetySignatures compute_safety_signatures(const SafetyConfiguration& configuration);

/** One SRDO as the drive holds it (EN 50325-5). */
struct SRDOConfiguration {
  std::int32_t number = 1;
  std::uint8_t direction = 0;          ///< 0 off, 1 transmit, 2 receive
  std::uint16_t refresh_time = 0;      ///< or safety cycle time, milliseconds
  std::uint8_t validation_time = 0;    ///< milliseconds
  std::uint8_t transmission_type = 0;  ///< covered by no signature
  std::uint32_t cob_id_1 = 0;
  std::uint32_t cob_id_2 = 0;
  std::vector<std::uint32_t> mapping;  ///< entries from sub-index 1 on; at most 255
};

/** The signature of 0x13FF that belongs to an SRDO; mapping entries after the 255th have no place in it. */
[[nodiscard]] NKR_EXPORT std::uint16_t compute_srdo_signature(const SRDOConfiguration& srdo);

/** CRC-16-CCITT of bytes: polynomial 0x1021, initial value 0, no reflection, no final XOR. */
[[nodiscard]] NKR_EXPORT std::uint16_t crc16_ccitt(const std::vector<std::uint8_t>& bytes);

}  // namespace nkr::tavcore

#endif

#ifndef TAVCORE_SAFETYCONFIGURATION_HPP
#define TAVCORE_SAFETYCONFIGURATION_HPP

#include <array>
#include <cstddef>
#include <cstdint>
#include <tavcore/IPDSService.hpp>
#include <tavcore/ISafeMotionService.hpp>
#include <vector>

/** @file
 * What a drive holds of its safety functions: parameters, mappings, signatures and SRDOs. */
namespace nkr::tavcore {

/** @name Instances of the safety functions
 * @{ */
inline constexpr std::size_t kSTOCount = 1;
inline constexpr std::size_t kSLSCount = 8;
inline constexpr std::size_t kSDICount = 2;
inline constexpr std::size_t kSBCCount = 3;
/** @} */

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

}  // namespace nkr::tavcore

#endif

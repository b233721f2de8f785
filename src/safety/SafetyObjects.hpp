#ifndef TAVCORE_SAFETY_SAFETYOBJECTS_HPP
#define TAVCORE_SAFETY_SAFETYOBJECTS_HPP

#include <cstdint>
#include <string>
#include <string_view>

#include "../dispatcher/Objects.hpp"

namespace nkr::tavcore {

inline constexpr Object<bool> kSTORestartAcknowledgeBehavior{"STO restart acknowledge behavior"};
inline constexpr Object<std::uint32_t> kSTOActivateSBC{"STO activate SBC"};
inline constexpr Object<std::uint8_t> kSRDOConfigurationValid{"Configuration valid"};

/** An object that each instance of a safety function has: its name is the text with the instance number. */
template <class T>
struct NumberedObject {
  std::string_view text;

  [[nodiscard]] std::string of(std::int32_t instance) const {
    return std::string(text).append(std::to_string(instance));
  }
  template <class Id>
  [[nodiscard]] std::string of(Id instance) const {
    return of(static_cast<std::int32_t>(instance));
  }
};

inline constexpr NumberedObject<std::uint16_t> kSTOSignature{
    "STO safety application configuration signature STO safety application configuration signature "};

inline constexpr NumberedObject<std::uint16_t> kSLSTimeToVelocityMonitoring{
    "SLS time to velocity monitoring SLS time to velocity monitoring "};
inline constexpr NumberedObject<std::uint32_t> kSLSVelocityLimit{
    "SLS velocity limit u32 SLS velocity limit u32 "};
inline constexpr NumberedObject<std::uint16_t> kSLSTimeForVelocityInLimits{
    "SLS time for velocity in limits SLS time for velocity in limits "};
inline constexpr NumberedObject<std::uint32_t> kSLSErrorReaction{"SLS error reactions SLS error reaction "};
inline constexpr NumberedObject<std::uint16_t> kSLSSignature{
    "SLS safety application configuration signature SLS safety application configuration signature "};

inline constexpr NumberedObject<std::uint32_t> kSDIVelocityZeroWindow{
    "SDI velocity zero window u32 SDI velocity zero window u32 "};
inline constexpr NumberedObject<std::uint16_t> kSDISignature{
    "SDI safety application configuration signature SDI safety application configuration signature "};

inline constexpr NumberedObject<std::uint16_t> kSBCBrakeTimeDelay{
    "SBC brake time delay SBC brake time delay "};
inline constexpr NumberedObject<std::uint16_t> kSBCSignature{
    "SBC safety application configuration signature SBC safety application configuration signature "};

/** SLS error reaction "safe torque off": the packed reference of object 0x6640:00. */
inline constexpr std::uint32_t kErrorReactionSTO = 0x66400000;

/** Packed address of an object accessed by number, length byte 0; the sub-index keeps its low 8 bits. */
constexpr std::uint32_t safety_address(std::uint32_t index, std::uint32_t subindex) {
  return index << 16 | (subindex & 0xFF) << 8;
}

/** @name The safety word mapping as the signatures cover it: 0x66F0:01 to 0x66FF:08
 * @{ */
inline constexpr std::uint32_t kFirstMappingIndex = 0x66F0;
inline constexpr std::uint32_t kLastMappingIndex = 0x66FF;
inline constexpr std::uint32_t kMappingSubindices = 8;
/** @} */

}  // namespace nkr::tavcore

#endif

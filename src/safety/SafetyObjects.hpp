#ifndef TAVCORE_SAFETY_SAFETYOBJECTS_HPP
#define TAVCORE_SAFETY_SAFETYOBJECTS_HPP

#include <array>
#include <cstdint>
#include <string_view>
#include <tavcore/SafetyConfiguration.hpp>

#include "../objects/DriveObjects.hpp"

/** @file The objects of the safety functions, their signatures, the safety word mapping and the SRDOs. */
namespace nkr::tavcore {

inline constexpr Object<bool> kSTORestartAcknowledgeBehavior{"STO restart acknowledge behavior"};
inline constexpr Object<std::uint32_t> kSTOActivateSBC{"STO activate SBC"};

inline constexpr ObjectSeries<std::uint16_t> kSLSTimeToVelocityMonitoring{
    "SLS time to velocity monitoring SLS time to velocity monitoring "};
inline constexpr ObjectSeries<std::uint32_t> kSLSVelocityLimit{
    "SLS velocity limit u32 SLS velocity limit u32 "};
inline constexpr ObjectSeries<std::uint16_t> kSLSTimeForVelocityInLimits{
    "SLS time for velocity in limits SLS time for velocity in limits "};
inline constexpr ObjectSeries<std::uint32_t> kSLSErrorReaction{"SLS error reactions SLS error reaction "};

inline constexpr ObjectSeries<std::uint32_t> kSDIVelocityZeroWindow{
    "SDI velocity zero window u32 SDI velocity zero window u32 "};

inline constexpr ObjectSeries<std::uint16_t> kSBCBrakeTimeDelay{"SBC brake time delay SBC brake time delay "};

/** SLS error reaction "safe torque off": the packed reference of object 0x6640:00. */
inline constexpr std::uint32_t kErrorReactionSTO = 0x66400000;

/** An object accessed by number, length byte 0; the sub-index keeps its low 8 bits. */
template <class T>
constexpr ObjectAt<T> safety_object(std::uint32_t index, std::uint32_t subindex) {
  return {index << 16 | (subindex & 0xFF) << 8};
}

/**
 * Where the signatures of a safety function's instances are: read by name, written by number (index,
 * instance).
 */
struct SignatureObjects {
  ObjectSeries<std::uint16_t> names;
  std::uint32_t index;

  template <class Id>
  [[nodiscard]] NumberedObject<std::uint16_t> readable(Id instance) const {
    return names.of(instance);
  }
  template <class Id>
  [[nodiscard]] constexpr ObjectAt<std::uint16_t> writable(Id instance) const {
    return safety_object<std::uint16_t>(index, static_cast<std::uint32_t>(instance));
  }
};

inline constexpr SignatureObjects kSTOSignatures{
    "STO safety application configuration signature STO safety application configuration signature ", 0x6645};
inline constexpr SignatureObjects kSBCSignatures{
    "SBC safety application configuration signature SBC safety application configuration signature ", 0x6662};
inline constexpr SignatureObjects kSLSSignatures{
    "SLS safety application configuration signature SLS safety application configuration signature ", 0x6699};
inline constexpr SignatureObjects kSDISignatures{
    "SDI safety application configuration signature SDI safety application configuration signature ", 0x66D6};

/** The object of one bit of a safety word's mapping: the word's base name with the digit of the bit. */
inline NumberedObject<std::uint32_t> mapping_bit(std::string_view base, int bit) {
  return {NumberedName(base, bit)};
}

using MappingObjects = std::array<ObjectAt<std::uint32_t>, kSafetyMappingObjects>;

constexpr MappingObjects mapping_objects() {
  constexpr std::uint32_t kFirstIndex = 0x66F0;
  constexpr std::uint32_t kSubindices = 8;
  MappingObjects objects{};
  std::uint32_t place = 0;
  for (auto& object : objects) {
    object = safety_object<std::uint32_t>(kFirstIndex + place / kSubindices, 1 + place % kSubindices);
    ++place;
  }
  return objects;
}

/** The safety word mapping as the signatures cover it: 0x66F0:01 to 0x66FF:08, by index, then sub-index. */
inline constexpr MappingObjects kMappingObjects = mapping_objects();

inline constexpr Object<std::uint8_t> kSRDOConfigurationValid{"Configuration valid"};
inline constexpr std::int32_t kSRDOCount = 16;

/** The objects of one SRDO (EN 50325-5): parameters 0x1300 + n, mapping 0x1380 + n, signature 0x13FF:n. */
class SRDOObjects {
 public:
  template <class Id>
  constexpr explicit SRDOObjects(Id number) : number_(static_cast<std::uint32_t>(number)) {}

  [[nodiscard]] constexpr ObjectAt<std::uint8_t> direction() const { return parameter<std::uint8_t>(1); }
  [[nodiscard]] constexpr ObjectAt<std::uint16_t> refresh_time() const { return parameter<std::uint16_t>(2); }
  [[nodiscard]] constexpr ObjectAt<std::uint8_t> validation_time() const {
    return parameter<std::uint8_t>(3);
  }
  [[nodiscard]] constexpr ObjectAt<std::uint8_t> transmission_type() const {
    return parameter<std::uint8_t>(4);
  }
  [[nodiscard]] constexpr ObjectAt<std::uint32_t> cob_id_1() const { return parameter<std::uint32_t>(5); }
  [[nodiscard]] constexpr ObjectAt<std::uint32_t> cob_id_2() const { return parameter<std::uint32_t>(6); }

  [[nodiscard]] constexpr ObjectAt<std::uint8_t> mapping_count() const {
    return safety_object<std::uint8_t>(kMappingBase + number_, 0);
  }
  [[nodiscard]] constexpr ObjectAt<std::uint32_t> mapping_entry(std::uint32_t subindex) const {
    return safety_object<std::uint32_t>(kMappingBase + number_, subindex);
  }
  [[nodiscard]] constexpr ObjectAt<std::uint16_t> signature() const {
    return safety_object<std::uint16_t>(kSignatureIndex, number_);
  }

 private:
  static constexpr std::uint32_t kParameterBase = 0x1300;
  static constexpr std::uint32_t kMappingBase = 0x1380;
  static constexpr std::uint32_t kSignatureIndex = 0x13FF;

  template <class T>
  [[nodiscard]] constexpr ObjectAt<T> parameter(std::uint32_t subindex) const {
    return safety_object<T>(kParameterBase + number_, subindex);
  }

  std::uint32_t number_;
};

}  // namespace nkr::tavcore

#endif

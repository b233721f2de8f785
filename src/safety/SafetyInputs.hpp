#ifndef TAVCORE_SAFETY_SAFETYINPUTS_HPP
#define TAVCORE_SAFETY_SAFETYINPUTS_HPP

#include <tavcore/SafetySignatures.hpp>
#include <tavcore/SafetyWordTables.hpp>

#include "SafetyObjects.hpp"

/** @file
 * The inputs of the signatures, each with its object: one list for reading and for comparing.
 * `field(name or ObjectNumber, value)` is called for every input, in the order of the list. The configuration
 * may be const.
 */
namespace nkr::tavcore {

/** An object that is known by index and sub-index. */
struct ObjectNumber {
  std::uint32_t index;
  std::uint32_t subindex;
};

template <class Field, class Configuration>
void unit_inputs(Field& field, Configuration& c) {
  field(kTimeUnit.name, c.units.time_unit);
  field(kPositionUnit.name, c.units.position_unit);
  field(kVelocityUnit.name, c.units.velocity_unit);
  field(kAccelerationUnit.name, c.units.acceleration_unit);
}

template <class Field, class Configuration>
void mapping_inputs(Field& field, Configuration& c) {
  std::size_t place = 0;
  for (std::uint32_t index = kFirstMappingIndex; index <= kLastMappingIndex; ++index) {
    for (std::uint32_t subindex = 1; subindex <= kMappingSubindices; ++subindex) {
      field(ObjectNumber{index, subindex}, c.mapping.at(place++));
    }
  }
}

template <class Field, class Configuration>
void sto_inputs(Field& field, Configuration& c) {
  field(kSTORestartAcknowledgeBehavior.name, c.sto.restartAcknowledgeBehavior);
}

template <class Field, class Sls>
void sls_inputs(Field& field, Sls& sls, int instance) {
  field(kSLSTimeToVelocityMonitoring.of(instance), sls.time_to_velocity_monitoring);
  field(kSLSVelocityLimit.of(instance), sls.velocity_limit);
  field(kSLSTimeForVelocityInLimits.of(instance), sls.time_for_velocity_in_limits);
  field(kSLSErrorReaction.of(instance), sls.error_reaction);
}

template <class Field, class Sdi>
void sdi_inputs(Field& field, Sdi& sdi, int instance) {
  field(kSDIVelocityZeroWindow.of(instance), sdi.velocityZeroWindow);
}

template <class Field, class Sbc>
void sbc_inputs(Field& field, Sbc& sbc, int instance) {
  field(kSBCBrakeTimeDelay.of(instance), sbc.brakeTimeDelay);
}

/** The bits of the safe input or the safe output. */
template <class Field, class Codes>
void bit_inputs(Field& field, const std::string& base, Codes& codes) {
  int bit = 0;
  for (auto& code : codes) field(base + std::to_string(bit++), code);
}

/** What no signature covers. */
template <class Field, class Configuration>
void unsigned_inputs(Field& field, Configuration& c) {
  field(kSTOActivateSBC.name, c.sto.activateSBC);
  bit_inputs(field, sSafetyControlWordMapping.at(ISafeMotionService::SafetyControlWordId::SAFE_INPUT),
             c.safe_input_mapping);
  bit_inputs(field, sSafetyStatusWordMapping.at(ISafeMotionService::SafetyStatusWordId::SAFE_OUTPUT),
             c.safe_output_mapping);
}

inline std::uint32_t srdo_parameter_index(std::int32_t number) {
  return 0x1300 + static_cast<std::uint32_t>(number);
}
inline std::uint32_t srdo_mapping_index(std::int32_t number) {
  return 0x1380 + static_cast<std::uint32_t>(number);
}

/** Signed communication parameters of an SRDO. */
template <class Field, class Srdo>
void srdo_inputs(Field& field, Srdo& srdo) {
  const std::uint32_t index = srdo_parameter_index(srdo.number);
  field(ObjectNumber{index, 1}, srdo.direction);
  field(ObjectNumber{index, 2}, srdo.refresh_time);
  field(ObjectNumber{index, 3}, srdo.validation_time);
  field(ObjectNumber{index, 5}, srdo.cob_id_1);
  field(ObjectNumber{index, 6}, srdo.cob_id_2);
}

template <class Field, class Srdo>
void unsigned_srdo_inputs(Field& field, Srdo& srdo) {
  field(ObjectNumber{srdo_parameter_index(srdo.number), 4}, srdo.transmission_type);
}

template <class Field, class Srdo>
void srdo_mapping_inputs(Field& field, Srdo& srdo) {
  std::uint32_t subindex = 0;
  for (auto& entry : srdo.mapping) field(ObjectNumber{srdo_mapping_index(srdo.number), ++subindex}, entry);
}

}  // namespace nkr::tavcore

#endif

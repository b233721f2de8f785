#ifndef TAVCORE_SAFETY_SAFETYINPUTS_HPP
#define TAVCORE_SAFETY_SAFETYINPUTS_HPP

#include <tavcore/SafetyConfiguration.hpp>
#include <tavcore/SafetyWordTables.hpp>

#include "SafetyObjects.hpp"

/** @file
 * The inputs of the signatures, each with its object: one list for reading and for comparing.
 * `field(object, value)` is called for every input, in the order of the list. The configuration may be const.
 */
namespace nkr::tavcore {

template <class Field, class Configuration>
void unit_inputs(Field& field, Configuration& c) {
  field(kTimeUnit, c.units.time_unit);
  field(kPositionUnit, c.units.position_unit);
  field(kVelocityUnit, c.units.velocity_unit);
  field(kAccelerationUnit, c.units.acceleration_unit);
}

template <class Field, class Configuration>
void mapping_inputs(Field& field, Configuration& c) {
  for (std::size_t i = 0; i < kMappingObjects.size(); ++i) field(kMappingObjects.at(i), c.mapping.at(i));
}

template <class Field, class Configuration>
void sto_inputs(Field& field, Configuration& c) {
  field(kSTORestartAcknowledgeBehavior, c.sto.restartAcknowledgeBehavior);
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
  for (auto& code : codes) field(mapping_bit(base, bit++), code);
}

/** What no signature covers. */
template <class Field, class Configuration>
void unsigned_inputs(Field& field, Configuration& c) {
  field(kSTOActivateSBC, c.sto.activateSBC);
  bit_inputs(field, sSafetyControlWordMapping.at(ISafeMotionService::SafetyControlWordId::SAFE_INPUT),
             c.safe_input_mapping);
  bit_inputs(field, sSafetyStatusWordMapping.at(ISafeMotionService::SafetyStatusWordId::SAFE_OUTPUT),
             c.safe_output_mapping);
}

/** Signed communication parameters of an SRDO. */
template <class Field, class Srdo>
void srdo_inputs(Field& field, Srdo& srdo) {
  const SRDOObjects objects(srdo.number);
  field(objects.direction(), srdo.direction);
  field(objects.refresh_time(), srdo.refresh_time);
  field(objects.validation_time(), srdo.validation_time);
  field(objects.cob_id_1(), srdo.cob_id_1);
  field(objects.cob_id_2(), srdo.cob_id_2);
}

template <class Field, class Srdo>
void unsigned_srdo_inputs(Field& field, Srdo& srdo) {
  field(SRDOObjects(srdo.number).transmission_type(), srdo.transmission_type);
}

template <class Field, class Srdo>
void srdo_mapping_inputs(Field& field, Srdo& srdo) {
  const SRDOObjects objects(srdo.number);
  std::uint32_t subindex = 0;
  for (auto& entry : srdo.mapping) field(objects.mapping_entry(++subindex), entry);
}

}  // namespace nkr::tavcore

#endif

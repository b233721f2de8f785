#ifndef TAVCTL_TEXT_SAFETYFIELDS_HPP
#define TAVCTL_TEXT_SAFETYFIELDS_HPP

namespace tavctl {

// The fields of the safety records, in the order in which the drive holds them; see text/Record.hpp.

constexpr auto kUnitFields = [](auto visit, auto& record) {
  visit("time_unit", record.time_unit);
  visit("position_unit", record.position_unit);
  visit("velocity_unit", record.velocity_unit);
  visit("acceleration_unit", record.acceleration_unit);
};

constexpr auto kStoFields = [](auto visit, auto& record) {
  visit("restart_acknowledge_behavior", record.restartAcknowledgeBehavior);
  visit("activate_sbc", record.activateSBC);
};

/** As the service sets them: the error reaction is STO or none. */
constexpr auto kSlsFields = [](auto visit, auto& record) {
  visit("time_to_velocity_monitoring", record.timeToVelocityMonitoring);
  visit("velocity_limit", record.velocityLimit);
  visit("time_for_velocity_in_limits", record.timeForVelocityInLimits);
  visit("error_reaction", record.errorReaction);
};

/** As the drive holds them: the error reaction is a reference. */
constexpr auto kHeldSlsFields = [](auto visit, auto& record) {
  visit("time_to_velocity_monitoring", record.time_to_velocity_monitoring);
  visit("velocity_limit", record.velocity_limit);
  visit("time_for_velocity_in_limits", record.time_for_velocity_in_limits);
  visit("error_reaction", record.error_reaction);
};

constexpr auto kSdiFields = [](auto visit, auto& record) {
  visit("velocity_zero_window", record.velocityZeroWindow);
};

constexpr auto kSbcFields = [](auto visit, auto& record) {
  visit("brake_time_delay", record.brakeTimeDelay);
};

constexpr auto kSrdoFields = [](auto visit, auto& record) {
  visit("enabled", record.enabled);
  visit("refresh_time", record.refreshTime);
  visit("validation_time", record.validationTime);
  visit("transmission_type", record.transmissionType);
  visit("cob_id_1", record.cobId1);
  visit("cob_id_2", record.cobId2);
};

constexpr auto kHeldSrdoFields = [](auto visit, auto& record) {
  visit("number", record.number);
  visit("direction", record.direction);
  visit("refresh_time", record.refresh_time);
  visit("validation_time", record.validation_time);
  visit("transmission_type", record.transmission_type);
  visit("cob_id_1", record.cob_id_1);
  visit("cob_id_2", record.cob_id_2);
};

}  // namespace tavctl

#endif

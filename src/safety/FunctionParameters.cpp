// Parameters of STO, SLS, SDI and SBC. A setter's signature update is made once and its result dropped: its
// NKR_OK says that the parameters were accepted, not that the signature fits them.

#include <tavcore/CANOpenDispatcher.hpp>

#include "../objects/Steps.hpp"
#include "SafetyObjects.hpp"

namespace nkr::tavcore {

nkr_error_t CANOpenDispatcher::getSTOParameters(const STOId& id, STOParameters& parameters,
                                                unsigned short& signature) const {
  Steps steps = Steps::guarded(*dictionary_);
  steps.read(kSTORestartAcknowledgeBehavior, parameters.restartAcknowledgeBehavior);
  steps.read(kSTOActivateSBC, parameters.activateSBC);
  steps.read(kSTOSignatures.readable(id), signature);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::setSTOParameters(const STOId& id, const STOParameters& parameters) {
  Steps steps = Steps::guarded(*dictionary_);
  steps.write(kSTORestartAcknowledgeBehavior, parameters.restartAcknowledgeBehavior);
  steps.write(kSTOActivateSBC, parameters.activateSBC);
  if (steps.completed()) static_cast<void>(updateSignature_STO(id, parameters));
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getSLSParameters(const SLSId& id, SLSParameters& parameters,
                                                unsigned short& signature) const {
  Steps steps = Steps::guarded(*dictionary_);
  steps.read(kSLSTimeToVelocityMonitoring.of(id), parameters.timeToVelocityMonitoring);
  steps.read(kSLSVelocityLimit.of(id), parameters.velocityLimit);
  steps.read(kSLSTimeForVelocityInLimits.of(id), parameters.timeForVelocityInLimits);
  steps.read(kSLSErrorReaction.of(id), [&](std::uint32_t error_reaction) {
    parameters.errorReaction = error_reaction == kErrorReactionSTO;
  });
  steps.read(kSLSSignatures.readable(id), signature);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::setSLSParameters(const SLSId& id, const SLSParameters& parameters) {
  Steps steps = Steps::guarded(*dictionary_);
  const std::uint32_t error_reaction = parameters.errorReaction ? kErrorReactionSTO : 0;
  steps.write(kSLSTimeToVelocityMonitoring.of(id), parameters.timeToVelocityMonitoring);
  steps.write(kSLSVelocityLimit.of(id), parameters.velocityLimit);
  steps.write(kSLSTimeForVelocityInLimits.of(id), parameters.timeForVelocityInLimits);
  steps.write(kSLSErrorReaction.of(id), error_reaction);
  if (steps.completed()) static_cast<void>(updateSignature_SLS(id, parameters));
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getSDIParameters(const SDIId& id, SDIParameters& parameters,
                                                unsigned short& signature) const {
  Steps steps = Steps::guarded(*dictionary_);
  steps.read(kSDIVelocityZeroWindow.of(id), parameters.velocityZeroWindow);
  steps.read(kSDISignatures.readable(id), signature);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::setSDIParameters(const SDIId& id, const SDIParameters& parameters) {
  Steps steps = Steps::guarded(*dictionary_);
  steps.write(kSDIVelocityZeroWindow.of(id), parameters.velocityZeroWindow);
  if (steps.completed()) static_cast<void>(updateSignature_SDI(id, parameters));
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getSBCParameters(const SBCId& id, SBCParameters& parameters,
                                                unsigned short& signature) const {
  Steps steps = Steps::guarded(*dictionary_);
  steps.read(kSBCBrakeTimeDelay.of(id), parameters.brakeTimeDelay);
  steps.read(kSBCSignatures.readable(id), signature);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::setSBCParameters(const SBCId& id, const SBCParameters& parameters) {
  Steps steps = Steps::guarded(*dictionary_);
  steps.write(kSBCBrakeTimeDelay.of(id), parameters.brakeTimeDelay);
  if (steps.completed()) static_cast<void>(updateSignature_SBC(id, parameters));
  return steps.result();
}

}  // namespace nkr::tavcore

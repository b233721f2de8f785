// Configuration signatures of the safety functions, as the drive computes them over what it holds.
//
// A mapping read that fails once and then succeeds makes computeMappingSignature() answer NKR_OK with its
// result not stored: the signature written then covers the instance's own fields alone. The drive sees the
// difference; the caller sees it only by reading back.

#include <tavcore/CANOpenDispatcher.hpp>
#include <tavcore/SafetyConfiguration.hpp>

#include "../objects/Steps.hpp"
#include "SafetyObjects.hpp"

namespace nkr::tavcore {
namespace {

// Places that the drive's signature layout reserves.
constexpr std::uint16_t kZero16 = 0;
constexpr std::uint32_t kZero32 = 0;

template <class... Fields>
std::uint16_t crc_over(const Fields&... fields) {
  std::uint16_t crc = 0;
  ((crc = CANOpenDispatcher::crcComputation(crc, fields)), ...);
  return crc;
}

/** Continues an instance's CRC over the mapping and writes it as the instance's signature. */
nkr_error_t write_signature(Steps& steps, const CANOpenDispatcher& dispatcher,
                            const ObjectAt<std::uint16_t>& signature, std::uint16_t crc) {
  steps.step([&] { return dispatcher.computeMappingSignature(crc, crc); });
  steps.write(signature, crc);
  return steps.result();
}

/** Recomputes the signatures of one function, instance by instance, from the parameters in the drive. */
template <class Id, class Parameters>
void refresh_signatures(Steps& steps, const CANOpenDispatcher& dispatcher, std::size_t instances,
                        nkr_error_t (CANOpenDispatcher::*get)(const Id&, Parameters&, unsigned short&) const,
                        nkr_error_t (CANOpenDispatcher::*update)(Id, Parameters) const) {
  for (std::size_t instance = 1; instance <= instances; ++instance) {
    const auto id = static_cast<Id>(instance);
    Parameters parameters{};
    unsigned short held_signature = 0;
    steps.step([&] { return (dispatcher.*get)(id, parameters, held_signature); });
    if (!steps.step([&] { return (dispatcher.*update)(id, parameters); })) return;
  }
}

}  // namespace

nkr_error_t CANOpenDispatcher::updateSignature_STO(STOId id, STOParameters parameters) const {
  Steps steps(*dictionary_);
  const std::uint16_t crc = crc_over(parameters.restartAcknowledgeBehavior);
  return write_signature(steps, *this, kSTOSignatures.writable(id), crc);
}

nkr_error_t CANOpenDispatcher::updateSignature_SLS(SLSId id, SLSParameters parameters) const {
  Steps steps(*dictionary_);
  std::uint32_t time_unit = 0;
  std::uint32_t velocity_unit = 0;
  std::uint32_t acceleration_unit = 0;
  steps.read(kTimeUnit, time_unit);
  steps.read(kVelocityUnit, velocity_unit);
  if (!steps.read(kAccelerationUnit, acceleration_unit)) return steps.result();
  const std::uint32_t error_reaction = parameters.errorReaction ? kErrorReactionSTO : 0;
  const std::uint16_t crc = crc_over(time_unit,                            //
                                     velocity_unit,                        //
                                     acceleration_unit,                    //
                                     parameters.timeToVelocityMonitoring,  //
                                     kZero16,                              //
                                     parameters.velocityLimit,             //
                                     parameters.timeForVelocityInLimits,   //
                                     kZero16,                              //
                                     kZero16,                              //
                                     kZero32,                              //
                                     error_reaction);
  return write_signature(steps, *this, kSLSSignatures.writable(id), crc);
}

nkr_error_t CANOpenDispatcher::updateSignature_SDI(SDIId id, SDIParameters parameters) const {
  Steps steps(*dictionary_);
  std::uint32_t position_unit = 0;
  std::uint32_t velocity_unit = 0;
  steps.read(kPositionUnit, position_unit);
  if (!steps.read(kVelocityUnit, velocity_unit)) return steps.result();
  const std::uint16_t crc = crc_over(position_unit,  //
                                     velocity_unit,  //
                                     kZero16,        //
                                     kZero32,        //
                                     kZero16,        //
                                     parameters.velocityZeroWindow);
  return write_signature(steps, *this, kSDISignatures.writable(id), crc);
}

nkr_error_t CANOpenDispatcher::updateSignature_SBC(SBCId id, SBCParameters parameters) const {
  Steps steps(*dictionary_);
  std::uint32_t time_unit = 0;
  if (!steps.read(kTimeUnit, time_unit)) return steps.result();
  const std::uint16_t crc = crc_over(time_unit, parameters.brakeTimeDelay);
  return write_signature(steps, *this, kSBCSignatures.writable(id), crc);
}

nkr_error_t CANOpenDispatcher::computeMappingSignature(std::uint16_t seed, std::uint16_t& result) const {
  Steps steps(*dictionary_);
  std::uint16_t crc = seed;
  for (const auto& object : kMappingObjects) {
    std::uint32_t code = 0;
    if (!steps.read(object, code)) return steps.result();
    crc = crcComputation(crc, code);
  }
  result = crc;
  return NKR_OK;
}

nkr_error_t CANOpenDispatcher::updateAllSafetySignatures() const {
  Steps steps(*dictionary_);
  refresh_signatures(steps, *this, kSTOCount, &CANOpenDispatcher::getSTOParameters,
                     &CANOpenDispatcher::updateSignature_STO);
  refresh_signatures(steps, *this, kSDICount, &CANOpenDispatcher::getSDIParameters,
                     &CANOpenDispatcher::updateSignature_SDI);
  refresh_signatures(steps, *this, kSLSCount, &CANOpenDispatcher::getSLSParameters,
                     &CANOpenDispatcher::updateSignature_SLS);
  refresh_signatures(steps, *this, kSBCCount, &CANOpenDispatcher::getSBCParameters,
                     &CANOpenDispatcher::updateSignature_SBC);
  return steps.result();
}

}  // namespace nkr::tavcore

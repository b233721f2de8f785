// Configuration signatures of the safety functions, as the drive computes them over what it holds.
//
// A mapping read that fails once and then succeeds makes computeMappingSignature() answer NKR_OK with its
// result not stored: the signature written then covers the instance's own fields alone. The drive sees the
// difference; the caller sees it only by reading back.

#include "../dispatcher/Steps.hpp"
#include "SafetyObjects.hpp"

namespace nkr::tavcore {
namespace {

constexpr std::uint32_t kSTOSignatureIndex = 0x6645;
constexpr std::uint32_t kSBCSignatureIndex = 0x6662;
constexpr std::uint32_t kSLSSignatureIndex = 0x6699;
constexpr std::uint32_t kSDISignatureIndex = 0x66D6;

constexpr int kSTOInstances = 1;
constexpr int kSDIInstances = 2;
constexpr int kSLSInstances = 8;
constexpr int kSBCInstances = 3;

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
template <class Id>
void write_signature(Steps& steps, const CANOpenDispatcher& dispatcher, std::uint32_t index, Id id,
                     std::uint16_t crc) {
  steps.step([&] { return dispatcher.computeMappingSignature(crc, crc); });
  steps.write_at(safety_address(index, static_cast<std::uint32_t>(id)), crc);
}

/** Recomputes the signatures of one function, instance by instance, from the parameters in the drive. */
template <class Id, class Parameters>
void refresh_signatures(Steps& steps, const CANOpenDispatcher& dispatcher, int instances,
                        nkr_error_t (CANOpenDispatcher::*get)(const Id&, Parameters&, unsigned short&) const,
                        nkr_error_t (CANOpenDispatcher::*update)(Id, Parameters) const) {
  for (int instance = 1; instance <= instances; ++instance) {
    const Id id{instance};
    Parameters parameters{};
    unsigned short held_signature = 0;
    steps.step([&] { return (dispatcher.*get)(id, parameters, held_signature); });
    steps.step([&] { return (dispatcher.*update)(id, parameters); });
  }
}

}  // namespace

nkr_error_t CANOpenDispatcher::updateSignature_STO(STOId id, STOParameters parameters) const {
  Steps steps(*this);
  const std::uint16_t crc = crc_over(parameters.restartAcknowledgeBehavior);
  write_signature(steps, *this, kSTOSignatureIndex, id, crc);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::updateSignature_SLS(SLSId id, SLSParameters parameters) const {
  Steps steps(*this);
  std::uint32_t time_unit = 0;
  std::uint32_t velocity_unit = 0;
  std::uint32_t acceleration_unit = 0;
  steps.read(kTimeUnit.name, time_unit);
  steps.read(kVelocityUnit.name, velocity_unit);
  steps.read(kAccelerationUnit.name, acceleration_unit);
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
  write_signature(steps, *this, kSLSSignatureIndex, id, crc);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::updateSignature_SDI(SDIId id, SDIParameters parameters) const {
  Steps steps(*this);
  std::uint32_t position_unit = 0;
  std::uint32_t velocity_unit = 0;
  steps.read(kPositionUnit.name, position_unit);
  steps.read(kVelocityUnit.name, velocity_unit);
  const std::uint16_t crc = crc_over(position_unit,  //
                                     velocity_unit,  //
                                     kZero16,        //
                                     kZero32,        //
                                     kZero16,        //
                                     parameters.velocityZeroWindow);
  write_signature(steps, *this, kSDISignatureIndex, id, crc);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::updateSignature_SBC(SBCId id, SBCParameters parameters) const {
  Steps steps(*this);
  std::uint32_t time_unit = 0;
  steps.read(kTimeUnit.name, time_unit);
  const std::uint16_t crc = crc_over(time_unit, parameters.brakeTimeDelay);
  write_signature(steps, *this, kSBCSignatureIndex, id, crc);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::computeMappingSignature(std::uint16_t seed, std::uint16_t& result) const {
  Steps steps(*this);
  std::uint16_t crc = seed;
  for (std::uint32_t index = kFirstMappingIndex; index <= kLastMappingIndex; ++index) {
    for (std::uint32_t subindex = 1; subindex <= kMappingSubindices; ++subindex) {
      std::uint32_t code = 0;
      steps.read_at(safety_address(index, subindex), code);
      crc = crcComputation(crc, code);
    }
  }
  if (steps.completed()) result = crc;
  return steps.result();
}

nkr_error_t CANOpenDispatcher::updateAllSafetySignatures() const {
  Steps steps(*this);
  refresh_signatures(steps, *this, kSTOInstances, &CANOpenDispatcher::getSTOParameters,
                     &CANOpenDispatcher::updateSignature_STO);
  refresh_signatures(steps, *this, kSDIInstances, &CANOpenDispatcher::getSDIParameters,
                     &CANOpenDispatcher::updateSignature_SDI);
  refresh_signatures(steps, *this, kSLSInstances, &CANOpenDispatcher::getSLSParameters,
                     &CANOpenDispatcher::updateSignature_SLS);
  refresh_signatures(steps, *this, kSBCInstances, &CANOpenDispatcher::getSBCParameters,
                     &CANOpenDispatcher::updateSignature_SBC);
  return steps.result();
}

}  // namespace nkr::tavcore

// Safety-relevant data objects (EN 50325-5): parameters 0x1300 + n, mapping 0x1380 + n, signature 0x13FF:n.

#include "../dispatcher/Steps.hpp"
#include "SafetyObjects.hpp"

namespace nkr::tavcore {
namespace {

using SRDO = ISRDOService::SRDOId;
using Direction = ISRDOService::SRDODirection;

constexpr std::uint32_t kParameterBase = 0x1300;
constexpr std::uint32_t kMappingBase = 0x1380;
constexpr std::uint32_t kSignatureIndex = 0x13FF;

// Sub-indices of the communication parameters.
constexpr std::uint32_t kDirection = 1;
constexpr std::uint32_t kRefreshTime = 2;
constexpr std::uint32_t kValidationTime = 3;
constexpr std::uint32_t kTransmissionType = 4;
constexpr std::uint32_t kCobId1 = 5;
constexpr std::uint32_t kCobId2 = 6;

constexpr std::uint8_t kDirectionOff = 0;
constexpr std::uint8_t kConfigurationValid = 0xA5;

constexpr std::uint32_t number_of(SRDO srdo) {
  return static_cast<std::uint32_t>(srdo);
}
constexpr std::uint32_t parameter_address(SRDO srdo, std::uint32_t subindex) {
  return safety_address(kParameterBase + number_of(srdo), subindex);
}
constexpr std::uint32_t mapping_address(SRDO srdo, std::uint32_t subindex) {
  return safety_address(kMappingBase + number_of(srdo), subindex);
}
constexpr std::uint32_t signature_address(SRDO srdo) {
  return safety_address(kSignatureIndex, number_of(srdo));
}

/** The drive's SRDOs have a fixed direction each. */
constexpr Direction direction_of(SRDO srdo) {
  const std::uint32_t number = number_of(srdo);
  return number == 2 || number == 10 || number == 16 ? Direction::TRANSMIT : Direction::RECEIVE;
}

template <class Field>
void feed(std::uint16_t& crc, const Field& field) {
  crc = CANOpenDispatcher::crcComputation(crc, field);
}

/** The signature of EN 50325-5: the transmission type is not part of it. */
std::uint16_t srdo_crc(std::uint8_t direction, const ISRDOService::SRDOParameters& parameters,
                       std::uint32_t cob_id_1, std::uint32_t cob_id_2,
                       const ISRDOService::SRDOMapping& mapping) {
  std::uint16_t crc = 0;
  feed(crc, direction);
  feed(crc, parameters.refreshTime);
  feed(crc, parameters.validationTime);
  feed(crc, cob_id_1);
  feed(crc, cob_id_2);
  feed(crc, mapping.count);
  for (std::uint32_t i = 1; i <= mapping.count; ++i) {
    const auto subindex = static_cast<std::uint8_t>(i);
    const std::uint32_t entry = i <= mapping.entries.size() ? mapping.entries[i - 1] : 0;
    feed(crc, subindex);
    feed(crc, entry);
  }
  return crc;
}

}  // namespace

nkr_error_t CANOpenDispatcher::getSRDOParameters(const SRDOId& srdo, SRDODirection& direction,
                                                 SRDOParameters& parameters,
                                                 unsigned short& signature) const {
  Steps steps = Steps::guarded(*this);
  std::uint8_t held_direction = kDirectionOff;
  std::uint32_t cob_id_1 = 0;
  std::uint32_t cob_id_2 = 0;
  steps.read_at(parameter_address(srdo, kDirection), held_direction);
  if (steps.completed()) {
    parameters.enabled = held_direction != kDirectionOff;
    direction = direction_of(srdo);
  }
  steps.read_at(parameter_address(srdo, kRefreshTime), parameters.refreshTime);
  steps.read_at(parameter_address(srdo, kValidationTime), parameters.validationTime);
  steps.read_at(parameter_address(srdo, kTransmissionType), parameters.transmissionType);
  steps.read_at(parameter_address(srdo, kCobId1), cob_id_1);
  if (steps.completed()) parameters.cobId1 = static_cast<std::uint16_t>(cob_id_1);
  steps.read_at(parameter_address(srdo, kCobId2), cob_id_2);
  if (steps.completed()) parameters.cobId2 = static_cast<std::uint16_t>(cob_id_2);
  steps.read_at(signature_address(srdo), signature);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::setSRDOParameters(const SRDOId& srdo, const SRDOParameters& parameters) {
  Steps steps = Steps::guarded(*this);
  const std::uint8_t direction =
      parameters.enabled ? static_cast<std::uint8_t>(direction_of(srdo)) : kDirectionOff;
  const std::uint32_t cob_id_1 = parameters.cobId1;
  const std::uint32_t cob_id_2 = parameters.cobId2;
  steps.write_at(parameter_address(srdo, kDirection), direction);
  steps.write_at(parameter_address(srdo, kRefreshTime), parameters.refreshTime);
  steps.write_at(parameter_address(srdo, kValidationTime), parameters.validationTime);
  steps.write_at(parameter_address(srdo, kTransmissionType), parameters.transmissionType);
  steps.write_at(parameter_address(srdo, kCobId1), cob_id_1);
  steps.write_at(parameter_address(srdo, kCobId2), cob_id_2);

  SRDOMapping mapping{};
  std::uint8_t held_direction = kDirectionOff;
  steps.step([&] { return getSRDOMapping(srdo, mapping); });
  steps.read_at(parameter_address(srdo, kDirection), held_direction);
  const std::uint16_t signature = srdo_crc(held_direction, parameters, cob_id_1, cob_id_2, mapping);
  steps.write_at(signature_address(srdo), signature);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getSRDOMapping(const SRDOId& srdo, SRDOMapping& mapping) const {
  Steps steps = Steps::guarded(*this);
  steps.read_at(mapping_address(srdo, 0), mapping.count);
  if (!steps.completed()) return steps.result();
  mapping.entries.resize(mapping.count);
  std::uint32_t subindex = 0;
  for (std::uint32_t& entry : mapping.entries) steps.read_at(mapping_address(srdo, ++subindex), entry);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getSRDOConfigurationValidity(bool& valid) const {
  Steps steps = Steps::guarded(*this);
  std::uint8_t value = 0;
  steps.read(kSRDOConfigurationValid.name, value);
  if (steps.completed()) valid = value == kConfigurationValid;
  return steps.result();
}

nkr_error_t CANOpenDispatcher::setSRDOConfigurationValidity() {
  Steps steps = Steps::guarded(*this);
  const std::uint8_t value = kConfigurationValid;
  steps.write(kSRDOConfigurationValid.name, value);
  return steps.result();
}

}  // namespace nkr::tavcore

// Safety-relevant data objects (EN 50325-5): communication parameters, mapping and signature.

#include <tavcore/CANOpenDispatcher.hpp>

#include "../objects/Steps.hpp"
#include "SafetyObjects.hpp"

namespace nkr::tavcore {
namespace {

using SRDO = ISRDOService::SRDOId;
using Direction = ISRDOService::SRDODirection;

constexpr std::uint8_t kDirectionOff = 0;
constexpr std::uint8_t kConfigurationValid = 0xA5;

/** The drive's SRDOs have a fixed direction each. */
constexpr Direction direction_of(SRDO srdo) {
  const auto number = static_cast<std::int32_t>(srdo);
  return number == 2 || number == 10 || number == 16 ? Direction::TRANSMIT : Direction::RECEIVE;
}

template <class Field>
void feed(std::uint16_t& crc, const Field& field) {
  crc = CANOpenDispatcher::crcComputation(crc, field);
}

/** The signature of EN 50325-5: the transmission type is not part of it. */
std::uint16_t srdo_crc(std::uint8_t direction, const ISRDOService::SRDOParameters& parameters,
                       const ISRDOService::SRDOMapping& mapping) {
  const std::uint32_t cob_id_1 = parameters.cobId1;
  const std::uint32_t cob_id_2 = parameters.cobId2;
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
  Steps steps = Steps::guarded(*dictionary_);
  const SRDOObjects objects(srdo);
  steps.read(objects.direction(), [&](std::uint8_t held) {
    parameters.enabled = held != kDirectionOff;
    direction = direction_of(srdo);
  });
  steps.read(objects.refresh_time(), parameters.refreshTime);
  steps.read(objects.validation_time(), parameters.validationTime);
  steps.read(objects.transmission_type(), parameters.transmissionType);
  steps.read(objects.cob_id_1(),
             [&](std::uint32_t id) { parameters.cobId1 = static_cast<std::uint16_t>(id); });
  steps.read(objects.cob_id_2(),
             [&](std::uint32_t id) { parameters.cobId2 = static_cast<std::uint16_t>(id); });
  steps.read(objects.signature(), signature);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::setSRDOParameters(const SRDOId& srdo, const SRDOParameters& parameters) {
  Steps steps = Steps::guarded(*dictionary_);
  const SRDOObjects objects(srdo);
  const std::uint8_t direction =
      parameters.enabled ? static_cast<std::uint8_t>(direction_of(srdo)) : kDirectionOff;
  steps.write(objects.direction(), direction);
  steps.write(objects.refresh_time(), parameters.refreshTime);
  steps.write(objects.validation_time(), parameters.validationTime);
  steps.write(objects.transmission_type(), parameters.transmissionType);
  steps.write(objects.cob_id_1(), std::uint32_t{parameters.cobId1});
  steps.write(objects.cob_id_2(), std::uint32_t{parameters.cobId2});

  SRDOMapping mapping{};
  std::uint8_t held_direction = kDirectionOff;
  steps.step([&] { return getSRDOMapping(srdo, mapping); });
  if (!steps.read(objects.direction(), held_direction)) return steps.result();
  steps.write(objects.signature(), srdo_crc(held_direction, parameters, mapping));
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getSRDOMapping(const SRDOId& srdo, SRDOMapping& mapping) const {
  Steps steps = Steps::guarded(*dictionary_);
  const SRDOObjects objects(srdo);
  if (!steps.read(objects.mapping_count(), mapping.count)) return steps.result();
  mapping.entries.resize(mapping.count);
  std::uint32_t subindex = 0;
  for (std::uint32_t& entry : mapping.entries) {
    if (!steps.read(objects.mapping_entry(++subindex), entry)) return steps.result();
  }
  return NKR_OK;
}

nkr_error_t CANOpenDispatcher::getSRDOConfigurationValidity(bool& valid) const {
  Steps steps = Steps::guarded(*dictionary_);
  steps.read(kSRDOConfigurationValid, [&](std::uint8_t value) { valid = value == kConfigurationValid; });
  return steps.result();
}

nkr_error_t CANOpenDispatcher::setSRDOConfigurationValidity() {
  Steps steps = Steps::guarded(*dictionary_);
  steps.write(kSRDOConfigurationValid, kConfigurationValid);
  return steps.result();
}

}  // namespace nkr::tavcore

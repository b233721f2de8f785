// The part of the communication service that is addressed by channel number: SDO server channels, PDO
// communication parameters and PDO mappings.
#include <tavcore/CANOpenDispatcher.hpp>

#include "../objects/Steps.hpp"
#include "bits.hpp"

namespace nkr::tavcore {
namespace {

using COBID = ICommunicationService::COBID;
using PDOId = ICommunicationService::PDOId;
using SDOId = ICommunicationService::SDOId;

// COB-ID (CiA 301, 7.5.2.35).
constexpr std::uint32_t kNotValid = 0x80000000;
constexpr std::uint32_t kBit30 = 0x40000000;

// First object of each kind: channel n lives n - 1 further on.
constexpr std::uint32_t kSdoServer = 0x1200;
constexpr std::uint32_t kRpdoCommunication = 0x1400;
constexpr std::uint32_t kRpdoMapping = 0x1600;
constexpr std::uint32_t kTpdoCommunication = 0x1800;
constexpr std::uint32_t kTpdoMapping = 0x1A00;

constexpr std::uint32_t base_address(std::uint32_t first_index, std::uint32_t number) {
  return (first_index + number - 1) << 16;
}

constexpr std::uint32_t base_address(SDOId id) {
  return base_address(kSdoServer, static_cast<std::uint8_t>(id));
}

constexpr std::uint32_t base_address(std::uint32_t first_index, PDOId id) {
  return base_address(first_index, static_cast<std::uint16_t>(id));
}

/** The object of that type at a sub-index; with its length in bits where the address carries one. */
template <class T>
constexpr ObjectAt<T> sub_index(std::uint32_t base, std::uint32_t number, std::uint32_t bits = 0) {
  return {base + (number << 8) + bits};
}

// PDO communication parameters (CiA 301, 7.5.2.35).
constexpr ObjectAt<std::uint32_t> pdo_cob_id(std::uint32_t base) {
  return sub_index<std::uint32_t>(base, 1, 32);
}
constexpr ObjectAt<std::uint8_t> transmission_type(std::uint32_t base) {
  return sub_index<std::uint8_t>(base, 2, 8);
}
constexpr ObjectAt<std::uint16_t> inhibit_time(std::uint32_t base) {
  return sub_index<std::uint16_t>(base, 3, 16);
}
constexpr ObjectAt<std::uint16_t> event_timer(std::uint32_t base) {
  return sub_index<std::uint16_t>(base, 5, 16);
}

// PDO mapping (CiA 301, 7.5.2.36).
constexpr ObjectAt<std::uint8_t> entry_count(std::uint32_t mapping) {
  return sub_index<std::uint8_t>(mapping, 0);
}
constexpr ObjectAt<std::uint32_t> mapping_entry(std::uint32_t mapping, std::uint32_t number) {
  return sub_index<std::uint32_t>(mapping, number);
}

// SDO server parameters (CiA 301, 7.5.2.33).
constexpr ObjectAt<std::uint32_t> client_to_server(std::uint32_t base) {
  return sub_index<std::uint32_t>(base, 1);
}
constexpr ObjectAt<std::uint32_t> server_to_client(std::uint32_t base) {
  return sub_index<std::uint32_t>(base, 2);
}

/** Only these receive PDOs carry times. */
constexpr bool has_times(PDOId id) {
  return id <= PDOId{5};
}

void read_cob_id(Steps& steps, const ObjectAt<std::uint32_t>& object, COBID& cob_id) {
  steps.read(object, [&](std::uint32_t raw) { cob_id = CANOpenDispatcher::cobIdFromRaw(raw); });
}

}  // namespace

COBID CANOpenDispatcher::cobIdFromRaw(std::uint32_t raw) {
  return COBID{static_cast<std::uint16_t>(raw), !has_bit(raw, kNotValid), has_bit(raw, kBit30)};
}

std::uint32_t CANOpenDispatcher::cobIdToRaw(const COBID& cobId) {
  return cobIdToRaw(cobId.valid, cobId.bit30, cobId.id);
}

std::uint32_t CANOpenDispatcher::cobIdToRaw(bool valid, bool bit30, std::uint32_t id) {
  constexpr std::uint32_t kIdMask = 0xFFFF;
  return (id & kIdMask) | (valid ? 0 : kNotValid) | (bit30 ? kBit30 : 0);
}

nkr_error_t CANOpenDispatcher::getSDOCommunicationParameters(const SDOId& sdo,
                                                             SDOCommunicationParameters& parameters) const {
  Steps steps = Steps::guarded(*dictionary_);
  const std::uint32_t base = base_address(sdo);
  read_cob_id(steps, client_to_server(base), parameters.cob_id_client_to_server);
  read_cob_id(steps, server_to_client(base), parameters.cob_id_server_to_client);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::setSDOCommunicationParameters(const SDOId& sdo,
                                                             const SDOCommunicationParameters& parameters) {
  Steps steps = Steps::guarded(*dictionary_);
  const std::uint32_t base = base_address(sdo);
  steps.write(client_to_server(base), cobIdToRaw(parameters.cob_id_client_to_server));
  steps.write(server_to_client(base), cobIdToRaw(parameters.cob_id_server_to_client));
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getPDOCommunicationParameters(PDOCommunicationParameters& parameters,
                                                             unsigned int base, bool withTimes) const {
  Steps steps = Steps::guarded(*dictionary_);
  read_cob_id(steps, pdo_cob_id(base), parameters.cob_id);
  steps.read(transmission_type(base), parameters.transmission_type);
  if (withTimes) {
    steps.read(inhibit_time(base), parameters.inhibit_time);
    steps.read(event_timer(base), parameters.event_timer);
  }
  return steps.result();
}

nkr_error_t CANOpenDispatcher::setPDOCommunicationParameters(const PDOCommunicationParameters& parameters,
                                                             unsigned int base, bool withTimes) {
  Steps steps = Steps::guarded(*dictionary_);
  // A PDO may change only while it is not valid (CiA 301, 7.5.2.35).
  steps.write(pdo_cob_id(base), cobIdToRaw(false, parameters.cob_id.bit30, parameters.cob_id.id));
  steps.write(transmission_type(base), parameters.transmission_type);
  if (withTimes) steps.write(event_timer(base), parameters.event_timer);
  steps.write(pdo_cob_id(base), cobIdToRaw(parameters.cob_id));
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getRPDOCommunicationParameters(const PDOId& pdo,
                                                              PDOCommunicationParameters& parameters) const {
  Steps steps = Steps::guarded(*dictionary_);
  steps.step([&] {
    return getPDOCommunicationParameters(parameters, base_address(kRpdoCommunication, pdo), has_times(pdo));
  });
  return steps.result();
}

nkr_error_t CANOpenDispatcher::setRPDOCommunicationParameters(const PDOId& pdo,
                                                              const PDOCommunicationParameters& parameters) {
  Steps steps = Steps::guarded(*dictionary_);
  steps.step([&] {
    return setPDOCommunicationParameters(parameters, base_address(kRpdoCommunication, pdo), has_times(pdo));
  });
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getTPDOCommunicationParameters(const PDOId& pdo,
                                                              PDOCommunicationParameters& parameters) const {
  Steps steps = Steps::guarded(*dictionary_);
  steps.step([&] {
    return getPDOCommunicationParameters(parameters, base_address(kTpdoCommunication, pdo), false);
  });
  return steps.result();
}

nkr_error_t CANOpenDispatcher::setTPDOCommunicationParameters(const PDOId& pdo,
                                                              const PDOCommunicationParameters& parameters) {
  Steps steps = Steps::guarded(*dictionary_);
  steps.step([&] {
    return setPDOCommunicationParameters(parameters, base_address(kTpdoCommunication, pdo), false);
  });
  return steps.result();
}

nkr_error_t CANOpenDispatcher::get_pdo_mapping(std::uint32_t mapping, PDOMappingParameters& parameters,
                                               Here here) const {
  Steps steps = Steps::guarded(*dictionary_, here);
  if (!steps.read(entry_count(mapping), parameters.count)) return steps.result();
  for (std::uint32_t i = 1; i <= parameters.count; ++i) {
    std::uint32_t entry = 0;
    if (!steps.read(mapping_entry(mapping, i), entry)) return steps.result();
    parameters.entries.push_back(entry);
  }
  return NKR_OK;
}

nkr_error_t CANOpenDispatcher::set_pdo_mapping(std::uint32_t communication, std::uint32_t mapping,
                                               const PDOMappingParameters& parameters, Here here) {
  Steps steps = Steps::guarded(*dictionary_, here);
  if (parameters.entries.size() < parameters.count) steps.end(NKR_ERROR);

  PDOCommunicationParameters pdo{};
  steps.step([&] { return getPDOCommunicationParameters(pdo, communication, false); });
  pdo.cob_id.valid = false;
  steps.step([&] { return setPDOCommunicationParameters(pdo, communication, false); });

  // The entries may change only while their number is 0 (CiA 301, 7.5.2.36).
  if (!steps.write(entry_count(mapping), std::uint8_t{0})) return steps.result();
  for (std::uint32_t i = 1; i <= parameters.count; ++i) {
    if (!steps.write(mapping_entry(mapping, i), parameters.entries[i - 1])) return steps.result();
  }
  steps.write(entry_count(mapping), parameters.count);

  pdo.cob_id.valid = true;
  steps.step([&] { return setPDOCommunicationParameters(pdo, communication, false); });
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getRPDOMappingParameters(const PDOId& pdo,
                                                        PDOMappingParameters& parameters) const {
  return get_pdo_mapping(base_address(kRpdoMapping, pdo), parameters, Here::now());
}

nkr_error_t CANOpenDispatcher::setRPDOMappingParameters(const PDOId& pdo,
                                                        const PDOMappingParameters& parameters) {
  return set_pdo_mapping(base_address(kRpdoCommunication, pdo), base_address(kRpdoMapping, pdo), parameters,
                         Here::now());
}

nkr_error_t CANOpenDispatcher::getTPDOMappingParameters(const PDOId& pdo,
                                                        PDOMappingParameters& parameters) const {
  return get_pdo_mapping(base_address(kTpdoMapping, pdo), parameters, Here::now());
}

nkr_error_t CANOpenDispatcher::setTPDOMappingParameters(const PDOId& pdo,
                                                        const PDOMappingParameters& parameters) {
  return set_pdo_mapping(base_address(kTpdoCommunication, pdo), base_address(kTpdoMapping, pdo), parameters,
                         Here::now());
}

}  // namespace nkr::tavcore

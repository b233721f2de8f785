#include <tav/host/DrivePdo.hpp>
#include <tav/host/words.hpp>

namespace tav::host {

using nkr::tavcore::ICommunicationService;
using PDOId = ICommunicationService::PDOId;

namespace {

std::string text_of(const PdoParameters& parameters) {
  constexpr int kDigits = 3;
  return "COB-ID " + hex(parameters.cob_id.id, kDigits) +
         (parameters.cob_id.valid ? ", valid" : ", not valid") + ", transmission type " +
         std::to_string(parameters.transmission_type);
}

bool is_same(const PdoParameters& a, const PdoParameters& b) {
  return a.cob_id.id == b.cob_id.id && a.cob_id.valid == b.cob_id.valid && a.cob_id.bit30 == b.cob_id.bit30 &&
         a.transmission_type == b.transmission_type;
}

/** What the drive holds otherwise than wanted; the result of the reading. */
nkr_error_t compare(ICommunicationService& drive, const DrivePdo& pdo, const PdoMapping& mapping,
                    const PdoParameters& parameters, std::vector<std::string>& different) {
  different.clear();
  PdoMapping held_mapping{};
  nkr_error_t result = pdo.get(drive, held_mapping);
  if (result != NKR_OK) return result;
  PdoParameters held{};
  result = pdo.get(drive, held);
  if (result != NKR_OK) return result;
  if (held_mapping.count != mapping.count || held_mapping.entries != mapping.entries) {
    different.push_back("the mapping has " + std::to_string(held_mapping.entries.size()) + " entries of " +
                        std::to_string(mapping.entries.size()) + ", or other ones");
  }
  if (!is_same(held, parameters)) {
    different.push_back("its parameters are " + text_of(held) + " instead of " + text_of(parameters));
  }
  return NKR_OK;
}

}  // namespace

nkr_error_t DrivePdo::get(ICommunicationService& drive, PdoParameters& parameters) const {
  return receive ? drive.getRPDOCommunicationParameters(PDOId{number}, parameters)
                 : drive.getTPDOCommunicationParameters(PDOId{number}, parameters);
}

nkr_error_t DrivePdo::set(ICommunicationService& drive, const PdoParameters& parameters) const {
  return receive ? drive.setRPDOCommunicationParameters(PDOId{number}, parameters)
                 : drive.setTPDOCommunicationParameters(PDOId{number}, parameters);
}

nkr_error_t DrivePdo::get(ICommunicationService& drive, PdoMapping& mapping) const {
  return receive ? drive.getRPDOMappingParameters(PDOId{number}, mapping)
                 : drive.getTPDOMappingParameters(PDOId{number}, mapping);
}

nkr_error_t DrivePdo::set(ICommunicationService& drive, const PdoMapping& mapping) const {
  return receive ? drive.setRPDOMappingParameters(PDOId{number}, mapping)
                 : drive.setTPDOMappingParameters(PDOId{number}, mapping);
}

bool is_pdo_identifier(std::uint32_t identifier) {
  struct Range {
    std::uint32_t first;
    std::uint32_t last;
  };
  constexpr Range kOthers[] = {{0x000, 0x080}, {0x101, 0x180}, {0x581, 0x5FF},
                               {0x601, 0x67F}, {0x6E0, 0x6FF}, {0x701, 0xFFFFFFFF}};
  for (const Range& range : kOthers) {
    if (identifier >= range.first && identifier <= range.last) return false;
  }
  return true;
}

MappingOutcome map_pdo(ICommunicationService& drive, const DrivePdo& pdo, const PdoMapping& mapping,
                       const PdoParameters& parameters) {
  constexpr int kAttempts = 3;
  PdoParameters disabled = parameters;
  disabled.cob_id.valid = false;
  MappingOutcome outcome;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    // The parameters go first: the mapping operation takes them over, and enables the PDO with them.
    outcome.result = pdo.set(drive, disabled);
    if (outcome.result == NKR_OK) outcome.result = pdo.set(drive, mapping);
    if (outcome.result == NKR_OK) {
      outcome.result = compare(drive, pdo, mapping, parameters, outcome.different);
    }
    if (outcome.result != NKR_OK || outcome.different.empty()) return outcome;
    outcome.remedied.insert(outcome.remedied.end(), outcome.different.begin(), outcome.different.end());
  }
  return outcome;
}

}  // namespace tav::host

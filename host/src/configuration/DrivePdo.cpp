#include <tav/host/DrivePdo.hpp>
#include <tav/host/words.hpp>

namespace tav::host {

using nkr::tavcore::CANOpenDispatcher;
using nkr::tools::EDSParser;
using nkr::tools::ObjectID;
using PDOId = CANOpenDispatcher::PDOId;

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
nkr_error_t compare(CANOpenDispatcher& drive, const DrivePdo& pdo, const PdoMapping& mapping,
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

/** Sub-index 5 of the communication parameters. */
constexpr std::uint32_t kEventTimer = 0x0510;

std::uint32_t base_of(const DrivePdo& pdo) {
  return std::uint32_t{pdo.communication_index()} << 16;
}

}  // namespace

std::optional<DrivePdo> described_pdo(const EDSParser& description, bool receive, int number) {
  DrivePdo pdo{receive, number};
  const auto is_described = [&](std::uint8_t subindex) {
    return description.find(ObjectID(pdo.communication_index(), subindex)) != nullptr;
  };
  if (number < 1 || number > kMostPdos || !is_described(1)) return std::nullopt;
  pdo.is_inhibit_time_described = is_described(3);
  pdo.is_event_timer_described = is_described(5);
  return pdo;
}

std::vector<DrivePdo> described_pdos(const EDSParser& description) {
  std::vector<DrivePdo> pdos;
  for (const bool receive : {true, false}) {
    for (int number = 1; number <= kMostPdos; ++number) {
      if (const auto pdo = described_pdo(description, receive, number)) pdos.push_back(*pdo);
    }
  }
  return pdos;
}

nkr_error_t DrivePdo::get(CANOpenDispatcher& drive, PdoParameters& parameters) const {
  if (lacks_a_time()) {
    const std::uint32_t base = base_of(*this);
    const nkr_error_t result = drive.getPDOCommunicationParameters(parameters, base, false);
    if (result != NKR_OK || !has_timer()) return result;
    return drive.get_value_by_address(base | kEventTimer, parameters.event_timer);
  }
  return receive ? drive.getRPDOCommunicationParameters(PDOId{number}, parameters)
                 : drive.getTPDOCommunicationParameters(PDOId{number}, parameters);
}

nkr_error_t DrivePdo::set(CANOpenDispatcher& drive, const PdoParameters& parameters) const {
  if (lacks_a_time()) {
    const std::uint32_t base = base_of(*this);
    PdoParameters disabled = parameters;
    disabled.cob_id.valid = false;
    nkr_error_t result = drive.setPDOCommunicationParameters(disabled, base, false);
    if (result == NKR_OK && has_timer()) {
      result = drive.set_value_by_address(base | kEventTimer, parameters.event_timer);
    }
    return result == NKR_OK ? drive.setPDOCommunicationParameters(parameters, base, false) : result;
  }
  return receive ? drive.setRPDOCommunicationParameters(PDOId{number}, parameters)
                 : drive.setTPDOCommunicationParameters(PDOId{number}, parameters);
}

nkr_error_t DrivePdo::get(CANOpenDispatcher& drive, PdoMapping& mapping) const {
  return receive ? drive.getRPDOMappingParameters(PDOId{number}, mapping)
                 : drive.getTPDOMappingParameters(PDOId{number}, mapping);
}

nkr_error_t DrivePdo::set(CANOpenDispatcher& drive, const PdoMapping& mapping) const {
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

MappingOutcome map_pdo(CANOpenDispatcher& drive, const DrivePdo& pdo, const PdoMapping& mapping,
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

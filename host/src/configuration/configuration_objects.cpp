#include <algorithm>
#include <iterator>
#include <tav/host/configuration_objects.hpp>

namespace tav::host {

using nkr::tools::EDSParser;
using nkr::tools::ObjectEntry;
using nkr::tools::ObjectID;

namespace {

struct Range {
  std::uint16_t first;
  std::uint16_t last;
};

/** Writing these acts at once, or says something of this one device. */
constexpr Range kNotConfiguration[] = {
    {0x1003, 0x1003},  // pre-defined error field: a write clears it
    {0x1008, 0x100A},  // identity strings of the device
    {0x1010, 0x1011},  // store and restore
    {0x6040, 0x6040},  // control word
    {0x6042, 0x6042},  // target velocity
    {0x6620, 0x6620},  // safety control words
    {0x6630, 0x6632},  // acknowledge commands
    {0x6640, 0x6640},  // commands of the safety functions
    {0x6660, 0x6660}, {0x6690, 0x6690}, {0x66D0, 0x66D1},
};

/** The same among the manufacturer's objects, whose indices are no standard's. */
constexpr const char* kNotConfigurationNames[] = {
    "Node ID",
    "Restart acknowledge command",
    "Safety controlwords manufacturer",
    "self_test",
};

bool within(std::uint16_t index, std::uint16_t first, std::uint16_t last) {
  return index >= first && index <= last;
}

bool acts_at_once(const ObjectEntry& object) {
  const std::uint16_t index = object.getObjectID().index();
  const auto& description = object.description();
  return std::any_of(std::begin(kNotConfiguration), std::end(kNotConfiguration),
                     [&](const Range& range) { return within(index, range.first, range.last); }) ||
         std::any_of(
             std::begin(kNotConfigurationNames), std::end(kNotConfigurationNames),
             [&](const char* name) { return description.record_name == name || description.name == name; });
}

LoadPhase srdo_phase(ObjectID id) {
  constexpr std::uint16_t kLastParameters = 0x1340;
  if (id.index() <= kLastParameters) {
    return id.subindex() == 1 ? LoadPhase::SRDO_DIRECTION : LoadPhase::SRDO_PARAMETER;
  }
  return id.subindex() == 0 ? LoadPhase::SRDO_COUNT : LoadPhase::SRDO_MAPPING;
}

bool is_safety_signature(std::uint16_t index) {
  return index == 0x6645 || index == 0x6662 || index == 0x6699 || index == 0x66D6;
}

}  // namespace

bool is_configuration(const ObjectEntry& object) {
  const nkr::tools::AccessType access = object.getAccessType();
  return nkr::tools::is_readable(access) && nkr::tools::is_writable(access) && !acts_at_once(object);
}

std::vector<const ObjectEntry*> configuration_objects(const EDSParser& description) {
  std::vector<const ObjectEntry*> objects;
  for (const auto& object : description.objects()) {
    if (is_configuration(*object)) objects.push_back(object.get());
  }
  return objects;
}

LoadPhase load_phase(ObjectID id) {
  const std::uint16_t index = id.index();
  if (within(index, 0x1400, 0x15FF) || within(index, 0x1800, 0x19FF)) {
    return id.subindex() == 1 ? LoadPhase::PDO_IDENTIFIER : LoadPhase::GENERAL;
  }
  if (within(index, 0x1600, 0x17FF) || within(index, 0x1A00, 0x1BFF)) {
    return id.subindex() == 0 ? LoadPhase::PDO_COUNT : LoadPhase::PDO_MAPPING;
  }
  const bool is_sdo = within(index, 0x1201, 0x12FF) && (id.subindex() == 1 || id.subindex() == 2);
  if (index == 0x1014 || is_sdo) return LoadPhase::IDENTIFIER;
  if (index == 0x13FE) return LoadPhase::SRDO_VALIDITY;
  if (index == 0x13FF) return LoadPhase::SRDO_SIGNATURE;
  if (within(index, 0x1301, 0x1340) || within(index, 0x1381, 0x13C0)) return srdo_phase(id);
  return is_safety_signature(index) ? LoadPhase::SAFETY_SIGNATURE : LoadPhase::GENERAL;
}

}  // namespace tav::host

#include "PdoTable.hpp"

#include <algorithm>
#include <cstddef>
#include <tav/host/DrivePdo.hpp>

namespace tav::host {

using nkr::can::Frame;
using nkr::tools::ObjectEntry;
using nkr::tools::ObjectID;

namespace {

constexpr std::uint16_t kReceive = 0x1400;
constexpr std::uint16_t kTransmit = 0x1800;
constexpr std::uint16_t kMappingOffset = 0x200;
constexpr std::uint32_t kInvalid = 0x80000000;
constexpr std::uint32_t kExtended = 0x20000000;
constexpr std::uint32_t kIdentifier = 0x7FF;
constexpr std::uint16_t kLastDummy = 0x1F;  // data types as objects fill gaps
constexpr unsigned kMostEntries = 64;

std::uint64_t key_of(std::uint8_t node, ObjectID id) {
  return std::uint64_t{node} << 24 | id.get();
}

/** The PDO that an object is a parameter of. */
std::optional<NodePdo> pdo_of(std::uint8_t node, std::uint16_t index) {
  for (const bool transmit : {false, true}) {
    const unsigned first = transmit ? kTransmit : kReceive;
    if (index >= first && index < first + 2 * kMappingOffset) {
      return NodePdo{node, transmit, (index - first) % kMappingOffset + 1};
    }
  }
  return std::nullopt;
}

/** `count` bits of the frame from bit `start` on, as bytes. */
std::vector<std::uint8_t> bits_of(const Frame& frame, unsigned start, unsigned count) {
  std::vector<std::uint8_t> bytes((count + 7) / 8);
  for (unsigned i = 0; i < count; ++i) {
    const unsigned bit = frame.data[(start + i) / 8] >> (start + i) % 8 & 1U;
    bytes[i / 8] = static_cast<std::uint8_t>(bytes[i / 8] | bit << i % 8);
  }
  return bytes;
}

}  // namespace

std::uint16_t NodePdo::communication_index() const {
  return static_cast<std::uint16_t>((transmit ? kTransmit : kReceive) + number - 1);
}

std::uint16_t NodePdo::mapping_index() const {
  return static_cast<std::uint16_t>(communication_index() + kMappingOffset);
}

PdoTable::PdoTable(const nkr::tools::EDSParser& description, std::uint8_t node) : description_(description) {
  for (const DrivePdo& described : described_pdos(description)) {
    const NodePdo pdo{node, !described.receive, static_cast<unsigned>(described.number)};
    const ObjectEntry& object = *description.find(ObjectID(pdo.communication_index(), 1));
    const auto cob_id = nkr::tools::number_of(object.getDefaultValue(), node);
    if (cob_id) take_identifier(pdo, static_cast<std::uint32_t>(*cob_id));
  }
}

void PdoTable::take_identifier(const NodePdo& pdo, std::uint32_t cob_id) {
  const auto same = [&pdo](const NodePdo& other) {
    return other.node == pdo.node && other.transmit == pdo.transmit && other.number == pdo.number;
  };
  for (auto at = by_identifier_.begin(); at != by_identifier_.end();) {
    at = same(at->second) ? by_identifier_.erase(at) : std::next(at);
  }
  if ((cob_id & (kInvalid | kExtended)) == 0) by_identifier_[cob_id & kIdentifier] = pdo;
}

void PdoTable::learn(std::uint8_t node, const ObjectBytes& held) {
  const std::optional<NodePdo> pdo = pdo_of(node, held.object.index());
  if (!pdo || held.bytes.size() > sizeof(std::uint32_t)) return;
  std::uint32_t value = 0;
  for (std::size_t i = held.bytes.size(); i-- > 0;) value = value << 8 | held.bytes[i];
  learned_[key_of(node, held.object)] = value;
  if (held.object == ObjectID(pdo->communication_index(), 1)) take_identifier(*pdo, value);
}

std::optional<std::uint32_t> PdoTable::held(std::uint8_t node, ObjectID id) const {
  const auto learned = learned_.find(key_of(node, id));
  if (learned != learned_.end()) return learned->second;
  const ObjectEntry* const object = description_.find(id);
  const auto number =
      object == nullptr ? std::nullopt : nkr::tools::number_of(object->getDefaultValue(), node);
  if (!number) return std::nullopt;
  return static_cast<std::uint32_t>(*number);
}

std::optional<NodePdo> PdoTable::predefined(std::uint32_t identifier) const {
  constexpr std::uint32_t kFirst = 0x180;
  constexpr std::uint32_t kEnd = 0x580;
  const auto node = static_cast<std::uint8_t>(identifier & 0x7F);
  if (identifier < kFirst || identifier >= kEnd || node == 0) return std::nullopt;
  const NodePdo pdo{node, (identifier & 0x80) != 0, (identifier - kFirst) / 0x100 + 1};
  // A node whose PDO is known to be elsewhere, or off, does not send it here.
  if (learned_.count(key_of(node, ObjectID(pdo.communication_index(), 1))) != 0) return std::nullopt;
  return pdo;
}

std::optional<NodePdo> PdoTable::find(std::uint32_t identifier) const {
  const auto found = by_identifier_.find(identifier);
  return found != by_identifier_.end() ? found->second : predefined(identifier);
}

std::vector<ObjectBytes> PdoTable::objects(const NodePdo& pdo, const Frame& frame) const {
  const unsigned count = std::min(held(pdo.node, ObjectID(pdo.mapping_index(), 0)).value_or(0), kMostEntries);
  std::vector<ObjectBytes> objects;
  unsigned start = 0;
  for (unsigned i = 1; i <= count; ++i) {
    const std::uint32_t entry =
        held(pdo.node, ObjectID(pdo.mapping_index(), static_cast<std::uint8_t>(i))).value_or(0);
    const unsigned bits = entry & 0xFF;
    if (bits == 0 || start + bits > 8U * frame.size) break;
    const ObjectID id(static_cast<std::uint16_t>(entry >> 16), static_cast<std::uint8_t>(entry >> 8));
    if (id.index() > kLastDummy) objects.push_back({id, bits_of(frame, start, bits)});
    start += bits;
  }
  return objects;
}

}  // namespace tav::host

#include <algorithm>
#include <map>
#include <nkr/canopen/Client.hpp>
#include <tav/host/Unit.hpp>
#include <tav/host/Value.hpp>
#include <tav/host/configuration.hpp>
#include <tav/host/configuration_objects.hpp>
#include <tav/host/words.hpp>

namespace tav::host {

using nkr::tools::ObjectEntry;
using nkr::tools::ObjectID;

namespace {

std::uint32_t address_of(ObjectID id) {
  return id.get() << 8;
}

/** Writes one value and notes the failure. */
class Writer {
 public:
  Writer(const Unit& unit, std::vector<TransferFailure>& failures) : unit_(unit), failures_(failures) {}

  void write(const ObjectEntry& object, const Bytes& bytes) {
    const nkr_error_t result =
        unit_.client().setBytes(unit_.node_id(), address_of(object.getObjectID()), bytes);
    if (result != NKR_OK) failures_.push_back({&object, result});
  }

 private:
  const Unit& unit_;
  std::vector<TransferFailure>& failures_;
};

/** The value that takes an object out of use; none for what needs no such step. */
std::optional<Bytes> disabling_value(const ConfiguredValue& value) {
  constexpr std::uint8_t kInvalid = 0x80;  // bit 31 of a COB-ID
  switch (load_phase(value.object->getObjectID())) {
    case LoadPhase::IDENTIFIER:
    case LoadPhase::PDO_IDENTIFIER: {
      Bytes invalid = value.bytes;
      if (!invalid.empty()) invalid.back() |= kInvalid;
      return invalid;
    }
    case LoadPhase::PDO_COUNT:
    case LoadPhase::SRDO_COUNT:
    case LoadPhase::SRDO_DIRECTION:
      return Bytes(value.bytes.size(), 0);
    default:
      return std::nullopt;
  }
}

/** First what switches off (identifiers and directions), then the counts: a mapping in use is not changed. */
void disable(Writer& writer, const std::vector<ConfiguredValue>& values) {
  for (const bool counts : {false, true}) {
    for (const ConfiguredValue& value : values) {
      const LoadPhase phase = load_phase(value.object->getObjectID());
      const bool is_count = phase == LoadPhase::PDO_COUNT || phase == LoadPhase::SRDO_COUNT;
      if (is_count != counts) continue;
      const std::optional<Bytes> bytes = disabling_value(value);
      if (bytes) writer.write(*value.object, *bytes);
    }
  }
}

/** Numbers of mapped objects by the index of the mapping: entries behind them are not written. */
std::map<std::uint16_t, std::uint8_t> mapping_counts(const std::vector<ConfiguredValue>& values) {
  std::map<std::uint16_t, std::uint8_t> counts;
  for (const ConfiguredValue& value : values) {
    const LoadPhase phase = load_phase(value.object->getObjectID());
    if ((phase == LoadPhase::PDO_COUNT || phase == LoadPhase::SRDO_COUNT) && !value.bytes.empty()) {
      counts[value.object->getObjectID().index()] = value.bytes[0];
    }
  }
  return counts;
}

bool is_behind_count(const ConfiguredValue& value, const std::map<std::uint16_t, std::uint8_t>& counts) {
  const ObjectID id = value.object->getObjectID();
  const LoadPhase phase = load_phase(id);
  if (phase != LoadPhase::PDO_MAPPING && phase != LoadPhase::SRDO_MAPPING) return false;
  const auto found = counts.find(id.index());
  return found != counts.end() && id.subindex() > found->second;
}

}  // namespace

ReadConfiguration read_configuration(const Unit& unit, const OnProgress& on_progress) {
  ReadConfiguration configuration;
  const auto objects = configuration_objects(unit.description());
  std::size_t done = 0;
  for (const ObjectEntry* const object : objects) {
    if (on_progress) on_progress(++done, objects.size());
    Bytes bytes;
    const nkr_error_t result =
        unit.client().getBytes(unit.node_id(), address_of(object->getObjectID()), bytes);
    if (result != NKR_OK) {
      configuration.failures.push_back({object, result});
      continue;
    }
    configuration.values.push_back({object, bytes, configured_text(*object, bytes, unit.node_id())});
  }
  return configuration;
}

std::vector<TransferFailure> write_configuration(const Unit& unit, const std::vector<ConfiguredValue>& values,
                                                 const OnProgress& on_progress) {
  std::vector<TransferFailure> failures;
  Writer writer(unit, failures);
  disable(writer, values);
  const std::map<std::uint16_t, std::uint8_t> counts = mapping_counts(values);
  std::vector<const ConfiguredValue*> ordered;
  for (const ConfiguredValue& value : values) {
    if (!is_behind_count(value, counts)) ordered.push_back(&value);
  }
  std::stable_sort(ordered.begin(), ordered.end(), [](const ConfiguredValue* a, const ConfiguredValue* b) {
    return load_phase(a->object->getObjectID()) < load_phase(b->object->getObjectID());
  });
  std::size_t done = 0;
  for (const ConfiguredValue* const value : ordered) {
    if (on_progress) on_progress(++done, ordered.size());
    // An SRDO configuration that is not declared valid is so by the writes before; only 0xA5 is ever written.
    const bool declares_nothing =
        load_phase(value->object->getObjectID()) == LoadPhase::SRDO_VALIDITY && value->bytes != Bytes{0xA5};
    if (!declares_nothing) writer.write(*value->object, value->bytes);
  }
  return failures;
}

std::vector<ConfigurationDifference> compare_configuration(const Unit& unit,
                                                           const std::vector<ConfiguredValue>& values,
                                                           const OnProgress& on_progress) {
  const std::map<std::uint16_t, std::uint8_t> counts = mapping_counts(values);
  std::vector<ConfigurationDifference> differences;
  std::size_t done = 0;
  for (const ConfiguredValue& value : values) {
    if (on_progress) on_progress(++done, values.size());
    if (is_behind_count(value, counts)) continue;
    Bytes held;
    const nkr_error_t result =
        unit.client().getBytes(unit.node_id(), address_of(value.object->getObjectID()), held);
    if (result != NKR_OK) {
      differences.push_back({value.object, value.text, "not readable: " + result_text(result)});
    } else if (held != value.bytes) {
      differences.push_back({value.object, configured_text(*value.object, value.bytes, unit.node_id()),
                             configured_text(*value.object, held, unit.node_id())});
    }
  }
  return differences;
}

}  // namespace tav::host

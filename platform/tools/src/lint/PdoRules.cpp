// PDOs: their number, their mapping objects, and what is mapped (CiA 306, 4.5.3; CiA 301, 7.5.2.36).
#include <algorithm>
#include <nkr/tools/ObjectValue.hpp>
#include <string>

#include "eds/ObjectLists.hpp"
#include "lint/DescribedPdo.hpp"
#include "lint/Rules.hpp"

namespace nkr::tools {

namespace {

using Description = ObjectEntry::Description;

constexpr std::uint16_t kMostPdos = 512;
constexpr std::int64_t kMostEntries = 64;  // above it sub-index 0 says that the PDO is multiplexed
constexpr std::uint16_t kHighestDummy = 0x1F;

/** The PDOs of the indexes from two bases on, RPDOs first. */
std::vector<DescribedPdo> described(const DescriptionView& view, std::uint16_t receive,
                                    std::uint16_t transmit) {
  std::vector<DescribedPdo> pdos;
  for (const auto& [index, sections] : view.indexes()) {
    if (sections.object == nullptr) continue;
    for (const std::uint16_t base : {receive, transmit}) {
      const bool inside = index >= base && index < base + kMostPdos;
      if (inside) pdos.push_back({base == transmit, static_cast<std::uint16_t>(index - base)});
    }
  }
  return pdos;
}

/** A mapping entry: index << 16 | subindex << 8 | bits. */
struct MappingEntry {
  const Description* holder = nullptr;  ///< the entry of the mapping object that it stands in
  bool transmit = false;
  std::uint32_t value = 0;
  [[nodiscard]] ObjectID target() const {
    return {static_cast<std::uint16_t>(value >> 16U), static_cast<std::uint8_t>(value >> 8U)};
  }
  [[nodiscard]] unsigned bits() const { return value & 0xFFU; }
  [[nodiscard]] bool is_dummy() const { return target().index() <= kHighestDummy; }
};

/** The entries of a mapping object that map something. */
std::vector<MappingEntry> entries_of(const DescriptionView& view, const DescribedPdo& pdo) {
  std::vector<MappingEntry> entries;
  for (std::uint8_t subindex = 1; subindex <= kMostEntries; ++subindex) {
    const Description* holder = view.object(ObjectID(pdo.mapping(), subindex));
    const std::string* text = holder == nullptr ? nullptr : DescriptionView::value_of(*holder);
    const auto value = text == nullptr ? std::nullopt : integer_of(*text, DataType::UNSIGNED32);
    if (value && *value != 0) entries.push_back({holder, pdo.transmit, static_cast<std::uint32_t>(*value)});
  }
  return entries;
}

/** How many entries sub-index 0 says are in use; nothing when it does not say. */
std::optional<std::int64_t> count_in_use(const DescriptionView& view, const DescribedPdo& pdo) {
  const Description* holder = view.object(ObjectID(pdo.mapping(), 0));
  const std::string* text = holder == nullptr ? nullptr : DescriptionView::value_of(*holder);
  return text == nullptr ? std::nullopt : number_of(*text);
}

template <typename Visit>
void for_each_entry(const DescriptionView& view, Visit visit) {
  for (const DescribedPdo& pdo : described_mappings(view)) {
    for (const MappingEntry& entry : entries_of(view, pdo)) visit(entry);
  }
}

/** Calls back with each entry whose target is described. */
template <typename Visit>
void for_each_mapped(const DescriptionView& view, Visit visit) {
  for_each_entry(view, [&](const MappingEntry& entry) {
    const Description* target = entry.is_dummy() ? nullptr : view.object(entry.target());
    if (target != nullptr) visit(entry, *target);
  });
}

Place place_of(const DescriptionView& view, const MappingEntry& entry) {
  return view.place(*entry.holder, DescriptionView::value_key_of(*entry.holder));
}

std::string text_of(const MappingEntry& entry) {
  const ObjectID target = entry.target();
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string text = index_text(target.index()) + ":";
  text += kDigits[target.subindex() >> 4U];
  text += kDigits[target.subindex() & 0xFU];
  return text + ", " + std::to_string(entry.bits()) + " bits";
}

bool is_modular(const DescriptionView& view) {
  return view.number(view.section("SupportedModules"), "NrOfEntries").value_or(0) > 0;
}

/** Bits that a mapping entry of the type has; 0 when the type does not say. A BOOLEAN may have 1 or 8. */
unsigned mapped_bits(DataType type) {
  if (type == DataType::REAL32) return 32;
  if (type == DataType::REAL64) return 64;
  return integer_bits(type);
}

void check_count(const DescriptionView& view, const Findings& findings) {
  const Section* device = view.section("DeviceInfo");
  if (device == nullptr) return;
  const std::vector<DescribedPdo> pdos = described_pdos(view);
  for (const bool transmit : {false, true}) {
    const std::string_view key = transmit ? "NrOfTXPDO" : "NrOfRXPDO";
    const auto there = std::count_if(
        pdos.begin(), pdos.end(), [transmit](const DescribedPdo& pdo) { return pdo.transmit == transmit; });
    const auto stated = view.number(device, key);
    if (stated == there || (stated && view.number(device, "CompactPDO").value_or(0) != 0)) continue;
    findings.add(view.place(device, key), (stated ? std::to_string(*stated) : std::string("no number")) +
                                              ", described are " + std::to_string(there));
  }
}

void check_mapping_there(const DescriptionView& view, const Findings& findings) {
  for (const DescribedPdo& pdo : described_pdos(view)) {
    const IndexSections* mapping = view.sections_of(pdo.mapping());
    if (mapping != nullptr && mapping->object != nullptr) continue;
    findings.add(view.sections_of(pdo.parameters())->object->place(),
                 index_text(pdo.mapping()) + " is missing");
  }
}

void check_compact(const DescriptionView& view, const Findings& findings) {
  const Section* device = view.section("DeviceInfo");
  const KeyLine* line = view.key(device, "CompactPDO");
  if (line == nullptr || line->value.empty()) return;
  const auto mask = number_of(line->value);
  if (!mask || *mask < 0 || *mask > 0xFFFF) {
    findings.add(device->at(*line), line->value);
    return;
  }
  if (*mask == 0) return;
  const std::vector<DescribedPdo> pdos = described_pdos(view);
  for (const bool transmit : {false, true}) {
    const std::string_view key = transmit ? "NrOfTXPDO" : "NrOfRXPDO";
    const auto there = std::count_if(
        pdos.begin(), pdos.end(), [transmit](const DescribedPdo& pdo) { return pdo.transmit == transmit; });
    const auto stated = view.number(device, key).value_or(0);
    if (stated >= there) continue;
    findings.add(view.place(device, key),
                 std::to_string(stated) + ", described are " + std::to_string(there));
  }
}

void check_targets(const DescriptionView& view, const Findings& findings) {
  if (is_modular(view)) return;  // a mapping may name what a module brings
  for_each_entry(view, [&](const MappingEntry& entry) {
    if (!entry.is_dummy() && view.object(entry.target()) == nullptr) {
      findings.add(place_of(view, entry), text_of(entry));
    }
  });
}

void check_dummies(const DescriptionView& view, const Findings& findings) {
  const Section* usage = view.section("DummyUsage");
  for_each_entry(view, [&](const MappingEntry& entry) {
    if (!entry.is_dummy()) return;
    const std::string key = "Dummy" + index_text(entry.target().index()).substr(2);
    const bool allowed = entry.target().subindex() == 0 && view.number(usage, key) == 1;
    if (entry.transmit) {
      findings.add(place_of(view, entry), text_of(entry) + " in a TPDO");
    } else if (!allowed) {
      findings.add(place_of(view, entry), text_of(entry));
    }
  });
}

void check_mappable(const DescriptionView& view, const Findings& findings) {
  for_each_mapped(view, [&](const MappingEntry& entry, const Description& target) {
    if (!target.pdo_mapping) findings.add(place_of(view, entry), text_of(entry));
  });
}

void check_lengths(const DescriptionView& view, const Findings& findings) {
  for_each_entry(view, [&](const MappingEntry& entry) {
    const Description* target = entry.is_dummy() ? nullptr : view.object(entry.target());
    if (target == nullptr && !entry.is_dummy()) return;
    const DataType type =
        target == nullptr ? static_cast<DataType>(entry.target().index()) : target->data_type;
    const unsigned bits = mapped_bits(type);
    const bool boolean = type == DataType::BOOLEAN && entry.bits() == 8;
    if (bits == 0 || bits == entry.bits() || boolean) return;
    findings.add(place_of(view, entry), text_of(entry) + ", its type has " + std::to_string(bits));
  });
}

void check_directions(const DescriptionView& view, const Findings& findings) {
  for_each_mapped(view, [&](const MappingEntry& entry, const Description& target) {
    if (target.access == AccessType::UNKNOWN) return;
    const bool possible = entry.transmit ? is_readable(target.access) : is_writable(target.access);
    if (possible) return;
    findings.add(place_of(view, entry),
                 text_of(entry) + (entry.transmit ? " cannot be read" : " cannot be written"));
  });
}

void check_access(const DescriptionView& view, const Findings& findings) {
  for_each_mapped(view, [&](const MappingEntry& entry, const Description& target) {
    const AccessType other = entry.transmit ? AccessType::RWW : AccessType::RWR;
    if (target.access != other) return;
    findings.add(place_of(view, entry), text_of(entry) + (entry.transmit ? " is rww" : " is rwr"));
  });
}

void check_bits(const DescriptionView& view, const Findings& findings) {
  constexpr unsigned kMostBits = 64;
  for (const DescribedPdo& pdo : described_mappings(view)) {
    const auto count = count_in_use(view, pdo);
    unsigned bits = 0;
    for (const MappingEntry& entry : entries_of(view, pdo)) {
      const bool used = !count || entry.holder->id.subindex() <= *count;
      if (used) bits += entry.bits();
    }
    if (bits <= kMostBits || (count && *count > kMostEntries)) continue;
    const IndexSections* sections = view.sections_of(pdo.mapping());
    findings.add(sections->object->place(), std::to_string(bits) + " bits");
  }
}

void check_entries(const DescriptionView& view, const Findings& findings) {
  for (const DescribedPdo& pdo : described_mappings(view)) {
    const auto count = count_in_use(view, pdo);
    const Description* holder = view.object(ObjectID(pdo.mapping(), 0));
    if (!count || *count == 0xFE || *count == 0xFF) continue;  // multiplexed PDOs (CiA 301)
    std::int64_t there = 0;
    while (there < 0xFE && view.object(ObjectID(pdo.mapping(), static_cast<std::uint8_t>(there + 1))))
      ++there;
    if (*count <= there && *count >= 0) continue;
    findings.add(view.place(*holder, DescriptionView::value_key_of(*holder)),
                 std::to_string(*count) + ", described are " + std::to_string(there));
  }
}

constexpr std::array kRules = {
    Rule{Problem::PDO_COUNT, check_count},        Rule{Problem::PDO_WITHOUT_MAPPING, check_mapping_there},
    Rule{Problem::COMPACT_PDO, check_compact},    Rule{Problem::MAPPING_TARGET, check_targets},
    Rule{Problem::MAPPING_DUMMY, check_dummies},  Rule{Problem::MAPPING_NOT_ALLOWED, check_mappable},
    Rule{Problem::MAPPING_LENGTH, check_lengths}, Rule{Problem::MAPPING_DIRECTION, check_directions},
    Rule{Problem::MAPPING_ACCESS, check_access},  Rule{Problem::MAPPING_BITS, check_bits},
    Rule{Problem::MAPPING_COUNT, check_entries},
};

}  // namespace

std::vector<DescribedPdo> described_pdos(const DescriptionView& view) {
  return described(view, DescribedPdo{false, 0}.parameters(), DescribedPdo{true, 0}.parameters());
}

std::vector<DescribedPdo> described_mappings(const DescriptionView& view) {
  return described(view, DescribedPdo{false, 0}.mapping(), DescribedPdo{true, 0}.mapping());
}

RuleTable pdo_rules() {
  return table_of(kRules);
}

}  // namespace nkr::tools

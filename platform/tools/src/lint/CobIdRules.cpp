// COB-IDs that a description gives by default or a DCF sets (CiA 301, 7.3.5 and the objects named).
#include <map>
#include <nkr/tools/ObjectValue.hpp>
#include <string>

#include "eds/ObjectLists.hpp"
#include "eds/ValueText.hpp"
#include "lint/DescribedPdo.hpp"
#include "lint/Rules.hpp"

namespace nkr::tools {

namespace {

using Description = ObjectEntry::Description;

constexpr std::uint32_t kNotValid = 0x80000000;
constexpr std::uint32_t kExtended = 0x20000000;
constexpr std::uint32_t kIdentifier = 0x1FFFFFFF;

/** A COB-ID entry of the dictionary with its value for one node id. */
struct CobId {
  const Description* object = nullptr;
  std::uint32_t value = 0;
  [[nodiscard]] bool is_valid() const { return (value & kNotValid) == 0; }
  /** Valid, and not 0, which stands for an identifier that is still to be set. */
  [[nodiscard]] bool is_used() const { return is_valid() && identifier() != 0; }
  [[nodiscard]] std::uint32_t identifier() const { return value & kIdentifier; }
};

std::optional<CobId> cob_id_at(const DescriptionView& view, ObjectID id, std::uint8_t node_id) {
  const Description* object = view.object(id);
  const std::string* text = object == nullptr ? nullptr : DescriptionView::value_of(*object);
  const auto value = text == nullptr ? std::nullopt : integer_of(*text, DataType::UNSIGNED32, node_id);
  if (!value) return std::nullopt;
  return CobId{object, static_cast<std::uint32_t>(*value)};
}

/** The objects that hold the COB-ID of a service, but for the default SDO channel. */
std::vector<ObjectID> holders(const DescriptionView& view) {
  std::vector<ObjectID> ids = {ObjectID(0x1005, 0), ObjectID(0x1012, 0), ObjectID(0x1014, 0)};
  for (const auto& [index, sections] : view.indexes()) {
    const bool channel = (index >= 0x1201 && index <= 0x127F) || (index >= 0x1280 && index <= 0x12FF);
    const bool pdo = (index >= 0x1400 && index <= 0x15FF) || (index >= 0x1800 && index <= 0x19FF);
    if (channel || pdo) ids.emplace_back(index, std::uint8_t{1});
    if (channel) ids.emplace_back(index, std::uint8_t{2});
    for (unsigned subindex = 1; index == 0x1028 && subindex <= 127; ++subindex) {
      ids.emplace_back(index, static_cast<std::uint8_t>(subindex));
    }
  }
  return ids;
}

std::uint32_t predefined(const DescribedPdo& pdo, std::uint8_t node_id) {
  return (pdo.transmit ? 0x180U : 0x200U) + 0x100U * pdo.number + node_id;
}

void check_predefined(const DescriptionView& view, const Findings& findings) {
  constexpr std::uint16_t kPredefined = 4;
  constexpr std::uint8_t kNodeId = 1;
  for (const DescribedPdo& pdo : described_pdos(view)) {
    const Description* object = view.object(ObjectID(pdo.parameters(), 1));
    const auto value = object == nullptr || !object->default_value
                           ? std::nullopt
                           : integer_of(*object->default_value, DataType::UNSIGNED32, kNodeId);
    if (!value) continue;
    const CobId id{object, static_cast<std::uint32_t>(*value)};
    const bool in_set = pdo.number < kPredefined && is_node_relative(*object->default_value) &&
                        id.identifier() == predefined(pdo, kNodeId);
    if (id.is_used() && !in_set) findings.add(view.place(*object, "DefaultValue"), *object->default_value);
  }
}

/**
 * Identifiers that no PDO, SYNC, TIME, EMCY or additional SDO server may have. An SDO client has those of the
 * server that it asks.
 */
bool is_restricted(std::uint32_t id, std::uint16_t index) {
  const bool client = index >= 0x1280 && index <= 0x12FF;
  if (client && ((id >= 0x581 && id <= 0x5FF) || (id >= 0x601 && id <= 0x67F))) return false;
  return id <= 0x07F || (id >= 0x101 && id <= 0x180) || (id >= 0x581 && id <= 0x5FF) ||
         (id >= 0x601 && id <= 0x67F) || (id >= 0x6E0 && id <= 0x6FF) || (id >= 0x701 && id <= 0x7FF);
}

/** Node ids to judge a sum for: the commissioned one, or the lowest and the highest. */
std::vector<std::uint8_t> nodes_of(const DescriptionView& view) {
  const auto node = view.node_id();
  if (node) return {*node};
  return {std::uint8_t{1}, std::uint8_t{127}};
}

void check_restricted(const DescriptionView& view, const Findings& findings) {
  for (const ObjectID id : holders(view)) {
    for (const std::uint8_t node : nodes_of(view)) {
      const auto cob_id = cob_id_at(view, id, node);
      const bool standard = cob_id && cob_id->is_used() && (cob_id->value & kExtended) == 0;
      if (!standard || !is_restricted(cob_id->identifier(), id.index())) continue;
      findings.add(view.place(*cob_id->object, DescriptionView::value_key_of(*cob_id->object)),
                   hexadecimal(cob_id->identifier()));
      break;
    }
  }
}

void check_zero(const DescriptionView& view, const Findings& findings) {
  for (const ObjectID id : holders(view)) {
    const auto cob_id = cob_id_at(view, id, nodes_of(view).front());
    if (!cob_id || !cob_id->is_valid() || cob_id->identifier() != 0) continue;
    findings.add(view.place(*cob_id->object, DescriptionView::value_key_of(*cob_id->object)));
  }
}

void check_unique(const DescriptionView& view, const Findings& findings) {
  const std::uint8_t node = nodes_of(view).front();
  std::map<std::uint32_t, ObjectID> used;
  for (const ObjectID id : holders(view)) {
    const auto cob_id = cob_id_at(view, id, node);
    if (!cob_id || !cob_id->is_used() || id.index() == 0x1028) continue;
    const auto [first, added] = used.try_emplace(cob_id->identifier(), id);
    if (added) continue;
    findings.add(view.place(*cob_id->object, DescriptionView::value_key_of(*cob_id->object)),
                 hexadecimal(cob_id->identifier()) + ", also of " + index_text(first->second.index()));
  }
}

constexpr std::array kRules = {
    Rule{Problem::COB_ID_PREDEFINED, check_predefined},
    Rule{Problem::COB_ID_RESTRICTED, check_restricted},
    Rule{Problem::COB_ID_ZERO, check_zero},
    Rule{Problem::COB_ID_TWICE, check_unique},
};

}  // namespace

RuleTable cob_id_rules() {
  return table_of(kRules);
}

}  // namespace nkr::tools

#include "eds/ObjectBuilder.hpp"

#include <algorithm>
#include <array>
#include <bitset>
#include <nkr/tools/ObjectValue.hpp>
#include <tuple>

#include "eds/ObjectFields.hpp"
#include "eds/SubList.hpp"
#include "text/TextEncoding.hpp"

namespace nkr::tools {

namespace {

constexpr std::size_t kMostObjects = 262144;
constexpr std::size_t kMostOfCompactText = 1024;
constexpr std::uint8_t kDefstruct = 6;
constexpr std::uint8_t kArray = 8;
constexpr std::uint8_t kRecord = 9;

/** The sections of one index: the object itself, its lists, its sub-entries in order. */
struct Group {
  const Section* object = nullptr;
  const Section* names = nullptr;
  const Section* values = nullptr;
  std::vector<const Section*> subs;
};

using SectionOrder = std::vector<const Section*>;

bool belongs_to_object(const Section& section) {
  return section.kind <= SectionKind::SUB;
}

/** Sections of objects by index, kind and subindex; equal ones in the order of the file. */
SectionOrder sections_in_order(const DescriptionText& text) {
  SectionOrder order;
  order.reserve(text.sections.size());
  for (const Section& section : text.sections) {
    if (belongs_to_object(section)) order.push_back(&section);
  }
  const auto before = [](const Section* a, const Section* b) {
    return std::tie(a->index, a->kind, a->subindex) < std::tie(b->index, b->kind, b->subindex);
  };
  if (!std::is_sorted(order.begin(), order.end(), before))
    std::stable_sort(order.begin(), order.end(), before);
  return order;
}

class Builder {
 public:
  Builder(const DescriptionText& text, const ObjectLists& lists, Diagnostics& diagnostics)
      : text_(text), lists_(lists), diagnostics_(diagnostics) {}

  Objects build() {
    const SectionOrder order = sections_in_order(text_);
    objects_.reserve(order.size());
    Group group;
    for (auto at = order.begin(); at != order.end() && objects_.size() <= kMostObjects;) {
      const auto end =
          std::find_if(at, order.end(), [at](const Section* s) { return s->index != (*at)->index; });
      fill(group, at, end);
      add(group, (*at)->index);
      at = end;
    }
    if (objects_.size() > kMostObjects) {
      diagnostics_.report(Problem::TOO_MANY_OBJECTS, {});
      objects_.clear();
    }
    check_described();
    return std::move(objects_);
  }

 private:
  void fill(Group& group, SectionOrder::const_iterator at, SectionOrder::const_iterator end) {
    group.object = group.names = group.values = nullptr;
    group.subs.clear();
    const Section* before = nullptr;
    for (; at != end; ++at) {
      const Section& section = **at;
      if (before != nullptr && before->kind == section.kind && before->subindex == section.subindex) {
        report_double(text_, *before, section, diagnostics_);
        continue;
      }
      before = &section;
      if (section.kind == SectionKind::OBJECT) group.object = &section;
      if (section.kind == SectionKind::NAMES) group.names = &section;
      if (section.kind == SectionKind::VALUES) group.values = &section;
      if (section.kind == SectionKind::SUB) group.subs.push_back(&section);
    }
  }

  void add(const Group& group, std::uint16_t index) {
    described_[index] = group.object != nullptr;
    if (group.object == nullptr) {
      add_subs(group, {});
      return;
    }
    if (!lists_.lists(index)) diagnostics_.report(Problem::NOT_LISTED, group.object->place());
    const ObjectFields fields(text_, *group.object, diagnostics_);
    const std::string name = name_of(fields, diagnostics_);
    const std::uint8_t type = object_type_of(fields, diagnostics_);
    const std::uint8_t compact = compact_count_of(fields, diagnostics_);
    const bool composite = type == kArray || type == kRecord || (type == kDefstruct && !group.subs.empty());
    const SubList names(text_, group.names, compact, diagnostics_);
    const SubList values(text_, group.values, compact, diagnostics_);
    if (!composite && compact == 0) {
      add_variable(fields, name, type);
      add_subs(group, name, true);
      return;
    }
    if (compact == 0) {
      check_composite(fields, group);
      add_subs(group, name);
    } else {
      add_compact(compact_pattern(fields, name), group.subs, {compact, names, values});
    }
  }

  ObjectEntry::Description description(const Section& section, std::uint8_t subindex) const {
    ObjectEntry::Description object;
    object.id = ObjectID(section.index, subindex);
    object.listed = lists_.lists(section.index);
    object.line = section.line;
    return object;
  }

  void push(ObjectEntry::Description object) {
    object.name = object.record_name.empty() || object.parameter.empty()
                      ? object.parameter
                      : object.record_name + ' ' + object.parameter;
    objects_.push_back(std::make_shared<ObjectEntry>(std::move(object)));
  }

  void add_variable(const ObjectFields& fields, const std::string& name, std::uint8_t type) {
    ObjectEntry::Description object = description(fields.section(), 0);
    object.parameter = name;
    object.object_type = type;
    read_variable(fields, object, diagnostics_);
    push(std::move(object));
  }

  /** @param value  the sub-entry's line in the object's list of values, which its own section overrides */
  void add_sub(const Section& section, const std::string& record, const KeyLine* value = nullptr) {
    const ObjectFields fields(text_, section, diagnostics_);
    ObjectEntry::Description object = description(section, section.subindex);
    object.parameter = name_of(fields, diagnostics_);
    object.record_name = record;
    object.object_type = object_type_of(fields, diagnostics_);
    read_variable(fields, object, diagnostics_);
    if (value != nullptr && !object.parameter_value) object.parameter_value = to_utf8(value->value);
    push(std::move(object));
  }

  void add_subs(const Group& group, const std::string& record, bool of_variable = false) {
    for (const Section* sub : group.subs) {
      if (group.object == nullptr)
        diagnostics_.report(Problem::ORPHAN, sub->place(), {}, "the sub-entry alone");
      if (of_variable) {
        const bool hidden = sub->subindex == 0;
        diagnostics_.report(Problem::SUB_OF_VARIABLE, sub->place(), {}, hidden ? "the variable" : "both");
        if (hidden) continue;
      }
      add_sub(*sub, record);
    }
  }

  /** What CompactSubObj stands for: how many sub-entries, and what two lists say of some of them. */
  struct Compact {
    std::uint8_t count;
    const SubList& names;
    const SubList& values;
  };

  /** What every sub-entry without a section of its own has from its array or record. */
  ObjectEntry::Description compact_pattern(const ObjectFields& fields, const std::string& name) {
    ObjectEntry::Description pattern = description(fields.section(), 0);
    read_variable(fields, pattern, diagnostics_);
    pattern.parameter_value.reset();
    pattern.record_name = name;
    pattern.compact = true;
    drop_long(pattern.default_value, fields.place(Key::DEFAULT_VALUE));
    drop_long(pattern.low_limit, fields.place(Key::LOW_LIMIT));
    drop_long(pattern.high_limit, fields.place(Key::HIGH_LIMIT));
    return pattern;
  }

  void add_compact(const ObjectEntry::Description& pattern, const std::vector<const Section*>& subs,
                   const Compact& compact) {
    auto sub = subs.begin();
    for (unsigned i = 0; i <= 0xFF; ++i) {
      const auto subindex = static_cast<std::uint8_t>(i);
      if (sub != subs.end() && (*sub)->subindex == subindex) {
        add_sub(**sub++, pattern.record_name, compact.values.at(subindex));
      } else if (subindex == 0) {
        add_compact_count(pattern, compact.count);
      } else if (subindex <= compact.count) {
        add_compact_sub(pattern, subindex, compact);
      }
    }
  }

  void drop_long(std::optional<std::string>& text, Place place) {
    if (!text || text->size() <= kMostOfCompactText) return;
    diagnostics_.report(Problem::COMPACT_TEXT, place, *text, "no value");
    text.reset();
  }

  void add_compact_count(const ObjectEntry::Description& pattern, std::uint8_t count) {
    ObjectEntry::Description object;
    object.id = pattern.id;
    object.parameter = "NrOfObjects";
    object.record_name = pattern.record_name;
    object.data_type = DataType::UNSIGNED8;
    object.access = AccessType::RO;
    object.default_value = std::to_string(count);
    object.listed = pattern.listed;
    object.line = pattern.line;
    object.compact = true;
    push(std::move(object));
  }

  void add_compact_sub(const ObjectEntry::Description& pattern, std::uint8_t subindex,
                       const Compact& compact) {
    ObjectEntry::Description object = pattern;
    object.id = ObjectID(pattern.id.index(), subindex);
    const KeyLine* const name = compact.names.at(subindex);
    if (name != nullptr && !name->value.empty()) {
      object.parameter = cut_name(to_utf8(name->value));
    } else {
      object.parameter = pattern.record_name + std::to_string(subindex);
    }
    if (const KeyLine* value = compact.values.at(subindex)) object.parameter_value = to_utf8(value->value);
    push(std::move(object));
  }

  void check_composite(const ObjectFields& fields, const Group& group) {
    if (group.subs.empty()) {
      diagnostics_.report(Problem::NO_SUBS, group.object->place());
      return;
    }
    if (group.subs.front()->subindex != 0) diagnostics_.report(Problem::NO_SUB0, group.object->place());
    const KeyLine* line = fields.find(Key::SUB_NUMBER);
    const auto number = line == nullptr ? std::nullopt : number_of(line->value);
    // Sub-index FF tells the structure of the object and is not counted (CiA 306).
    const std::size_t counted = group.subs.size() - (group.subs.back()->subindex == 0xFF ? 1 : 0);
    if (number == static_cast<std::int64_t>(counted)) return;
    diagnostics_.report(Problem::SUB_NUMBER, fields.place(Key::SUB_NUMBER),
                        line == nullptr ? std::string_view() : line->value, "the sub-entries that are there");
  }

  void check_described() {
    lists_.check_described(described_, diagnostics_);
    constexpr std::array<std::uint16_t, 3> kMandatory = {0x1000, 0x1001, 0x1018};
    for (const std::uint16_t index : kMandatory) {
      if (!described_[index]) diagnostics_.report(Problem::MANDATORY_OBJECT, {}, index_text(index));
    }
  }

  const DescriptionText& text_;
  const ObjectLists& lists_;
  Diagnostics& diagnostics_;
  Objects objects_;
  std::bitset<0x10000> described_;
};

}  // namespace

Objects build_objects(const DescriptionText& text, const ObjectLists& lists, Diagnostics& diagnostics) {
  return Builder(text, lists, diagnostics).build();
}

}  // namespace nkr::tools

#include "lint/DescriptionView.hpp"

#include <algorithm>
#include <nkr/tools/ObjectValue.hpp>

#include "text/IniLines.hpp"

namespace nkr::tools {

namespace {

std::string small_letters(std::string_view text) {
  std::string small(text);
  for (char& c : small) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return small;
}

void keep_first(const Section*& known, const Section& section) {
  if (known == nullptr) known = &section;
}

}  // namespace

DescriptionView::DescriptionView(std::string_view bytes, const DescriptionText& text,
                                 const DescriptionContent& content)
    : bytes_(bytes), text_(text), content_(content) {
  for (const Section& section : text.sections) add(section);
}

void DescriptionView::add(const Section& section) {
  switch (section.kind) {
    case SectionKind::OBJECT:
      return keep_first(indexes_[section.index].object, section);
    case SectionKind::NAMES:
      return keep_first(indexes_[section.index].names, section);
    case SectionKind::VALUES:
      return keep_first(indexes_[section.index].values, section);
    case SectionKind::DENOTATIONS:
      return keep_first(indexes_[section.index].denotations, section);
    case SectionKind::LINKS:
      return keep_first(indexes_[section.index].links, section);
    case SectionKind::SUB:
      indexes_[section.index].subs.try_emplace(section.subindex, &section);
      return;
    case SectionKind::OBJECT_LIST:
    case SectionKind::INFO:
      sections_.try_emplace(small_letters(section.name), &section);
      return;
    case SectionKind::IGNORED:
      return;
  }
}

const IndexSections* DescriptionView::sections_of(std::uint16_t index) const {
  const auto at = indexes_.find(index);
  return at == indexes_.end() ? nullptr : &at->second;
}

const ObjectEntry::Description* DescriptionView::object(ObjectID id) const {
  const auto at = std::lower_bound(content_.objects.begin(), content_.objects.end(), id,
                                   [](const std::shared_ptr<ObjectEntry>& object, ObjectID wanted) {
                                     return object->getObjectID() < wanted;
                                   });
  const bool found = at != content_.objects.end() && (*at)->getObjectID() == id;
  return found ? &(*at)->description() : nullptr;
}

const Section* DescriptionView::section(std::string_view name) const {
  const auto at = sections_.find(small_letters(name));
  return at == sections_.end() ? nullptr : at->second;
}

const KeyLine* DescriptionView::key(const Section* section, std::string_view name) const {
  if (section == nullptr) return nullptr;
  const auto* const found = std::find_if(begin(*section), end(*section), [name](const KeyLine& line) {
    return equal_without_case(line.name, name);
  });
  return found == end(*section) ? nullptr : found;
}

std::optional<std::int64_t> DescriptionView::number(const Section* section, std::string_view name) const {
  const KeyLine* line = key(section, name);
  return line == nullptr ? std::nullopt : number_of(line->value);
}

Place DescriptionView::place(const Section* section, std::string_view name) const {
  if (section == nullptr) return {0, {}, name};
  const KeyLine* line = key(section, name);
  return line == nullptr ? Place{section->line, section->name, name} : section->at(*line);
}

Place DescriptionView::place(const ObjectEntry::Description& object, std::string_view name) const {
  const IndexSections* sections = sections_of(object.id.index());
  if (sections == nullptr) return {object.line, {}, name};
  const auto sub = sections->subs.find(object.id.subindex());
  const bool own = sub != sections->subs.end() && sub->second->line == object.line;
  return place(own ? sub->second : sections->object, name);
}

const Section* DescriptionView::commissioning() const {
  const Section* as_written = section("DeviceComissioning");
  return as_written != nullptr ? as_written : section("DeviceCommissioning");
}

const std::string* DescriptionView::value_of(const ObjectEntry::Description& object) {
  if (object.parameter_value && !object.parameter_value->empty()) return &*object.parameter_value;
  return object.default_value && !object.default_value->empty() ? &*object.default_value : nullptr;
}

std::string_view DescriptionView::value_key_of(const ObjectEntry::Description& object) {
  return object.parameter_value && !object.parameter_value->empty() ? "ParameterValue" : "DefaultValue";
}

}  // namespace nkr::tools

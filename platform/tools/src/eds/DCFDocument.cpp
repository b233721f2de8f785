#include <algorithm>
#include <nkr/tools/DCFDocument.hpp>
#include <nkr/tools/ObjectValue.hpp>
#include <ostream>
#include <unordered_map>
#include <vector>

#include "eds/DescriptionText.hpp"
#include "eds/DocumentSection.hpp"
#include "eds/SectionName.hpp"
#include "text/IniLines.hpp"
#include "text/TextEncoding.hpp"

namespace nkr::tools {

namespace {

constexpr std::string_view kParameterValue = "ParameterValue";
constexpr std::string_view kEntries = "NrOfEntries";
// CiA 306 has one m; most people write two.
constexpr std::string_view kCommissioning = "DeviceComissioning";
constexpr std::string_view kCommissioningWell = "DeviceCommissioning";

std::string hexadecimal(unsigned value, unsigned digits) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string text;
  for (unsigned i = digits; i-- > 0;) text += kDigits[value >> (4 * i) & 0xFU];
  return text;
}

std::string object_section(ObjectID object) {
  return hexadecimal(object.index(), 4);
}

std::string sub_section(ObjectID object) {
  return object_section(object) + "sub" + hexadecimal(object.subindex(), object.subindex() > 0xF ? 2 : 1);
}

/** One spelling for all that name the same section: 1018SUB01 is 1018sub1. */
std::string spelling_of(std::string_view name) {
  Section section;
  section.name = trim(name);
  Diagnostics ignored;
  classify(section, ignored);
  std::string spelling(section.kind == SectionKind::SUB
                           ? sub_section(ObjectID(section.index, section.subindex))
                           : std::string(section.name));
  for (char& c : spelling) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return spelling;
}

std::string value_list(ObjectID object) {
  return object_section(object) + "Value";
}

/** True when the text may stand in one line of the file. */
bool can_stand(std::string_view text) {
  return std::none_of(text.begin(), text.end(), is_control) && is_utf8(text);
}

bool is_section_name(std::string_view text) {
  return can_stand(text) && !trim(text).empty() && text.find(']') == std::string_view::npos;
}

bool is_key_name(std::string_view text) {
  const std::string_view name = trim(text);
  return can_stand(text) && !name.empty() && name.find('=') == std::string_view::npos && name[0] != '[' &&
         name[0] != ';' && name[0] != '#';
}

}  // namespace

struct DCFDocument::Content {
  std::string head;                       // byte-order mark
  std::vector<DocumentSection> sections;  // the first one holds the lines before the first header
  std::string tail;                       // padding, and what follows an end-of-file mark
  std::unordered_map<std::string, std::size_t> index;  // the first section of a name
  std::string line_end = "\r\n";
  bool windows_1252 = false;

  void read(std::string_view bytes, std::string_view text);
  void append(const TextLine& line);
  [[nodiscard]] const DocumentSection* find(std::string_view name) const;
  [[nodiscard]] DocumentSection* find(std::string_view name);
  DocumentSection& add_section(std::string_view name);
  [[nodiscard]] std::string encoded(std::string_view utf8) const;
  [[nodiscard]] std::uint8_t compact_count(ObjectID object) const;
  [[nodiscard]] std::string section_of(ObjectID object) const;
};

void DCFDocument::Content::read(std::string_view bytes, std::string_view text) {
  const auto start = static_cast<std::size_t>(text.data() - bytes.data());
  head = bytes.substr(0, start);
  tail = bytes.substr(start + text.size());
  windows_1252 = !is_utf8(text);
  sections.emplace_back();
  sections.back().append_line({});
  LineReader lines(text);
  TextLine line;
  while (lines.next(line)) append(line);
}

void DCFDocument::Content::append(const TextLine& line) {
  if (line.number == 1 && !line.ending.empty()) line_end = line.ending;
  const IniLine parsed = read_ini_line(line.text);
  if (parsed.kind == IniLine::Kind::SECTION) {
    if (parsed.closed) index.try_emplace(spelling_of(parsed.name), sections.size());
    sections.emplace_back();
  }
  std::string bytes(line.text);
  bytes += line.ending;
  sections.back().append_line(bytes);
}

const DocumentSection* DCFDocument::Content::find(std::string_view name) const {
  const auto at = index.find(spelling_of(name));
  return at == index.end() ? nullptr : &sections[at->second];
}

DocumentSection* DCFDocument::Content::find(std::string_view name) {
  const auto at = index.find(spelling_of(name));
  return at == index.end() ? nullptr : &sections[at->second];
}

DocumentSection& DCFDocument::Content::add_section(std::string_view name) {
  if (!sections.empty()) {
    sections.back().end_last_line(line_end);
    sections.back().append_line(line_end);
  }
  index.try_emplace(spelling_of(name), sections.size());
  sections.emplace_back();
  sections.back().append_line("[" + encoded(trim(name)) + "]" + line_end);
  return sections.back();
}

std::string DCFDocument::Content::encoded(std::string_view utf8) const {
  return windows_1252 ? to_windows_1252(utf8) : std::string(utf8);
}

std::uint8_t DCFDocument::Content::compact_count(ObjectID object) const {
  const DocumentSection* section = find(object_section(object));
  const auto text = section == nullptr ? std::nullopt : section->value("CompactSubObj");
  const auto number = text ? number_of(*text) : std::nullopt;
  return number && *number > 0 ? static_cast<std::uint8_t>(std::min<std::int64_t>(*number, 254)) : 0;
}

/** The section that an object's value stands in; empty when the file describes no such object. */
std::string DCFDocument::Content::section_of(ObjectID object) const {
  const DocumentSection* parent = find(object_section(object));
  const auto type_text = parent == nullptr ? std::nullopt : parent->value("ObjectType");
  const auto type = type_text ? number_of(*type_text).value_or(7) : 7;
  const bool composite = type == 8 || type == 9 || compact_count(object) != 0;
  if (parent != nullptr && !composite && object.subindex() == 0) return object_section(object);
  if (find(sub_section(object)) != nullptr) return sub_section(object);
  const bool compact = object.subindex() != 0 && object.subindex() <= compact_count(object);
  return compact ? value_list(object) : std::string();
}

DCFDocument::DCFDocument() : content_(std::make_unique<Content>()) {}
DCFDocument::~DCFDocument() = default;
DCFDocument::DCFDocument(const DCFDocument& other) : content_(std::make_unique<Content>(*other.content_)) {}
DCFDocument::DCFDocument(DCFDocument&&) noexcept = default;
DCFDocument& DCFDocument::operator=(DCFDocument&&) noexcept = default;

DCFDocument& DCFDocument::operator=(const DCFDocument& other) {
  if (this != &other) content_ = std::make_unique<Content>(*other.content_);
  return *this;
}

bool DCFDocument::parse(std::istream& stream) {
  Diagnostics ignored;
  const auto bytes = read_stream(stream, ignored);
  const auto text = bytes ? description_text(*bytes, ignored) : std::nullopt;
  if (!text) return false;
  auto content = std::make_unique<Content>();
  content->read(*bytes, *text);
  if (content->index.empty()) return false;
  content_ = std::move(content);
  return true;
}

std::string DCFDocument::text() const {
  std::string text = content_->head;
  for (const DocumentSection& section : content_->sections) section.append_to(text);
  return text + content_->tail;
}

bool DCFDocument::write(std::ostream& stream) const {
  const std::string bytes = text();
  stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  stream.flush();
  return stream.good();
}

bool DCFDocument::hasSection(std::string_view section) const {
  return content_->find(section) != nullptr;
}

std::optional<std::string> DCFDocument::get(std::string_view section, std::string_view key) const {
  const DocumentSection* at = content_->find(section);
  const auto value = at == nullptr ? std::nullopt : at->value(content_->encoded(trim(key)));
  if (!value) return std::nullopt;
  return to_utf8(*value);
}

bool DCFDocument::set(std::string_view section, std::string_view key, std::string_view value) {
  if (!is_section_name(section) || !is_key_name(key) || !can_stand(value)) return false;
  DocumentSection* at = content_->find(section);
  if (at == nullptr) at = &content_->add_section(section);
  at->set(content_->encoded(trim(key)), content_->encoded(trim(value)), content_->line_end);
  return true;
}

bool DCFDocument::remove(std::string_view section, std::string_view key) {
  DocumentSection* at = content_->find(section);
  return at != nullptr && at->remove(content_->encoded(trim(key)));
}

std::optional<std::string> DCFDocument::getParameterValue(ObjectID object) const {
  const std::string section = content_->section_of(object);
  if (section.empty()) return std::nullopt;
  const auto own = section == value_list(object) ? std::nullopt : get(section, kParameterValue);
  return own ? own : get(value_list(object), std::to_string(object.subindex()));
}

bool DCFDocument::setParameterValue(ObjectID object, std::string_view value) {
  const std::string section = content_->section_of(object);
  if (section.empty()) return false;
  if (section != value_list(object)) return set(section, kParameterValue, value);
  if (!can_stand(value)) return false;
  if (!hasSection(section)) static_cast<void>(set(section, kEntries, "0"));
  DocumentSection& list = *content_->find(section);
  const bool counted = list.value(std::to_string(object.subindex())).has_value();
  if (!set(section, std::to_string(object.subindex()), value)) return false;
  return counted || set(section, kEntries, std::to_string(list.count_keys_without(kEntries)));
}

bool DCFDocument::setNodeId(std::uint8_t node_id) {
  return node_id >= 1 && node_id <= 127 && setCommissioning("NodeID", std::to_string(node_id));
}

bool DCFDocument::setCommissioning(std::string_view key, std::string_view value) {
  const bool well = !hasSection(kCommissioning) && hasSection(kCommissioningWell);
  return set(well ? kCommissioningWell : kCommissioning, key, value);
}

}  // namespace nkr::tools

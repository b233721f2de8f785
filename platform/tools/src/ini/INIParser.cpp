#include <map>
#include <mutex>
#include <nkr/tools/INIParser.hpp>
#include <nkr/tools/INIText.hpp>
#include <optional>
#include <shared_mutex>
#include <utility>

namespace nkr::tools {

namespace {

using Keys = std::map<std::string, std::string>;
using Sections = std::map<std::string, Keys>;

/** The keys by section; nothing when a line is no INI. */
std::optional<Sections> sections_of(INIText text) {
  if (!text.unclear.empty()) return std::nullopt;
  Sections sections;
  for (INIText::Section& section : text.sections) sections.try_emplace(std::move(section.name));
  for (INIText::Entry& entry : text.entries) {
    sections[std::move(entry.section)].try_emplace(std::move(entry.key), std::move(entry.value));
  }
  return sections;
}

}  // namespace

struct INIParserClass::Content {
  mutable std::shared_mutex mutex;
  Sections sections;

  std::optional<std::string> find(const std::string& section, const std::string& key) const {
    const std::shared_lock lock(mutex);
    const auto keys = sections.find(section);
    if (keys == sections.end()) return std::nullopt;
    const auto value = keys->second.find(key);
    if (value == keys->second.end()) return std::nullopt;
    return value->second;
  }
};

INIParserClass::INIParserClass() : content_(std::make_unique<Content>()) {}
INIParserClass::~INIParserClass() = default;

bool INIParserClass::parse(std::istream& stream, bool replace) {
  INIText text;
  if (!INIText::read(stream, text)) return false;
  auto sections = sections_of(std::move(text));
  if (!sections) return false;
  const std::unique_lock lock(content_->mutex);
  if (!replace) {
    for (auto& [section, keys] : *sections) {
      keys.merge(content_->sections[section]);
    }
    sections->merge(content_->sections);
  }
  content_->sections = std::move(*sections);
  return true;
}

bool INIParserClass::getInteger(const std::string& key, int& value, const std::string& section) const {
  const auto text = content_->find(section, key);
  const auto number = text ? ini_integer(*text) : std::nullopt;
  if (number) value = *number;
  return number.has_value();
}

bool INIParserClass::getString(const std::string& key, std::string& value, const std::string& section) const {
  auto text = content_->find(section, key);
  if (text) value = std::move(*text);
  return text.has_value();
}

bool INIParserClass::getDouble(const std::string& key, double& value, const std::string& section) const {
  const auto text = content_->find(section, key);
  const auto number = text ? ini_real(*text) : std::nullopt;
  if (number) value = *number;
  return number.has_value();
}

bool INIParserClass::hasSection(const std::string& section) const {
  const std::shared_lock lock(content_->mutex);
  return content_->sections.count(section) != 0;
}

INIParserClass& INIParser::instance() {
  static INIParserClass parser;
  return parser;
}

}  // namespace nkr::tools

#include <algorithm>
#include <nkr/tools/EDSParser.hpp>

#include "eds/DescriptionContent.hpp"

namespace nkr::tools {

struct EDSParser::Content : DescriptionContent {};

EDSParser::EDSParser() : content_(std::make_unique<Content>()) {}
EDSParser::~EDSParser() = default;
EDSParser::EDSParser(EDSParser&&) noexcept = default;
EDSParser& EDSParser::operator=(EDSParser&&) noexcept = default;

bool EDSParser::parse(std::istream& stream, bool strict) {
  Diagnostics diagnostics;
  auto content = std::make_unique<Content>();
  const bool sound = read(stream, *content, diagnostics);
  const bool accepted = sound && !(strict && diagnostics.deviates());
  diagnostics_ = diagnostics.take();
  if (accepted) content_ = std::move(content);
  return accepted;
}

bool EDSParser::read(std::istream& stream, Content& content, Diagnostics& diagnostics) {
  const auto bytes = read_stream(stream, diagnostics);
  if (!bytes) return false;
  const auto text = split_description(*bytes, diagnostics);
  if (!text) return false;
  return read_content(*text, content, diagnostics);
}

std::shared_ptr<ObjectEntry> EDSParser::getObjectByName(const std::string& name) const {
  const auto at = content_->names.find(name);
  return at == content_->names.end() ? nullptr : *at->second;
}

const ObjectEntry* EDSParser::find(std::string_view name) const {
  const auto at = content_->names.find(name);
  return at == content_->names.end() ? nullptr : at->second->get();
}

const ObjectEntry* EDSParser::find(ObjectID id) const {
  const auto at = std::lower_bound(content_->objects.begin(), content_->objects.end(), id,
                                   [](const std::shared_ptr<ObjectEntry>& object, ObjectID wanted) {
                                     return object->getObjectID() < wanted;
                                   });
  return at == content_->objects.end() || (*at)->getObjectID() != id ? nullptr : at->get();
}

const std::vector<std::shared_ptr<ObjectEntry>>& EDSParser::objects() const {
  return content_->objects;
}

std::optional<std::string> EDSParser::getInfo(std::string_view section, std::string_view key) const {
  return content_->info.find(section, key);
}

std::optional<std::uint8_t> EDSParser::getNodeId() const {
  return content_->info.node_id();
}

const std::vector<Diagnostic>& EDSParser::diagnostics() const {
  return diagnostics_;
}

}  // namespace nkr::tools

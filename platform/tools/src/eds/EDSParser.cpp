#include <algorithm>
#include <nkr/tools/EDSParser.hpp>
#include <unordered_map>

#include "eds/DescriptionInfo.hpp"
#include "eds/Diagnostics.hpp"
#include "eds/ObjectBuilder.hpp"

namespace nkr::tools {

struct EDSParser::Content {
  Objects objects;
  std::unordered_map<std::string_view, const std::shared_ptr<ObjectEntry>*> names;
  DescriptionInfo info;
};

namespace {

/** The first object in index order keeps a name that stands twice. */
template <typename Names>
void index_names(const Objects& objects, Names& names, Diagnostics& diagnostics) {
  constexpr float kSparse = 0.25F;  // a look-up stands before every access: it should meet few other names
  names.max_load_factor(kSparse);
  names.reserve(objects.size());
  for (const auto& object : objects) {
    if (object->getName().empty()) continue;
    const auto [at, added] = names.try_emplace(object->getName(), &object);
    if (added) continue;
    const std::string section = index_text(object->getObjectID().index()).substr(2);
    diagnostics.report(Problem::DOUBLE_NAME, {object->description().line, section}, object->getName(),
                       "the one of " + index_text((*at->second)->getObjectID().index()));
  }
}

/** Reports a description without objects; true when it is one all the same. */
bool accept_no_objects(const DescriptionInfo& info, Diagnostics& diagnostics) {
  if (diagnostics.failed()) return false;
  diagnostics.report(info.is_of_canopen() ? Problem::NO_OBJECTS : Problem::OTHER_DIALECT, {});
  return info.is_of_canopen();
}

}  // namespace

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
  content.info = DescriptionInfo(*text, diagnostics);
  const ObjectLists lists(*text, diagnostics);
  content.objects = build_objects(*text, lists, diagnostics);
  if (content.objects.empty()) return accept_no_objects(content.info, diagnostics);
  index_names(content.objects, content.names, diagnostics);
  return true;
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

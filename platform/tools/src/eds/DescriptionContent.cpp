#include "eds/DescriptionContent.hpp"

#include "eds/ObjectLists.hpp"

namespace nkr::tools {

namespace {

/** The first object in index order keeps a name that stands twice. */
void index_names(DescriptionContent& content, Diagnostics& diagnostics) {
  constexpr float kSparse = 0.25F;  // a look-up stands before every access: it should meet few other names
  auto& names = content.names;
  names.max_load_factor(kSparse);
  names.reserve(content.objects.size());
  for (const auto& object : content.objects) {
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

bool read_content(const DescriptionText& text, DescriptionContent& content, Diagnostics& diagnostics) {
  content.info = DescriptionInfo(text, diagnostics);
  const ObjectLists lists(text, diagnostics);
  content.objects = build_objects(text, lists, diagnostics);
  if (content.objects.empty()) return accept_no_objects(content.info, diagnostics);
  index_names(content, diagnostics);
  return true;
}

}  // namespace nkr::tools

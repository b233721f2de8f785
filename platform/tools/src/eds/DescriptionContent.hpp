#ifndef NKR_TOOLS_SRC_EDS_DESCRIPTIONCONTENT_HPP
#define NKR_TOOLS_SRC_EDS_DESCRIPTIONCONTENT_HPP

#include <memory>
#include <string_view>
#include <unordered_map>

#include "eds/DescriptionInfo.hpp"
#include "eds/ObjectBuilder.hpp"

namespace nkr::tools {

/** What a description says: its objects, found by name, and the rest. */
struct DescriptionContent {
  Objects objects;
  /** Views into the names of the objects; the first object in index order keeps a name that stands twice. */
  std::unordered_map<std::string_view, const std::shared_ptr<ObjectEntry>*> names;
  DescriptionInfo info;
};

/** Fills an empty content; false when the text describes no device. */
[[nodiscard]] bool read_content(const DescriptionText& text, DescriptionContent& content,
                                Diagnostics& diagnostics);

}  // namespace nkr::tools

#endif

#ifndef NKR_TOOLS_SRC_EDS_OBJECTBUILDER_HPP
#define NKR_TOOLS_SRC_EDS_OBJECTBUILDER_HPP

#include <memory>
#include <nkr/tools/ObjectEntry.hpp>
#include <vector>

#include "eds/DescriptionText.hpp"
#include "eds/ObjectLists.hpp"

namespace nkr::tools {

using Objects = std::vector<std::shared_ptr<ObjectEntry>>;

/** The objects of a description, by index, then subindex; empty, with an error, when they are too many. */
[[nodiscard]] Objects build_objects(const DescriptionText& text, const ObjectLists& lists,
                                    Diagnostics& diagnostics);

}  // namespace nkr::tools

#endif

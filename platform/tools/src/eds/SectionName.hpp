#ifndef NKR_TOOLS_SRC_EDS_SECTIONNAME_HPP
#define NKR_TOOLS_SRC_EDS_SECTIONNAME_HPP

#include "eds/DescriptionText.hpp"

namespace nkr::tools {

/** Fills in what a section's name says it describes; a name that says nothing sound makes it IGNORED. */
void classify(Section& section, Diagnostics& diagnostics);

/** True when CiA 306 knows a section outside the objects by that name. */
[[nodiscard]] bool is_known_section(std::string_view name);

}  // namespace nkr::tools

#endif

#ifndef NKR_TOOLS_SRC_EDS_VALUECHECKS_HPP
#define NKR_TOOLS_SRC_EDS_VALUECHECKS_HPP

#include "eds/ObjectFields.hpp"

namespace nkr::tools {

/** Reports value texts and limits that the object's type or its limits do not allow. */
void check_values(const ObjectFields& fields, const ObjectEntry::Description& object,
                  Diagnostics& diagnostics);

}  // namespace nkr::tools

#endif

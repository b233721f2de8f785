#ifndef TAV_HOST_READABLE_HPP
#define TAV_HOST_READABLE_HPP

#include <nkr/export.h>

#include <string>

namespace tav::host {

/** Why this program cannot read the file: it is not there, a folder, another user's. Empty when nothing is
 * against it. */
[[nodiscard]] NKR_EXPORT std::string why_unreadable(const std::string& path);

}  // namespace tav::host

#endif

#ifndef TAV_HOST_PRINTABLE_HPP
#define TAV_HOST_PRINTABLE_HPP

#include <nkr/export.h>

#include <string>
#include <string_view>

namespace tav::host {

/**
 * Text of a device or a file as a terminal may have it: control characters (NUL, ESC, C1 ...) and bytes that
 * are no UTF-8 are shown as "\x1B", so that none acts on the terminal and none is overlooked.
 */
[[nodiscard]] NKR_EXPORT std::string printable(std::string_view text);

/** The same for text of several lines: line feeds stay. */
[[nodiscard]] NKR_EXPORT std::string printable_lines(std::string_view text);

}  // namespace tav::host

#endif

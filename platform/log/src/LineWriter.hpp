#ifndef NKR_LOG_LINEWRITER_HPP
#define NKR_LOG_LINEWRITER_HPP

#include <string_view>

namespace nkr::log {

/**
 * Writes a whole line to a file descriptor without waiting for a reader and without SIGPIPE.
 * @return false when the line could not be written, or not whole
 */
bool write_line(int descriptor, std::string_view line);

}  // namespace nkr::log

#endif

#ifndef NKR_CAN_CANDUMP_HPP
#define NKR_CAN_CANDUMP_HPP

#include <nkr/export.h>

#include <chrono>
#include <nkr/can/Frame.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace nkr::can {

/** One line of a candump log. */
struct LogLine {
  std::chrono::system_clock::time_point when;  ///< to the microsecond
  std::string bus_name;
  Frame frame;
};

/** "(1436509052.249713) vcan0 60A#4018100100000000", without an end of line; blanks and control characters in
 * the name become '_'.
 */
[[nodiscard]] NKR_EXPORT std::string to_string(const LogLine& line);

/** Reads such a line, also with a direction behind it; empty when it is none. No name has control characters.
 */
[[nodiscard]] NKR_EXPORT std::optional<LogLine> parse_log_line(std::string_view text);

}  // namespace nkr::can

#endif

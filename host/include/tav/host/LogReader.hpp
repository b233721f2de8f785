#ifndef TAV_HOST_LOGREADER_HPP
#define TAV_HOST_LOGREADER_HPP

#include <nkr/export.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <nkr/can/Frame.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace tav::host {

/** When a frame came; a log may not tell. */
using FrameTime = std::optional<std::chrono::system_clock::time_point>;

/** A frame of a log. */
struct LoggedFrame {
  FrameTime when;
  std::string bus_name;
  nkr::can::Frame frame;
};

/**
 * One line that candump wrote: as a log ("(1436509052.249713) can0 60A#40..."), or as it shows it
 * ("  can0  60A   [8]  40 18 ...", with any of its time stamps, directions and text behind). Nothing for a
 * line that is neither, or holds no classical CAN frame.
 */
[[nodiscard]] NKR_EXPORT std::optional<LoggedFrame> parse_candump_line(std::string_view line);

/** Reads a log of any length, line by line: never more than one line in memory, and no line without end. */
class NKR_EXPORT LogReader {
 public:
  explicit LogReader(std::istream& stream) : stream_(stream) {}

  /** False at the end. Blank lines are passed over. */
  [[nodiscard]] bool next();
  [[nodiscard]] const std::string& line() const { return line_; }
  /** Number of the line, from 1. */
  [[nodiscard]] std::uint64_t number() const { return number_; }
  /** The frame in the line; none for a bad line. */
  [[nodiscard]] std::optional<LoggedFrame> frame() const;

 private:
  std::istream& stream_;
  std::string line_;
  bool too_long_ = false;
  std::uint64_t number_ = 0;
};

}  // namespace tav::host

#endif

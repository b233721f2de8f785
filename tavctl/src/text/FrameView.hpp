#ifndef TAVCTL_TEXT_FRAMEVIEW_HPP
#define TAVCTL_TEXT_FRAMEVIEW_HPP

#include <chrono>
#include <cstdint>
#include <nkr/can/Frame.hpp>
#include <optional>
#include <string>
#include <tav/host/FrameDecoder.hpp>
#include <tav/host/LogReader.hpp>
#include <vector>

#include "cli/Output.hpp"
#include "text/host.hpp"

namespace tavctl {

/** One line: time in seconds, identifier, bytes, service and meaning. */
[[nodiscard]] std::string frame_line(std::optional<double> seconds, const nkr::can::Frame& frame,
                                     const FrameMeaning& meaning);

/** Which frames are wanted; nothing named: all. */
struct FrameChoice {
  std::vector<int> nodes;
  std::vector<std::string> kinds;  ///< of frame_kind_names()
  std::uint64_t count = 0;         ///< end after so many; 0: never
};

/** Shows the chosen frames of a stream, one after the other, with times that begin at 0. */
class FrameView {
 public:
  FrameView(FrameDecoder& decoder, FrameChoice choice, Output& output);

  /** False when as many were shown as wanted: nothing more is shown then. */
  bool show(const nkr::can::Frame& frame, FrameTime when);
  [[nodiscard]] std::uint64_t shown() const { return shown_; }

 private:
  [[nodiscard]] bool is_wanted(const FrameMeaning& meaning) const;

  FrameDecoder& decoder_;
  FrameChoice choice_;
  Output& output_;
  FrameTime start_;
  std::uint64_t shown_ = 0;
};

}  // namespace tavctl

#endif

#ifndef TAVCTL_COMMANDS_FRAMEOPTIONS_HPP
#define TAVCTL_COMMANDS_FRAMEOPTIONS_HPP

#include <CLI/CLI.hpp>

#include "trace/FrameView.hpp"

namespace tavctl {

/** The options that choose frames, the same wherever frames are shown. */
inline void add_frame_options(CLI::App& command, FrameChoice& choice) {
  command
      .add_option("--nodes", choice.nodes, "Only frames from or to these nodes (0: without a node), 10,11")
      ->delimiter(',')
      ->check(CLI::Range(0, 127));
  command.add_option("--kind", choice.kinds, "Only frames of these services, sdo,emcy")
      ->delimiter(',')
      ->check(CLI::IsMember(frame_kind_names()));
  command.add_option("--count", choice.count, "End after so many frames")
      ->check(CLI::Range(std::uint64_t{1}, std::uint64_t{1'000'000'000}));
}

}  // namespace tavctl

#endif

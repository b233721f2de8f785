#ifndef TAVCTL_COMMANDS_FRAMEOPTIONS_HPP
#define TAVCTL_COMMANDS_FRAMEOPTIONS_HPP

#include "cli/Command.hpp"
#include "text/FrameView.hpp"

namespace tavctl {

/** The options that choose frames, the same wherever frames are shown. */
inline void add_frame_options(Command& command, FrameChoice& choice) {
  command.option("--nodes", choice.nodes, "Only frames from or to these nodes (0: without a node), 10,11")
      .separated_by(',')
      .range(0, 127);
  command.option("--kind", choice.kinds, "Only frames of these services, sdo,emcy")
      .separated_by(',')
      .one_of(frame_kind_names());
  command.option("--count", choice.count, "End after so many frames")
      .range(std::uint64_t{1}, std::uint64_t{1'000'000'000});
}

}  // namespace tavctl

#endif

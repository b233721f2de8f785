#ifndef TAVCTL_CLI_TERMINAL_HPP
#define TAVCTL_CLI_TERMINAL_HPP

#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

namespace tavctl {

/** Whether lines can be drawn again there: a terminal, and none that says it is dumb. */
[[nodiscard]] bool is_terminal(int descriptor);
/** Columns of the terminal; without one COLUMNS, else 80. */
[[nodiscard]] std::size_t terminal_width(int descriptor);

/** Asks on the terminal; true for "y" or "yes". */
[[nodiscard]] bool confirmed(const std::string& question);

/** Lines that stand at the end of a terminal's text and are drawn again in place, cut at its present width.
 */
class LiveBlock {
 public:
  LiveBlock(std::ostream& stream, int descriptor) : stream_(stream), descriptor_(descriptor) {}
  LiveBlock(const LiveBlock&) = delete;
  LiveBlock& operator=(const LiveBlock&) = delete;

  /** Replaces what stands there. After the program slept (Ctrl-Z) it begins anew below, and says so. */
  void show(const std::vector<std::string>& lines);
  /** Takes the lines away. */
  void clear();
  /** Lets them stand: the next ones come below. */
  void leave() { widths_.clear(); }

 private:
  void go_up();

  std::ostream& stream_;
  int descriptor_;
  std::vector<std::size_t> widths_;  ///< of the lines that stand there
  int slept_ = 0;
};

}  // namespace tavctl

#endif

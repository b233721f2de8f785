#ifndef TAVCTL_TEXT_PLOT_HPP
#define TAVCTL_TEXT_PLOT_HPP

#include <cstddef>
#include <string>
#include <vector>

namespace tavctl {

/** Demanded and actual velocity at one time, in seconds from the start. */
struct VelocitySample {
  double seconds;
  int demand;
  int actual;
};

/** Lines of text that draw demand ('-') and actual velocity ('o'; '*' where both are) over time. */
[[nodiscard]] std::vector<std::string> plot(const std::vector<VelocitySample>& samples,
                                            std::size_t width = 72, std::size_t height = 15);

/** The width of a plot whose lines, with axis and time, fit into so many columns. */
[[nodiscard]] std::size_t plot_width(std::size_t columns);

}  // namespace tavctl

#endif

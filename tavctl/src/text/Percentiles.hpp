#ifndef TAVCTL_TEXT_PERCENTILES_HPP
#define TAVCTL_TEXT_PERCENTILES_HPP

#include <vector>

namespace tavctl {

/** The value that `percent` of the values do not exceed (nearest rank); 0 for no values. */
[[nodiscard]] double percentile(std::vector<double> values, double percent);

}  // namespace tavctl

#endif

#include "text/Percentiles.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace tavctl {

double percentile(std::vector<double> values, double percent) {
  if (values.empty()) return 0;
  const double rank = std::ceil(percent / 100.0 * static_cast<double>(values.size()));
  const auto at = static_cast<std::ptrdiff_t>(std::max(rank, 1.0)) - 1;
  std::nth_element(values.begin(), values.begin() + at, values.end());
  return values[static_cast<std::size_t>(at)];
}

}  // namespace tavctl

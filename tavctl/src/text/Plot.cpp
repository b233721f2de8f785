#include "text/Plot.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace tavctl {

namespace {

struct Range {
  int low = 0;
  int high = 0;

  void take(int value) {
    low = std::min(low, value);
    high = std::max(high, value);
  }
};

/** Row of a value, 0 at the top. */
std::size_t row_of(int value, const Range& range, std::size_t height) {
  const double share = (static_cast<double>(range.high) - value) /
                       (static_cast<double>(range.high) - static_cast<double>(range.low));
  return static_cast<std::size_t>(std::lround(share * static_cast<double>(height - 1)));
}

void mark(std::string& row, std::size_t column, char sign) {
  row[column] = row[column] == ' ' || row[column] == sign ? sign : '*';
}

std::string axis_label(int value) {
  char text[16];
  std::snprintf(text, sizeof text, "%7d |", value);
  return text;
}

}  // namespace

std::vector<std::string> plot(const std::vector<VelocitySample>& samples, std::size_t width,
                              std::size_t height) {
  if (samples.empty() || width < 2 || height < 2) return {};
  Range range;
  for (const VelocitySample& sample : samples) {
    range.take(sample.demand);
    range.take(sample.actual);
  }
  if (range.low == range.high) range.high = 1;
  const double duration = std::max(samples.back().seconds, 1e-3);
  std::vector<std::string> rows(height, std::string(width, ' '));
  for (const VelocitySample& sample : samples) {
    const double share = std::clamp(sample.seconds / duration, 0.0, 1.0);
    const auto column = static_cast<std::size_t>(share * static_cast<double>(width - 1));
    mark(rows[row_of(sample.demand, range, height)], column, '-');
    mark(rows[row_of(sample.actual, range, height)], column, 'o');
  }
  for (std::size_t i = 0; i < height; ++i) {
    const bool labelled = i == 0 || i == height - 1 || i == row_of(0, range, height);
    const int value = i == 0 ? range.high : i == height - 1 ? range.low : 0;
    rows[i] = (labelled ? axis_label(value) : std::string(8, ' ') + '|') + rows[i];
    rows[i].erase(rows[i].find_last_not_of(' ') + 1);
  }
  char end[32];
  std::snprintf(end, sizeof end, "%.1f s", duration);
  rows.push_back(std::string(8, ' ') + '+' + std::string(width, '-') + ' ' + end);
  rows.push_back(std::string(9, ' ') + "- demanded   o actual   * both");
  return rows;
}

std::size_t plot_width(std::size_t columns) {
  constexpr std::size_t kAround = 20;  // the axis before it, "+", the time behind it
  constexpr std::size_t kLeast = 10;
  return std::max(columns, kAround + kLeast) - kAround;
}

}  // namespace tavctl

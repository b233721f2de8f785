#ifndef TAV_HOST_GROUPSTATISTICS_HPP
#define TAV_HOST_GROUPSTATISTICS_HPP

#include <nkr/export.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <nkr/can/Deadline.hpp>
#include <vector>

namespace tav::host {

/** How often a duration was how long, in fixed classes. */
struct NKR_EXPORT Histogram {
  /** Upper bounds of the classes, in microseconds; the last class has none. */
  static constexpr std::array<unsigned, 10> kBounds{10, 20, 50, 100, 200, 500, 1000, 2000, 5000, 10000};

  std::array<std::uint64_t, kBounds.size() + 1> counts{};
  nkr::can::Clock::duration longest{};
  std::uint64_t longest_cycle = 0;  ///< in which it was

  void add(nkr::can::Clock::duration duration, std::uint64_t cycle);
  [[nodiscard]] std::uint64_t total() const;
  /** The bound, in microseconds, below which that share of all durations lies; of the last class the longest
   * one. 0 when there are none. */
  [[nodiscard]] unsigned below(double share) const;
};

/** What a unit made of its cycles. */
struct UnitStatistics {
  std::uint64_t answered = 0;
  std::uint64_t missing = 0;       ///< cycles without its process data, those that came late included
  std::uint64_t late = 0;          ///< process data that came when the cycle was evaluated already
  std::uint64_t wrong_length = 0;  ///< process data of another length: not decoded
  std::uint64_t not_sent = 0;      ///< orders that the bus did not take
  unsigned longest_missing = 0;    ///< cycles in a row
  std::uint8_t node = 0;
  Histogram response;  ///< SYNC to its process data
};

/** What became of the cycles since they began. */
struct CycleCounts {
  std::uint64_t cycles = 0;          ///< SYNCs sent
  std::uint64_t missed = 0;          ///< points of the grid that were passed without a SYNC
  std::uint64_t late = 0;            ///< SYNCs sent late, by up to a quarter of the period
  std::uint64_t split = 0;           ///< cycles in which a part of the orders was sent
  std::uint64_t skipped_orders = 0;  ///< cycles that were evaluated too late to send orders before the SYNC
  std::uint64_t incomplete = 0;      ///< cycles in which not all units answered
  std::uint64_t foreign = 0;         ///< frames of somebody else who commands the units
  Histogram start;                   ///< of a cycle, after its time on the grid
  Histogram round_trip;              ///< SYNC to the last unit's process data, of complete cycles

  /** The share of cycles that all units answered and none of which was missed: 1 is perfect. */
  [[nodiscard]] double success() const {
    const std::uint64_t all = cycles + missed;
    return all == 0 ? 1.0 : static_cast<double>(cycles - incomplete) / static_cast<double>(all);
  }
};

/** The same, and what each unit made of it. */
struct GroupStatistics : CycleCounts {
  std::vector<UnitStatistics> units;  ///< in the order in which the units were given
};

}  // namespace tav::host

#endif

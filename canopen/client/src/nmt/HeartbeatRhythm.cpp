#include "nmt/HeartbeatRhythm.hpp"

#include <algorithm>
#include <numeric>
#include <utility>

namespace nkr::canopen {
namespace {

using std::chrono::duration_cast;

/** So many heartbeats show it; so many without any sign of it show one producer again. */
constexpr int kEnough = 12;
constexpr int kEnoughPairs = 16;
constexpr int kEnoughChanges = 8;
constexpr int kCalm = 64;
/** A period missed by more than that is no regular one. */
constexpr double kTolerance = 0.2;

}  // namespace

bool HeartbeatRhythm::heard(TimePoint when, canopencore::NMTState state) {
  const bool first = !std::exchange(started_, true);
  const bool changed = std::exchange(state_, state) != state;
  const Duration gap = when - std::exchange(last_, when);
  if (first) return false;
  changes_ = changed ? std::min(changes_ + 1, kEnoughChanges) : 0;
  if (gap_ != Duration::zero()) {
    weigh(gap, gap + gap_);
    compare(gap, gap + gap_);
    sum_ = gap + gap_;
  }
  learn(gap);
  gap_ = std::max(gap, Duration(1));
  calm_ = is_evident() ? 0 : std::min(calm_ + 1, kCalm);
  if (calm_ == kCalm) doubled_ = false;
  return is_evident() && !std::exchange(doubled_, true);
}

/** Two gaps of one producer add up to two periods, however late each heartbeat is: what one gap lacks the
 * other has too much, here or in the next pair. Even gaps are those of one that beats faster now. */
void HeartbeatRhythm::weigh(Duration gap, Duration sum) {
  if (period_ == Duration::zero()) return;
  const bool uneven = std::min(gap, gap_) * 5 < sum * 2;
  if (sum * 2 <= period_) {  // read in a heap
    too_many_ = 0;
  } else if (sum * 5 < period_ * 7 && uneven) {
    too_many_ = std::min(too_many_ + 1, kEnough);
  } else {
    too_many_ = std::max(too_many_ - (sum * 5 < period_ * 9 ? 1 : 3), 0);
  }
}

void HeartbeatRhythm::compare(Duration gap, Duration sum) {
  const bool uneven = std::min(gap, gap_) * 5 < sum;
  const bool takes_turns = pairs_ == 0 || (gap < gap_) == (gap_ >= sum_ - gap_);
  const Duration off = sum > sum_ ? sum - sum_ : sum_ - sum;
  const bool same = pairs_ == 0 || off * 4 < sum_;
  pairs_ = uneven && takes_turns && same ? std::min(pairs_ + 1, kEnoughPairs) : 0;
}

void HeartbeatRhythm::learn(Duration gap) {
  gaps_.at(next_gap_) = gap;
  next_gap_ = (next_gap_ + 1) % kRegular;
  const Duration mean = std::accumulate(gaps_.begin(), gaps_.end(), Duration::zero()) / kRegular;
  const Duration most = duration_cast<Duration>(mean * kTolerance);
  const bool regular = std::all_of(gaps_.begin(), gaps_.end(),
                                   [&](Duration one) { return one >= mean - most && one <= mean + most; });
  if (!regular) return;
  period_ = mean;
  too_many_ = 0;
}

bool HeartbeatRhythm::is_evident() const {
  return too_many_ == kEnough || pairs_ == kEnoughPairs || changes_ == kEnoughChanges;
}

}  // namespace nkr::canopen

#ifndef NKR_CANOPEN_NMT_HEARTBEATRHYTHM_HPP
#define NKR_CANOPEN_NMT_HEARTBEATRHYTHM_HPP

#include <array>
#include <cstddef>
#include <nkr/can/Bus.hpp>
#include <nkr/canopencore/NMT.hpp>

namespace nkr::canopen {

/**
 * Whether the heartbeats of one node id come from two nodes. A producer that is late once is early the next
 * time, and what a busy host reads late comes in a heap: neither counts. What counts, over many heartbeats:
 *  - three of them, unevenly, within the time in which the period, known from when it was regular, allows
 * two;
 *  - short and long gaps that take turns and add up to the same, one less than a quarter of the other;
 *  - another NMT state in each.
 * Two that beat with one period, half of it apart and in the same state, look like one with half the period
 * until their clocks drift.
 */
class HeartbeatRhythm {
 public:
  using TimePoint = can::Clock::time_point;

  /** A heartbeat came. True when it is the one that shows two producers, once until they are one again. */
  bool heard(TimePoint when, canopencore::NMTState state);
  /** The node restarted: its period may be another. */
  void restart() { *this = {}; }
  [[nodiscard]] bool is_doubled() const { return doubled_; }

 private:
  using Duration = can::Clock::duration;
  static constexpr std::size_t kRegular = 6;  ///< gaps that show a period

  void weigh(Duration gap, Duration sum);
  void compare(Duration gap, Duration sum);
  void learn(Duration gap);
  [[nodiscard]] bool is_evident() const;

  bool started_ = false;
  TimePoint last_;
  canopencore::NMTState state_ = canopencore::NMTState::UNKNOWN;
  Duration gap_{};     ///< the last one; 0: none yet
  Duration sum_{};     ///< of the last two
  Duration period_{};  ///< 0: not known
  std::array<Duration, kRegular> gaps_{};
  std::size_t next_gap_ = 0;
  int too_many_ = 0;  ///< heartbeats within a time that allows fewer, less those that kept it
  int pairs_ = 0;     ///< gaps in a row that took turns
  int changes_ = 0;   ///< heartbeats in a row with another state than the one before
  int calm_ = 0;      ///< heartbeats in a row that showed nothing
  bool doubled_ = false;
};

}  // namespace nkr::canopen

#endif

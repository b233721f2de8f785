#ifndef TAV_DRIVE_SRC_MOTOR_ENCODER_HPP
#define TAV_DRIVE_SRC_MOTOR_ENCODER_HPP

#include <cstdint>

namespace tav::drive {

/**
 * Counts the motor's angle in whole steps, and makes a speed of the counts: their difference over one control
 * cycle, through a filter of the first order. A speed of less than a count in 100 ms is none.
 */
class Encoder {
 public:
  /** What it counts wrongly. */
  enum class Fault { NONE, STUCK, INVERTED };

  /** @param filter time constant in s; 0: no filter */
  Encoder(double counts_per_turn, double filter);

  /** Looks at the angle, in turns; once in a control cycle. */
  void sample(double turns);

  [[nodiscard]] std::int64_t counts() const { return counts_; }
  [[nodiscard]] double velocity() const { return velocity_; }  ///< in 1/min
  /** Part of a difference that its filter takes in a cycle. */
  [[nodiscard]] double follows() const { return follows_; }
  /** Another look at the same angle would change nothing. */
  [[nodiscard]] bool settled() const { return still_ >= kStandsAfter && noise_ == 0; }

  void fail(Fault fault);
  /** It counts from 0 again, where it is. */
  void restart();
  /** It jumps by that many counts. */
  void jump(std::int32_t counts);
  /** Each look is wrong by up to that many counts, by a generator of its own. */
  void disturb(std::int32_t counts);

 private:
  static constexpr int kStandsAfter = 100;  // control cycles

  [[nodiscard]] std::int64_t count_of(double turns);

  double counts_per_turn_;
  double per_minute_;  ///< 1/min of one count in a control cycle
  double follows_;     ///< part of a difference that the filter takes in a cycle
  std::int64_t counts_ = 0;
  double velocity_ = 0;
  int still_ = 0;  ///< cycles without a count
  Fault fault_ = Fault::NONE;
  std::int64_t mirror_ = 0;  ///< where the counter was when it was inverted, twice
  std::int64_t offset_ = 0;
  std::int32_t noise_ = 0;
  std::uint32_t random_ = 0x2545F491;
};

}  // namespace tav::drive

#endif

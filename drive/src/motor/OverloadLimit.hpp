#ifndef TAV_DRIVE_SRC_MOTOR_OVERLOADLIMIT_HPP
#define TAV_DRIVE_SRC_MOTOR_OVERLOADLIMIT_HPP

#include <tav/drive/MotorParameters.hpp>

namespace tav::drive {

/**
 * How much current the motor may have: the power stage's limit, and the nominal current from when the mean of
 * its square (by a time constant) has reached the nominal one's until it is 0.9 times that.
 */
class OverloadLimit {
 public:
  explicit OverloadLimit(const MotorParameters& parameters);

  /** The mean of the current's square, in A2, over one heat step of the grid. */
  void step(double square);

  [[nodiscard]] double amperes() const { return overloaded_ ? nominal_ : limit_; }
  [[nodiscard]] bool overloaded() const { return overloaded_; }
  /** A step without current would change nothing. */
  [[nodiscard]] bool rested() const { return mean_square_ == 0; }

 private:
  double nominal_;
  double limit_;
  double decay_;
  double mean_square_ = 0;
  bool overloaded_ = false;
};

}  // namespace tav::drive

#endif

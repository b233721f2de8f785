#ifndef TAV_DRIVE_SRC_MOTOR_HOLDINGBRAKE_HPP
#define TAV_DRIVE_SRC_MOTOR_HOLDINGBRAKE_HPP

#include <tav/drive/MotorParameters.hpp>

namespace tav::drive {

/** The holding brake: closed without power, open a while after the command to release it. */
class HoldingBrake {
 public:
  /** What is wrong with it. */
  enum class Fault { NONE, STUCK_OPEN, STUCK_CLOSED };

  explicit HoldingBrake(const MotorParameters& parameters);

  /** Applies or releases it; it takes its time. */
  void command(bool applied);
  /** One step of the grid. */
  void step();

  /** It was told to close, and had the time for it. */
  [[nodiscard]] bool applied() const { return closed_; }
  /** It was told to open, and had the time for it. */
  [[nodiscard]] bool released() const { return !closed_; }
  /** It is on its way from one to the other. */
  [[nodiscard]] bool moving() const { return steps_left_ > 0; }
  /** What it holds with now, in Nm. */
  [[nodiscard]] double torque() const;

  void fail(Fault fault) { fault_ = fault; }
  /** How much of its torque it lost, from 0 to 1. */
  void wear(double part) { worn_ = part; }

 private:
  double torque_;
  int release_steps_;
  int apply_steps_;
  bool commanded_ = true;
  bool closed_ = true;
  int steps_left_ = 0;
  Fault fault_ = Fault::NONE;
  double worn_ = 0;
};

}  // namespace tav::drive

#endif

#ifndef TAV_DRIVE_SRC_MOTOR_SPEEDCONTROLLER_HPP
#define TAV_DRIVE_SRC_MOTOR_SPEEDCONTROLLER_HPP

#include <cstdint>
#include <tav/drive/MotorParameters.hpp>

namespace tav::drive {

/** Makes the current that a speed needs: proportional, integral and differential part, once a millisecond. */
class SpeedController {
 public:
  /** The drive's gains as their objects have them: 1000, 100 and 0 are those of delivery. */
  struct Gains {
    std::uint32_t proportional = 1000;
    std::uint32_t integral = 100;
    std::uint32_t differential = 0;
  };

  /** @param inertia of all that turns, at the motor, in kg m2 */
  SpeedController(const MotorParameters& parameters, double inertia);

  void set_gains(const Gains& gains);
  void reset();

  /**
   * The current that is to flow, in A, from wanted and measured speed in rad/s.
   * @param acceleration  of the wanted speed, in rad/s2: what it needs is given before there is an error
   */
  double run(double wanted, double measured, double acceleration = 0);
  /**
   * What flowed of it: where a limit acted, the integral part follows the limit and not the error, so that it
   * does not overshoot when the limit ends.
   */
  void flowed(double current);

 private:
  double ampere_seconds_;  ///< per rad/s: of the whole inertia
  double limit_;           ///< of the current
  double nominal_proportional_;
  double nominal_integral_;
  double proportional_ = 0;  ///< in A s/rad
  double integral_ = 0;      ///< in A/rad
  double differential_ = 0;  ///< in A s2/rad
  double sum_ = 0;           ///< the integral part, in A
  double wanted_current_ = 0;
  double last_measured_ = 0;
};

}  // namespace tav::drive

#endif

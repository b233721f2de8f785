#ifndef TAV_DRIVE_SRC_MOTOR_HEATPATH_HPP
#define TAV_DRIVE_SRC_MOTOR_HEATPATH_HPP

namespace tav::drive {

/** How a loss warms something: the sum of two first-order parts, exact for any constant loss. */
class HeatPath {
 public:
  /** Thermal resistances in K/W, time constants in s. */
  HeatPath(double inner_resistance, double inner_seconds, double outer_resistance, double outer_seconds);

  /** That loss, in W, for one heat step of the grid. */
  void step(double loss);

  [[nodiscard]] double rise() const { return inner_.rise + outer_.rise; }  ///< above the ambient, in K
  [[nodiscard]] double outer_rise() const { return outer_.rise; }          ///< of its outside alone
  /** Without loss a step would change nothing. */
  [[nodiscard]] bool cold() const { return inner_.rise == 0 && outer_.rise == 0; }

 private:
  struct Part {
    Part(double kelvin_per_watt, double seconds);
    void step(double loss);
    double decay;
    double gain;
    double rise = 0;
  };
  Part inner_;
  Part outer_;
};

}  // namespace tav::drive

#endif

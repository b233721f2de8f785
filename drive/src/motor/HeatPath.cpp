#include "motor/HeatPath.hpp"

#include <cmath>

#include "motor/Grid.hpp"

namespace tav::drive {

HeatPath::HeatPath(double inner_resistance, double inner_seconds, double outer_resistance,
                   double outer_seconds)
    : inner_(inner_resistance, inner_seconds), outer_(outer_resistance, outer_seconds) {}

HeatPath::Part::Part(double kelvin_per_watt, double seconds)
    : decay(std::exp(-kHeatSeconds / seconds)), gain(kelvin_per_watt * (1 - decay)) {}

void HeatPath::Part::step(double loss) {
  constexpr double kNothing = 1e-6;  // a millionth of a kelvin: as cold as it gets
  rise = rise * decay + loss * gain;
  if (rise < kNothing) rise = 0;
}

void HeatPath::step(double loss) {
  inner_.step(loss);
  outer_.step(loss);
}

}  // namespace tav::drive
